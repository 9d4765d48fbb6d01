// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Catalogue/Scanner/AllocationWatch.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ZELVANE_HAS_ALLOCATOR
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZELVANE_HAS_ALLOCATOR
#endif

#ifdef ZELVANE_HAS_ALLOCATOR

namespace zelvane {
void reportFailedAllocations() {}
}  // namespace zelvane

#else

#include "Platform/Foundation/LimitedProcess.h"

#include <unistd.h>

#include <atomic>
#include <cstddef>

namespace zelvane {

namespace {

std::atomic<bool> isReporting{false};  // set once by main, cleared by whichever thread reports

void* reported(void* memory) noexcept {
    constexpr char kLine[] = "memory\n";
    if (memory == nullptr && isReporting.exchange(false)) {
        [[maybe_unused]] const auto written = ::write(kReportDescriptor, kLine, sizeof kLine - 1);
    }
    return memory;
}

}  // namespace

void reportFailedAllocations() {
    isReporting = true;
}

}  // namespace zelvane

// In front of the C library's own, for all that is loaded.
extern "C" {
void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* memory, std::size_t size) noexcept;

void* malloc(std::size_t size) noexcept {
    return zelvane::reported(__libc_malloc(size));
}

void* calloc(std::size_t count, std::size_t size) noexcept {
    return zelvane::reported(__libc_calloc(count, size));
}

void* realloc(void* memory, std::size_t size) noexcept {
    void* moved = __libc_realloc(memory, size);
    return size == 0 ? moved : zelvane::reported(moved);
}
}

#endif
