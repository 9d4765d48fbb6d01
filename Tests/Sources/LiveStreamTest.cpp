// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/Null/NullBackEnd.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontProvider.h"
#include "Sources/AppDelegate.h"
#include "Sources/ConsoleShell.h"
#include "Tests/Fakes/BusyCore.h"
#include "Tests/Fakes/LoopbackSocket.h"
#include "Tests/Fakes/MemoryMIDI.h"
#include "Tests/Fakes/OneOf.h"
#include "Tests/Fakes/OnsetFinder.h"
#include "Tests/Fakes/RecordingInstrument.h"
#include "Tests/Fakes/TemporaryFolder.h"
#include "Tests/Fakes/TinySoundFont.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

namespace zelvane {
namespace {

using namespace std::chrono_literals;

struct SilentShell : ConsoleShell {
    void presentAlert(const Error& error, bool) override { ADD_FAILURE() << error.description; }
    void showStatus(const PlayerStatus&) override {}
};

/// A whole application in this process, on the paced device in real time, with what the graph renders recorded.
class LivePlayer {
  public:
    LivePlayer(std::unique_ptr<AudioComponentProvider> provider, std::uint32_t period)
        : _platform(oneOf<AudioDeviceBackEnd>(std::make_unique<NullBackEnd>()), oneOf(std::move(provider))),
          _application(_mainRunLoop, _platform, _defaults, _shell) {
        _mainRunLoop.attachToCurrentThread();
        _defaults.setArgument("port", {std::int64_t{0}});
        _application.applicationDidFinishLaunching(true);
        while (_application.zelvane()->listeningPort() == 0) _mainRunLoop.runOnce();
        _platform.controller.setPeriodFrames(period);
        EXPECT_EQ(_platform.graph.format().periodFrames, period);
        record();
    }

    /// In one bundle, so that the sender's own pace plays no part.
    void sendStream(const std::vector<double>& deltas) {
        std::vector<std::byte> bundle;
        const auto append = [&](const auto& bytes) { bundle.insert(bundle.end(), bytes.begin(), bytes.end()); };
        append(std::as_bytes(std::span("#bundle\0\0\0\0\0\0\0\1", 16)));
        const auto appendMessage = [&](const OSCMessage& message) {
            const auto bytes = serializeOSCMessage(message);
            const std::uint32_t size = htonl(static_cast<std::uint32_t>(bytes.size()));
            append(std::as_bytes(std::span(&size, 1)));
            append(bytes);
        };
        for (const double delta : deltas) appendMessage({"/vesk.µq/fifos", {{delta}, {60.0F}, {100}, {3}, {1}}});
        appendMessage({"/vesk.µq/start", {}});
        LoopbackSocket().send({reinterpret_cast<const char*>(bundle.data()), bundle.size()},
                              _application.zelvane()->listeningPort());
    }

    void send(const std::uint8_t status, const std::uint8_t data) {
        for (std::int32_t unit = 1; unit <= 10; ++unit) MusicDeviceMIDIEvent(engineUnit(unit), status, data, 0, 0);
    }

    /// So long that the device left something out, or that a note may have been late.
    bool wasHeldUp() const { return _platform.controller.status().xruns > 0 || _longestDelay > 2ms; }

    /// Waits until so much more was recorded.
    std::span<const float> recordSeconds(double seconds) {
        const std::size_t end = _count + static_cast<std::size_t>(seconds * 48000);
        while (_count < end) {
            const TimePoint due = Clock::monotonic().now() + 5ms;
            _mainRunLoop.runOnce(due);
            _longestDelay = std::max(_longestDelay, Clock::monotonic().now() - due);
        }
        return std::span(_recorded).first(_count);
    }

  private:
    AudioUnit* engineUnit(std::int32_t number) {
        return _application.zelvane()->audioEngine().audioUnitFromMicroUnit(number);
    }

    void record() {
        _recorded.resize(48000 * 20);
        _application.zelvane()->audioEngine().avEngine().mainMixerNode()->installTapOnBus(
            0, 64, [this](const AVAudioPCMBuffer& buffer, const AVAudioTime&) {
                const std::size_t count = _count;
                if (count + buffer.frameLength > _recorded.size()) return;
                std::copy_n(buffer.channelData[0], buffer.frameLength,
                            _recorded.begin() + static_cast<std::ptrdiff_t>(count));
                _count = count + buffer.frameLength;
            });
    }

    RunLoop _mainRunLoop;
    TemporaryFolder _folder;
    UserDefaults _defaults{_folder.path / "defaults.plist"};
    SilentShell _shell;
    AudioPlatform _platform;
    MemoryMIDI _midi{_mainRunLoop};
    std::vector<float> _recorded;
    std::atomic<std::size_t> _count{0};  // written by the audio thread, read by the test
    Duration _longestDelay{};
    AppDelegate _application;
};

const std::vector<double> kDeltas{20, 31.7, 55.5, 12.25, 80, 41.21, 99.9, 63.07, 17.3, 120.6, 44.4, 8.9, 71.3, 29};

/// By how many frames an onset is off at most; none when there are more or fewer.
std::optional<double> worstError(std::span<const float> recorded) {
    const auto starts = onsets(recorded, 200);
    if (starts.size() != kDeltas.size()) return {};
    double planned = 0;
    double worst = 0;
    for (std::size_t n = 1; n < kDeltas.size(); ++n) {
        planned += kDeltas[n] * 48;
        worst = std::max(worst, std::abs(static_cast<double>(starts[n] - starts[0]) - planned));
    }
    return worst;
}

/// As planned, at the latest when neither the device nor the player was held up.
void expectOnsets(const std::function<std::unique_ptr<AudioComponentProvider>()>& provider, std::uint32_t period,
                  double tolerance) {
    std::optional<double> error;
    bool wasHeldUp = true;
    for (int tries = 0; tries < 20 && wasHeldUp; ++tries) {
        LivePlayer player(provider(), period);
        player.send(0xC0, 1);
        player.sendStream(kDeltas);
        error = worstError(player.recordSeconds(1.2));
        if (error && *error <= tolerance) return;
        wasHeldUp = player.wasHeldUp();
    }
    ADD_FAILURE() << "off by " << error.value_or(-1) << " frames";
}

TEST(LiveStream, OnsetsAreExactOnAnInstrumentThatHonoursOffsets) {
    const BusyCore busy;
    for (const std::uint32_t period : {64U, 2048U}) {
        expectOnsets([] { return std::make_unique<RecordingProvider>(); }, period, 1);
    }
}

TEST(LiveStream, OnsetsOfASoundFontAreWithinHalfAStepOfItsGrid) {
    const BusyCore busy;
    TemporaryFolder folder;
    std::filesystem::create_directories(folder.path / "soundfonts");
    writeTinySoundFont(folder.path / "soundfonts" / "default-GM.sf2");
    const auto provider = [&] { return std::make_unique<SoundFontProvider>(std::vector{folder.path}); };
    for (const std::uint32_t period : {64U, 512U, 2048U}) expectOnsets(provider, period, 32);
}

}  // namespace
}  // namespace zelvane
