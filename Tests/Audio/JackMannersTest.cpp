// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/Jack/JackBackEnd.h"
#include "Platform/Jack/JackLatencies.h"
#include "Platform/Jack/JackLibraries.h"
#include "Platform/MIDI/Jack/JackMIDIBackEnd.h"
#include "Tests/Audio/SoundServersTest.h"
#include "Tests/Fakes/JackServer.h"
#include "Tests/MIDI/MIDIEar.h"

#include <gmock/gmock.h>

#include <array>
#include <sstream>
#include <string>

namespace zelvane {
namespace {

using Range = JackThroughput::Range;

/// Another client, which sees what all see and has a keyboard with a latency of its own.
class Onlooker {
  public:
    static constexpr Range kKeyboard{64, 80};

    Onlooker() {
        const JackLibrary& library = client->library();
        _keys = {library.portRegister(client->handle(), "keys", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0)};
        _latencies.setHandlers(
            {.capture = [this] { _latencies.setRange(_keys, JackCaptureLatency, kKeyboard); }, .playback = [] {}});
        // The server asks those only that run in its cycles.
        library.setProcessCallback(
            client->handle(), [](jack_nframes_t, void*) { return 0; }, nullptr);
        EXPECT_EQ(library.activate(client->handle()), 0);
    }
    ~Onlooker() { client->library().deactivate(client->handle()); }
    Onlooker(const Onlooker&) = delete;
    Onlooker& operator=(const Onlooker&) = delete;

    Range latency(const std::string& port, jack_latency_callback_mode_t mode) const {
        const std::array ports{client->library().portByName(client->handle(), port.c_str())};
        return ports[0] != nullptr ? _latencies.range(ports, mode) : Range{1, 0};
    }

    JackLibraries libraries;
    std::unique_ptr<JackClient> client = libraries.openClient("Onlooker");

  private:
    JackLatencies _latencies{*client};
    std::array<jack_port_t*, 1> _keys{};
};

class JackManners : public testing::Test {
  protected:
    bool start() {
        stream = backEnd.open({}, {}, error);
        return stream && stream->start(renderer);
    }
    /// What the server tells of a port ("--port") or client ("--client").
    std::string properties(const std::string& kind, const std::string& name) {
        return server.answer({"jack_property", kind, "-l", name});
    }
    bool isWired(const std::string& output, const std::string& input) {
        std::istringstream lines(server.wires());
        std::string port;
        for (std::string line; std::getline(lines, line);) {
            if (!line.starts_with(' ')) port = line;
            if (port == "Zelvane:" + output && line == "   " + input) return true;
        }
        return false;
    }
    /// Some rounds of the upkeep, which comes every 200 ms.
    bool hasHadTime() {
        const std::size_t seen = renderer.count();
        return waitFor([&] { return renderer.count() > seen + 200; });
    }

