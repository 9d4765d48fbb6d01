// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/LoadingMark.h"

#include <filesystem>
#include <set>
#include <string>

namespace zelvane {

/// Which instruments' own editors have brought the player down. While one opens or closes a mark on disk says so, so
/// that the next start knows of an end that came then; from then on it is left alone until the user wants it tried
/// again. Main thread.
class EditorTrials {
  public:
    /// Looks for the mark of a run that died.
    explicit EditorTrials(const std::filesystem::path& folder);

    bool hasFailed(const std::string& instrument) const { return _failed.contains(instrument); }
    void forget(const std::string& instrument);

    void begin(const std::string& instrument) { _mark.put(instrument); }
    void end() { _mark.remove(); }

  private:
    void write() const;

    const std::filesystem::path _file;
    std::set<std::string> _failed;
    LoadingMark _mark;
};

}  // namespace zelvane
