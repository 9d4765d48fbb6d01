// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Log.h"
#include "Tests/Fakes/LogLines.h"

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <string>
#include <thread>
#include <vector>

namespace zelvane {

namespace {

using testing::ElementsAre;

/// Standard error as a socket that keeps every write apart.
class ErrorOutput {
  public:
    ErrorOutput() {
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, _ends.data()), 0);
        dup2(_ends[1], STDERR_FILENO);
        close(_ends[1]);
    }
    ~ErrorOutput() {
        dup2(_original, STDERR_FILENO);
        close(_original);
        close(_ends[0]);
    }

    std::string nextWrite() {
        std::array<char, 65536> bytes{};
        const ssize_t size = recv(_ends[0], bytes.data(), bytes.size(), MSG_DONTWAIT);
        return size > 0 ? std::string(bytes.data(), static_cast<std::size_t>(size)) : "nothing";
    }

  private:
    const int _original = dup(STDERR_FILENO);
    std::array<int, 2> _ends{};
};

TEST(LogTest, EveryCallIsOneWriteOfOneLineWhateverTheArgumentsHold) {
    ErrorOutput output;
    Log::write("OSCDecoder: [%@] received unknown OSC message %@",
               {"gotOSCPacket:", "/x\nOSCDecoder: [forged] line\r\x1b[2J"});
    Log::write("AudioEngine: [%@]\n%@", {"volume", std::string(9000, 'x')});
    EXPECT_EQ(output.nextWrite(),
              "OSCDecoder: [gotOSCPacket:] received unknown OSC message "
              "/x\\nOSCDecoder: [forged] line\\x0D\\x1B[2J\n");
    EXPECT_EQ(output.nextWrite(), "AudioEngine: [volume]\\n" + std::string(9000, 'x') + "\n");
    EXPECT_EQ(output.nextWrite(), "nothing");
}

TEST(LogTest, RedirectionsNestAndEndWithTheirGuard) {
    const LogLines outer;
    {
        const LogLines inner;
        std::vector<std::jthread> threads(4);
        for (std::jthread& thread : threads) {
            thread = std::jthread([] {
                for (int line = 0; line < 100; ++line) Log::write("Inner: %@", {"line"});
            });
        }
        threads.clear();
        EXPECT_EQ(inner.all(), std::vector<std::string>(400, "Inner: line"));
    }
    Log::write("Outer: %@", {"line"});
    EXPECT_THAT(outer.all(), ElementsAre("Outer: line"));
}

}  // namespace

}  // namespace zelvane
