// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/SoundFont/FileURL.h"

namespace zelvane {

namespace {

constexpr std::string_view kScheme = "file://";
constexpr std::string_view kLocalHost = "localhost/";
constexpr std::string_view kPlain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/!$&'()*+,;=:@";
constexpr std::string_view kDigits = "0123456789ABCDEF";

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

std::string withoutEscapes(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isEscape =
            text[i] == '%' && i + 2 < text.size() && hexDigit(text[i + 1]) >= 0 && hexDigit(text[i + 2]) >= 0;
        plain += isEscape ? static_cast<char>(hexDigit(text[i + 1]) * 16 + hexDigit(text[i + 2])) : text[i];
        if (isEscape) i += 2;
    }
    return plain;
}

}  // namespace

std::filesystem::path pathFromFileURL(std::string_view text) {
    if (!text.starts_with(kScheme)) return std::filesystem::path(text);
    text.remove_prefix(kScheme.size());
    if (text.starts_with(kLocalHost)) text.remove_prefix(kLocalHost.size() - 1);
    return withoutEscapes(text);
}

std::string fileURL(const std::filesystem::path& path) {
    std::string url(kScheme);
    for (const char c : path.native()) {
        if (kPlain.find(c) != std::string_view::npos) {
            url += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            url += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
        }
    }
    return url;
}

}  // namespace zelvane
