// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Editors/EditorTrials.h"

#include "Platform/Foundation/AtomicFile.h"
#include "Platform/Foundation/Log.h"

#include <fstream>

namespace zelvane {

EditorTrials::EditorTrials(const std::filesystem::path& folder)
    : _file(folder / "failed editors"), _mark(folder / "loading editor") {
    std::ifstream file(_file);
    for (std::string line; std::getline(file, line);) _failed.insert(line);
    const auto left = _mark.takeLeft();
    if (!left) return;
    Log::write("EditorTrials: [%@] the player ended with the editor of %@", {"init", *left});
    _failed.insert(*left);
    write();
}

void EditorTrials::forget(const std::string& instrument) {
    if (_failed.erase(instrument) > 0) write();
}

void EditorTrials::write() const {
    std::string text;
    for (const std::string& instrument : _failed) text += instrument + '\n';
    std::string ignored;
    writeFileAtomically(_file, text, ignored);
}

}  // namespace zelvane
