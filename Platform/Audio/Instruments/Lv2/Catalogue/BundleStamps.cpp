// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Catalogue/BundleStamps.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>

namespace zelvane {

namespace {

/// FNV-1a over 64 bits.
class Digest {
  public:
    void add(std::string_view text) {
        for (const char character : text) addByte(static_cast<std::uint8_t>(character));
        addByte(0);
    }
    void add(std::int64_t number) {
        for (int byte = 0; byte < 8; ++byte) addByte(static_cast<std::uint8_t>(number >> (8 * byte)));
    }
    std::uint64_t value() const { return _value; }

  private:
    void addByte(std::uint8_t byte) { _value = (_value ^ byte) * 1099511628211ULL; }

    std::uint64_t _value = 14695981039346656037ULL;
};

struct FolderCloser {
    void operator()(DIR* folder) const { ::closedir(folder); }
};
using OpenFolder = std::unique_ptr<DIR, FolderCloser>;

bool isEntry(const dirent& entry) {
    return std::strcmp(entry.d_name, ".") != 0 && std::strcmp(entry.d_name, "..") != 0;
}

std::uint64_t digestOfFile(DIR* folder, const char* name) {
    Digest digest;
    digest.add(name);
    struct stat status {};
    if (::fstatat(::dirfd(folder), name, &status, 0) != 0) return digest.value();
    digest.add(static_cast<std::int64_t>(status.st_size));
    digest.add(static_cast<std::int64_t>(status.st_mtim.tv_sec));
    digest.add(static_cast<std::int64_t>(status.st_mtim.tv_nsec));
    return digest.value();
}

std::string inHexadecimal(std::uint64_t number) {
    std::array<char, 17> text{};
    std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(number));
    return text.data();
}

std::string stampOf(DIR* bundle) {
    // A sum, so that the order in which the system lists the files does not matter.
    std::uint64_t sum = 0;
    while (const dirent* entry = ::readdir(bundle)) {
        if (isEntry(*entry)) sum += digestOfFile(bundle, entry->d_name);
    }
    return inHexadecimal(sum);
}

}  // namespace

BundleStamps bundleStamps(const std::vector<std::filesystem::path>& folders) {
    BundleStamps stamps;
    for (const auto& folder : folders) {
        const OpenFolder open(::opendir(folder.c_str()));
        if (!open) continue;
        while (const dirent* entry = ::readdir(open.get())) {
            const auto bundle = (folder / entry->d_name).lexically_normal();
            const OpenFolder inside(isEntry(*entry) ? ::opendir(bundle.c_str()) : nullptr);
            if (inside) stamps.try_emplace(bundle, stampOf(inside.get()));
        }
    }
    return stamps;
}

std::string combinedStamp(const BundleStamps& stamps) {
    Digest digest;
    for (const auto& [bundle, stamp] : stamps) {
        digest.add(bundle.native());
        digest.add(stamp);
    }
    return inHexadecimal(digest.value());
}

}  // namespace zelvane
