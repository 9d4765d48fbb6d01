// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/RunLoop.h"
#include "Platform/OSC/OSCConnection.h"
#include "Tests/Fakes/BusyCore.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/LoopbackSocket.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <functional>
#include <thread>

namespace zelvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using Value = OSCArgument::Value;

constexpr Duration kPatience = 20s;

TimePoint machineNow() {
    return Clock::monotonic().now();
}

std::string note(int number) {
    const auto bytes = serializeOSCMessage({"/om/note", {Value(number), Value(100), Value(1000), Value(1)}});
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// The largest packet that UDP carries.
std::string largestPacket() {
    std::string packet("/a\0\0,b\0\0\0\0\xFF\xD4", 12);
    packet.resize(65'504);
    return packet;
}

struct Delivery {
    int number;
    std::string host;
    std::uint16_t port;
    TimePoint eventTime;
};

class OSCConnectionTest : public testing::Test, public OSCConnectionDelegate {
  protected:
    OSCConnectionTest() {
        _runLoop.attachToCurrentThread();
        _connection->setDelegate(this);
        _connection->setContinuouslyReceivePackets(true);
        EXPECT_TRUE(_connection->bindToAddress("127.0.0.1", 0, _error)) << _error.description;
        _port = _connection->localPort();
    }

    void oscConnection(OSCConnection&, const OSCPacket& packet, const std::string& host, std::uint16_t port) override {
        const auto& arguments = packet.message().arguments;
        const int number = arguments.empty() ? 0 : arguments[0].intValue().value_or(0);
        _deliveries.push_back({number, host, port, RunLoop::now()});
        if (_onDelivery) _onDelivery();
    }

    bool runUntil(const std::function<bool()>& isDone) {
        const TimePoint end = machineNow() + kPatience;
        while (!isDone() && machineNow() < end) _runLoop.runOnce(machineNow() + 5ms);
        return isDone();
    }

    bool runUntilDelivered(std::size_t count) {
        return runUntil([this, count] { return _deliveries.size() >= count; });
    }

    /// Runs what the run loop has to do now, and tells how much it was.
    int runRest() {
        int passes = 0;
        while (_runLoop.runOnce(machineNow())) ++passes;
        return passes;
    }

    std::vector<int> numbers() const {
        std::vector<int> result;
        for (const auto& delivery : _deliveries) result.push_back(delivery.number);
        return result;
    }

    int delivered() const { return static_cast<int>(_deliveries.size()); }

    int reportedLost() {
        int sum = 0;
        for (const auto& line : _log.all()) {
            int lost = 0;
            std::sscanf(line.c_str(), "OSCConnection: [receivePacket] %d packets came faster than they could", &lost);
            sum += lost;
        }
        return sum;
    }

    LogLines _log;
    RunLoop _runLoop;
    Error _error;
    std::vector<Delivery> _deliveries;
    std::function<void()> _onDelivery;
    std::unique_ptr<OSCConnection> _connection = std::make_unique<OSCConnection>();
    std::uint16_t _port = 0;
};

// Read long after they came, so that only the kernel can know when that was. It begins to note the time a moment after
// the first socket has asked for it, hence the rounds.
TEST_F(OSCConnectionTest, DeliversWithSenderAndTheTimeOfReceipt) {
    const LoopbackSocket client;
    _connection->setContinuouslyReceivePackets(false);
    const TimePoint end = machineNow() + kPatience;
    TimePoint before, after;
    do {
        _deliveries.clear();
        before = machineNow();
        for (int number = 1; number <= 2; ++number) client.send(note(number), _port);
        after = machineNow();
        while (machineNow() < after + 20ms) std::this_thread::yield();
        for (int number = 1; number <= 2; ++number) _connection->receivePacket();
        ASSERT_TRUE(runUntilDelivered(2));
    } while (_deliveries[1].eventTime > after + 1ms && machineNow() < end);
    EXPECT_THAT(numbers(), ElementsAre(1, 2));
    EXPECT_EQ(_deliveries[0].host, "127.0.0.1");
    EXPECT_EQ(_deliveries[0].port, client.port());
    EXPECT_GE(_deliveries[0].eventTime, before - 1ms);
    EXPECT_LE(_deliveries[0].eventTime, _deliveries[1].eventTime);
    EXPECT_LE(_deliveries[1].eventTime, after + 1ms);
}

TEST_F(OSCConnectionTest, DeliversOnePacketForEachRequestUnlessContinuous) {
    const LoopbackSocket client;
    _connection->setContinuouslyReceivePackets(false);
    _connection->setDelegate(nullptr);
    _connection->receivePacket();
    client.send(note(0), _port);
    ASSERT_TRUE(_runLoop.runOnce(machineNow() + kPatience)) << "nobody takes it";
    _connection->setDelegate(this);
    client.send("no packet", _port);
    for (int number = 1; number <= 4; ++number) client.send(note(number), _port);
    for (int requested = 1; requested <= 2; ++requested) {
        _connection->receivePacket();
        ASSERT_TRUE(runUntilDelivered(1));
        const TimePoint end = machineNow() + 50ms;
        while (machineNow() < end) _runLoop.runOnce(end);
        EXPECT_THAT(numbers(), ElementsAre(requested));
        _deliveries.clear();
    }
    _connection->setContinuouslyReceivePackets(true);
    ASSERT_TRUE(runUntilDelivered(2));
    EXPECT_THAT(numbers(), ElementsAre(3, 4));
}

TEST_F(OSCConnectionTest, TakesNoPortThatAnotherSocketHas) {
    for (const bool isShared : {false, true}) {
        const LoopbackSocket other(SOCK_DGRAM, isShared);
        OSCConnection second;
        Error error;
        EXPECT_FALSE(second.bindToAddress("127.0.0.1", other.port(), error));
        EXPECT_EQ(error.domain, "OSCConnection");
        EXPECT_EQ(error.code, EADDRINUSE);
        EXPECT_EQ(error.description, "Sorry, OSC is unable to listen on 127.0.0.1 port " +
                                         std::to_string(other.port()) +
                                         ", which another program (or another player) is using.");
        EXPECT_EQ(second.localPort(), 0);
    }
    OSCConnection second;
    Error error;
    ASSERT_FALSE(second.bindToAddress("127.0.0.1", _port, error));
    _connection->receivePacket();
    _connection->disconnect();
    EXPECT_EQ(_connection->localPort(), 0);
    EXPECT_TRUE(second.bindToAddress("127.0.0.1", _port, error)) << error.description;
}

TEST_F(OSCConnectionTest, RefusesWhatIsNoNumericAddress) {
    OSCConnection connection;
    for (const char* host : {"", "localhost", "::1", "127.0.0.256"}) {
        Error error;
        EXPECT_FALSE(connection.bindToAddress(host, 0, error));
        EXPECT_TRUE(error.description.starts_with("Sorry, ")) << error.description;
        EXPECT_FALSE(connection.connectToHost(host, 3010, error));
        EXPECT_TRUE(error.description.starts_with("Sorry, ")) << error.description;
    }
    EXPECT_FALSE(connection.connectToHost("127.0.0.1", 0, _error));
    connection.receivePacket();
    EXPECT_THAT(_log.all(),
                ElementsAre("OSCConnection: [receivePacket] unable to receive, the connection is bound to no address"));
}

// All packets wait in the socket before the reader starts, so it has handed many on when the first one is delivered.
TEST_F(OSCConnectionTest, DeliversNothingAfterDisconnect) {
    const LoopbackSocket client;
    for (int number = 1; number <= 20; ++number) client.send(note(number), _port);
    _onDelivery = [this] { _connection->disconnect(); };
    _connection->receivePacket();
    ASSERT_TRUE(runUntilDelivered(1));
    EXPECT_EQ(runRest(), 19);
    EXPECT_THAT(numbers(), ElementsAre(1));
}

TEST_F(OSCConnectionTest, MayGoAwayWhileItDeliversAndStartAgainAfterDisconnect) {
    const LoopbackSocket client;
    for (int round = 0; round < 3; ++round) {
        _connection->receivePacket();
        client.send(note(round), _port);
        ASSERT_TRUE(runUntilDelivered(1));
        _deliveries.clear();
        _connection->disconnect();
        ASSERT_TRUE(_connection->bindToAddress("127.0.0.1", _port, _error)) << _error.description;
    }
    for (int number = 1; number <= 20; ++number) client.send(note(number), _port);
    _onDelivery = [this] { _connection.reset(); };
    _connection->receivePacket();
    ASSERT_TRUE(runUntilDelivered(1));
    runRest();
    EXPECT_THAT(numbers(), ElementsAre(1));
}

TEST_F(OSCConnectionTest, LogsWhatItCannotReadOnceForEachSenderAndReason) {
    const LoopbackSocket first, second;
    _connection->receivePacket();
    for (int repeat = 0; repeat < 3; ++repeat) {
        first.send("", _port);
        first.send(std::string("/a\0\0,x\0\0", 8), _port);
        second.send(std::string(65'507, 'x'), _port);
    }
    first.send(note(1), _port);
    ASSERT_TRUE(runUntilDelivered(1));
    const auto line = [](const LoopbackSocket& client, const std::string& reason) {
        return "OSCConnection: [receivePacket] packet from 127.0.0.1:" + std::to_string(client.port()) +
               " cannot be read: " + reason;
    };
    EXPECT_THAT(_log.all(), ElementsAre(line(first, "empty packet"), line(first, "unknown type tag 'x'"),
                                        line(second, "size is not a multiple of 4")));
    EXPECT_EQ(_connection->counts().unreadable, 9U);
}

// More than any receive buffer takes and than may wait for the run loop: every packet is delivered or counted as lost.
TEST_F(OSCConnectionTest, CountsWhatTheKernelDropped) {
    constexpr int kSent = 1000;
    const LoopbackSocket client;
    const std::string packet = largestPacket();
    for (int number = 0; number < kSent; ++number) client.send(packet, _port);
    _connection->receivePacket();
    EXPECT_TRUE(runUntil([this] { return delivered() + reportedLost() == kSent; })) << delivered();
    EXPECT_GT(reportedLost(), 0);
    EXPECT_EQ(_log.all().size(), 1U);
    _connection->disconnect();
    EXPECT_EQ(_connection->counts().lost, static_cast<std::uint64_t>(reportedLost()));
}

TEST_F(OSCConnectionTest, SendsToAClientThatComesUpLate) {
    auto client = std::make_unique<OSCConnection>();
    ASSERT_TRUE(client->bindToAddress("127.0.0.1", 0, _error));
    const std::uint16_t port = client->localPort();
    client->disconnect();
    OSCConnection sender;
    ASSERT_TRUE(sender.connectToHost("127.0.0.1", port, _error)) << _error.description;
    sender.sendPacket({"/vesk.mq/more", {Value(1)}});
    ASSERT_TRUE(client->bindToAddress("127.0.0.1", port, _error)) << _error.description;
    client->setDelegate(this);
    client->receivePacket();
    sender.sendPacket({"/vesk.mq/more", {Value(2)}});
    ASSERT_TRUE(runUntilDelivered(1));
    EXPECT_THAT(numbers(), ElementsAre(2));
}

// Without privileges and with a system that grants little room some of it may get lost, which must be told.
TEST_F(OSCConnectionTest, LosesNoneOfABurstWhileAProcessorIsBusy) {
    constexpr int kBurst = 20'000;
    const BusyCore busy;
    _connection->receivePacket();
    const TimePoint start = machineNow();
    const std::jthread sender([port = _port] {
        std::vector<std::string> notes;
        notes.reserve(kBurst);
        for (int number = 0; number < kBurst; ++number) notes.push_back(note(number));
        LoopbackSocket().sendAll(notes, port);
    });
    EXPECT_TRUE(runUntil([this] { return delivered() + reportedLost() == kBurst; })) << delivered();
    const bool hasRoom = LoopbackSocket().mayHaveReceiveBufferOf(4 * 1024 * 1024);
    EXPECT_TRUE(_log.all().empty() || !hasRoom) << _log.all()[0];
    TimePoint lastTime = start - 1ms;
    int lastNumber = -1;
    for (const auto& delivery : _deliveries) {
        ASSERT_GT(delivery.number, lastNumber);
        ASSERT_GE(delivery.eventTime, lastTime);
        lastNumber = delivery.number;
        lastTime = delivery.eventTime;
    }
    EXPECT_LE(lastTime, machineNow());
}

}  // namespace
}  // namespace zelvane
