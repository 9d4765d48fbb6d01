// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace zelvane {

/// A file by which desktops know a program: the values of its group "Desktop Entry", as they mean and not as they are
/// written. Any thread.
class DesktopEntry {
  public:
    /// None for a text without that group.
    static std::optional<DesktopEntry> parse(std::string_view text);
    std::string serialized() const;

    std::optional<std::string> string(const std::string& key) const;
    /// Only "true" is true, as other readers see it.
    bool isTrue(const std::string& key) const { return string(key) == "true"; }
    void set(const std::string& key, std::string value) { _values.insert_or_assign(key, std::move(value)); }

    /// Whether a list of names, each ended by a semicolon, has one of those between the colons of the other.
    bool listHasOneOf(const std::string& key, std::string_view names) const;

  private:
    std::map<std::string, std::string> _values;
};

/// The value of "Exec" that starts the program without arguments, whatever is in its path.
std::string commandStarting(const std::string& program);

/// The program that the value of "Exec" starts, as it is named there. Empty when there is none.
std::string programOfCommand(std::string_view command);

}  // namespace zelvane
