// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/RealtimeScope.h"
#include "Tests/Audio/SoundFontPlayer.h"
#include "Tests/Fakes/OnsetFinder.h"
#include "Tests/Fakes/PitchMeter.h"
#include "Tests/Fakes/RealtimeGuard.h"

#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <numbers>
#include <random>

using namespace zelvane;

namespace {

constexpr std::array kBends{8192, 8601, 9010, 9419, 9828, 10237, 10646, 11055, 11464, 11873};
constexpr double kExact = 0.1;

float peakOf(const std::vector<float>& sound) {
    float most = 0;
    for (const float sample : sound) most = std::max(most, std::fabs(sample));
    return most;
}

/// The frequency of a key that plays for some seconds. Recorded instruments waver: of sounds that run at different
/// speeds only the same part of the recording compares.
double playedFrequency(SoundFontPlayer& player, int key, double seconds, double speed = 1) {
    player.now(0x90, key, 100);
    player.renderSeconds(0.1 / speed);
    const std::vector<float> sound = player.renderSeconds(seconds / speed);
    player.now(0x80, key);
    player.now(0xB0, 120);
    player.renderSeconds(0.1);
    return measuredFrequency(sound, player.rate, frequencyOfKey(key));
}

/// What lets a tone waver: a vibrato, in time, or the recording, which the higher units play faster. Only the same part
/// of the wave compares.
enum class Waver { inTime, withSpeed };

/// The largest error in cents of the units' distances from the first.
double largestTuningError(const std::shared_ptr<SoundFontBank>& bank, int key,
                          const std::function<void(SoundFontPlayer&)>& prepare, Waver waver = Waver::inTime) {
    double reference = 0;
    double worst = 0;
    for (std::size_t unit = 0; unit < kBends.size(); ++unit) {
        SoundFontPlayer player(bank);
        player.bend(kBends[unit]);
        prepare(player);
        const double speed = waver == Waver::withSpeed ? std::exp2(static_cast<double>(unit) / 120) : 1;
        const double frequency = playedFrequency(player, key, 3, speed);
        if (unit == 0) reference = frequency;
        worst = std::max(worst, std::fabs(centsAbove(reference, frequency) - 10.0 * static_cast<double>(unit)));
    }
    return worst;
}

}  // namespace

TEST(PitchMeter, IsExactOnATone) {
    for (const double frequency : {82.41, 440.0, 1234.567, 5000.1}) {
        std::vector<float> tone(1 << 16);
        for (std::size_t i = 0; i < tone.size(); ++i)
            tone[i] =
                static_cast<float>(std::sin(2 * std::numbers::pi * frequency * static_cast<double>(i) / 48000 + 1));
        EXPECT_NEAR(centsAbove(frequency, measuredFrequency(tone, 48000, frequency * 1.03)), 0, 0.01) << frequency;
    }
}

TEST(SoundFontTuning, UnitsStandTenCentsApart) {
    const TinyFont tiny;
    EXPECT_LT(largestTuningError(tiny.bank(), 69, [](SoundFontPlayer&) {}), 0.01);
    SoundFontPlayer alone(tiny.bank());
    EXPECT_NEAR(centsAbove(440, playedFrequency(alone, 69, 3)), 0, 0.01);
    const auto general = generalMIDIBank();
    double largest = 0;
    constexpr int kPiano = 0;
    for (const int program : {kPiano, 19, 40, 56, 73})
        for (const int key : {48, 69, 84}) {
            const double error = largestTuningError(
                general, key, [&](SoundFontPlayer& player) { player.now(0xC0, program); },
                program == kPiano ? Waver::withSpeed : Waver::inTime);
            EXPECT_LT(error, kExact) << "program " << program << " key " << key;
            largest = std::max(largest, error);
        }
    RecordProperty("largestErrorInCents", std::to_string(largest));
}

TEST(SoundFontTuning, HoldsUnderVibratoAndOddFineTunings) {
    const auto vibrato = [](SoundFontPlayer& player) { player.now(0xB0, 1, 20); };
    EXPECT_LT(largestTuningError(TinyFont().bank(), 69, vibrato), kExact);
    const auto fineTune = [](SoundFontPlayer& player) {
        for (const auto& [controller, value] : {std::pair{101, 0}, {100, 1}, {6, 70}, {38, 13}})
            player.now(0xB0, controller, value);
    };
    EXPECT_LT(largestTuningError(TinyFont().bank(), 69, fineTune), kExact);
}

