// SPDX-License-Identifier: GPL-3.0-or-later
#include "Resources/DesktopLoader.h"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>

namespace zelvane {

namespace {

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

std::filesystem::path modulePath() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return program.parent_path().parent_path() / "lib" / "zelvane" / "zelvane-desktop.so";
}

}  // namespace

std::unique_ptr<Desktop> loadDesktop(const DesktopServices& services, std::string& reason) {
    reason = "there is no display";
    if (!isSet("DISPLAY") && !isSet("WAYLAND_DISPLAY") && !isSet("QT_QPA_PLATFORM")) return nullptr;
    std::error_code error;
    reason = "its part for desktops, the package zelvane-desktop, is not installed";
    if (!std::filesystem::exists(modulePath(), error)) return nullptr;
    // It stays: what Qt registers at exit is called then.
    void* const module = ::dlopen(modulePath().c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    const auto make = reinterpret_cast<decltype(&zelvaneMakeDesktop)>(
        module != nullptr ? ::dlsym(module, "zelvaneMakeDesktop") : nullptr);
    if (make == nullptr) {
        reason = ::dlerror();
        return nullptr;
    }
    reason = "the display can't be reached";
    return std::unique_ptr<Desktop>(make(services));
}

}  // namespace zelvane
