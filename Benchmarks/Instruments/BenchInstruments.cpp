// SPDX-License-Identifier: GPL-3.0-or-later

// How long it takes to know which instruments there are, with 300 LV2 bundles installed.

#include "Benchmarks/Common/Require.h"
#include "Benchmarks/Common/Statistics.h"
#include "Platform/Audio/Instruments/Lv2/Catalogue/Lv2Catalogue.h"
#include "Platform/Foundation/Clock.h"
#include "Tests/Audio/Lv2Bundles.h"
#include "Tests/Fakes/ChildProcess.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

using namespace zelvane;

namespace {

constexpr int kBundles = 300;
constexpr std::size_t kRounds = 50;

double milliseconds(const std::function<void()>& work) {
    const TimePoint begin = Clock::monotonic().now();
    work();
    return std::chrono::duration<double, std::milli>(Clock::monotonic().now() - begin).count();
}

void print(const char* what, const std::vector<double>& times) {
    std::printf("%-56s %8.1f %8.1f\n", what, median(times), largest(times));
    std::fflush(stdout);
}

void measure(const char* what, std::size_t rounds, const std::function<void()>& work) {
    std::vector<double> times;
    for (std::size_t round = 0; round < rounds; ++round) times.push_back(milliseconds(work));
    print(what, times);
}

/// The well-behaved instrument once more, under a name and a URI of its own.
void addCopy(const Lv2Bundles& bundles, int number) {
    const std::string old = "good";
    std::string name = std::to_string(number);
    name.insert(0, old.size() - name.size(), '0');  // as long as the old one: the binary says it too
    const auto bundle = bundles.bundle(name);
    std::filesystem::create_directory(bundle);
    for (const char* file : {"manifest.ttl", "plugin.ttl", "plugin.so"}) {
        std::string content = TemporaryFolder::read(std::string(EVIL_BUNDLES) + "/good.lv2/" + file);
        for (const std::string before : {":", "\""}) {
            for (auto at = content.find(before + old); at != std::string::npos; at = content.find(before + old))
                content.replace(at + 1, old.size(), name);
        }
        std::ofstream(bundle / file, std::ios::binary) << content;
    }
}

void measureAll() {
    const Lv2Bundles bundles;
    const TemporaryFolder home;
    for (int number = 0; number < kBundles; ++number) addCopy(bundles, number);
    const ChildProcess::Environment environment{{"HOME", home.path}, {"XDG_CACHE_HOME", home.path / "cache"}};
    const std::string output = home.path / "output";
    const auto run = [&](const char* option) {
        require(ChildProcess::run({ZELVANE_PROGRAM, option}, environment, output), "the player does not run");
    };

    std::printf("%-56s %8s %8s\n", "milliseconds", "median", "largest");
    measure("--list-instruments, each bundle new", 1, [&] { run("--list-instruments"); });
    measure("--list-instruments, from the cache", kRounds, [&] { run("--list-instruments"); });
    const std::string list = TemporaryFolder::read(output);
    require(std::count(list.begin(), list.end(), '\n') >= kBundles, "some of the instruments are missing");
    measure("--version", kRounds, [&] { run("--version"); });

    const Lv2Catalogue::Settings settings{home.path / "cache" / "Zelvane" / "Lv2Instruments.plist", "", {}};
    measure("the cache alone, in a process that runs", kRounds,
            [&] { require(Lv2Catalogue(settings).entries()->size() == kBundles, "the cache is not complete"); });
    const Lv2Catalogue catalogue(settings);
    measure("looking whether a bundle has changed", kRounds,
            [&] { require(catalogue.isCurrent(), "something has changed"); });
}

}  // namespace

int main() {
    return runBenchmark(measureAll);
}
