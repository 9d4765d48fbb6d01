// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/LocalizedString.h"

#include <libintl.h>

#include <clocale>
#include <filesystem>
#include <system_error>

namespace zelvane {

namespace {

constexpr char kDomain[] = "zelvane";

/// Beside the program that runs, wherever it was installed; else where distributions put catalogues.
std::filesystem::path catalogueFolder() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    const auto beside = program.parent_path().parent_path() / "share" / "locale";
    if (!error && std::filesystem::is_directory(beside, error)) return beside;
    return "/usr/share/locale";
}

}  // namespace

std::string localizedString(const char* english) {
    // The empty key is the catalogue's own header.
    if (english == nullptr || *english == '\0') return {};
    return dgettext(kDomain, english);
}

void initLocalization() {
    std::setlocale(LC_ALL, "");
    // Files, messages and libraries write numbers with a point.
    std::setlocale(LC_NUMERIC, "C");
    bindtextdomain(kDomain, catalogueFolder().c_str());
    bind_textdomain_codeset(kDomain, "UTF-8");
}

}  // namespace zelvane
