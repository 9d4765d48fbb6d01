// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/EndToEnd/HeardNote.h"

#include "Tests/Fakes/OnsetFinder.h"
#include "Tests/Fakes/PitchMeter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace zelvane {

namespace {

constexpr std::size_t kAttack = 2000;
constexpr std::size_t kEnoughForPitch = 12000;
constexpr double kTail = 1;  // seconds in which a note that has ended is silent for sure, however long the periods

void capture(const JackCapture& capture, double seconds) {
    const std::size_t end = capture.count() + static_cast<std::size_t>(seconds * capture.sampleRate());
    EXPECT_TRUE(waitFor([&] { return capture.count() >= end; }, 10 * seconds + 30));
}

std::span<const float> steadyPiece(const JackCapture& capture, const HeardNote& note) {
    return capture.longestWhole(std::min(note.begin + kAttack, note.end), note.end);
}

}  // namespace

HeardNote hearNote(const JackCapture& ear, double seconds, const std::function<void()>& start,
                   const std::function<void()>& end) {
    const std::size_t from = ear.count();
    start();
    capture(ear, seconds);
    end();
    capture(ear, kTail);
    const auto sound = ear.captured().subspan(from);
    const auto starts = onsets(sound, 4800, 1e-4F);
    if (starts.size() != 1) return {};
    const auto isSound = [](float sample) { return std::abs(sample) > 1e-2F; };
    const auto last = std::find_if(sound.rbegin(), sound.rend(), isSound);
    EXPECT_GT(last - sound.rbegin(), 1000) << "the note sounds on";
    return {from + starts[0], from + static_cast<std::size_t>(sound.rend() - last)};
}

HeardNote hearWholeNote(const JackCapture& ear, double seconds, const std::function<void()>& start,
                        const std::function<void()>& end) {
    HeardNote note;
    for (int attempt = 0; attempt < 6; ++attempt) {
        note = hearNote(ear, seconds, start, end);
        if (steadyPiece(ear, note).size() > kEnoughForPitch) break;
    }
    return note;
}

double frequencyOf(const JackCapture& capture, const HeardNote& note, double expected) {
    const auto whole = steadyPiece(capture, note);
    EXPECT_GT(whole.size(), kEnoughForPitch) << "the server skips frames all the time";
    if (whole.empty()) return 0;
    return measuredFrequency(whole, capture.sampleRate(), expected);
}

}  // namespace zelvane
