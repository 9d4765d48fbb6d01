// SPDX-License-Identifier: GPL-3.0-or-later

// How far notes sound from their planned places, as another client of JACK hears them.

#include "Benchmarks/Common/Require.h"
#include "Benchmarks/Common/Statistics.h"
#include "Benchmarks/Onsets/BusyCore.h"
#include "Benchmarks/Onsets/Performers.h"
#include "Benchmarks/Onsets/XrunCounter.h"
#include "Tests/EndToEnd/JackCapture.h"
#include "Tests/Fakes/JackServer.h"
#include "Tests/Fakes/OnsetFinder.h"

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <thread>

using namespace zelvane;

namespace {

constexpr unsigned kRate = 48000;
constexpr unsigned kPeriod = 256;
constexpr std::size_t kNotes = 200;  // the most that a stream starts at once
constexpr std::size_t kQuietFrames = 240;
constexpr double kRoom = 20;  // seconds
constexpr std::chrono::milliseconds kRest(300);
constexpr unsigned kMostLost = 20;

using MakePerformer = Performer (*)();

bool connect(const JackServer& server, const Performer& performer, JackCapture& ear) {
    return performer.leftPort == "Zelvane:" ? ear.connect()
                                            : server.tool({"jack_connect", performer.leftPort, "ear:in"});
}

struct Recording {
    std::vector<TimePoint> due;
    std::vector<std::size_t> heard;  ///< frames
    int xruns = 0;
};

Recording record(const JackServer& server, const Performer& performer, const NotePlan& plan) {
    JackCapture ear(kRoom);
    require(waitFor([&] { return connect(server, performer, ear); }, 5), "no port to listen to:\n" + ear.ports());
    const XrunCounter xruns;
    std::this_thread::sleep_for(kRest);
    const int before = xruns.count();
    auto due = performer.play(plan);
    std::this_thread::sleep_for(kRest);
    return {std::move(due), onsets(ear.captured(), kQuietFrames, 1e-4F), xruns.count() - before};
}

/// Distances in frames of the notes from their places, as the first note has it.
std::vector<double> errorsOf(const Recording& recording) {
    const auto& [due, heard, xruns] = recording;
    require(heard.size() == due.size(), std::to_string(heard.size()) + " of " + std::to_string(due.size()) + " heard");
    std::vector<double> errors;
    for (std::size_t note = 1; note < heard.size(); ++note) {
        const std::chrono::duration<double> planned = due[note] - due[0];
        errors.push_back(static_cast<double>(heard[note] - heard[0]) - planned.count() * kRate);
    }
    return errors;
}

void print(const std::string& name, std::vector<double> errors, unsigned lost) {
    for (double& error : errors) error = std::abs(error);
    const auto figure = [](double frames) { std::printf("  %7.1f (%5.2f ms)", frames, frames / kRate * 1000); };
    std::printf("%-44s %5zu", name.c_str(), errors.size());
    for (const double share : {0.5, 0.99, 1.0}) figure(quantile(errors, share));
    std::printf("  %4u\n", lost);
    std::fflush(stdout);
}

/// A run in which JACK lost a cycle is made again.
void measure(const JackServer& server, MakePerformer make, unsigned runs, bool isLoaded) {
    const Performer performer = make();
    std::optional<BusyCore> busy;
    if (isLoaded) busy.emplace();
    std::vector<double> all;
    unsigned lost = 0;
    for (unsigned run = 0; run < runs;) {
        const Recording recording = record(server, performer, irregularPlan(kNotes, run));
        if (recording.xruns > 0) {
            require(++lost <= kMostLost, "JACK loses too many cycles on this machine");
            continue;
        }
        const auto errors = errorsOf(recording);
        all.insert(all.end(), errors.begin(), errors.end());
        ++run;
    }
    print(performer.name + (isLoaded ? ", a core busy" : ""), all, lost);
}

void measureAll(unsigned runs) {
    JackServer server;
    require(server.start(kRate, kPeriod), "jackd does not start; is it installed?");
    std::printf("%-44s %5s  %18s  %18s  %18s  %4s\n", "frames from the planned place", "notes", "p50", "p99", "largest",
                "lost");
    for (const bool isLoaded : {false, true}) {
        for (const MakePerformer make : {streamPerformer, livePerformer, fluidSynthPerformer})
            measure(server, make, runs, isLoaded);
    }
}

}  // namespace

/// The argument is the number of runs.
int main(int count, char** arguments) {
    const auto runs = count > 1 ? static_cast<unsigned>(std::atoi(arguments[1])) : 5;
    return runBenchmark([runs] { measureAll(runs); });
}
