// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/AtomArchive.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Properties.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Urids.h"
#include "Platform/Audio/Instruments/Lv2/Lv2World.h"
#include "Platform/Audio/Instruments/Lv2/MessageRing.h"
#include "Tests/Audio/Lv2Player.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/CommaLocale.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/RealtimeGuard.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <thread>

using namespace zelvane;
namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

constexpr AudioUnitPropertyID kCount = kFirstLv2Property;  // in the order of their URIs
constexpr AudioUnitPropertyID kFile = kFirstLv2Property + 1;
constexpr AudioUnitPropertyID kLevel = kFirstLv2Property + 2;

/// What a note played now sounds like: its velocity times the gain, and its channel's bend.
std::pair<float, float> noteOf(Lv2Player& player, int channel = 0) {
    player.send(0x90 | channel, 60, 100, 5);
    player.block();
    return {player.left[5], player.right[5]};
}
float bendOf(Lv2Player& player, int channel = 0) {
    return noteOf(player, channel).second;
}

PropertyList::Dictionary dictionary(const PropertyList& list) {
    return std::get<PropertyList::Dictionary>(list.value);
}

constexpr const char* kPrefixes = R"(
    @prefix lv2: <http://lv2plug.in/ns/lv2core#> . @prefix atom: <http://lv2plug.in/ns/ext/atom#> .
    @prefix ev: <http://lv2plug.in/ns/ext/event#> . @prefix midi: <http://lv2plug.in/ns/ext/midi#> .
    @prefix doap: <http://usefulinc.com/ns/doap#> . @prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .
    <urn:test> )";

/// Of a plug-in that is described like that; "" when it can be played.
std::string whyNotPlayable(const std::string& description) {
    const TemporaryFolder bundle;
    bundle.write("manifest.ttl", std::string(kPrefixes) +
                                     "a lv2:Plugin , lv2:InstrumentPlugin ; "
                                     "lv2:binary <test.so> ; rdfs:seeAlso <test.ttl> .");
    bundle.write("test.ttl", kPrefixes + description);
    Lv2World world;
    world.loadBundle(bundle.path);
    const auto plugin = world.plugin("urn:test");
    return plugin ? plugin->whyNotPlayable() : "not found";
}

class Lv2Probe : public testing::Test {
  protected:
    Lv2Player player{probeEntry()};
};

}  // namespace

TEST(MessageRing, KeepsMessagesWholeBetweenTwoThreads) {
    MessageRing ring(256);
    constexpr unsigned kMessages = 100'000;
    std::jthread writer([&] {
        std::array<std::byte, 60> bytes{};
        for (unsigned i = 0; i < kMessages;) {
            bytes.fill(static_cast<std::byte>(i));
            const std::size_t length = i * 7 % 61;
            i += ring.push(std::as_bytes(std::span(&i, 1)), std::span(bytes).first(length)) ? 1U : 0U;
        }
    });
    for (unsigned expected = 0; expected < kMessages;) {
        const auto message = ring.front();
        if (!message) continue;
        unsigned number = 0;
        std::memcpy(&number, message->data(), sizeof number);
        ASSERT_EQ(number, expected);
        ASSERT_EQ(message->size(), sizeof number + number * 7 % 61);
        for (const std::byte byte : message->subspan(sizeof number)) ASSERT_EQ(byte, static_cast<std::byte>(number));
        ring.pop();
        ++expected;
    }
    EXPECT_TRUE(ring.isEmpty());
    EXPECT_FALSE(ring.push(std::vector<std::byte>(256)));
}

