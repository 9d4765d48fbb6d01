// SPDX-License-Identifier: GPL-3.0-or-later
#include "Benchmarks/OSC/LibloSubjects.h"

#include "Benchmarks/Common/Require.h"

#include <lo/lo.h>

#include <memory>

namespace zelvane {

namespace {

bool readWithDeserialise(Bytes& bytes) {
    int result = 0;
    lo_message message = lo_message_deserialise(bytes.data(), bytes.size(), &result);
    if (message == nullptr) return false;
    lo_message_free(message);
    return true;
}

int countMessage(const char*, const char*, lo_arg**, int, lo_message, void* count) {
    ++*static_cast<int*>(count);
    return 0;
}

/// A server that knows the player's addresses, as a client of the library would set it up.
struct Server {
    Server() : server(lo_server_new(nullptr, nullptr)) {
        require(server != nullptr, "liblo makes no server");
        for (const char* address : {"/om/note", "/om/ctl", "/om/pgm", "/om/keymap", "/om/tuning", "/vesk.µq/fifos",
                                    "/vesk.µq/start", "/vesk.µq/pause", "/vesk.µq/continue", "/vesk.µq/reset"}) {
            lo_server_add_method(server, address, nullptr, countMessage, &count);
        }
    }
    ~Server() { lo_server_free(server); }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    bool dispatch(Bytes& bytes) {
        const int before = count;
        lo_server_dispatch_data(server, bytes.data(), bytes.size());
        return count == before + 1;
    }

    lo_server server;
    int count = 0;
};

}  // namespace

Subject libloReader() {
    return {"liblo, lo_message_deserialise", readWithDeserialise};
}

Subject libloServer() {
    return {"liblo, lo_server_dispatch_data",
            [server = std::make_shared<Server>()](Bytes& bytes) { return server->dispatch(bytes); }};
}

}  // namespace zelvane
