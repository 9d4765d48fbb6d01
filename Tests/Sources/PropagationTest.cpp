// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/AudioEngine/AudioUnitPropertyNames.h"
#include "Tests/Fakes/EngineRig.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/UnitAccess.h"

#include <gmock/gmock.h>

namespace zelvane {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr AudioUnitPropertyID kReverb = kMusicDeviceProperty_UsesInternalReverb;
constexpr AudioUnitPropertyID kNumber = RecordingInstrument::kNumber;
constexpr AudioUnitPropertyID kFrame = RecordingInstrument::kFrame;
constexpr AudioUnitPropertyID kPreset = kAudioUnitProperty_PresentPreset;

/// An engine whose units have editors, on the list of properties that a test writes for its instrument.
class Propagation : public testing::Test {
  protected:
    Propagation() : rig({"DLSMusicDevice", "zither"}, {}, true) {}

    void listen(const std::string& integers) {
        std::ofstream(rig.rig.data.user() / "DLSMusicDevice.plist") << "<plist><array>" + integers + "</array></plist>";
    }
    void listenToAll() {
        listen(
            "<integer>36</integer><integer>50</integer><integer>1005</integer><integer>70000</integer>"
            "<integer>70001</integer>");
    }

    template <typename Value>
    OSStatus set(std::int32_t number, AudioUnitPropertyID id, const Value& value) {
        return setProperty(rig.audioUnit(number), id, value);
    }
    template <typename Value>
    Value valueOf(std::int32_t number, AudioUnitPropertyID id) {
        return propertyOf<Value>(rig.audioUnit(number), id);
    }
    std::vector<float> parameters() {
        std::vector<float> values;
        for (std::int32_t number = 1; number <= 10; ++number) values.push_back(parameterOf(rig.audioUnit(number), 7));
        return values;
    }
    OSStatus edit(std::int32_t number, float value) { return editParameter(rig.audioUnit(number), 7, value); }

