// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2Properties.h"
#include "Platform/Audio/Units/AUPreset.h"
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/FakeViewControllers.h"
#include "Tests/Fakes/ListedLv2Instruments.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/PlayerRig.h"
#include "Tests/Fakes/UnitAccess.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>

namespace zelvane {
namespace {

using namespace std::chrono_literals;

Lv2Entry entry(const char* name, const char* uri, const char* bundle) {
    return {.uri = uri, .name = name, .bundles = {bundle}, .refusal = {}, .bendCents = {}};
}

/// Some installed instruments; the one of our own stands for the instrument that is always there.
std::unique_ptr<AudioComponentProvider> installedInstruments() {
    return std::make_unique<ListedLv2Instruments>(std::vector<Lv2Entry>{
        entry("DLSMusicDevice", "urn:zelvane:probe", LV2_PROBE_BUNDLE),
        entry("MDA JX10", "http://drobilla.net/plugins/mda/JX10", "/usr/lib/lv2/mda.lv2"),
        entry("Calf Monosynth", "http://calf.sourceforge.net/plugins/Monosynth", "/usr/lib/lv2/calf.lv2"),
        entry("Exampler", "http://lv2plug.in/plugins/eg-sampler", "/usr/lib/lv2/eg-sampler.lv2")});
}

class Lv2Engine : public testing::Test {
  protected:
    Lv2Engine() { rig.platform.components.setViewControllerProvider(std::make_shared<FakeViewControllers>()); }

    AudioUnit* unit(std::int32_t number) { return engine.audioUnitFromMicroUnit(number); }

    /// What ten units have to say to the same question.
    template <typename Answer>
    std::vector<Answer> answers(const std::function<Answer(AudioUnit*)>& question) {
        std::vector<Answer> all;
        for (std::int32_t number = 1; number <= 10; ++number) all.push_back(question(unit(number)));
        return all;
    }
    std::vector<float> parameters(AudioUnitParameterID id) {
        return answers<float>([id](AudioUnit* unit) { return parameterOf(unit, id); });
    }
    static PropertyList object(AudioUnit* unit, AudioUnitPropertyID id) {
        const auto reference = propertyOf<PropertyReference>(unit, id);
        const auto read = propertyObject(reference);
        releaseProperty(reference);
        return read != nullptr ? *read : PropertyList();
    }
    static AudioUnitParameterID writableParameter(AudioUnit* unit) {
        const auto parameters = dynamic_cast<InstrumentUnit*>(unit)->instrument().parameters();
        return parameters[1].id;
    }
    void render(Duration time) { rig.renderUntil(rig.clock.now() - DrivenClock::kStart + time); }

    LogLines log;
    TemporaryFolder folder;
    UserDefaults defaults{folder.path / "defaults.plist"};
    PlayerRig rig{installedInstruments()};
    AudioEngine engine{rig.loop, rig.platform, rig.application, defaults};
};

TEST_F(Lv2Engine, WhatIsEditedOnOneUnitIsReadOnTheNineOthers) {
    engine.setMusicDeviceFromName("MDA JX10");
    engine.propagateFromMicroUnitNumber(4);
    const AudioUnitParameterID id = writableParameter(unit(4));
    for (const float value : {0.25F, 0.75F}) {
        editParameter(unit(4), id, value);
        render(300ms);
        EXPECT_EQ(parameters(id), std::vector<float>(10, value));
    }
    ASSERT_EQ(setProperty(unit(4), kAudioUnitProperty_PresentPreset, AUPreset{3, 0, 0}), kNoError);
    render(300ms);
    const auto values = [](AudioUnit* unit) {
        const auto info = std::get<PropertyList::Dictionary>(object(unit, kAudioUnitProperty_ClassInfo).value);
        return info.at("parameters");
    };
    EXPECT_EQ(answers<PropertyList>(values), std::vector<PropertyList>(10, values(unit(4))));
    EXPECT_NE(parameters(id), std::vector<float>(10, 0.75F)) << "the preset has a value of its own";
}

TEST_F(Lv2Engine, AFileChosenOnOneUnitIsChosenOnTheOthers) {
    constexpr AudioUnitPropertyID kSample = kFirstLv2Property + 1;
    engine.setMusicDeviceFromName("Exampler");
    engine.propagateFromMicroUnitNumber(1);
    const std::filesystem::path sample = folder.path / "other.wav";
    std::filesystem::copy_file("/usr/lib/lv2/eg-sampler.lv2/click.wav", sample);
    const PropertyReference reference = retainProperty({sample.string()});
    ASSERT_EQ(setProperty(unit(1), kSample, reference), kNoError);
    releaseProperty(reference);
    const auto isChosen = [&] {
        render(10ms);
        const auto chosen = answers<PropertyList>([](AudioUnit* unit) { return object(unit, kSample); });
        return chosen == std::vector<PropertyList>(10, PropertyList{sample.string()});
    };
    EXPECT_TRUE(waitFor(isChosen));
}

std::ptrdiff_t countIn(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
}

TEST_F(Lv2Engine, AHundredSwitchesLeaveNothingBehind) {
    const std::vector<std::string> names{"MDA JX10", "Exampler", "DLSMusicDevice", "Calf Monosynth"};
    const auto change = [&](std::size_t turn) {
        engine.handleNoteOnMessage(6050, 100, 1);
        render(20ms);
        engine.setMusicDeviceFromName(names[turn % names.size()]);
        ASSERT_TRUE(engine.allMicroUnitsAreSetUp());
    };
    for (std::size_t turn = 0; turn < names.size(); ++turn) change(turn);  // what libraries keep for good
    const std::ptrdiff_t threads = countIn("/proc/self/task");
    const std::ptrdiff_t files = countIn("/proc/self/fd");
    for (std::size_t turn = 0; turn < 100; ++turn) change(turn);
    EXPECT_TRUE(waitFor([&] { return countIn("/proc/self/task") <= threads; }));
    EXPECT_EQ(countIn("/proc/self/fd"), files);
    EXPECT_TRUE(rig.application.errors.empty());
}

}  // namespace
}  // namespace zelvane