TEST(SoundFontTuning, SurvivesWhateverResetsASynth) {
    const TinyFont tiny;
    const auto bank = tiny.bank();
    const double centre = 440;
    SoundFontPlayer player(bank);
    player.bend(kBends[7]);
    const auto error = [&] { return std::fabs(centsAbove(centre, playedFrequency(player, 69, 1.5)) - 70); };
    const std::vector<std::pair<const char*, std::function<void()>>> resets{
        {"controller 121", [&] { player.now(0xB0, 121); }},
        {"program change", [&] { player.now(0xC0, 0); }},
        {"bank change",
         [&] { player.now(0xB0, 0, 5), player.now(0xC0, 0), player.now(0xB0, 0, 0), player.now(0xC0, 0); }},
        {"all sound off", [&] { player.now(0xB0, 120), player.now(0xB0, 123); }},
        {"mono and poly mode",
         [&] { player.now(0xB0, 126, 1), player.now(0xB0, 127), player.now(0xB0, 124), player.now(0xB0, 125); }},
        {"silence", [&] { player.instrument.silence(); }},
        {"silence with reverb",
         [&] {
             player.instrument.setParameter(static_cast<std::size_t>(SoundFontParameter::reverbOn), 1);
             player.isSilent();
             player.instrument.silence();
             player.isSilent();
             player.instrument.setParameter(static_cast<std::size_t>(SoundFontParameter::reverbOn), 0);
         }},
        {"prepare", [&] { EXPECT_EQ(player.instrument.prepare(48000, 512), kNoError); }},
        {"another bank", [&] { EXPECT_EQ(player.instrument.loadBank(TinyFont().file), kNoError); }},
    };
    EXPECT_LT(error(), kExact);
    for (const auto& [name, reset] : resets) {
        reset();
        player.renderSeconds(0.05);
        EXPECT_LT(error(), kExact) << "after " << name;
    }
    for (const double rate : {44100.0, 96000.0, 192000.0}) {
        SoundFontPlayer other(bank, rate);
        other.bend(kBends[7]);
        EXPECT_NEAR(centsAbove(centre, playedFrequency(other, 69, 1.5)), 70, kExact) << rate;
    }
}

TEST(SoundFontTuning, CountsBendRangeCoarseAndFineTune) {
    const TinyFont tiny;
    SoundFontPlayer player(tiny.bank());
    const auto registered = [&](int parameter, int value) {
        for (const auto& [controller, data] : {std::pair{101, 0}, {100, parameter}, {6, value}, {38, 0}})
            player.now(0xB0, controller, data);
    };
    const auto cents = [&] { return centsAbove(440, playedFrequency(player, 69, 1.5)); };
    registered(1, 96);
    EXPECT_NEAR(cents(), 50, 0.6) << "fine tuning";
    player.now(0xB0, 121);
    EXPECT_NEAR(cents(), 50, 0.6) << "fine tuning after controller 121";
    registered(1, 64);
    registered(0, 12);
    player.bend(8192 + 4096);
    player.now(0x90, 69, 100);
    player.renderSeconds(0.1);
    const double tritone = frequencyOfKey(75);
    EXPECT_NEAR(centsAbove(tritone, measuredFrequency(player.renderSeconds(1), player.rate, tritone)), 0, 1.5)
        << "range of an octave";
}

TEST(SoundFontGrid, IsTheSameForAnyBlockSize) {
    const TinyFont tiny;
    const auto bank = tiny.bank();
    const auto play = [&](std::uint32_t blockFrames) {
        SoundFontPlayer player(bank);
        player.at(0, 0xC1, 1);
        for (int i = 0; i < 12; ++i) {
            const auto frame = static_cast<std::uint64_t>(3 + 1717 * i);
            player.at(frame, 0x90, 60 + i, 100);
            player.at(frame + 5, 0x91, 70, 90);
            player.at(frame + 300, 0xE0, 0, 64 + i);
            player.at(frame + 1500, 0x80, 60 + i);
        }
        return player.render(24000, blockFrames);
    };
    const std::vector<float> expected = play(64);
    EXPECT_GT(peakOf(expected), 0.01F);
    for (const std::uint32_t blockFrames : {1U, 7U, 31U, 63U, 65U, 100U, 511U, 512U, 1024U, 2047U, 2048U})
        EXPECT_EQ(play(blockFrames), expected) << "blocks of " << blockFrames;
}

