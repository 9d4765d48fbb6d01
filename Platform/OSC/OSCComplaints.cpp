// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/OSC/OSCComplaints.h"

namespace zelvane {

bool OSCComplaints::isNew(const std::string& complaint) {
    if (!_known.insert(complaint).second) return false;
    _inOrder.push_back(complaint);
    if (_inOrder.size() > kCapacity) {
        _known.erase(_inOrder.front());
        _inOrder.pop_front();
    }
    return true;
}

}  // namespace zelvane
