// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Units/MIDIRefusals.h"
#include "Sources/AppDelegate.h"

namespace zelvane {

namespace {

constexpr std::chrono::seconds kCountsInterval(1);

PlayerReport::State stateOf(const Zelvane& player) {
    if (player.isRecording()) return PlayerReport::State::recording;
    if (player.isRecordingEnabled()) return PlayerReport::State::armed;
    return player.isListening() ? PlayerReport::State::listening : PlayerReport::State::waiting;
}

std::string wordFor(Microtones microtones) {
    switch (microtones) {
        case Microtones::yes:
            return "yes";
        case Microtones::no:
            return "no";
        case Microtones::unknown:
            break;
    }
    return "unknown";
}

}  // namespace

PlayerCounts AppDelegate::counts() {
    if (_zelvane == nullptr) return {};
    constexpr auto read = [](const std::atomic<std::uint64_t>& counter) {
        return counter.load(std::memory_order_relaxed);
    };
    AudioEngine& engine = _zelvane->audioEngine();
    const PlayerCounters& counters = engine.counters();
    const auto packets = _zelvane->packetCounts();
    return {.oscMessages = read(counters.oscMessages),
            .refusedMessages = read(counters.refusedMessages),
            .ignoredPackets = read(counters.ignoredPackets),
            .unreadablePackets = packets.unreadable,
            .lostPackets = packets.lost,
            .midiMessages = read(counters.midiMessages),
            .notes = read(counters.notes),
            .queuedNotes = read(counters.queuedNotes),
            .lateEvents = _platform.graph.lateEvents(),
            .refusedEvents = refusedMIDIEvents(),
            .lostEvents = read(counters.lostEvents),
            .xruns = _platform.controller.status().xruns,
            .droppedFrames = engine.lostRecordingFrames()};
}

PlayerReport AppDelegate::report() {
    PlayerReport report;
    report.upTime = std::chrono::duration_cast<std::chrono::milliseconds>(RunLoop::now() - _startTime);
    report.replyPort = static_cast<std::uint16_t>(_defaults.integer("outPort"));
    report.output = _platform.controller.status();
    report.latencyFrames = _platform.graph.eventLatencyFrames();
    report.microtones = wordFor(Microtones::unknown);
    // While it starts, this thread serves its run loop too.
    if (_zelvane == nullptr) return report;
    AudioEngine& engine = _zelvane->audioEngine();
    report.state = stateOf(*_zelvane);
    report.port = _zelvane->listeningPort();
    if (const auto& input = _zelvane->midiInput()) report.midiInput = input->displayName();
    report.instrument = engine.loadedMusicDevice();
    report.microtones = wordFor(engine.microtonesOfMusicDevice(report.instrument));
    report.messageDelay = static_cast<double>(engine.recorderLatency());
    if (_zelvane->isRecordingEnabled() || _zelvane->isRecording()) report.recording = engine.audioFileUrl();
    report.counts = counts();
    return report;
}

void AppDelegate::showStatus() {
    _shownCounts = counts();
    _shell.showStatus({_zelvane->isListening(), _zelvane->isRecordingEnabled(), _zelvane->isRecording(),
                       _zelvane->listeningPort(), _platform.controller.status().current.device, _shownCounts});
}

void AppDelegate::didReceive() {
    if (_countsTimer != nullptr || !_shell.showsCounts()) return;
    _countsTimer = Timer::every(kCountsInterval, [this](Timer&) { showCounts(); });
    _mainRunLoop.add(_countsTimer);
}

/// Between messages a stream goes on; without either, nothing wakes the player up.
void AppDelegate::showCounts() {
    const PlayerCounts present = counts();
    if (present != _shownCounts) return showStatus();
    if (present.queuedNotes > 0) return;
    _countsTimer->invalidate();
    _countsTimer.reset();
}

}  // namespace zelvane
