// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2Properties.h"
#include "Tests/Audio/Lv2Player.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace zelvane;
namespace fs = std::filesystem;

namespace {

struct Subject {
    Lv2Entry entry;
    std::vector<std::pair<std::string, float>> plain = {};  // parameters that make one clear tone of it
};

const std::string kZyn = "http://zynaddsubfx.sourceforge.net";

std::vector<Subject> subjects() {
    std::vector<Subject> all{{installed("http://drobilla.net/plugins/mda/JX10", "mda.lv2")},
                             {installed("http://calf.sourceforge.net/plugins/Monosynth", "calf.lv2")},
                             {installed(kZyn, "ZynAddSubFX.lv2")},
                             // It bends by 240 cents, and plays two oscillators out of tune.
                             {installed("http://synthv1.sourceforge.net/lv2", "synthv1.lv2"),
                              {{"DCO1_DETUNE", 0}, {"DCO1_PHASE", 0}, {"DCO2_DETUNE", 0}}}};
    all.back().entry.bendCents = 240.0 * 3681 / 8192;
    return all;
}

void setParameter(Lv2Instrument& instrument, const std::string& symbol, float value) {
    const auto parameters = instrument.parameters();
    const auto place =
        std::find_if(parameters.begin(), parameters.end(), [&](const auto& p) { return p.symbol == symbol; });
    ASSERT_NE(place, parameters.end()) << symbol;
    instrument.setParameter(static_cast<std::size_t>(place - parameters.begin()), value);
}

double tuningErrorOf(const Subject& subject) {
    return largestTuningError([&](int bend) {
        auto player = std::make_unique<Lv2Player>(subject.entry);
        player->bend(bend);
        for (const auto& [symbol, value] : subject.plain) setParameter(*player->instrument, symbol, value);
        player->seconds(0.2);
        return player;
    });
}

int threadsOfThisProcess() {
    return static_cast<int>(std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator()));
}

}  // namespace

TEST(Lv2Tuning, UnitsStandTenCentsApart) {
    for (const Subject& subject : subjects()) EXPECT_LT(tuningErrorOf(subject), 0.5) << subject.entry.uri;
}

TEST(Lv2Instances, TenAreMadeSavedRestoredAndRemoved) {
    const LogLines log;
    for (const Subject& subject : subjects()) const Lv2Player first(subject.entry);  // some threads stay for good
    const int threads = threadsOfThisProcess();
    for (const auto& [entry, plain] : subjects()) {
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

TEST(Lv2Presets, MayLieInBundlesOfTheirOwn) {
    Lv2Entry entry = installed(kZyn, "ZynAddSubFX.lv2");
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
    Error error;
    const auto travelled = parsePropertyList(serializePropertyList(info), error);
    EXPECT_EQ(other.setObject(kAudioUnitProperty_ClassInfoFromDocument, *travelled), kNoError);
    EXPECT_EQ(other.classInfo(), info);
    EXPECT_EQ(other.preset().presetNumber, number);
}

TEST(Lv2OwnProperties, ASampleChosenOnOneUnitPlaysOnAnother) {
    constexpr AudioUnitPropertyID kSample = kFirstLv2Property + 1;
    const Lv2Entry sampler = installed("http://lv2plug.in/plugins/eg-sampler", "eg-sampler.lv2");
    Lv2Player one(sampler), two(sampler);
    const auto plays = [](Lv2Player& player, const std::string& name) {
        return waitFor([&] {
            player.block();
            return std::get<std::string>(player.gotObject(kSample).value).ends_with("/" + name);
        });
    };
    EXPECT_TRUE(plays(one, "click.wav")) << "what it starts with, found by asking";
    const TemporaryFolder folder;
    const fs::path other = folder.path / "other.wav";
    fs::copy_file("/usr/lib/lv2/eg-sampler.lv2/click.wav", other);
    EXPECT_EQ(one.setObject(kSample, {other.native()}), kNoError);
    PropertyList info;
    const auto isSaved = [&] {
        one.block();
        info = one.classInfo();
        return serializePropertyList(info).find("other.wav") != std::string::npos;
    };
    EXPECT_TRUE(waitFor(isSaved));
    EXPECT_EQ(two.setClassInfo(info), kNoError);
    EXPECT_TRUE(plays(two, "other.wav"));
    two.send(0x90, 60, 127);
    const auto sound = two.seconds(0.1);
    EXPECT_GT(*std::max_element(sound.begin(), sound.end()), 0.01F);
}
