// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/FileDescriptor.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <thread>

namespace zelvane {

/// Sees to it that of the players which share a settings folder one runs: the first holds a socket by which the others
/// reach it.
class OneInstance {
  public:
    /// What the running player answers to one that was started after it.
    using Handler = std::function<std::string()>;

    /// With the folder that the players share. Main thread.
    explicit OneInstance(const std::filesystem::path& sharedFolder);
    /// Ends the listening; the next player is the first.
    ~OneInstance();
    OneInstance(const OneInstance&) = delete;
    OneInstance& operator=(const OneInstance&) = delete;

    /// Whether no other player runs; also where that can't be found out.
    bool isFirst() const { return _isFirst; }

    /// Asks the running player to show itself; its answer, or none when it gives none within a few seconds.
    std::optional<std::string> callFirst() const;

    /// Has the handler called, on a thread of its own, when another player was started; an empty one ends that, and
    /// when this returns the handler before it is not called any more. When this is the first.
    void answerWith(Handler handler);

  private:
    void stopServing();
    void serve(const Handler& handler) const;

    std::string _address;  // in the abstract name space, which forgets the address with the process
    FileDescriptor _socket;
    bool _isFirst = true;
    FileDescriptor _stop;
    std::jthread _server;
};

}  // namespace zelvane
