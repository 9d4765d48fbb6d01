// SPDX-License-Identifier: GPL-3.0-or-later

// How far notes sound from their planned places, as another client of JACK hears them.

#include "Benchmarks/Common/Require.h"
#include "Benchmarks/Common/Statistics.h"
#include "Benchmarks/Onsets/BusyCore.h"
#include "Benchmarks/Onsets/Performers.h"
#include "Tests/EndToEnd/JackCapture.h"
#include "Tests/Fakes/JackServer.h"
#include "Tests/Fakes/OnsetFinder.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <thread>

using namespace zelvane;

namespace {

constexpr unsigned kPeriod = 256;
constexpr std::size_t kNotesOfRun = 100;
constexpr std::size_t kQuietFrames = 240;
constexpr std::size_t kSettlingFrames = 9600;
constexpr double kRoom = 10;  // seconds
constexpr std::chrono::milliseconds kRest(300);

struct Candidate {
    std::string_view word;  ///< of the command line
    Performer (*make)();
};

constexpr std::array<Candidate, 4> kCandidates{{{"stream", streamPerformer},
                                                {"live", livePerformer},
                                                {"keys", midiKeysPerformer},
                                                {"fluidsynth", fluidSynthPerformer}}};

bool connect(const JackServer& server, const Performer& performer, JackCapture& ear) {
    return performer.leftPort == "Zelvane:" ? ear.connect()
                                            : server.tool({"jack_connect", performer.leftPort, "ear:in"});
}

/// What was heard of a plan, in frames as the ear counts them. JACK loses cycles when the machine holds it up, and what
/// is heard across such a gap tells nothing of when it was played: the longest piece without one counts.
struct Recording {
    std::vector<std::optional<double>> due;  ///< up to a delay that is the same for all
    std::vector<std::size_t> heard;
    std::size_t pieceBegin = 0;
    std::size_t pieceEnd = 0;
    bool isWhole = false;
};

/// A server that is held up gives its frames other times than a clock would, and all who play on it go by these.
double dueFrame(const Performer& performer, const JackCapture& ear, TimePoint time) {
    if (performer.timing == Timing::clock) return ear.placeOf(time);
    return std::chrono::duration<double>(time.time_since_epoch()).count() * kSampleRate;
}

Recording record(const JackServer& server, const Performer& performer, const NotePlan& plan) {
    JackCapture ear(kRoom);
    require(waitFor([&] { return connect(server, performer, ear); }, 5), "no port to listen to");
    std::this_thread::sleep_for(kRest);
    const auto played = performer.play(plan);
    std::this_thread::sleep_for(kRest);
    std::vector<std::optional<double>> due;
    for (const auto& time : played) due.push_back(time ? std::optional(dueFrame(performer, ear, *time)) : std::nullopt);
    const auto captured = ear.captured();
    const auto piece = ear.longestWhole(0, captured.size());
    const auto begin = static_cast<std::size_t>(piece.data() - captured.data());
    return {std::move(due), onsets(captured, kQuietFrames, 1e-4F), begin, begin + piece.size(),
            piece.size() == captured.size()};
}

/// Distances in frames of the piece's notes from their places, as its first note has it. None when there was a gap in
/// which a note went down.
std::vector<double> errorsOf(const Recording& recording) {
    const auto& [due, heard, pieceBegin, pieceEnd, isWhole] = recording;
    const bool isComplete = heard.size() == due.size();
    require(isComplete || !isWhole, std::to_string(heard.size()) + " of " + std::to_string(due.size()) + " heard");
    if (!isComplete) return {};
    const std::size_t from = pieceBegin == 0 ? 0 : pieceBegin + kSettlingFrames;
    std::optional<std::size_t> first;
    std::vector<double> errors;
    for (std::size_t note = 0; note < heard.size(); ++note) {
        if (heard[note] < from || heard[note] >= pieceEnd || !due[note]) continue;
        if (!first) {
            first = note;
            continue;
        }
        errors.push_back(static_cast<double>(heard[note] - heard[*first]) - (*due[note] - *due[*first]));
    }
    return errors;
}

void print(const std::string& name, std::vector<double> errors, std::size_t lost) {
    for (double& error : errors) error = std::abs(error);
    const auto figure = [](double frames) { std::printf("  %7.1f (%5.2f ms)", frames, frames / kSampleRate * 1000); };
    std::printf("%-44s %5zu", name.c_str(), errors.size());
    for (const double share : {0.5, 0.99, 1.0}) figure(quantile(errors, share));
    std::printf("  %5zu\n", lost);
    std::fflush(stdout);
}

/// Plays until so many notes were heard that count.
void measure(const JackServer& server, const Candidate& candidate, std::size_t notes, bool isLoaded) {
    constexpr std::size_t kMostLost = 10;  // for each that counts
    const Performer performer = candidate.make();
    std::optional<BusyCore> busy;
    if (isLoaded) busy.emplace();
    std::vector<double> all;
    std::size_t lost = 0;
    for (std::uint32_t run = 0; all.size() < notes; ++run) {
        const auto errors = errorsOf(record(server, performer, irregularPlan(kNotesOfRun, run)));
        all.insert(all.end(), errors.begin(), errors.end());
        lost += kNotesOfRun - 1 - errors.size();
        require(lost <= kMostLost * notes, "JACK loses too many cycles on this machine");
    }
    print(performer.name + (isLoaded ? ", a core busy" : ""), all, lost);
}

void measureAll(std::size_t notes, const std::vector<std::string_view>& words) {
    const auto isWanted = [&](const Candidate& candidate) {
        return words.empty() || std::ranges::find(words, candidate.word) != words.end();
    };
    JackServer server;
    require(server.start(kSampleRate, kPeriod), "jackd does not start; is it installed?");
    std::printf("%-44s %5s  %18s  %18s  %18s  %5s\n", "frames from the planned place", "notes", "p50", "p99", "largest",
                "lost");
    for (const bool isLoaded : {false, true}) {
        for (const Candidate& candidate : kCandidates) {
            if (isWanted(candidate)) measure(server, candidate, notes, isLoaded);
        }
    }
}

}  // namespace

/// The arguments are how many notes to count and the words of those who shall play; without any, all do.
int main(int count, char** arguments) {
    const std::size_t notes = count > 1 ? static_cast<std::size_t>(std::atoi(arguments[1])) : 1000;
    const std::vector<std::string_view> words(arguments + std::min(count, 2), arguments + count);
    return runBenchmark([&] { measureAll(notes, words); });
}
