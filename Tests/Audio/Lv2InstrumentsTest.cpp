// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2Properties.h"
#include "Tests/Audio/Lv2Player.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/PitchMeter.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <array>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <set>
#include <thread>

using namespace zelvane;
namespace fs = std::filesystem;

namespace {

constexpr std::array kBends{8192, 8601, 9010, 9419, 9828, 10237, 10646, 11055, 11464, 11873};

struct Subject {
    Lv2Entry entry;
    std::vector<std::pair<std::string, float>> plain = {};  // parameters that make one clear tone of it
};

Lv2Entry jx10() {
    return installed("http://drobilla.net/plugins/mda/JX10", "mda.lv2");
}
Lv2Entry ePiano() {
    return installed("http://drobilla.net/plugins/mda/EPiano", "mda.lv2");
}
Lv2Entry monosynth() {
    return installed("http://calf.sourceforge.net/plugins/Monosynth", "calf.lv2");
}
Lv2Entry zyn() {
    return installed("http://zynaddsubfx.sourceforge.net", "ZynAddSubFX.lv2");
}
Lv2Entry sampler() {
    return installed("http://lv2plug.in/plugins/eg-sampler", "eg-sampler.lv2");
}

/// It bends by 240 cents, and plays two oscillators out of tune.
Subject synthv1() {
    Subject subject{.entry = installed("http://synthv1.sourceforge.net/lv2", "synthv1.lv2"),
                    .plain = {{"DCO1_DETUNE", 0}, {"DCO1_PHASE", 0}, {"DCO2_DETUNE", 0}}};
    subject.entry.bendCents = 240.0 * 3681 / 8192;
    return subject;
}

void setParameter(Lv2Instrument& instrument, const std::string& symbol, float value) {
    const auto parameters = instrument.parameters();
    const auto place =
        std::find_if(parameters.begin(), parameters.end(), [&](const auto& p) { return p.symbol == symbol; });
    ASSERT_NE(place, parameters.end()) << symbol;
    instrument.setParameter(static_cast<std::size_t>(place - parameters.begin()), value);
}

/// The frequency of the strongest tone near what key 69 plays.
double playedFrequency(Lv2Player& player, double expected) {
    player.send(0x90, 69, 100);
    player.seconds(0.1);
    const double frequency = measuredFrequency(player.seconds(2), player.rate, expected);
    player.send(0x80, 69);
    player.seconds(0.1);
    return frequency;
}

/// Distances of the ten units' tones from the first one's, in cents.
std::vector<double> distances(const Subject& subject) {
    std::vector<double> cents;
    double reference = 440;
    for (const int bend : kBends) {
        Lv2Player player(subject.entry);
        player.bend(bend);
        for (const auto& [symbol, value] : subject.plain) setParameter(*player.instrument, symbol, value);
        player.seconds(0.2);
        const double frequency = playedFrequency(player, reference);
        if (cents.empty()) reference = frequency;
        cents.push_back(centsAbove(reference, frequency));
    }
    return cents;
}

int threadsOfThisProcess() {
    return static_cast<int>(std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator()));
}

}  // namespace

TEST(Lv2Tuning, UnitsStandTenCentsApart) {
    const std::vector<std::pair<const char*, Subject>> subjects{
        {"JX10", {jx10()}}, {"Monosynth", {monosynth()}}, {"ZynAddSubFX", {zyn()}}, {"synthv1", synthv1()}};
    for (const auto& [name, subject] : subjects) {
        const auto cents = distances(subject);
        double worst = 0;
        for (std::size_t unit = 0; unit < cents.size(); ++unit)
            worst = std::max(worst, std::fabs(cents[unit] - 10 * static_cast<double>(unit)));
        EXPECT_LT(worst, 0.5) << name << testing::PrintToString(cents);
        RecordProperty(name, std::to_string(worst));
    }
}

TEST(Lv2Tuning, TellsWhoIgnoresBends) {
    for (const double cents : distances({ePiano()})) EXPECT_NEAR(cents, 0, 0.01);
}

TEST(Lv2Tuning, IsKeptWhenTheRateChanges) {
    Lv2Player player(monosynth(), 96000);
    const double reference = playedFrequency(player, 440);
    player.bend(kBends[7]);
    player.seconds(0.1);
    EXPECT_EQ(player.instrument->prepare(44100, 512), kNoError);
    player.send(0x90, 69, 100);
    player.seconds(0.1);
    EXPECT_NEAR(centsAbove(reference, measuredFrequency(player.seconds(2), 44100, 458)), 70, 0.5);
}

