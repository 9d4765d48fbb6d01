// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/SoundFont/SerialOpenMP.h"

#include "Platform/Audio/RealtimeScope.h"

#include <dlfcn.h>

namespace zelvane {

namespace {

constinit thread_local bool isSerial = false;

using Body = void (*)(void* data);
using ParallelRegion = void (*)(Body body, void* data, unsigned threads, unsigned flags);

ParallelRegion libraryRegion() {
    static const auto region = reinterpret_cast<ParallelRegion>(dlsym(RTLD_NEXT, "GOMP_parallel"));
    return region;
}

}  // namespace

void prepareSerialOpenMP() {
    libraryRegion();
}

SerialOpenMP::SerialOpenMP() noexcept : _former(isSerial) {
    isSerial = true;
}

SerialOpenMP::~SerialOpenMP() {
    isSerial = _former;
}

}  // namespace zelvane

/// Stands in the program itself, so that the linker prefers it to the OpenMP library's.
extern "C" [[gnu::visibility("default")]] void GOMP_parallel(zelvane::Body body, void* data, unsigned threads,
                                                             unsigned flags);

extern "C" void GOMP_parallel(zelvane::Body body, void* data, unsigned threads, unsigned flags) {
    const bool runsHere = zelvane::isSerial || zelvane::RealtimeScope::isActive();
    const zelvane::ParallelRegion region = runsHere ? nullptr : zelvane::libraryRegion();
    if (region == nullptr) return body(data);
    region(body, data, threads, flags);
}
