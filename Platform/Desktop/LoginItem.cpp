// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/LoginItem.h"

#include "Platform/Desktop/DesktopEntry.h"
#include "Platform/Foundation/AtomicFile.h"
#include "Platform/Foundation/Folders.h"
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/TextFile.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace zelvane {

namespace {

constexpr const char* kHidden = "Hidden";

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

bool isProgram(const std::filesystem::path& file) {
    std::error_code error;
    return std::filesystem::is_regular_file(file, error) && ::access(file.c_str(), X_OK) == 0;
}

/// By its path, or by its name in one of the folders of programs.
bool isThere(const std::string& program) {
    if (program.empty()) return false;
    if (program.find('/') != std::string::npos) return program.starts_with('/') && isProgram(program);
    std::vector<std::filesystem::path> folders = pathList(environment("PATH"));
    return std::any_of(folders.begin(), folders.end(), [&](const auto& folder) { return isProgram(folder / program); });
}

bool startsWhatIsThere(const DesktopEntry& entry) {
    const auto tried = entry.string("TryExec");
    return isThere(programOfCommand(entry.string("Exec").value_or(""))) && (!tried || isThere(*tried));
}

bool isTurnedOff(const DesktopEntry& entry) {
    const std::string desktop = environment("XDG_CURRENT_DESKTOP");
    return entry.string("X-GNOME-Autostart-enabled") == "false" || entry.listHasOneOf("NotShowIn", desktop) ||
           (entry.string("OnlyShowIn") && !entry.listHasOneOf("OnlyShowIn", desktop));
}

bool isAnyFile(const std::filesystem::path& file) {
    std::error_code error;
    const auto type = std::filesystem::symlink_status(file, error).type();
    return type != std::filesystem::file_type::not_found && type != std::filesystem::file_type::none;
}

bool write(const std::filesystem::path& file, const DesktopEntry& entry, Error& error) {
    std::string reason;
    if (writeFileAtomically(file, entry.serialized(), reason)) return true;
    error = {"LoginItem", 1, reason};
    return false;
}

}  // namespace

LoginItem::LoginItem(std::filesystem::path program, std::string name)
    : _program(std::move(program)), _name(std::move(name)) {}

LoginItem LoginItem::mainAppService() {
    std::error_code error;
    std::string program = std::filesystem::read_symlink("/proc/self/exe", error).string();
    // So the kernel calls one that was replaced while it runs.
    constexpr std::string_view kReplaced = " (deleted)";
    if (program.ends_with(kReplaced) && !isAnyFile(program)) program.resize(program.size() - kReplaced.size());
    return LoginItem(program);
}

/// The user's own file first.
std::vector<std::filesystem::path> LoginItem::files() const {
    const auto place = std::filesystem::path("autostart") / (_name + ".desktop");
    std::vector<std::filesystem::path> all{configurationFolder() / place};
    const std::string folders = environment("XDG_CONFIG_DIRS");
    for (const auto& folder : pathList(folders.empty() ? "/etc/xdg" : folders)) all.push_back(folder / place);
    return all;
}

std::optional<std::filesystem::path> LoginItem::fileInForce() const {
    const auto all = files();
    const auto found = std::find_if(all.begin(), all.end(), isAnyFile);
    return found != all.end() ? std::optional(*found) : std::nullopt;
}

LoginItem::Status LoginItem::status() const {
    const auto file = fileInForce();
    if (!file) return kNotRegistered;
    std::string reason;
    const auto text = readTextFile(*file, reason);
    const auto entry = text ? DesktopEntry::parse(*text) : std::nullopt;
    if (!entry) return kNotFound;
    if (entry->isTrue(kHidden)) return kRequiresApproval;
    if (!startsWhatIsThere(*entry)) return kNotFound;
    return isTurnedOff(*entry) ? kRequiresApproval : kEnabled;
}

bool LoginItem::registerAndReturnError(Error& error) const {
    DesktopEntry entry;
    entry.set("Type", "Application");
    entry.set("Name", "Zelvane");
    entry.set("Comment", localizedString("Plays microtones that other programs send"));
    entry.set("Exec", commandStarting(_program.string()));
    entry.set("TryExec", _program.string());
    entry.set("Icon", kIconName);
    entry.set("Terminal", "false");
    return write(files().front(), entry, error);
}

bool LoginItem::unregisterAndReturnError(Error& error) const {
    const auto file = files().front();
    std::error_code failure;
    std::filesystem::remove(file, failure);
    if (failure) {
        error = {"LoginItem", 2, failure.message()};
        return false;
    }
    if (!fileInForce()) return true;
    // One of the whole system's, which only a file of the user's can turn off.
    DesktopEntry entry;
    entry.set("Type", "Application");
    entry.set("Name", "Zelvane");
    entry.set(kHidden, "true");
    return write(file, entry, error);
}

}  // namespace zelvane