TEST(Lv2World, SaysWhatAPluginIsAndWhyItCannotBePlayed) {
    const std::string midi = R"([ a lv2:InputPort , atom:AtomPort ; atom:supports midi:MidiEvent ; lv2:index 0 ;
                                  lv2:symbol "in" ; lv2:name "In" ])";
    const std::string sound =
        R"([ a lv2:OutputPort , lv2:AudioPort ; lv2:index 1 ; lv2:symbol "out" ; lv2:name "Out" ])";
    const std::string effect = R"([ a lv2:InputPort , lv2:AudioPort ; lv2:index 0 ; lv2:symbol "in" ; lv2:name "In" ])";
    const std::string old = R"([ a lv2:InputPort , ev:EventPort ; ev:supportsEvent midi:MidiEvent ; lv2:index 0 ;
                                 lv2:symbol "in" ; lv2:name "In" ])";
    const std::string begin = R"(doap:name "Test" ; lv2:port )" + midi;
    EXPECT_EQ(whyNotPlayable(begin + " , " + sound + " ."), "");
    EXPECT_THAT(whyNotPlayable(begin + " , " + sound + " ; lv2:requiredFeature <urn:odd> ."), HasSubstr("urn:odd"));
    EXPECT_THAT(whyNotPlayable(begin + " ."), HasSubstr("no audio output"));
    EXPECT_THAT(whyNotPlayable(begin + " , [ oh no"), HasSubstr("damaged"));
    const std::string withoutMidi = R"(doap:name "Test" ; lv2:port )" + sound;
    EXPECT_THAT(whyNotPlayable(withoutMidi + " , " + old + " ."), HasSubstr("old kind"));
    EXPECT_THAT(whyNotPlayable(withoutMidi + " , " + effect + " ."), HasSubstr("no MIDI"));
    const CommaLocale locale;
    Lv2World world;
    world.loadBundle(LV2_PROBE_BUNDLE);
    const auto probe = world.plugin("urn:zelvane:probe");
    ASSERT_TRUE(probe);
    EXPECT_EQ(probe->writableProperties.at(2).defaultValue, 0.25);
    EXPECT_TRUE(probe->isInstrument());
    ASSERT_EQ(probe->parameters.size(), 2U) << "the host's own switch is none";
    EXPECT_EQ(probe->parameters[0].id, 4U);
    EXPECT_EQ(probe->parameters[0].unit, "dB");
    EXPECT_TRUE(probe->parameters[0].isLogarithmic);
    EXPECT_TRUE(probe->parameters[1].isInteger);
    EXPECT_EQ(probe->parameters[1].valueNames, (std::vector<std::pair<float, std::string>>{{0, "Zero"}, {2, "Two"}}));
}

TEST_F(Lv2Probe, PlaysEventsAtTheirFramesInBlocksOfAnySize) {
    for (const std::uint32_t frames : {64U, 1024U, 1025U, 5000U}) {
        for (const std::uint32_t frame : {0U, 1U, 63U, frames / 2, frames - 1}) {
            player.send(0x90, 60, 77, frame);
            EXPECT_TRUE(player.block(frames));
            for (std::uint32_t i = 0; i < frames; ++i)
                ASSERT_EQ(player.left[i], i == frame ? 77.0F : 0) << "frame " << frame << " of " << frames;
        }
    }
    EXPECT_EQ(player.instrument->latencySeconds(), 32.0 / 48000);
}

TEST_F(Lv2Probe, SleepsAfterSilenceAndWakesToAnEvent) {
    player.send(0x90, 60, 100);
    player.seconds(3);
    EXPECT_TRUE(player.block()) << "a note is held";
    player.send(0x80, 60, 0);
    player.seconds(3);
    EXPECT_FALSE(player.block());
    player.send(0x90, 60, 100, 600);
    EXPECT_FALSE(player.block(512)) << "the event is for a later block";
    EXPECT_TRUE(player.block(1024));
    EXPECT_EQ(player.left[600 - 512], 100);
}

TEST(Lv2Bends, AreCorrectedAndSurviveWhatUndoesThem) {
    Lv2Entry entry = probeEntry();
    entry.bendCents = 2 * 3681.0 / 8192 * 200;
    Lv2Player wide(entry);
    wide.bend(8192 + 4000);
    EXPECT_EQ(bendOf(wide), 8192 + 2000);
    wide.bend(8192 - 3001);
    EXPECT_EQ(bendOf(wide, 15), 8192 - 1501);
    entry.bendCents = 3681.0 / 8192 * 100;
    Lv2Player narrow(entry);
    narrow.bend(16383);
    EXPECT_EQ(bendOf(narrow), 16383) << "as far as it goes";
    entry.bendCents = 0;
    Lv2Player player(entry);
    player.bend(11055);
    EXPECT_EQ(bendOf(player), 11055);
    const PropertyList info = player.classInfo();
    const std::vector<std::pair<const char*, std::function<void()>>> resets{
        {"rate", [&] { player.instrument->prepare(44100, 512); }},
        {"controller 121", [&] { player.send(0xB3, 121); }},
        {"silence", [&] { player.instrument->silence(); }},
        {"class info", [&] { player.setClassInfo(info); }},
        {"preset", [&] { player.setPreset(1); }},
    };
    for (const auto& [name, reset] : resets) {
        reset();
        player.block();
        EXPECT_EQ(bendOf(player, 3), 11055) << "after " << name;
    }
}

