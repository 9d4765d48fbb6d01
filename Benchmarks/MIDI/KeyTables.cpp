// SPDX-License-Identifier: GPL-3.0-or-later
#include "Benchmarks/MIDI/KeyTables.h"

namespace zelvane {

namespace {

constexpr auto kJust = "twelve ratios\n12\n16/15\n9/8\n6/5\n5/4\n4/3\n45/32\n3/2\n8/5\n5/3\n9/5\n15/8\n2/1\n";

/// The octave in so many steps of equal difference.
std::string harmonics(int count) {
    std::string scale = std::to_string(count) + " harmonics\n" + std::to_string(count) + "\n";
    for (int step = 1; step <= count; ++step)
        scale += std::to_string(count + step) + "/" + std::to_string(count) + "\n";
    return scale;
}

/// A key for each degree, the keys 0 to `last` retuned.
std::string oneToOne(int count, int last) {
    std::string mapping =
        std::to_string(count) + "\n0\n" + std::to_string(last) + "\n0\n69\n440.0\n" + std::to_string(count) + "\n";
    for (int degree = 0; degree < count; ++degree) mapping += std::to_string(degree) + "\n";
    return mapping;
}

}  // namespace

std::vector<KeyTable> keyTables() {
    constexpr int kMany = 1000;
    constexpr int kLastKey = 127;
    constexpr int kLastEntry = 1023;
    return {{"default, 12 equal steps, 128 keys", "", ""},
            {"12 ratios, 128 keys", kJust, ""},
            {"1000 ratios, 128 keys", harmonics(kMany), oneToOne(kMany, kLastKey)},
            {"1000 ratios, 1024 keys", harmonics(kMany), oneToOne(kMany, kLastEntry)}};
}

}  // namespace zelvane
