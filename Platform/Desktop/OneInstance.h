// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/FileDescriptor.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>

namespace zelvane {

/// What became of a question to the running player.
struct InstanceAnswer {
    enum class Outcome {
        answered,
        noPlayer,  ///< none runs with that folder
        silent     ///< one runs, but gave no answer in time
    };

    Outcome outcome = Outcome::noPlayer;
    std::string text;
};

/// How long the running player is waited for.
inline constexpr std::chrono::seconds kInstancePatience{5};

/// Asks the player that runs with that folder, and returns with the whole of its answer or when patience is at an end.
/// Any thread.
InstanceAnswer askFirstInstance(const std::filesystem::path& sharedFolder, const std::string& request,
                                std::chrono::milliseconds patience = kInstancePatience);

/// Sees to it that of the players which share a settings folder one runs: the first holds a socket by which the others
/// reach it.
class OneInstance {
  public:
    /// What the running player answers to a request; an empty answer counts as none.
    using Handler = std::function<std::string(const std::string& request)>;

    /// With the folder that the players share. Main thread.
    explicit OneInstance(const std::filesystem::path& sharedFolder);
    /// Ends the listening; the next player is the first.
    ~OneInstance();
    OneInstance(const OneInstance&) = delete;
    OneInstance& operator=(const OneInstance&) = delete;

    /// Whether no other player runs; also where that can't be found out.
    bool isFirst() const { return _isFirst; }

    /// Asks the first, when this isn't it.
    InstanceAnswer askFirst(const std::string& request) const { return askFirstInstance(_sharedFolder, request); }

    /// Has the handler called, on a thread of its own, when this player is asked something; an empty one ends that, and
    /// when this returns the handler before it is not called any more. When this is the first.
    void answerWith(Handler handler);

  private:
    void stopServing();
    void serve(const Handler& handler) const;

    const std::filesystem::path _sharedFolder;
    FileDescriptor _socket;  // in the abstract name space, which forgets the address with the process
    bool _isFirst = true;
    FileDescriptor _stop;
    std::jthread _server;
};

}  // namespace zelvane