TEST_F(Lv2Probe, SettingsTravelWithFilesParametersAndProperties) {
    PropertyList info;
    {
        Lv2Player one(probeEntry());
        one.instrument->setParameter(0, 0.5F);
        EXPECT_EQ(one.set(kLevel, 0.75F), kNoError);
        EXPECT_EQ(one.set(kCount, std::int64_t{1} << 40), kNoError);
        EXPECT_EQ(one.setObject(kFile, {std::string(LV2_PROBE_BUNDLE "/probe.ttl")}), kNoError);
        one.block();
        info = one.classInfo();
    }
    Error error;
    const std::string xml = serializePropertyList(info);
    EXPECT_THAT(xml, testing::Not(HasSubstr(LV2_PROBE_BUNDLE))) << "where bundles lie is this machine's affair";
    player.block();
    EXPECT_EQ(player.got<std::int64_t>(kCount), 7) << "what it starts with";
    EXPECT_EQ(player.setClassInfo(*parsePropertyList(xml, error)), kNoError);
    player.block();
    EXPECT_EQ(player.instrument->parameterValue(0), 0.5F);
    EXPECT_EQ(noteOf(player).first, 50);
    EXPECT_EQ(player.got<float>(kLevel), 0.75F);
    EXPECT_EQ(player.got<std::int64_t>(kCount), std::int64_t{1} << 40);
    EXPECT_EQ(player.gotObject(kFile), PropertyList{std::string(LV2_PROBE_BUNDLE "/probe.ttl")});
    EXPECT_EQ(player.instrument->prepare(44100, 512), kNoError);
    const auto files = dictionary(dictionary(dictionary(player.classInfo()).at("state")).at("files"));
    const auto& note = std::get<PropertyList::Data>(files.at("notes/one.txt").value);
    EXPECT_THAT(std::string(reinterpret_cast<const char*>(note.data()), note.size()), HasSubstr("made++"))
        << "restored for the new rate too";
}