TEST(SoundFontGrid, BeginsNotesAtTheirFrame) {
    const TinyFont tiny;
    const auto bank = tiny.bank();
    constexpr std::uint64_t kRamp = 2;  // the first two frames are below what can be found
    for (const std::uint64_t frame : {0ULL, 1ULL, 37ULL, 511ULL, 512ULL, 777ULL}) {
        SoundFontPlayer player(bank);
        player.at(0, 0xC0, 1);
        player.at(frame, 0x90, 69, 127);
        EXPECT_THAT(onsets(player.render(4096), 64), testing::ElementsAre(frame + kRamp));
    }
    // Beside a note that sounds the grid stands: a note shows in the difference to the sound without it.
    const auto withClick = [&](std::uint64_t frame) {
        SoundFontPlayer player(bank);
        player.at(0, 0xC1, 1);
        player.at(10, 0x90, 57, 80);
        if (frame > 0) player.at(frame, 0x91, 69, 127);
        return player.render(4096, 333);
    };
    const std::vector<float> without = withClick(0);
    for (std::uint64_t frame = 1000; frame < 1200; frame += 13) {
        std::vector<float> click = withClick(frame);
        std::transform(click.begin(), click.end(), without.begin(), click.begin(), std::minus<>());
        const auto found = onsets(click, 64);
        ASSERT_EQ(found.size(), 1U);
        EXPECT_LE(std::abs(static_cast<double>(found[0]) - static_cast<double>(frame + kRamp)), 32) << frame;
    }
}

TEST(SoundFontGrid, KeepsTheOrderOfEvents) {
    const TinyFont tiny;
    SoundFontPlayer player(tiny.bank());
    player.now(0xB0, 0, 1);
    player.now(0xC0, 0);
    player.now(0x90, 69, 100);
    player.now(0xB0, 0, 0);
    player.now(0xC0, 1);
    player.renderSeconds(0.1);
    EXPECT_NEAR(centsAbove(880, measuredFrequency(player.renderSeconds(1), 48000, 880)), 0, kExact);
    player.now(0x80, 69);
    player.now(0x90, 69, 100);
    player.now(0x80, 69);
    player.renderSeconds(1);
    EXPECT_TRUE(player.isSilent());
}

TEST(SoundFontSleep, IsSilentUntilANoteAndAfterIt) {
    const TinyFont tiny;
    SoundFontPlayer player(tiny.bank());
    std::vector<float> left(256, 0.5F);
    player.now(0xB0, 7, 90);
    player.now(0xE0, 0, 70);
    EXPECT_FALSE(player.renderBlock(left.data(), 256));
    EXPECT_THAT(left, testing::Each(0.5F)) << "a silent unit leaves the buffers alone";
    player.now(0x90, 69, 100);
    EXPECT_FALSE(player.isSilent());
    player.now(0x80, 69);
    player.renderSeconds(0.5);
    EXPECT_TRUE(player.isSilent());
    player.instrument.setParameter(static_cast<std::size_t>(SoundFontParameter::reverbOn), 1);
    player.instrument.setParameter(static_cast<std::size_t>(SoundFontParameter::chorusOn), 1);
    player.now(0x90, 69, 100);
    player.now(0x80, 69);
    player.renderSeconds(0.5);
    EXPECT_FALSE(player.isSilent()) << "the effects' tail";
    player.renderSeconds(20);
    EXPECT_TRUE(player.isSilent());
    player.now(0xB0, 64, 127);
    player.now(0x90, 69, 100);
    player.now(0x80, 69);
    player.renderSeconds(0.5);
    EXPECT_FALSE(player.isSilent()) << "held by the pedal";
    player.now(0xB0, 121);
    player.renderSeconds(25);
    EXPECT_TRUE(player.isSilent()) << "controller 121 lifts the pedal";
}

TEST(SoundFontSound, TenUnitsStayBelowFullScale) {
    const auto bank = generalMIDIBank();
    std::vector<float> mixed(48000);
    for (const int bend : kBends) {
        SoundFontPlayer player(bank);
        player.bend(bend);
        for (const int key : {48, 60, 64, 67}) player.now(0x90, key, 80);
        const std::vector<float> sound = player.render(mixed.size());
        EXPECT_GT(peakOf(sound), 0.005F);
        std::transform(mixed.begin(), mixed.end(), sound.begin(), mixed.begin(), std::plus<>());
    }
    EXPECT_LT(peakOf(mixed), 1.0F);
}

