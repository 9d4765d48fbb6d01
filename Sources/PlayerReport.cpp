// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/PlayerReport.h"

#include "Platform/Foundation/Json.h"
#include "Platform/Foundation/Text.h"

#include <array>
#include <cmath>
#include <utility>

namespace zelvane {

namespace {

struct CountName {
    const char* key;
    const char* words;
    std::uint64_t PlayerCounts::*count;
};

constexpr std::array<CountName, 13> kCounts{{
    {"oscMessages", "OSC messages", &PlayerCounts::oscMessages},
    {"refusedMessages", "refused messages", &PlayerCounts::refusedMessages},
    {"ignoredPackets", "ignored packets", &PlayerCounts::ignoredPackets},
    {"unreadablePackets", "unreadable packets", &PlayerCounts::unreadablePackets},
    {"lostPackets", "lost packets", &PlayerCounts::lostPackets},
    {"midiMessages", "MIDI messages", &PlayerCounts::midiMessages},
    {"notes", "notes", &PlayerCounts::notes},
    {"queuedNotes", "notes in the queue", &PlayerCounts::queuedNotes},
    {"lateEvents", "late events", &PlayerCounts::lateEvents},
    {"refusedEvents", "refused events", &PlayerCounts::refusedEvents},
    {"lostEvents", "lost events", &PlayerCounts::lostEvents},
    {"xruns", "xruns", &PlayerCounts::xruns},
    {"droppedFrames", "dropped frames", &PlayerCounts::droppedFrames},
}};

const char* stateName(PlayerReport::State state) {
    switch (state) {
        case PlayerReport::State::starting:
            return "starting";
        case PlayerReport::State::waiting:
            return "waiting";
        case PlayerReport::State::listening:
            return "listening";
        case PlayerReport::State::armed:
            return "armed";
        case PlayerReport::State::recording:
            return "recording";
    }
    return "";
}

PropertyList whole(std::uint64_t number) {
    return {static_cast<std::int64_t>(number)};
}

/// In milliseconds with one digit, whatever the locale.
std::string millisecondsText(double seconds) {
    const auto tenths = std::llround(seconds * 10'000);
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " ms";
}

std::string line(const std::string& name, const std::string& value) {
    constexpr std::size_t kWidth = 20;
    return name + std::string(kWidth - std::min(kWidth - 1, name.size()), ' ') + value + "\n";
}

std::string timeText(std::chrono::milliseconds time) {
    const auto seconds = time.count() / 1000;
    return std::to_string(seconds / 3600) + " h " + std::to_string(seconds / 60 % 60) + " min " +
           std::to_string(seconds % 60) + " s";
}

std::string outputText(const OutputDeviceController::Status& output) {
    const AudioDeviceFormat& format = output.format;
    const std::string place = output.current.backEnd.empty() || output.current.backEnd == output.current.device
                                  ? printable(output.current.device)
                                  : printable(output.current.device) + " (" + output.current.backEnd + ")";
    return place + ", " + std::to_string(std::lround(format.sampleRate)) + " Hz, " + std::to_string(format.channels) +
           " channels, " + std::to_string(format.bitsPerChannel) + " bits, " + std::to_string(format.periodFrames) +
           " frames" + (output.isFallback ? "; the chosen one is not there" : "");
}

std::string orNone(const std::string& text) {
    return text.empty() ? "none" : printable(text);
}

PropertyList outputList(const OutputDeviceController::Status& output) {
    return {PropertyList::Dictionary{{"device", {output.current.device}},
                                     {"server", {output.current.backEnd}},
                                     {"sampleRate", {output.format.sampleRate}},
                                     {"channels", whole(output.format.channels)},
                                     {"bits", whole(output.format.bitsPerChannel)},
                                     {"periodFrames", whole(output.format.periodFrames)},
                                     {"isFallback", {output.isFallback}}}};
}

PropertyList countsList(const PlayerCounts& counts) {
    PropertyList::Dictionary list;
    for (const CountName& name : kCounts) list[name.key] = whole(counts.*name.count);
    return {std::move(list)};
}

}  // namespace

double PlayerReport::latency() const {
    const double rate = output.format.sampleRate;
    return rate > 0 ? messageDelay + static_cast<double>(latencyFrames) / rate : 0;
}

std::string reportText(const PlayerReport& report) {
    std::string text = line("version", ZELVANE_VERSION);
    text += line("running for", timeText(report.upTime));
    text += line("state", stateName(report.state));
    text += line("OSC", report.port == 0 ? "not received" : "127.0.0.1:" + std::to_string(report.port));
    text += line("asks for more on", "port " + std::to_string(report.replyPort));
    text += line("MIDI input", orNone(report.midiInput));
    text += line("instrument", orNone(report.instrument) + (report.microtones == "no" ? ", no microtones" : ""));
    text += line("output", outputText(report.output));
    text += line("latency", millisecondsText(report.latency()));
    text += line("recording", orNone(report.recording.string()));
    for (const CountName& name : kCounts) text += line(name.words, std::to_string(report.counts.*name.count));
    return text;
}

std::string reportJson(const PlayerReport& report) {
    using Dictionary = PropertyList::Dictionary;
    return jsonText(
        {Dictionary{{"version", {std::string(ZELVANE_VERSION)}},
                    {"upTime", {std::chrono::duration<double>(report.upTime).count()}},
                    {"state", {std::string(stateName(report.state))}},
                    {"osc", {Dictionary{{"port", whole(report.port)}, {"replyPort", whole(report.replyPort)}}}},
                    {"midi", {Dictionary{{"input", {report.midiInput}}}}},
                    {"instrument", {Dictionary{{"name", {report.instrument}}, {"microtones", {report.microtones}}}}},
                    {"output", outputList(report.output)},
                    {"latency",
                     {Dictionary{{"seconds", {report.latency()}},
                                 {"frames", {report.latencyFrames}},
                                 {"messageDelay", {report.messageDelay}}}}},
                    {"recording", {Dictionary{{"file", {report.recording.string()}}}}},
                    {"counts", countsList(report.counts)}}});
}

}  // namespace zelvane