TEST_F(Lv2Probe, SettingsOfAnotherKindAreRefusedAndChangeNothing) {
    player.block();
    const PropertyList info = player.classInfo();
    for (const char* key : {"uri", "version", "parameters", "state"}) {
        auto changed = dictionary(info);
        changed[key] = {std::string("other")};
        EXPECT_EQ(player.setClassInfo({changed}), kAudioUnitErr_InvalidPropertyValue) << key;
    }
    EXPECT_EQ(player.set(kAudioUnitProperty_ClassInfo, std::uint64_t{123456789}), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(player.classInfo(), info);
    // Files of a state from elsewhere stay in the instance's own folder.
    auto hostile = dictionary(info);
    auto state = dictionary(hostile["state"]);
    const fs::path target = fs::temp_directory_path() / "zelvane-hostile.txt";
    state["files"] = {PropertyList::Dictionary{{"../zelvane-hostile.txt", {PropertyList::Data(3)}}}};
    hostile["state"] = {state};
    player.setClassInfo({hostile});
    EXPECT_FALSE(fs::exists(target));
}

TEST_F(Lv2Probe, SettingsAreTakenWhileItRendersButNeverDuringARun) {
    player.block();  // ends the process when it does so while it restores
    const PropertyList info = player.classInfo();
    std::atomic<bool> isEnding{false};
    std::jthread control([&] {
        for (int i = 0; i < 20; ++i) {
            EXPECT_EQ(player.setClassInfo(info), kNoError);
            EXPECT_EQ(player.setPreset(i % 2), kNoError);
            EXPECT_EQ(player.set(kCount, std::int64_t{i}), kNoError);
            EXPECT_EQ(player.got<std::int64_t>(kCount), i);
            player.classInfo();
        }
        isEnding = true;
    });
    while (!isEnding) {
        player.send(0x90, 60, 100);
        player.block(64);
        std::this_thread::yield();
    }
}

TEST_F(Lv2Probe, OwnPropertiesAreWhatThePluginTellsOrWhatWasSet) {
    EXPECT_EQ(player.got<float>(kLevel), 0.25F) << "its description's, before it was asked";
    player.block();
    EXPECT_EQ(player.got<float>(kLevel), 0.5F);
    EXPECT_EQ(player.set(kLevel, 5.0F), kNoError);
    EXPECT_EQ(player.got<float>(kLevel), 5.0F);
    player.block();
    EXPECT_EQ(player.got<float>(kLevel), 1.0F) << "it knows better";
    EXPECT_EQ(player.set(kCount, std::int64_t{-5}), kNoError);
    player.block();
    EXPECT_EQ(player.got<std::int64_t>(kCount), -5) << "it tells nothing of it";
    EXPECT_EQ(player.set(kLevel, std::nanf("")), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(player.set(kLevel, std::uint64_t{0}), kAudioUnitErr_InvalidPropertyValue);
    for (const PropertyList& wrong : {PropertyList{std::string(5000, 'x')}, PropertyList{std::int64_t{1}}})
        EXPECT_EQ(player.setObject(kFile, wrong), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(player.instrument->properties().size(), 7U) << "one's values can't be shown here";
}

TEST_F(Lv2Probe, PresetsBringParametersAndState) {
    EXPECT_THAT(player.instrument->presetNames(), testing::ElementsAre("Balanced", "Loud"));
    EXPECT_EQ(player.preset().presetNumber, -1);
    EXPECT_EQ(player.setPreset(1), kNoError);
    const auto listed = std::get<PropertyList::Array>(player.gotObject(kAudioUnitProperty_FactoryPresets).value);
    EXPECT_EQ(dictionary(listed.at(1)).at("name"), *propertyObject(player.preset().presetName));
    for (const std::int32_t number : {-1, 2})
        EXPECT_EQ(player.setPreset(number), kAudioUnitErr_InvalidPropertyValue) << number;
    EXPECT_EQ(player.preset().presetNumber, 1);
    player.block();
    EXPECT_EQ(noteOf(player).first, 200);
    EXPECT_EQ(player.got<std::int64_t>(kCount), 9);
    EXPECT_EQ(player.setPreset(0), kNoError);
    EXPECT_EQ(player.instrument->parameterValue(1), 0);
}

TEST_F(Lv2Probe, WorksElsewhereAndAnswersInARun) {
    player.send(0xB0, 20, 21);
    EXPECT_TRUE(waitFor([&] { return player.block() && player.right[0] == 42; }));
    EXPECT_EQ(player.instrument->faults().lostWork, 0U);
}

TEST_F(Lv2Probe, FaultsAreCountedAndToldOnce) {
    const LogLines log;
    for (int i = 0; i < 3; ++i) {
        player.send(0x90, 60, 100, 7);
        player.send({{0xB0, 21}, {0xB0, 22}, {0xB0, 23, i}});
        player.block();
        for (const float sample : player.left) ASSERT_EQ(sample, 0);
    }
    EXPECT_EQ(noteOf(player).first, 100) << "only the block itself is muted";
    EXPECT_EQ(player.instrument->faults().mutedBlocks, 3U);
    EXPECT_GE(player.instrument->faults().slowRuns, 3U);
    EXPECT_TRUE(waitFor([&] { return log.of("LV2").size() >= 5; }));
    EXPECT_THAT(log.of("LV2"), testing::UnorderedElementsAre(
                                   "LV2: [render] Zelvane Probe puts out what is no sound and is muted where it does",
                                   "LV2: [render] Zelvane Probe takes longer to render than its sound lasts",
                                   "LV2: [Zelvane Probe] value 0 of a line", "LV2: [Zelvane Probe] value 1 of a line",
                                   "LV2: [Zelvane Probe] value 2 of a line"));
}

TEST(Lv2Silence, EndsNotesAndMutesTheirTails) {
    Lv2Player player(installed("http://drobilla.net/plugins/mda/JX10", "mda.lv2"));
    player.send({{0xB0, 64, 127}, {0x90, 60, 100}});
    player.seconds(0.2);
    player.block();
    EXPECT_NE(player.left, std::vector<float>(512));
    player.instrument->silence();
    player.block();
    EXPECT_EQ(player.left, std::vector<float>(512)) << "at once";
    player.seconds(10);
    EXPECT_FALSE(player.block()) << "the pedal holds nothing back";
    player.send(0x90, 60, 100);
    player.block();
    EXPECT_NE(player.left, std::vector<float>(512));
}

TEST(Lv2Guard, RenderingAllocatesAndLocksNothing) {
    const LogLines log;
    std::vector<std::unique_ptr<Lv2Player>> units;
    for (int i = 0; i < 10; ++i) units.push_back(std::make_unique<Lv2Player>(probeEntry()));
    for (auto& unit : units) unit->seconds(0.1);
    RealtimeGuard::reset();
    for (int round = 0; round < 200; ++round) {
        for (auto& unit : units) {
            unit->send(
                {{0x90, 60, 100}, {0xE0, 0, round % 128}, {0xB0, 121}, {0xB0, 20, 1 + round % 100}, {0xB0, 23, 1}});
            unit->instrument->setParameter(0, 1);
            unit->set(kLevel, 0.5F);
            if (round % 50 == 0) unit->instrument->silence();
            if (round % 60 == 0) unit->setPreset(1);
            unit->block(64);
        }
    }
    EXPECT_EQ(RealtimeGuard::violations().total(), 0U) << RealtimeGuard::firstOffender();
}

TEST(AtomArchive, SurvivesRoundTrips) {
    const Lv2Urids& urids = Lv2Urids::get();
    const auto bytesOf = [](const auto& value) {
        const auto bytes = std::as_bytes(std::span(&value, 1));
        return std::vector<std::byte>(bytes.begin(), bytes.end());
    };
    // An object with a number that stands for a URI, and a list of two more values in a list.
    const std::vector<std::vector<std::uint32_t>> parts{
        {0, urids.patchSet},
        {urids.patchProperty, 0, 4, urids.atomURID, urids.patchBody, 0},
        {urids.patchValue, 0, 40, urids.atomTuple, 4, urids.atomInt, 7, 0},
        {16, urids.atomVector, 4, urids.atomFloat, 0x3F800000, 0x40000000}};
    std::vector<std::byte> object;
    for (const auto& part : parts)
        object.insert(object.end(), std::as_bytes(std::span(part)).begin(), std::as_bytes(std::span(part)).end());
    const std::vector<AtomValue> values{{urids.atomInt, bytesOf(std::int32_t{-3})},
                                        {urids.atomLong, bytesOf(std::int64_t{1} << 60)},
                                        {urids.atomFloat, bytesOf(0.1F)},
                                        {urids.atomDouble, bytesOf(std::numeric_limits<double>::infinity())},
                                        {urids.atomString, bytesOf("text")},
                                        {urids.atomString, bytesOf("caf\xC3\xA9 & \x01 <")},
                                        {urids.atomChunk, bytesOf(std::uint64_t{0x0102030405060708})},
                                        {urids.atomURID, bytesOf(urids.midiEvent)},
                                        {urids.atomObject, object}};
    for (const AtomValue& value : values) {
        const auto archive = archivedAtom(value.type, value.bytes);
        ASSERT_TRUE(archive) << lv2Uri(value.type);
        Error error;
        const auto travelled = parsePropertyList(serializePropertyList(*archive), error);
        ASSERT_TRUE(travelled) << error.description;
        const auto back = unarchivedAtom(*travelled);
        ASSERT_TRUE(back) << lv2Uri(value.type);
        EXPECT_EQ(back->type, value.type);
        EXPECT_EQ(back->bytes, value.bytes) << lv2Uri(value.type);
    }
    const auto isTaken = [](const char* type, PropertyList value) {
        return unarchivedAtom({PropertyList::Dictionary{{"type", {std::string(type)}}, {"value", std::move(value)}}})
            .has_value();
    };
    EXPECT_TRUE(isTaken(lv2Uri(urids.atomFloat), {PropertyList::Data(4)}));
    EXPECT_FALSE(isTaken(lv2Uri(urids.atomFloat), {PropertyList::Data(3)}));
    EXPECT_FALSE(isTaken(lv2Uri(urids.atomInt), {std::int64_t{1} << 40}));
    EXPECT_FALSE(isTaken(lv2Uri(urids.atomString), {PropertyList::Data(4, std::byte{'x'})})) << "without an end";
}
