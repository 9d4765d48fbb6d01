// SPDX-License-Identifier: GPL-3.0-or-later
#include "PYMIDI/PYMIDIManager.h"
#include "Platform/Foundation/Log.h"
#include "Sources/Zelvane/Zelvane.h"
#include "Tests/Fakes/DrivenClock.h"
#include "Tests/Fakes/MemoryMIDI.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace zelvane {
namespace {

/// Whatever is decoded, encoding it again gives an archive of the same endpoint.
void checkArchive(const PropertyList::Data& data) {
    const auto endpoint = Zelvane::decodeMidiEndpoint(data);
    if (endpoint == nullptr) return;
    const auto again = Zelvane::decodeMidiEndpoint(Zelvane::encodeMidiEndpoint(endpoint));
    if (again == nullptr || again->archivedClassName() != endpoint->archivedClassName() ||
        again->name() != endpoint->name())
        std::abort();
}

}  // namespace
}  // namespace zelvane

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace zelvane;
    static auto* silence = new auto(Log::redirect([](std::string_view) {}));
    static auto* clock = new DrivenClock;
    static auto* loop = new RunLoop(*clock);
    static auto* midi = new MemoryMIDI(*loop);
    static int inputs = 0;
    (void)silence;
    const auto* bytes = reinterpret_cast<const std::byte*>(data);
    checkArchive({bytes, bytes + size});
    // The manager keeps every endpoint that it was ever told of.
    if (++inputs % 1000 == 0) midi->restart();
    return 0;
}
