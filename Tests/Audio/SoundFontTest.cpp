// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/RealtimeScope.h"
#include "Tests/Audio/SoundFontPlayer.h"
#include "Tests/Fakes/OnsetFinder.h"
#include "Tests/Fakes/RealtimeGuard.h"

#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <random>

using namespace zelvane;

namespace {

constexpr double kExact = 0.1;
constexpr auto kReverbOn = static_cast<std::size_t>(SoundFontParameter::reverbOn);
constexpr auto kChorusOn = static_cast<std::size_t>(SoundFontParameter::chorusOn);

float peakOf(const std::vector<float>& sound) {
    float most = 0;
    for (const float sample : sound) most = std::max(most, std::fabs(sample));
    return most;
}

/// The largest error in cents of ten units that are bent first and then told more.
double largestTuningError(
    const std::shared_ptr<SoundFontBank>& bank, const std::function<void(SoundFontPlayer&)>& tellMore = [](auto&) {},
    int key = 69, Waver waver = Waver::inTime) {
    const auto makePlayer = [&](int bend) {
        auto player = std::make_unique<SoundFontPlayer>(bank);
        player->bend(bend);
        tellMore(*player);
        return player;
    };
    return zelvane::largestTuningError(makePlayer, key, waver);
}

double centsAboveA(SoundFontPlayer& player) {
    return centsAbove(440, player.playedFrequency(440));
}

}  // namespace

TEST(SoundFontTuning, UnitsStandTenCentsApart) {
    const TinyFont tiny;
    EXPECT_LT(largestTuningError(tiny.bank()), 0.01);
    SoundFontPlayer alone(tiny.bank());
    EXPECT_NEAR(centsAboveA(alone), 0, 0.01);
    const auto general = generalMIDIBank();
    constexpr int kPiano = 0;
    for (const int program : {kPiano, 19, 40, 56, 73}) {
        const auto choose = [&](SoundFontPlayer& player) { player.send(0xC0, program); };
        const Waver waver = program == kPiano ? Waver::withSpeed : Waver::inTime;
        for (const int key : {48, 69, 84})
            EXPECT_LT(largestTuningError(general, choose, key, waver), kExact)
                << "program " << program << " key " << key;
    }
    const auto vibrato = [](SoundFontPlayer& player) { player.send(0xB0, 1, 20); };
    EXPECT_LT(largestTuningError(tiny.bank(), vibrato), kExact);
    const auto fineTune = [](SoundFontPlayer& player) {
        player.send({{0xB0, 101, 0}, {0xB0, 100, 1}, {0xB0, 6, 70}, {0xB0, 38, 13}});
    };
    EXPECT_LT(largestTuningError(tiny.bank(), fineTune), kExact);
}

TEST(SoundFontTuning, SurvivesWhateverResetsASynth) {
    const TinyFont tiny;
    const auto bank = tiny.bank();
    SoundFontPlayer player(bank);
    player.bend(kBends[7]);
    const auto error = [&] { return std::fabs(centsAboveA(player) - 70); };
    const std::vector<std::pair<const char*, SoundFontPlayer::Messages>> resets{
        {"nothing", {}},
        {"controller 121", {{0xB0, 121}}},
        {"program change", {{0xC0, 0}}},
        {"bank change", {{0xB0, 0, 5}, {0xC0, 0}, {0xB0, 0, 0}, {0xC0, 0}}},
        {"all sound off", {{0xB0, 120}, {0xB0, 123}}},
        {"mono and poly mode", {{0xB0, 126, 1}, {0xB0, 127}, {0xB0, 124}, {0xB0, 125}}}};
    for (const auto& [name, messages] : resets) {
        player.send(messages);
        player.seconds(0.05);
        EXPECT_LT(error(), kExact) << "after " << name;
    }
    for (const float reverb : {1.0F, 0.0F}) {
        player.instrument->setParameter(kReverbOn, reverb);
        player.block();
        player.instrument->silence();
        player.block();
    }
    EXPECT_LT(error(), kExact) << "after silence";
    EXPECT_EQ(player.instrument->prepare(48000, 512), kNoError);
    EXPECT_LT(error(), kExact) << "after preparation";
    EXPECT_EQ(player.instrument->loadBank(TinyFont().file), kNoError);
    EXPECT_LT(error(), kExact) << "with another bank";
    for (const double rate : {44100.0, 96000.0, 192000.0}) {
        SoundFontPlayer other(bank, rate);
        other.bend(kBends[7]);
        EXPECT_NEAR(centsAboveA(other), 70, kExact) << rate;
    }
}

TEST(SoundFontTuning, CountsBendRangeCoarseAndFineTune) {
    const TinyFont tiny;
    SoundFontPlayer player(tiny.bank());
    const auto registered = [&](int parameter, int value) {
        player.send({{0xB0, 101, 0}, {0xB0, 100, parameter}, {0xB0, 6, value}, {0xB0, 38, 0}});
    };
    registered(1, 96);
    EXPECT_NEAR(centsAboveA(player), 50, 0.6) << "fine tuning";
    player.send(0xB0, 121);
    EXPECT_NEAR(centsAboveA(player), 50, 0.6) << "fine tuning after controller 121";
    registered(1, 64);
    registered(0, 12);
    player.bend(8192 + 4096);
    const double tritone = frequencyOfKey(75);
    EXPECT_NEAR(centsAbove(tritone, player.playedFrequency(tritone)), 0, 1.5) << "range of an octave";
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
    player.send({{0xB0, 0, 1}, {0xC0, 0}, {0x90, 69, 100}, {0xB0, 0, 0}, {0xC0, 1}});
    player.seconds(0.1);
    EXPECT_NEAR(centsAbove(880, measuredFrequency(player.seconds(1), 48000, 880)), 0, kExact);
    player.send({{0x80, 69}, {0x90, 69, 100}, {0x80, 69}});
    player.seconds(1);
    EXPECT_FALSE(player.block());
}

