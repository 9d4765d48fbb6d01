// SPDX-License-Identifier: GPL-3.0-or-later
#include "Benchmarks/Onsets/Performers.h"

#include "Benchmarks/Common/FluidSynthProgram.h"
#include "Benchmarks/Common/Require.h"
#include "Tests/EndToEnd/RunningPlayer.h"
#include "Tests/Fakes/JackMIDIPeer.h"
#include "Tests/Fakes/TemporaryFolder.h"
#include "Tests/Fakes/TinySoundFont.h"

#include <numeric>
#include <thread>
#include <utility>

namespace zelvane {

namespace {

using std::chrono::milliseconds;

constexpr int kClick = 1;
constexpr int kLength = 10;  // milliseconds
constexpr milliseconds kLead(300);

// Program changes reach the units of the tenths 0 to 8.
constexpr std::int32_t kTenths = 9;

std::int32_t midicOf(std::size_t note) {
    return 6000 + 10 * (static_cast<std::int32_t>(note) % kTenths);
}

std::shared_ptr<RunningPlayer> clickingPlayer(const std::vector<std::string>& options = {}) {
    auto player = std::make_shared<RunningPlayer>(options);
    require(player->isListening(), "the player does not listen: " + player->output());
    player->send({"/om/pgm", {{kClick}, {1}}});
    return player;
}

/// When a message was sent; none when the machine held the sender up in the middle of it, so that nobody knows.
std::optional<TimePoint> timeOfSending(const std::function<void()>& send) {
    constexpr Duration kLongest = std::chrono::microseconds(100);
    const TimePoint before = Clock::monotonic().now();
    send();
    const Duration taken = Clock::monotonic().now() - before;
    if (taken > kLongest) return std::nullopt;
    return before + taken / 2;
}

/// Calls `send` for each note when it is due, and returns when it was called: a sender that the machine delays is no
/// fault of the program that hears it.
std::vector<std::optional<TimePoint>> sendInTime(const NotePlan& plan, const std::function<void(std::size_t)>& send) {
    std::vector<std::optional<TimePoint>> sent;
    TimePoint due = Clock::monotonic().now() + kLead;
    for (std::size_t note = 0; note < plan.size(); ++note) {
        std::this_thread::sleep_until(due);
        sent.push_back(timeOfSending([&] { send(note); }));
        due += plan[note];
    }
    return sent;
}

/// A queued note is due its place in the queue after its own message.
std::vector<std::optional<TimePoint>> queueStream(const RunningPlayer& player, const NotePlan& plan) {
    std::vector<std::optional<TimePoint>> due;
    Duration place{};
    for (std::size_t note = 0; note < plan.size(); ++note) {
        const Duration sincePrevious = note == 0 ? Duration(kLead) : Duration(plan[note - 1]);
        place += sincePrevious;
        const double milli = std::chrono::duration<double, std::milli>(sincePrevious).count();
        const auto semitones = static_cast<float>(midicOf(note)) / 100;
        const auto sent = timeOfSending([&] {
            player.send({"/vesk.µq/fifos", {{milli}, {semitones}, {100}, {kLength}, {1}}});
        });
        due.push_back(sent ? std::optional(*sent + place) : std::nullopt);
    }
    player.send({"/vesk.µq/start", {}});
    return due;
}

/// Keys go down and up at frames of JACK, which are also what the places are counted in.
std::vector<std::optional<TimePoint>> pressKeys(JackMIDIPeer& keyboard, const NotePlan& plan) {
    const auto frameAt = [](Duration place) {
        return static_cast<std::uint32_t>(std::chrono::duration<double>(place).count() * kSampleRate);
    };
    std::vector<std::optional<TimePoint>> due;
    std::vector<JackMIDIPeer::Planned> events;
    Duration place = kLead;
    for (const auto sinceThisOne : plan) {
        const std::uint32_t frame = frameAt(place);
        due.emplace_back(TimePoint(secondsToDuration(frame / double{kSampleRate})));
        events.push_back({frame, {0x90, 60, 100}});
        events.push_back({frameAt(place + milliseconds(kLength)), {0x80, 60, 0}});
        place += sinceThisOne;
    }
    keyboard.play(std::move(events));
    const double patience = std::chrono::duration<double>(place).count() + 5;
    require(waitFor([&] { return keyboard.isDone(); }, patience), "the keyboard does not get to its end");
    return due;
}

Duration lengthOf(const NotePlan& plan) {
    return std::accumulate(plan.begin(), plan.end(), Duration(kLead));
}

}  // namespace

Performer streamPerformer() {
    return {"Zelvane, stream", "Zelvane:", [player = clickingPlayer()](const NotePlan& plan) {
                player->send({"/vesk.µq/reset", {}});
                auto due = queueStream(*player, plan);
                std::this_thread::sleep_until(due.back().value_or(Clock::monotonic().now() + lengthOf(plan)));
                return due;
            }};
}

Performer livePerformer() {
    return {"Zelvane, live notes", "Zelvane:", [player = clickingPlayer()](const NotePlan& plan) {
                return sendInTime(plan, [&](std::size_t note) {
                    player->send({"/om/note", {{midicOf(note)}, {100}, {kLength}, {1}}});
                });
            }};
}

Performer midiKeysPerformer() {
    const auto player = clickingPlayer({"--set", "midiBackend=jack"});
    const auto keyboard = std::make_shared<JackMIDIPeer>("keyboard", std::vector<std::string>{"keys"});
    const auto connect = [&] { return keyboard->connect("keyboard:keys", "Zelvane MIDI:Zelvane"); };
    require(keyboard->isOpen() && waitFor(connect, 5), "the player has no MIDI port: " + player->output());
    return {"Zelvane, MIDI keys",
            "Zelvane:", [player, keyboard](const NotePlan& plan) { return pressKeys(*keyboard, plan); },
            Timing::frames};
}

Performer fluidSynthPerformer() {
    auto folder = std::make_shared<TemporaryFolder>();
    writeTinySoundFont(folder->path / "tiny.sf2");
    auto program = std::make_shared<FluidSynthProgram>(folder->path / "tiny.sf2");
    program->send("prog 0 " + std::to_string(kClick));
    return {"fluidsynth, lines of its shell", FluidSynthProgram::kLeftPort, [folder, program](const NotePlan& plan) {
                return sendInTime(plan, [&](std::size_t) { program->send("noteon 0 60 100"); });
            }};
}

}  // namespace zelvane
