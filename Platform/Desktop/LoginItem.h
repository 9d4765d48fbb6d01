// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/ApplicationID.h"
#include "Platform/Foundation/Error.h"

#include <filesystem>
#include <optional>
#include <vector>

namespace zelvane {

/// The start of a program when its user logs in: an entry in the folders "autostart" of $XDG_CONFIG_HOME and of
/// $XDG_CONFIG_DIRS, where the first one found counts. Control threads.
class LoginItem {
  public:
    enum Status {
        kNotRegistered = 0,
        kEnabled = 1,
        kRequiresApproval = 2,  ///< there, but the user or the desktop has turned it off
        kNotFound = 3,          ///< the entry can't be read, or what it starts is not there
    };

    /// The item that starts the program at that path; the entry's file is `name`.desktop.
    explicit LoginItem(std::filesystem::path program, std::string name = kApplicationID);
    /// The item of the program that runs.
    static LoginItem mainAppService();

    /// As the files are now.
    Status status() const;
    /// False, with the reason, when the entry could not be written or removed.
    bool registerAndReturnError(Error& error) const;
    bool unregisterAndReturnError(Error& error) const;

  private:
    std::vector<std::filesystem::path> files() const;
    std::optional<std::filesystem::path> fileInForce() const;

    const std::filesystem::path _program;
    const std::string _name;
};

}  // namespace zelvane