TEST(SoundFontSleep, IsSilentUntilANoteAndAfterIt) {
    const TinyFont tiny;
    SoundFontPlayer player(tiny.bank());
    player.send({{0xB0, 7, 90}, {0xE0, 0, 70}});
    EXPECT_FALSE(player.block());
    std::vector<float> left(256, 0.5F), right(256);
    player.instrument->render({}, left.data(), right.data(), 256);
    EXPECT_THAT(left, testing::Each(0.5F)) << "a silent unit leaves the buffers alone";
    player.send(0x90, 69, 100);
    EXPECT_TRUE(player.block());
    player.send(0x80, 69);
    player.seconds(0.5);
    EXPECT_FALSE(player.block());
    player.instrument->setParameter(kReverbOn, 1);
    player.instrument->setParameter(kChorusOn, 1);
    player.send({{0x90, 69, 100}, {0x80, 69}});
    player.seconds(0.5);
    EXPECT_TRUE(player.block()) << "the effects' tail";
    player.seconds(20);
    EXPECT_FALSE(player.block());
    player.send({{0xB0, 64, 127}, {0x90, 69, 100}, {0x80, 69}});
    player.seconds(0.5);
    EXPECT_TRUE(player.block()) << "held by the pedal";
    player.send(0xB0, 121);
    player.seconds(25);
    EXPECT_FALSE(player.block()) << "controller 121 lifts the pedal";
}

TEST(SoundFontSound, TenUnitsStayBelowFullScale) {
    const auto bank = generalMIDIBank();
    std::vector<float> mixed(48000);
    for (const int bend : kBends) {
        SoundFontPlayer player(bank);
        player.bend(bend);
        for (const int key : {48, 60, 64, 67}) player.send(0x90, key, 80);
        const std::vector<float> sound = player.render(mixed.size());
        EXPECT_GT(peakOf(sound), 0.005F);
        std::transform(mixed.begin(), mixed.end(), sound.begin(), mixed.begin(), std::plus<>());
    }
    EXPECT_LT(peakOf(mixed), 1.0F);
}

TEST(SoundFontSound, AFloodLeavesNoNoteHanging) {
    SoundFontPlayer player(generalMIDIBank());
    for (int i = 0; i < 3000; ++i) player.send(0x90 | i % 16, 20 + i % 90, 100);
    for (int i = 0; i < 500; ++i) player.send(0xB0 | i % 16, i % 96, i % 128), player.send(0xE0 | i % 16, 0, i % 128);
    player.seconds(1);
    EXPECT_TRUE(player.block());
    for (int channel = 0; channel < 16; ++channel)
        player.send(0xB0 | channel, 64, 0), player.send(0xB0 | channel, 66, 0);
    for (int i = 0; i < 3000; ++i) player.send(0x80 | i % 16, 20 + i % 90);
    player.seconds(30);
    EXPECT_FALSE(player.block());
}

TEST(SoundFontSound, AnyBytesAreHarmless) {
    const TinyFont tiny;
    for (const auto& bank : {tiny.bank(), generalMIDIBank()}) {
        SoundFontPlayer player(bank);
        std::mt19937 random(7);
        std::uniform_int_distribution<int> byte(0, 255);
        for (int i = 0; i < 40000; ++i) {
            player.send(i % 4 == 0 ? byte(random) : 0x80 | byte(random) % 0x70, byte(random), byte(random));
            if (i % 16 == 0)
                player.render(static_cast<std::size_t>(1 + byte(random)), static_cast<std::uint32_t>(1 + byte(random)));
        }
        for (int channel = 0; channel < 16; ++channel)
            for (const int controller : {64, 66, 121, 120}) player.send(0xB0 | channel, controller, 0);
        player.seconds(3);
        EXPECT_FALSE(player.block());
        player.send({{0xB0, 0, 0}, {0xB0, 7, 100}, {0xB0, 10, 64}, {0xB0, 127, 0}, {0xC0, 0}, {0x90, 69, 100}});
        EXPECT_GT(peakOf(player.seconds(0.2)), 0.001F);
    }
}

TEST(SoundFontRealtime, RenderingNeitherAllocatesNorLocks) {
    SoundFontPlayer player(generalMIDIBank());
    std::mt19937 random(3);
    const auto number = [&] { return static_cast<int>(random() % 128); };
    constexpr std::array<int, 8> kStatus{0x90, 0x90, 0x80, 0xB0, 0xC0, 0xD0, 0xE0, 0xA0};
    RealtimeGuard::reset();
    for (int chunk = 0; chunk < 10000; ++chunk) {
        for (int i = 0; i < 4 && chunk % 20 == 0; ++i)
            player.send(kStatus[random() % kStatus.size()] | number() % 16, number(), number());
        if (chunk % 50 == 0) {
            const auto value = static_cast<float>(number()) / 64;
            player.instrument->setParameter(random() % kSoundFontParameterCount, value);
        }
        if (chunk % 700 == 0) player.instrument->silence();
        player.block(64);
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
