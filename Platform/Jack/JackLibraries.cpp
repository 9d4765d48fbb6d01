// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Jack/JackLibraries.h"

namespace zelvane {

std::unique_ptr<JackClient> JackLibraries::openClient(const char* name, WakeUp* whenDead) {
    for (std::size_t i = 0; i < _libraries.size() || !_paths.empty(); ++i) {
        if (i == _libraries.size()) {
            _libraries.push_back(JackLibrary::load(_paths.front()));
            _paths.erase(_paths.begin());
        }
        if (!_libraries[i]) continue;
        if (auto client = JackClient::open(*_libraries[i], name, whenDead)) return client;
    }
    return nullptr;
}

}  // namespace zelvane