    JackServer server;
    JackPresence presence;
    RecordingRenderer renderer;
    JackBackEnd backEnd{presence};
    Error error;
    std::unique_ptr<AudioStream> stream;
};

TEST_F(JackManners, tellsNamesOrderAndIcon) {
    ASSERT_TRUE(server.start());
    const Onlooker onlooker;
    ASSERT_TRUE(start());
    const auto isTold = [this](const char* kind, const char* name, const std::string& key, const std::string& value) {
        const std::string line = "http://jackaudio.org/metadata/" + key + " value: " + value;
        return waitFor([&] { return properties(kind, name).find(line) != std::string::npos; });
    };
    EXPECT_TRUE(isTold("--port", "Zelvane:out_left", "order", "1"));
    EXPECT_TRUE(isTold("--port", "Zelvane:out_right", "order", "2"));
    EXPECT_TRUE(isTold("--port", "Zelvane:out_left", "pretty-name", "Left"));
    EXPECT_TRUE(isTold("--port", "Zelvane:out_right", "pretty-name", "Right"));
    EXPECT_TRUE(isTold("--client", "Zelvane", "icon-name", "zelvane"));
    stream.reset();
    // The server gives the port's number to the next one.
    jack_port_t* next = onlooker.client->library().portRegister(onlooker.client->handle(), "next",
                                                                JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0);
    ASSERT_NE(next, nullptr);
    EXPECT_EQ(properties("--port", "Onlooker:next"), "");
}

TEST_F(JackManners, tellsHowOldItsSoundIsAndWhenMessagesAreHeard) {
    ASSERT_TRUE(server.start(48000, 256));
    const Onlooker onlooker;
    MIDIEar ear;
    JackMIDIBackEnd midi(presence);
    ASSERT_TRUE(midi.open(ear, error)) << error.description;
    ASSERT_TRUE(midi.createVirtual(1, MIDIDirection::destination, "Zelvane"));
    ASSERT_TRUE(start());
    const auto isTold = [&](std::uint32_t period, Range age) {
        const Range ahead = onlooker.latency("system:playback_1", JackPlaybackLatency);
        const std::uint32_t own = renderer.latencyFrames(period);
        const bool isSound = waitFor([&] {
            return onlooker.latency("Zelvane:out_left", JackCaptureLatency) == age + own &&
                   onlooker.latency("Zelvane:out_right", JackCaptureLatency) == age + own;
        });
        const bool isMessage =
            waitFor([&] { return onlooker.latency("Zelvane MIDI:Zelvane", JackPlaybackLatency) == ahead + own; });
        EXPECT_EQ(onlooker.latency("Zelvane:out_left", JackPlaybackLatency), ahead);
        EXPECT_GT(ahead.least, 0U) << "or there is nothing to be seen";
        return isSound && isMessage;
    };
    EXPECT_TRUE(isTold(256, {})) << onlooker.latency("Zelvane:out_left", JackCaptureLatency).most;
    ASSERT_TRUE(server.tool({"jack_connect", "Onlooker:keys", "Zelvane MIDI:Zelvane"}));
    EXPECT_TRUE(isTold(256, Onlooker::kKeyboard));
    ASSERT_TRUE(server.tool({"jack_bufsize", "1024"}));
    EXPECT_TRUE(isTold(1024, Onlooker::kKeyboard));
    EXPECT_TRUE(waitFor([&] {
        return onlooker.latency("Onlooker:keys", JackPlaybackLatency) ==
               onlooker.latency("Zelvane MIDI:Zelvane", JackPlaybackLatency);
    })) << "who plays on it can compensate";
    stream.reset();
    EXPECT_TRUE(waitFor([&] { return onlooker.latency("Zelvane MIDI:Zelvane", JackPlaybackLatency) == Range(); }));
}

TEST_F(JackManners, leavesTheWiresToASession) {
    ASSERT_TRUE(server.start());
    presence.clientName = "Zelvane.nABC";
    presence.connectsAtStart = false;
    JackBackEnd managed(presence);
    const auto opens = [&](const std::string& device) {
        stream.reset();
        stream = managed.open(device, {}, error);
        return stream && stream->start(renderer);
    };
    // The default, and then what is stored.
    for (const char* device : {"", "JACK: system"}) {
        ASSERT_TRUE(opens(device));
        ASSERT_TRUE(hasHadTime());
        EXPECT_THAT(server.wires(), testing::HasSubstr("Zelvane.nABC:out_left\n"));
        EXPECT_THAT(server.wires(), testing::Not(testing::HasSubstr("\n   ")));
        EXPECT_EQ(stream->state(), AudioStreamState::alive);
    }
    // The user's own choice later.
    presence.hasStarted->store(true);
    ASSERT_TRUE(opens(""));
    EXPECT_TRUE(
        waitFor([&] { return server.wires().find("\nZelvane.nABC:out_left\n   system") != std::string::npos; }));
    stream.reset();
}

using WiredController = WithController<JackManners, JackBackEnd>;

TEST_F(WiredController, laysTheUsersWiresAgain) {
    ASSERT_TRUE(server.start());
    controller.select({"JACK", "JACK: system"});
    ASSERT_TRUE(isHeardOn("JACK: system"));
    ASSERT_TRUE(waitFor([&] { return isWired("out_left", "system:playback_1"); }));
    ASSERT_TRUE(server.tool({"jack_disconnect", "Zelvane:out_left", "system:playback_1"}));
    ASSERT_TRUE(server.tool({"jack_connect", "Zelvane:out_left", "system:playback_2"}));
    ASSERT_TRUE(hasHadTime());
    ASSERT_TRUE(server.tool({"jack_bufsize", "512"}));
    ASSERT_TRUE(hasHadTime());
    for (const char* when : {"another period", "another server"}) {
        EXPECT_TRUE(waitFor([&] { return isWired("out_left", "system:playback_2"); }))
            << when << ": " << server.wires();
        EXPECT_TRUE(isWired("out_right", "system:playback_2")) << when << ": " << server.wires();
        ASSERT_TRUE(hasHadTime());
        EXPECT_FALSE(isWired("out_left", "system:playback_1")) << when << ": " << server.wires();
        server.kill();
        ASSERT_TRUE(isHeardOn("null"));
        ASSERT_TRUE(server.start());
        ASSERT_TRUE(isHeardOn("JACK: system"));
    }
}

}  // namespace
}  // namespace zelvane
