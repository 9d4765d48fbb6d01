// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/DamagedFile.h"

#include "Platform/Foundation/AtomicFile.h"

#include <array>
#include <ctime>
#include <system_error>

namespace zelvane {

namespace {

/// A name beside the file that nothing has yet.
std::filesystem::path nameForDamaged(const std::filesystem::path& file) {
    const std::time_t present = std::time(nullptr);
    std::tm parts{};
    std::array<char, 32> date{};
    localtime_r(&present, &parts);
    std::strftime(date.data(), date.size(), ".damaged-%Y%m%d-%H%M%S", &parts);
    const std::string name = file.string() + date.data();
    std::string free = name;
    std::error_code error;
    for (int number = 2; std::filesystem::exists(free, error); ++number) {
        free = name + "-" + std::to_string(number);
    }
    return free;
}

}  // namespace

std::optional<std::filesystem::path> setAsideDamagedFile(const std::filesystem::path& file, std::string& reason) {
    const auto target = linkTarget(file).value_or(file);
    auto name = nameForDamaged(target);
    std::error_code failure;
    std::filesystem::rename(target, name, failure);
    if (!failure) return name;
    reason = failure.message();
    return std::nullopt;
}

}  // namespace zelvane
