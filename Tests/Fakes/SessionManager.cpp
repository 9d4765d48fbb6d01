// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/SessionManager.h"

namespace zelvane {

void SessionManager::welcome() const {
    send({"/reply",
          {{std::string("/nsm/server/announce")},
           {std::string("Welcome.")},
           {std::string("A manager")},
           {std::string(":server-control:")}}});
}

void SessionManager::open(const std::string& path, const std::string& clientID) const {
    send({"/nsm/client/open", {{path}, {std::string("A song")}, {clientID}}});
}

}  // namespace zelvane