TEST(SoundFontSound, AFloodLeavesNoNoteHanging) {
    SoundFontPlayer player(generalMIDIBank());
    for (int i = 0; i < 3000; ++i) player.now(0x90 | i % 16, 20 + i % 90, 100);
    for (int i = 0; i < 500; ++i) player.now(0xB0 | i % 16, i % 96, i % 128), player.now(0xE0 | i % 16, 0, i % 128);
    player.renderSeconds(1);
    EXPECT_FALSE(player.isSilent());
    for (int channel = 0; channel < 16; ++channel) player.now(0xB0 | channel, 64, 0), player.now(0xB0 | channel, 66, 0);
    for (int i = 0; i < 3000; ++i) player.now(0x80 | i % 16, 20 + i % 90);
    player.renderSeconds(30);
    EXPECT_TRUE(player.isSilent());
}

TEST(SoundFontSound, AnyBytesAreHarmless) {
    const TinyFont tiny;
    for (const auto& bank : {tiny.bank(), generalMIDIBank()}) {
        SoundFontPlayer player(bank);
        std::mt19937 random(7);
        std::uniform_int_distribution<int> byte(0, 255);
        for (int i = 0; i < 40000; ++i) {
            player.now(i % 4 == 0 ? byte(random) : 0x80 | byte(random) % 0x70, byte(random), byte(random));
            if (i % 16 == 0)
                player.render(static_cast<std::size_t>(1 + byte(random)), static_cast<std::uint32_t>(1 + byte(random)));
        }
        for (int channel = 0; channel < 16; ++channel)
            for (const int controller : {64, 66, 121, 120}) player.now(0xB0 | channel, controller, 0);
        player.renderSeconds(3);
        EXPECT_TRUE(player.isSilent());
        for (const auto& [controller, value] : {std::pair{0, 0}, {7, 100}, {10, 64}, {127, 0}})
            player.now(0xB0, controller, value);
        player.now(0xC0, 0);
        player.now(0x90, 69, 100);
        EXPECT_GT(peakOf(player.renderSeconds(0.2)), 0.001F);
    }
}

TEST(SoundFontRealtime, RenderingNeitherAllocatesNorLocks) {
    SoundFontPlayer player(generalMIDIBank());
    std::array<float, 64> left{};
    std::array<float, 64> right{};
    std::mt19937 random(3);
    std::uniform_int_distribution<int> number(0, 127);
    std::array<TimedMIDI, 4> events{};
    constexpr std::array<int, 8> kStatus{0x90, 0x90, 0x80, 0xB0, 0xC0, 0xD0, 0xE0, 0xA0};
    RealtimeGuard::reset();
    for (int chunk = 0; chunk < 10000; ++chunk) {
        for (TimedMIDI& event : events) {
            const int status = kStatus[static_cast<std::size_t>(number(random)) % kStatus.size()] | number(random) % 16;
            event = {0, static_cast<std::uint8_t>(status), static_cast<std::uint8_t>(number(random)),
                     static_cast<std::uint8_t>(number(random))};
        }
        if (chunk % 50 == 0) {
            const auto parameter = static_cast<std::size_t>(number(random)) % kSoundFontParameterCount;
            player.instrument.setParameter(parameter, static_cast<float>(number(random)) / 64);
        }
        if (chunk % 700 == 0) player.instrument.silence();
        player.instrument.render({events.data(), chunk % 20 == 0 ? 4U : 0U}, left.data(), right.data(), 64);
    }
    EXPECT_EQ(RealtimeGuard::violations().total(), 0U) << RealtimeGuard::firstOffender();
}

TEST(SoundFontRealtime, TheGuardSeesWhatBreaksTheRules) {
    RealtimeGuard::reset();
    const auto offend = [] { delete new volatile int(3); };
    offend();
    EXPECT_EQ(RealtimeGuard::violations().total(), 0U);
    {
        const RealtimeScope scope;
        void* volatile memory = std::malloc(10);
        std::free(memory);
        const RealtimeExemption exemption("shows that it lifts the scope");
        offend();
    }
    EXPECT_EQ(RealtimeGuard::violations().allocations, RealtimeGuard::isEnabled() ? 2U : 0U);
}
