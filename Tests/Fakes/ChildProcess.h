// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace zelvane {

/// A program that a test runs beside itself; it is ended with the object, or with the thread that made it.
class ChildProcess {
  public:
    using Environment = std::map<std::string, std::string>;

    /// Starts it with these variables on top of the test's own. Its output goes to the file, or nowhere.
    ChildProcess(const std::vector<std::string>& command, const Environment& environment,
                 const std::string& outputFile = {});
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t id() const { return _process; }
    void signal(int number) const;
    /// Ends it as a crash would.
    void kill();
    bool hasEnded();
    /// Its exit status once it has ended by itself; -1 when it was killed.
    int wait();

    /// Runs a program to its end. True when it succeeded.
    static bool run(const std::vector<std::string>& command, const Environment& environment,
                    const std::string& outputFile = {});

  private:
    pid_t _process = -1;
};

/// The command that runs a program so that its errors go where its output goes.
std::vector<std::string> withErrors(const std::string& program, const std::vector<std::string>& options);

/// Looks every few milliseconds whether the condition holds, for at most that long; unless told, for much longer than
/// it can take on a machine that is held up.
bool waitFor(const std::function<bool()>& condition, double seconds = 30);

}  // namespace zelvane
