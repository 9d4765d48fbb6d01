// SPDX-License-Identifier: GPL-3.0-or-later

// How long after its start the player listens, and is heard.

#include "Benchmarks/Common/PlayerProgram.h"
#include "Benchmarks/Common/Require.h"
#include "Benchmarks/Common/Statistics.h"
#include "Tests/EndToEnd/JackCapture.h"
#include "Tests/Fakes/JackServer.h"

#include <cstdio>
#include <optional>
#include <vector>

using namespace zelvane;

namespace {

constexpr unsigned kRate = 48000;
constexpr unsigned kPeriod = 256;
constexpr std::size_t kStarts = 20;
constexpr double kPatience = 10;  // seconds

const OSCMessage kNote{"/om/note", {{6000}, {127}, {2000}, {1}}};

double millisecondsSince(TimePoint start) {
    return std::chrono::duration<double, std::milli>(Clock::monotonic().now() - start).count();
}

double millisecondsToListening(const PlayerProgram& player) {
    require(waitFor([&] { return player.isListening(); }, kPatience), "the player does not listen");
    return millisecondsSince(player.started());
}

void print(const char* what, const std::vector<double>& milliseconds) {
    std::printf("%-44s %7.0f %8.0f\n", what, median(milliseconds), largest(milliseconds));
    std::fflush(stdout);
}

/// The null device is heard by nobody.
void measureOnNull() {
    std::vector<double> listening;
    for (std::size_t start = 0; start < kStarts; ++start)
        listening.push_back(millisecondsToListening(PlayerProgram({"--device", "null"})));
    print("null device: listens", listening);
}

struct JackStart {
    double listening = 0;
    double heard = 0;
};

/// None when JACK has left the ear without cycles: now and then it does that to one that is connected while the other
/// end is being activated.
std::optional<JackStart> startOnJack() {
    JackCapture ear(2 * kPatience);
    const PlayerProgram player({"--set", "outputDevice=JACK: system"});
    const double listening = millisecondsToListening(player);
    player.send(kNote);
    // The note lasts until it is heard, and the port may not be the last that the player makes at its start.
    const auto isHeard = [&] {
        ear.connect();
        return ear.hasSoundAfter(0);
    };
    if (waitFor(isHeard, kPatience / 2)) return JackStart{listening, millisecondsSince(player.started())};
    const std::size_t count = ear.count();
    require(!waitFor([&] { return ear.count() > count; }, 1), "nothing is heard");
    return std::nullopt;
}

void measureOnJack() {
    JackServer server;
    require(server.start(kRate, kPeriod), "jackd does not start; is it installed?");
    std::vector<double> listening, heard;
    std::size_t deaf = 0;
    while (heard.size() < kStarts) {
        if (const auto start = startOnJack()) {
            listening.push_back(start->listening);
            heard.push_back(start->heard);
        } else {
            require(++deaf < kStarts, "JACK lets nobody listen");
        }
    }
    print("JACK: listens", listening);
    print("JACK: another client hears the first note", heard);
    if (deaf > 0) std::printf("%zu more starts with an ear that JACK kept deaf\n", deaf);
}

}  // namespace

int main() {
    return runBenchmark([] {
        std::printf("%-44s %7s %8s\n", "milliseconds from the start of the program", "median", "largest");
        measureOnNull();
        measureOnJack();
    });
}
