// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/LocalizedString.h"

#include <libintl.h>

#include <algorithm>
#include <cctype>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <string_view>
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

/// It becomes the name of a folder.
bool isLanguageName(std::string_view name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char character) {
        return character == '_' || (std::isalnum(static_cast<unsigned char>(character)) != 0);
    });
}

}  // namespace

std::string localizedString(const char* english) {
    // The empty key is the catalogue's own header.
    if (english == nullptr || *english == '\0') return {};
    return dgettext(kDomain, english);
}

std::vector<std::string> userLanguages() {
    const char* locale = std::setlocale(LC_MESSAGES, nullptr);
    const std::string chosen = locale != nullptr ? locale : "C";
    if (chosen == "C" || chosen == "POSIX") return {};
    // The list that gettext goes by.
    const char* list = std::getenv("LANGUAGE");
    std::string_view rest = chosen;
    if (list != nullptr && *list != '\0') rest = list;
    std::vector<std::string> languages;
    while (!rest.empty()) {
        const std::string_view entry = rest.substr(0, rest.find(':'));
        rest.remove_prefix(std::min(rest.size(), entry.size() + 1));
        const std::string name(entry.substr(0, entry.find_first_of(".@")));
        const std::string language = name.substr(0, name.find('_'));
        if (language == "en" || language == "C") break;
        if (!isLanguageName(name)) continue;
        languages.push_back(name);
        if (language != name) languages.push_back(language);
    }
    return languages;
}

void initLocalization() {
    std::setlocale(LC_ALL, "");
    // Files, messages and libraries write numbers with a point.
    std::setlocale(LC_NUMERIC, "C");
    bindtextdomain(kDomain, catalogueFolder().c_str());
    bind_textdomain_codeset(kDomain, "UTF-8");
}

}  // namespace zelvane