    LogLines log;
    EngineRig rig;
};

using Frame = std::array<std::uint32_t, 3>;
using Preset = std::array<std::uint32_t, 4>;

TEST_F(Propagation, PropertiesOfFourEightAndSixteenBytesReachTheOthersAndComeBackToNobody) {
    listenToAll();
    rig.engine->propagateFromMicroUnitNumber(3);
    ASSERT_EQ(set(3, kReverb, 41U), kNoError);
    ASSERT_EQ(set(3, kNumber, std::uint64_t{0x123456789ABC}), kNoError);
    ASSERT_EQ(set(3, kPreset, Preset{5, 0, 7, 8}), kNoError);
    ASSERT_EQ(set(3, kFrame, Frame{1, 2, 3}), kNoError);
    for (std::int32_t number = 1; number <= 10; ++number) {
        EXPECT_EQ(valueOf<std::uint32_t>(number, kReverb), 41U);
        EXPECT_EQ(valueOf<std::uint64_t>(number, kNumber), 0x123456789ABC);
        EXPECT_EQ(valueOf<Preset>(number, kPreset), (Preset{5, 0, 7, 8}));
        EXPECT_EQ(valueOf<Frame>(number, kFrame), (number == 3 ? Frame{1, 2, 3} : Frame{}));
        EXPECT_EQ(rig.unit(number).stored[kNumber].timesSet, 1) << number;
        EXPECT_EQ(rig.unit(number).stored[kPreset].timesSet, 1) << number;
    }
}

TEST_F(Propagation, AnObjectReachesTheOthersAndNobodyKeepsACount) {
    listenToAll();
    rig.engine->propagateFromMicroUnitNumber(1);
    const PropertyReference reference = retainProperty({std::string("a bank")});
    ASSERT_EQ(set(1, kAudioUnitProperty_ClassInfoFromDocument, reference), kNoError);
    releaseProperty(reference);
    EXPECT_EQ(propertyObject(reference), nullptr);
    // Numbers count up: those that reading has made are between this one and the next.
    const PropertyReference next = retainProperty({std::string("the next")});
    for (PropertyReference between = reference + 1; between < next; ++between)
        EXPECT_EQ(propertyObject(between), nullptr) << "lives though it was read and done with";
    releaseProperty(next);
    for (std::int32_t number = 1; number <= 10; ++number)
        EXPECT_EQ(rig.unit(number).stored[50].object, PropertyList{std::string("a bank")}) << number;
}

TEST_F(Propagation, TheFirstRefusalIsTheLastUnitAsked) {
    listenToAll();
    rig.engine->propagateFromMicroUnitNumber(9);
    rig.unit(7).stored[kNumber].isRefusing = true;
    set(9, kNumber, std::uint64_t{6});
    for (std::int32_t number = 1; number <= 10; ++number)
        EXPECT_EQ(valueOf<std::uint64_t>(number, kNumber), number >= 8 ? 6U : 0U) << number;
}

TEST_F(Propagation, APresetHasTheDetuningSentAgainUnlessAUnitRefusesIt) {
    listenToAll();
    rig.engine->propagateFromMicroUnitNumber(10);
    const auto bends = [&] {
        rig.played();
        return std::count_if(rig.unit(1).played.begin(), rig.unit(1).played.end(),
                             [](const PlayedEvent& event) { return (event.status & 0xF0) == 0xE0; });
    };
    const auto before = bends();
    set(10, kPreset, Preset{1});
    EXPECT_EQ(bends() - before, 16);
    rig.unit(5).stored[kPreset].isRefusing = true;
    set(10, kPreset, Preset{2});
    EXPECT_EQ(bends() - before, 16);
}

TEST_F(Propagation, OnlyOneUnitIsTheSourceAndOnlyOneWithAnEditor) {
    listenToAll();
    rig.engine->propagateFromMicroUnitNumber(2);
    rig.engine->propagateFromMicroUnitNumber(2);
    set(2, kNumber, std::uint64_t{1});
    EXPECT_EQ(rig.unit(4).stored[kNumber].timesSet, 1) << "heard twice";
    rig.engine->propagateFromMicroUnitNumber(4);
    set(2, kNumber, std::uint64_t{2});
    EXPECT_EQ(valueOf<std::uint64_t>(4, kNumber), 1U) << "the former source is none any more";
    set(4, kNumber, std::uint64_t{3});
    EXPECT_EQ(valueOf<std::uint64_t>(2, kNumber), 3U);

    EngineRig plain;
    plain.engine->propagateFromMicroUnitNumber(2);
    plain.engine->setAudioUnitPropertyListeners(plain.engine->microUnitFromNumber(2), 1, true);
    setProperty(plain.audioUnit(2), kReverb, 1U);
    editParameter(plain.audioUnit(2), 7, 0.5F);
    plain.runDue();
    EXPECT_EQ(plain.unit(3).reverb, 0U);
    EXPECT_EQ(parameterOf(plain.audioUnit(3), 7), 1);
}

TEST_F(Propagation, RemovingPassesOverTheEntryBehindADoubleOne) {
    listen("<integer>1005</integer><integer>1005</integer><integer>70000</integer>");
    MicroUnit& source = rig.engine->microUnitFromNumber(6);
    rig.engine->setAudioUnitPropertyListeners(source, 1, true);
    EXPECT_TRUE(rig.engine->isInEnabledInAUPropertyList(kNumber));
    rig.engine->setAudioUnitPropertyListeners(source, 0, true);
    EXPECT_FALSE(rig.engine->isInEnabledInAUPropertyList(kNumber)) << "the list is dropped";
    set(6, kReverb, 9U);
    set(6, kNumber, std::uint64_t{9});
    EXPECT_EQ(rig.unit(1).reverb, 0U);
    EXPECT_EQ(valueOf<std::uint64_t>(1, kNumber), 9U) << "this one is still listened to";
    const std::string node = rig.engine->microUnitSynthNode(6)->description();
    EXPECT_THAT(log.all(), Contains("AudioEngine+Properties: [formatAUPropertyRemoveLog:withNode:] removed "
                                    "DLSMusicDevice listener for " +
                                    node + " property 1005 named Uses Internal Reverb")
                               .Times(1));
    EXPECT_THAT(log.all(),
                Contains(AllOf(HasSubstr("installed listeners for 3 DLSMusicDevice " + node + " properties from "),
                               EndsWith("/user/Zelvane/DLSMusicDevice.plist"))));
}

TEST_F(Propagation, APropertyThatIsNotThereIsToldAndTheOthersAreListenedTo) {
    listen("<integer>4000000000</integer><integer>1005</integer>");
    rig.engine->propagateFromMicroUnitNumber(1);
    EXPECT_THAT(log.all(), Contains(AllOf(HasSubstr("unable to install listener for DLSMusicDevice <AVAudioUnit: 0x"),
                                          EndsWith(" property id -294967296 named u4000000000"))));
    set(1, kReverb, 3U);
    EXPECT_EQ(rig.unit(10).reverb, 3U);
}

TEST_F(Propagation, AParameterEditedInAnEditorReachesTheOthersAndOneThatIsSetDoesNot) {
    listenToAll();
    rig.engine->propagateFromMicroUnitNumber(5);
    AudioUnitSetParameter(rig.audioUnit(5), 7, 0, 0, 0.25F, 0);
    rig.runDue();
    EXPECT_EQ(parameters(), (std::vector<float>{1, 1, 1, 1, 0.25F, 1, 1, 1, 1, 1}));
    EXPECT_EQ(edit(5, 1.5F), kNoError);
    rig.runDue();
    EXPECT_EQ(parameters(), std::vector<float>(10, 1.5F));
    // The next within a tenth of a second have to wait, and the last of them counts.
    edit(5, 0.1F);
    edit(5, 0.2F);
    rig.runDue();
    EXPECT_EQ(parameters()[0], 1.5F);
    rig.rig.clock.advance(100ms);
    rig.runDue();
    EXPECT_EQ(parameters(), std::vector<float>(10, 0.2F));
    EXPECT_EQ(edit(5, 99), kNoError);
    rig.rig.clock.advance(100ms);
    rig.runDue();
    EXPECT_EQ(parameters(), std::vector<float>(10, 2)) << "held to the range";
}

TEST_F(Propagation, AnEditDoesNotReachTheUnitsOfTheNextInstrument) {
    rig.engine->propagateFromMicroUnitNumber(5);
    edit(5, 1.5F);
    rig.runDue();
    edit(5, 0.5F);  // waits
    const auto kept = rig.engine->microUnitSynthNode(5);
    rig.engine->setMusicDeviceFromName("zither");
    rig.rig.clock.advance(200ms);
    rig.runDue();
    editParameter(kept->audioUnit(), 7, 0.7F);
    setProperty(kept->audioUnit(), kReverb, 1U);
    rig.rig.clock.advance(200ms);
    rig.runDue();
    EXPECT_EQ(parameters(), std::vector<float>(10, 1));
    EXPECT_EQ(rig.unit(1).reverb, 0U);
}

// The registrations are of the micro units, and what is removed are their instances: they stay.
TEST_F(Propagation, RemovingParameterListenersFindsNone) {
    rig.engine->setAudioUnitParameterListeners(rig.engine->microUnitFromNumber(5), 1, true);
    rig.engine->setAudioUnitParameterListeners(rig.engine->microUnitFromNumber(5), 0, true);
    EXPECT_THAT(log.all(),
                Contains(AllOf(HasSubstr("[setAudioUnitParameterListeners:modus:log:] installed listener for "
                                         "DLSMusicDevice <AVAudioUnit: 0x"),
                               EndsWith(" parameter 7 named Gain")))
                    .Times(9));
    EXPECT_THAT(log.all(), Not(Contains(HasSubstr("removed listener for"))));
    edit(5, 0.5F);
    rig.runDue();
    EXPECT_EQ(parameters(), std::vector<float>(10, 0.5F));
}

TEST_F(Propagation, AnotherModusCopiesThePresentValuesAtOnce) {
    listenToAll();
    MicroUnit& source = rig.engine->microUnitFromNumber(5);
    set(5, kNumber, std::uint64_t{77});
    AudioUnitSetParameter(rig.audioUnit(5), 7, 0, 0, 0.5F, 0);
    rig.engine->setAudioUnitParameterListeners(source, 2, true);
    EXPECT_EQ(parameters(), std::vector<float>(10, 0.5F));
    EXPECT_THAT(log.all(), Contains(HasSubstr("] propagated DLSMusicDevice <AVAudioUnit: 0x")).Times(1));
    rig.engine->setAudioUnitPropertyListeners(source, 1, false);
    rig.engine->setAudioUnitPropertyListeners(source, 2, false);
    EXPECT_EQ(valueOf<std::uint64_t>(10, kNumber), 77U);
}

TEST_F(Propagation, ListsAreLookedForFromTheUsersToTheProgramsOwn) {
    const auto sourceOfList = [&] {
        MicroUnit& source = rig.engine->microUnitFromNumber(1);
        rig.engine->setAudioUnitPropertyListeners(source, 0, false);
        rig.engine->setAudioUnitPropertyListeners(source, 1, true);
        const std::string line = log.all().back();
        return line.substr(line.find(" from ") + 6);
    };
    EXPECT_THAT(sourceOfList(), EndsWith("/share/Zelvane/PropertyLists/DLSMusicDevice.plist"));
    std::ofstream(rig.rig.data.local() / "DLSMusicDevice.plist") << "<plist><array/></plist>";
    EXPECT_THAT(sourceOfList(), EndsWith("/local/Zelvane/DLSMusicDevice.plist"));
    listen("<integer>1005</integer>");
    EXPECT_THAT(sourceOfList(), EndsWith("/user/Zelvane/DLSMusicDevice.plist"));
    listen("<string>no number</string>");
    EXPECT_THAT(sourceOfList(), EndsWith("/local/Zelvane/DLSMusicDevice.plist"));
    EXPECT_THAT(log.all(), Contains(AllOf(HasSubstr("AudioEngine+Properties: ["), HasSubstr("kept as"),
                                          HasSubstr("DLSMusicDevice.plist.damaged-"))));
    EXPECT_FALSE(std::filesystem::exists(rig.rig.data.user() / "DLSMusicDevice.plist"));
    rig.engine->setMusicDeviceFromName("zither");
    EXPECT_THAT(sourceOfList(), EndsWith("/PropertyLists/Music Device Default Properties.plist"));
    EXPECT_EQ(pathToEnabledPropertyIDsFile("../a/b", SearchPathDomain::user, false).filename(), ".._a_b.plist");
}

TEST_F(Propagation, TheSearchFindsWhatIsWritableShowsHowFarItIsAndKeepsTheList) {
    EXPECT_EQ(AudioEngine::kProbedPropertyIDs.first, 4U);
    EXPECT_EQ(AudioEngine::kProbedPropertyIDs.last, 4294967294U);
    const auto node = rig.engine->microUnitSynthNode(1);
    ASSERT_TRUE(rig.engine->probeAUProperties(node, false, {4, 90001}));
    EXPECT_THAT(rig.rig.application.progress, ElementsAre("show DLSMusicDevice", "hide"));
    EXPECT_EQ(rig.rig.application.lastProgress, 90000U);
    const auto stored = readEnabledPropertyIDs("DLSMusicDevice");
    ASSERT_TRUE(stored);
    EXPECT_THAT(stored->ids, ElementsAre(36, 50, 1005, 70000, 70001));
    EXPECT_EQ(stored->file, rig.rig.data.user() / "DLSMusicDevice.plist");
    // It ends with the range: the one beyond the last would be 0 again.
    rig.engine->probeAUProperties(node, false, {4294960000U, 4294967294U});
    EXPECT_THAT(readEnabledPropertyIDs("DLSMusicDevice")->ids, IsEmpty());
}

TEST_F(Propagation, ASearchThatIsOvertakenByAnotherInstrumentKeepsNothing) {
    rig.rig.loop.perform([&] { rig.engine->setMusicDeviceFromName("zither"); });
    EXPECT_FALSE(rig.engine->probeAUProperties(rig.engine->microUnitSynthNode(1), false));
    EXPECT_FALSE(std::filesystem::exists(rig.rig.data.user() / "DLSMusicDevice.plist"));
    EXPECT_EQ(rig.rig.application.progress.back(), "hide");
}

TEST_F(Propagation, PresetsAreKeptForEachUnitOfAnInstrument) {
    rig.unit(4).stored[50].object = {std::string("flutes")};
    rig.unit(5).stored[0].object = {std::string("drums")};
    rig.unit(5).stored[50].isRefusing = true;
    rig.unit(6).stored[0].isRefusing = rig.unit(6).stored[50].isRefusing = true;
    EXPECT_TRUE(rig.engine->windowShouldClose());
    EXPECT_EQ(rig.defaults.object("DLSMusicDevice_4"), PropertyList{std::string("flutes")});
    EXPECT_EQ(rig.defaults.object("DLSMusicDevice_6"), std::nullopt);
    rig.engine->setMusicDeviceFromName("zither");
    EXPECT_EQ(rig.unit(4).stored[50].timesSet, 0);
    rig.engine->setMusicDeviceFromName("DLSMusicDevice");
    EXPECT_EQ(rig.unit(4).stored[50].object, PropertyList{std::string("flutes")});
    EXPECT_EQ(rig.unit(5).stored[50].object, PropertyList{std::string("drums")});
    EXPECT_EQ(rig.unit(6).stored[50].timesSet, 0);
    rig.unit(4).stored[50].isRefusing = true;
    rig.engine->presetFromDefaults(4);
    EXPECT_EQ(rig.unit(4).stored[0].object, PropertyList{std::string("flutes")});
}

TEST(PropertyNames, AreWhatALogIsSearchedBy) {
    EXPECT_EQ(audioUnitPropertyNameFromID(0), "Class Info");
    EXPECT_EQ(audioUnitPropertyNameFromID(27), "Host Calbacks");
    EXPECT_EQ(audioUnitPropertyNameFromID(34), "Paralmeter ID Name");
    EXPECT_EQ(audioUnitPropertyNameFromID(1100), "Sound Bank URL");
    for (const AudioUnitPropertyID id : {7U, 9U, 28U, 55U, 1004U, 1009U, 65536U, 4294967295U})
        EXPECT_EQ(audioUnitPropertyNameFromID(id), "u" + std::to_string(id));
}

}  // namespace
}  // namespace zelvane
