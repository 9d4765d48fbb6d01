// SPDX-License-Identifier: GPL-3.0-or-later

// How long after its start the player listens, and is heard.

#include "Benchmarks/Common/PlayerProgram.h"
#include "Benchmarks/Common/Require.h"
#include "Benchmarks/Common/Statistics.h"
#include "Tests/EndToEnd/JackCapture.h"
#include "Tests/Fakes/JackServer.h"

#include <cstdio>
#include <vector>

using namespace zelvane;

namespace {

constexpr unsigned kRate = 48000;
constexpr unsigned kPeriod = 256;
constexpr int kStarts = 20;
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
    for (int start = 0; start < kStarts; ++start)
        listening.push_back(millisecondsToListening(PlayerProgram({"--device", "null"})));
    print("null device: listens", listening);
}

void measureOnJack() {
    JackServer server;
    require(server.start(kRate, kPeriod), "jackd does not start; is it installed?");
    std::vector<double> listening, heard;
    for (int start = 0; start < kStarts; ++start) {
        JackCapture ear(2 * kPatience);
        const PlayerProgram player({"--set", "outputDevice=JACK: system"});
        bool isConnected = false;
        const auto connected = [&] { return isConnected = isConnected || ear.connect(); };
        require(waitFor([&] { return connected() && player.isListening(); }, kPatience), "the player does not listen");
        listening.push_back(millisecondsSince(player.started()));
        player.send(kNote);
        require(waitFor([&] { return ear.hasSoundAfter(0); }, kPatience), "nothing is heard");
        heard.push_back(millisecondsSince(player.started()));
    }
    print("JACK: listens", listening);
    print("JACK: another client hears the first note", heard);
}

}  // namespace

int main() {
    return runBenchmark([] {
        std::printf("%-44s %7s %8s\n", "milliseconds from the start of the program", "median", "largest");
        measureOnNull();
        measureOnJack();
    });
}
