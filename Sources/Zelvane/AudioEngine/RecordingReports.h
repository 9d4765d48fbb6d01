// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/File/ExtAudioFile.h"

#include <mutex>
#include <utility>
#include <vector>

namespace zelvane {

/// Reports of finished recordings on their way from the writing threads to the main thread. Any thread.
class RecordingReports {
  public:
    void add(const ExtAudioFileReport& report) {
        const std::lock_guard lock(_mutex);
        _reports.push_back(report);
    }

    std::vector<ExtAudioFileReport> takeAll() {
        const std::lock_guard lock(_mutex);
        return std::exchange(_reports, {});
    }

  private:
    std::mutex _mutex;
    std::vector<ExtAudioFileReport> _reports;
};

}  // namespace zelvane
