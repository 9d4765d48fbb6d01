// SPDX-License-Identifier: GPL-3.0-or-later

// A crash has to look like one to who waits for this program, also where a sanitizer would report it and end the
// program in good order; and races inside of instruments are not for us to judge.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)

#define ZELVANE_DEFAULTS \
    "handle_segv=0:handle_sigbus=0:handle_sigfpe=0:handle_sigill=0:handle_abort=0:allocator_may_return_null=1"

extern "C" const char* __asan_default_options();
extern "C" const char* __tsan_default_options();

extern "C" const char* __asan_default_options() {
    return ZELVANE_DEFAULTS;
}

extern "C" const char* __tsan_default_options() {
    return ZELVANE_DEFAULTS ":exitcode=0";
}

#endif
#endif
