// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/RealtimeGuard.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define ZELVANE_GUARD_IS_OFF
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZELVANE_GUARD_IS_OFF
#endif

#ifdef ZELVANE_GUARD_IS_OFF

namespace zelvane {
bool RealtimeGuard::isEnabled() {
    return false;
}
void RealtimeGuard::reset() {}
RealtimeViolations RealtimeGuard::violations() {
    return {};
}
std::string RealtimeGuard::firstOffender() {
    return {};
}
}  // namespace zelvane

#else

#include "Platform/Audio/RealtimeScope.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <ctime>

namespace zelvane {

namespace {

constexpr int kMostFrames = 32;

// Counters are written by any thread inside a scope and read by the test.
std::atomic<unsigned long> allocations{0};
std::atomic<unsigned long> locks{0};
std::atomic<unsigned long> systemCalls{0};
std::array<void*, kMostFrames> firstFrames;  // written by the thread that won `isFirstTaken`
std::atomic<bool> isFirstTaken{false};
std::atomic<int> firstDepth{0};

void note(std::atomic<unsigned long>& counter) noexcept {
    if (!RealtimeScope::isActive()) return;
    const RealtimeExemption exemption("the backtrace may allocate");
    counter.fetch_add(1, std::memory_order_relaxed);
    if (!isFirstTaken.exchange(true)) firstDepth = backtrace(firstFrames.data(), kMostFrames);
}

/// The library's own function behind one that this file stands in front of.
template <typename Function>
Function* next(const char* name) noexcept {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

bool RealtimeGuard::isEnabled() {
    return true;
}

void RealtimeGuard::reset() {
    std::array<void*, 2> frames{};
    backtrace(frames.data(), 2);  // loads what it needs now rather than at the first violation
    allocations = locks = systemCalls = 0;
    firstDepth = 0;
    isFirstTaken = false;
}

RealtimeViolations RealtimeGuard::violations() {
    return {allocations, locks, systemCalls};
}

std::string RealtimeGuard::firstOffender() {
    std::string lines;
    char** symbols = backtrace_symbols(firstFrames.data(), firstDepth);
    for (int i = 0; symbols != nullptr && i < firstDepth; ++i) lines += std::string(symbols[i]) + '\n';
    std::free(symbols);
    return lines;
}

}  // namespace zelvane

using zelvane::allocations;
using zelvane::locks;
using zelvane::next;
using zelvane::note;
using zelvane::systemCalls;

extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* memory);

void* malloc(std::size_t size) noexcept {
    note(allocations);
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept {
    note(allocations);
    return __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size) noexcept {
    note(allocations);
    return __libc_realloc(memory, size);
}

void* memalign(std::size_t alignment, std::size_t size) noexcept {
    note(allocations);
    return __libc_memalign(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    note(allocations);
    return __libc_memalign(alignment, size);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size) noexcept {
    note(allocations);
    *memory = __libc_memalign(alignment, size);
    return *memory != nullptr ? 0 : ENOMEM;
}

void free(void* memory) noexcept {
    if (memory != nullptr) note(allocations);
    __libc_free(memory);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
    static auto* const function = next<int(pthread_mutex_t*)>("pthread_mutex_lock");
    note(locks);
    return function(mutex);
}

int pthread_cond_signal(pthread_cond_t* condition) noexcept {
    static auto* const function = next<int(pthread_cond_t*)>("pthread_cond_signal");
    note(locks);
    return function(condition);
}

int pthread_cond_broadcast(pthread_cond_t* condition) noexcept {
    static auto* const function = next<int(pthread_cond_t*)>("pthread_cond_broadcast");
    note(locks);
    return function(condition);
}

int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    static auto* const function = next<int(pthread_cond_t*, pthread_mutex_t*)>("pthread_cond_wait");
    note(locks);
    return function(condition, mutex);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) noexcept {
    static auto* const function =
        next<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>("pthread_create");
    note(systemCalls);
    return function(thread, attributes, body, argument);
}

int sem_post(sem_t* semaphore) noexcept {
    static auto* const function = next<int(sem_t*)>("sem_post");
    note(locks);
    return function(semaphore);
}

int sem_wait(sem_t* semaphore) {
    static auto* const function = next<int(sem_t*)>("sem_wait");
    note(locks);
    return function(semaphore);
}

ssize_t read(int file, void* buffer, std::size_t size) {
    static auto* const function = next<ssize_t(int, void*, std::size_t)>("read");
    note(systemCalls);
    return function(file, buffer, size);
}

ssize_t write(int file, const void* buffer, std::size_t size) {
    static auto* const function = next<ssize_t(int, const void*, std::size_t)>("write");
    note(systemCalls);
    return function(file, buffer, size);
}

int open(const char* path, int flags, ...) {
    static auto* const function = next<int(const char*, int, ...)>("open");
    std::va_list arguments;
    va_start(arguments, flags);
    const auto mode = va_arg(arguments, mode_t);
    va_end(arguments);
    note(systemCalls);
    return function(path, flags, mode);
}

int close(int file) {
    static auto* const function = next<int(int)>("close");
    note(systemCalls);
    return function(file);
}

int ioctl(int file, unsigned long request, ...) noexcept {
    static auto* const function = next<int(int, unsigned long, ...)>("ioctl");
    std::va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    note(systemCalls);
    return function(file, request, argument);
}

int poll(pollfd* files, nfds_t count, int timeout) {
    static auto* const function = next<int(pollfd*, nfds_t, int)>("poll");
    note(systemCalls);
    return function(files, count, timeout);
}

ssize_t send(int socket, const void* buffer, std::size_t size, int flags) {
    static auto* const function = next<ssize_t(int, const void*, std::size_t, int)>("send");
    note(systemCalls);
    return function(socket, buffer, size, flags);
}

int nanosleep(const timespec* duration, timespec* remaining) {
    static auto* const function = next<int(const timespec*, timespec*)>("nanosleep");
    note(systemCalls);
    return function(duration, remaining);
}

int clock_nanosleep(clockid_t clock, int flags, const timespec* time, timespec* remaining) {
    static auto* const function = next<int(clockid_t, int, const timespec*, timespec*)>("clock_nanosleep");
    note(systemCalls);
    return function(clock, flags, time, remaining);
}

// Under a name of our own, since the header's declaration has it throw nothing: libjack waits in a system call and has
// its threads cancelled there, which unwinds through this frame.
long guardedSystemCall(long number, ...) __asm__("syscall");

long guardedSystemCall(long number, ...) {
    static auto* const function = next<long(long, ...)>("syscall");
    std::va_list arguments;
    va_start(arguments, number);
    std::array<long, 6> words{};
    for (long& word : words) word = va_arg(arguments, long);
    va_end(arguments);
    note(systemCalls);
    return function(number, words[0], words[1], words[2], words[3], words[4], words[5]);
}

}  // extern "C"

#endif