TEST(Lv2Instances, TenAreMadeSavedRestoredAndRemoved) {
    const LogLines log;
    { const Lv2Player first(zyn()); }  // whatever a library keeps for good has started now
    { const Lv2Player first(synthv1().entry); }
    const int threads = threadsOfThisProcess();
    for (const Lv2Entry& entry : {jx10(), monosynth(), zyn(), synthv1().entry}) {
        std::vector<std::unique_ptr<Lv2Player>> units;
        for (int i = 0; i < 10; ++i) units.push_back(std::make_unique<Lv2Player>(entry));
        for (auto& unit : units) unit->send(0x90, 60, 100), unit->seconds(0.1);
        const UnitParameter& parameter = units[0]->instrument->parameters()[1];
        const float value = parameter.minimum + 0.75F * (parameter.maximum - parameter.minimum);
        units[0]->instrument->setParameter(1, value);
        units[0]->block();
        const PropertyList info = units[0]->classInfo();
        Error error;
        const auto travelled = parsePropertyList(serializePropertyList(info), error);
        ASSERT_TRUE(travelled) << entry.uri << error.description;
        for (auto& unit : units) {
            EXPECT_EQ(unit->setObject(kAudioUnitProperty_ClassInfoFromDocument, *travelled), kNoError);
            unit->block();
            EXPECT_EQ(unit->instrument->parameterValue(1), value) << entry.uri;
            EXPECT_EQ(unit->classInfo(), info) << entry.uri;
        }
    }
    EXPECT_TRUE(waitFor([&] { return threadsOfThisProcess() <= threads; }));
}

TEST(Lv2Presets, AreListedAndChosenByNumber) {
    Lv2Player player(monosynth());
    const auto list = player.gotObject(kAudioUnitProperty_FactoryPresets);
    const auto& presets = std::get<PropertyList::Array>(list.value);
    ASSERT_GT(presets.size(), 5U);
    const auto before = player.classInfo();
    EXPECT_EQ(player.preset().presetNumber, -1);
    EXPECT_EQ(player.setPreset(3), kNoError);
    const auto present = player.preset();
    EXPECT_EQ(present.presetNumber, 3);
    EXPECT_EQ(*propertyObject(present.presetName), std::get<PropertyList::Dictionary>(presets[3].value).at("name"));
    EXPECT_NE(player.classInfo(), before);
    for (const std::int32_t number : {-1, static_cast<std::int32_t>(presets.size())})
        EXPECT_EQ(player.setPreset(number), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(player.preset().presetNumber, 3);
}

TEST(Lv2Presets, MayLieInBundlesOfTheirOwn) {
    Lv2Entry entry = zyn();
    const std::size_t own = Lv2Player(entry).instrument->presetNames().size();
    entry.bundles.emplace_back("/usr/lib/lv2/ZynAddSubFX.lv2presets");
    Lv2Player player(entry);
    const auto names = player.instrument->presetNames();
    EXPECT_GT(names.size(), own + 100);
    const auto place =
        std::find_if(names.begin(), names.end(), [](const auto& name) { return name.starts_with("Arp"); });
    ASSERT_NE(place, names.end());
    const auto before = player.classInfo();
    const auto number = static_cast<std::int32_t>(place - names.begin());
    EXPECT_EQ(player.setPreset(number), kNoError);
    player.seconds(0.1);
    const auto info = player.classInfo();
    EXPECT_NE(info, before);
    Lv2Player other(entry);
    EXPECT_EQ(other.setClassInfo(info), kNoError);
    EXPECT_EQ(other.preset().presetNumber, number);
}

TEST(Lv2OwnProperties, ASampleChosenOnOneUnitPlaysOnAnother) {
    constexpr AudioUnitPropertyID kGain = kFirstLv2Property;
    constexpr AudioUnitPropertyID kSample = kFirstLv2Property + 1;
    Lv2Player one(sampler()), two(sampler());
    const auto sampleOf = [](Lv2Player& player) {
        player.block();
        return std::get<std::string>(player.gotObject(kSample).value);
    };
    const auto playsSample = [&](Lv2Player& player, const std::string& name) {
        return waitFor([&] { return fs::path(sampleOf(player)).filename() == name; });
    };
    EXPECT_TRUE(playsSample(one, "click.wav")) << "what it starts with, found by asking";
    const TemporaryFolder folder;
    const fs::path other = folder.path / "other.wav";
    fs::copy_file("/usr/lib/lv2/eg-sampler.lv2/click.wav", other);
    EXPECT_EQ(one.setObject(kSample, {other.native()}), kNoError);
    EXPECT_EQ(std::get<std::string>(one.gotObject(kSample).value), other) << "at once";
    EXPECT_EQ(one.set(kGain, -6.0F), kNoError);
    PropertyList info;
    const auto hasLoaded = [&] {
        one.block();
        info = one.classInfo();
        return serializePropertyList(info).find("other.wav") != std::string::npos;
    };
    EXPECT_TRUE(waitFor(hasLoaded));
    EXPECT_EQ(two.setClassInfo(info), kNoError);
    EXPECT_TRUE(playsSample(two, "other.wav"));
    EXPECT_EQ(two.set(kGain, std::uint64_t{0}), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(two.setObject(kSample, {std::int64_t{1}}), kAudioUnitErr_InvalidPropertyValue);
    two.send(0x90, 60, 127);
    const auto sound = two.seconds(0.1);
    EXPECT_GT(*std::max_element(sound.begin(), sound.end()), 0.01F);
}
