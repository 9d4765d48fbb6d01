// SPDX-License-Identifier: GPL-3.0-or-later

// How long an instrument is asked for all of its properties.

#include "Benchmarks/Common/CoreTime.h"
#include "Benchmarks/Common/Require.h"
#include "Tests/Fakes/EngineRig.h"
#include "Tests/Fakes/LogLines.h"

#include <cstdio>

using namespace zelvane;

namespace {

double secondsSince(TimePoint start) {
    return std::chrono::duration<double>(Clock::monotonic().now() - start).count();
}

void measureOneQuestion(AudioUnit* unit) {
    constexpr std::uint32_t kQuestions = 100'000'000;
    const double start = coreSeconds();
    std::uint32_t found = 0;
    for (std::uint32_t id = 1U << 20; id < (1U << 20) + kQuestions; ++id) {
        bool isWritable = false;
        if (AudioUnitGetPropertyInfo(unit, id, kAudioUnitScope_Global, 0, nullptr, &isWritable) == kNoError) ++found;
    }
    require(found == 0, "there is a property that should be missing");
    std::printf("%-44s %8.2f ns\n", "a property that is missing", (coreSeconds() - start) / kQuestions * 1e9);
}

/// The window is that of the tests, which keeps the number it is shown, on a main run loop that runs.
void measureAll(EngineRig& rig) {
    const auto node = rig.engine->microUnitSynthNode(1);
    const double coreStart = coreSeconds();
    const TimePoint start = Clock::monotonic().now();
    require(rig.engine->probeAUProperties(node, false), "the search was given up");
    std::printf("%-44s %8.2f s, %.2f s of a core\n", "all 4,294,967,291", secondsSince(start),
                coreSeconds() - coreStart);
    require(rig.rig.application.lastProgress == 4294960000U, "the window was not shown the end");
    const auto stored = readEnabledPropertyIDs(node->name());
    require(stored && stored->ids.size() == 5, "the list is not that of the instrument");
}

}  // namespace

int main() {
    return runBenchmark([] {
        const LogLines log;
        EngineRig rig({"DLSMusicDevice"});
        measureOneQuestion(rig.audioUnit(1));
        measureAll(rig);
    });
}
