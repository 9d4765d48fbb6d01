// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/File/LibavFunctions.h"

#include "Platform/Audio/File/RecordingError.h"

#include <dlfcn.h>

#include <cerrno>
#include <mutex>
#include <string>

namespace zelvane {

// NOLINTNEXTLINE(bugprone-macro-parentheses)
#define ZELVANE_DEFINE_FUNCTION(library, name) decltype(&::name) name = nullptr;
ZELVANE_LIBAV_FUNCTIONS(ZELVANE_DEFINE_FUNCTION)
#undef ZELVANE_DEFINE_FUNCTION

namespace {

/// A library of the version that its headers belong to; it stays loaded.
void* library(const char* name, int version) {
    const std::string file = "lib" + std::string(name) + ".so." + std::to_string(version);
    void* const handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) throw RecordingError(ELIBACC, "load " + file);
    return handle;
}

void* function(void* library, const char* name) {
    void* const function = dlsym(library, name);
    if (function == nullptr) throw RecordingError(ELIBBAD, "find " + std::string(name));
    return function;
}

void load() {
    void* const avutil = library("avutil", LIBAVUTIL_VERSION_MAJOR);
    void* const swresample = library("swresample", LIBSWRESAMPLE_VERSION_MAJOR);
    void* const avcodec = library("avcodec", LIBAVCODEC_VERSION_MAJOR);
    void* const avformat = library("avformat", LIBAVFORMAT_VERSION_MAJOR);
#define ZELVANE_FIND_FUNCTION(library, name) (name) = reinterpret_cast<decltype(name)>(function((library), #name));
    ZELVANE_LIBAV_FUNCTIONS(ZELVANE_FIND_FUNCTION)
#undef ZELVANE_FIND_FUNCTION
}

}  // namespace

void loadLibav() {
    static std::once_flag once;
    std::call_once(once, load);
}

}  // namespace zelvane
