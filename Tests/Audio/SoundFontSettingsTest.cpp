// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/SoundFont/FileURL.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontProperties.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontProvider.h"
#include "Tests/Audio/SoundFontPlayer.h"
#include "Tests/Fakes/LogLines.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <thread>

using namespace zelvane;
namespace fs = std::filesystem;

namespace {

/// How far the note of 440 Hz on that channel is above what is expected.
double centsAboveExpected(SoundFontPlayer& player, double expected, int channel = 0) {
    return centsAbove(expected, player.playedFrequency(expected, 69, 1, channel));
}

fs::path written(const fs::path& file, const std::string& content) {
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
    return file;
}

}  // namespace

TEST(SoundFontBank, IsLoadedOnceAndFreedByTheLast) {
    const TinyFont tiny;
    std::weak_ptr<SoundFontBank> watched;
    {
        std::array<std::unique_ptr<SoundFontPlayer>, 10> units;
        for (auto& unit : units) unit = std::make_unique<SoundFontPlayer>(tiny.bank());
        watched = units[0]->instrument->bank();
        fs::create_symlink(tiny.file, tiny.folder.path / "link.sf2");
        EXPECT_EQ(loadedBank(tiny.folder.path / "link.sf2"), watched.lock());
        for (auto& unit : units) EXPECT_EQ(unit->instrument->bank(), watched.lock());
        // A unit that goes while it sounds leaves its voices to the one that plays on.
        for (const auto& unit : {units[0].get(), units[1].get()}) unit->send(0x90, 69, 100), unit->seconds(0.1);
        units[0].reset();
        EXPECT_TRUE(units[1]->block());
        units[1].reset();
    }
    EXPECT_TRUE(watched.expired());
    const auto before = tiny.bank();
    fs::last_write_time(tiny.file, fs::last_write_time(tiny.file) + std::chrono::seconds(1));
    EXPECT_NE(tiny.bank(), before) << "a file written anew is another font";
}

TEST(SoundFontBank, RefusesDamagedFiles) {
    const LogLines log;
    const TemporaryFolder folder;
    const std::string whole = tinySoundFont();
    Error error;
    EXPECT_EQ(SoundFontBank::load(folder.path / "none.sf2", error), nullptr);
    EXPECT_THAT(error.description, testing::HasSubstr("none.sf2"));
    EXPECT_EQ(SoundFontBank::load(folder.path, error), nullptr);
    for (std::size_t length = 0; length < whole.size(); length += 1 + length / 3)
        EXPECT_EQ(SoundFontBank::load(written(folder.path / "cut.sf2", whole.substr(0, length)), error), nullptr)
            << length;
    // Bytes changed anywhere may still be a font; then it has to play.
    std::uint32_t random = 1;
    for (int i = 0; i < 60; ++i) {
        std::string damaged = whole;
        for (int change = 0; change < 8; ++change) {
            random = random * 1664525 + 1013904223;
            const std::size_t place = i % 2 ? random % damaged.size() : damaged.size() - 1 - random % 900;
            damaged[place] = static_cast<char>(random >> 24);
        }
        if (auto bank = SoundFontBank::load(written(folder.path / "damaged.sf2", damaged), error)) {
            SoundFontPlayer player(std::move(bank));
            for (int program = 0; program < 3; ++program) player.send(0xC0, program), player.send(0x90, 69, 100);
            player.seconds(0.2);
        }
    }
    for (const std::string& line : log.all()) EXPECT_THAT(line, testing::Not(testing::HasSubstr("\n")));
}

TEST(SoundFontProvider, FindsTheInstalledFont) {
    const TemporaryFolder folder;
    const std::vector<fs::path> folders{folder.path / "home", folder.path / "usr"};
    SoundFontProvider provider(folders);
    Error error;
    EXPECT_TRUE(provider.components().empty());
    EXPECT_EQ(provider.instantiate(kSoundFontDescription, error), nullptr);
    EXPECT_FALSE(error.description.empty());
    written(folder.path / "home/soundfonts/broken.sf2", "no font");
    EXPECT_TRUE(provider.components().empty());
    // Each is better than those before it.
    for (const char* name :
         {"usr/soundfonts/b.sf2", "usr/soundfonts/a.sf2", "home/sounds/sf2/z.sf2", "usr/sounds/sf2/TimGM6mb.sf2",
          "usr/soundfonts/default-GM.sf3", "usr/sounds/sf2/default-GM.sf2"}) {
        const fs::path file = written(folder.path / name, tinySoundFont());
        EXPECT_EQ(findSoundFont(folders), file);
    }
    ASSERT_EQ(provider.components().size(), 1U);
    EXPECT_EQ(provider.components()[0].name, "DLSMusicDevice");
    AudioComponentDescription asked = provider.components()[0].audioComponentDescription;
    asked.componentFlags = asked.componentFlagsMask = 0x1A;
    EXPECT_NE(provider.instantiate(asked, error), nullptr);
    asked.componentSubType = 1;
    EXPECT_EQ(provider.instantiate(asked, error), nullptr);
}

class SoundFontProperties : public testing::Test {
  protected:
    TinyFont tiny;
    SoundFontPlayer player{tiny.bank()};
};

TEST_F(SoundFontProperties, ClassInfoBringsSettingsToAnotherUnitButNotItsTuning) {
    const TinyFont other;
    SoundFontPlayer two(other.bank());
    player.bend(10646);
    player.send(
        {{0xB3, 0, 1}, {0xB3, 7, 55}, {0xB3, 64, 127}, {0xB3, 101, 0}, {0xB3, 100, 0}, {0xB3, 6, 4}, {0xC3, 0}});
    player.block();
    player.instrument->setParameter(0, 0.75F);
    EXPECT_EQ(player.set(kAudioUnitProperty_RenderQuality, std::uint32_t{127}), kNoError);
    const PropertyList info = player.classInfo();
    EXPECT_EQ(two.setObject(kAudioUnitProperty_ClassInfoFromDocument, info), kNoError);
    EXPECT_EQ(two.classInfo(), info);
    two.block();
    EXPECT_EQ(two.instrument->bank(), player.instrument->bank());
    EXPECT_EQ(two.instrument->parameterValue(0), 0.75F);
    EXPECT_NEAR(centsAboveExpected(two, 880, 3), 0, 0.1) << "the octave's preset, at this unit's own tuning";
    player.send(0xB3, 64, 0);
    EXPECT_NEAR(centsAboveExpected(player, 880, 3), 120, 0.1);
}

TEST_F(SoundFontProperties, ClassInfoOfAnotherKindIsRefusedAndChangesNothing) {
    const PropertyList info = player.classInfo();
    const auto& whole = std::get<PropertyList::Dictionary>(info.value);
    std::vector<PropertyList> wrong{PropertyList{std::string("text")}, PropertyList{PropertyList::Dictionary{}}};
    for (const auto& [key, value] : whole) {
        if (key == "name") continue;
        auto without = whole;
        without.erase(key);
        if (key != "polyphony") wrong.push_back({without});  // of which earlier versions knew nothing
        without[key] = {std::string("/no/font")};
        wrong.push_back({without});
    }
    const LogLines log;
    for (const PropertyList& list : wrong) EXPECT_NE(player.setClassInfo(list), kNoError);
    EXPECT_EQ(player.set(kAudioUnitProperty_ClassInfo, std::uint64_t{123456789}), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(player.set(kAudioUnitProperty_ClassInfo, std::uint32_t{1}), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(player.classInfo(), info);
}

TEST_F(SoundFontProperties, PolyphonyIsHowManyVoicesSoundAndComesBackWithTheSettings) {
    const auto energyOfFortyNotes = [&] {
        for (int key = 40; key < 80; ++key) player.send(0x90, key, 100);
        player.seconds(0.1);
        double energy = 0;
        for (const float sample : player.seconds(0.5)) energy += static_cast<double>(sample * sample);
        player.send(0xB0, 120, 0);
        player.seconds(0.1);
        return energy;
    };
    EXPECT_EQ(player.got<std::int32_t>(kSoundFontProperty_Polyphony), 64);
    const double whole = energyOfFortyNotes();
    ASSERT_EQ(player.set(kSoundFontProperty_Polyphony, std::int32_t{8}), kNoError);
    EXPECT_LT(energyOfFortyNotes(), whole / 2);
    const PropertyList info = player.classInfo();
    ASSERT_EQ(player.set(kSoundFontProperty_Polyphony, std::int32_t{512}), kNoError);
    EXPECT_NEAR(energyOfFortyNotes() / whole, 1, 0.3);
    ASSERT_EQ(player.setClassInfo(info), kNoError);
    EXPECT_EQ(player.got<std::int32_t>(kSoundFontProperty_Polyphony), 8);
    for (const std::int32_t wrong : {7, 513, -1})
        EXPECT_EQ(player.set(kSoundFontProperty_Polyphony, wrong), kAudioUnitErr_InvalidPropertyValue);
}

TEST_F(SoundFontProperties, PresetsAreListedAndChosenByNumberForAllChannelsOrOne) {
    const PropertyList list = player.gotObject(kAudioUnitProperty_FactoryPresets);
    const auto& presets = std::get<PropertyList::Array>(list.value);
    ASSERT_EQ(presets.size(), 4U);
    EXPECT_EQ(std::get<PropertyList::Dictionary>(presets[2].value).at("number"), (PropertyList{std::int64_t{128}}));
    EXPECT_EQ(player.setPreset(128), kNoError);
    const auto present = player.preset();
    EXPECT_EQ(present.presetNumber, 128);
    EXPECT_EQ(*propertyObject(present.presetName), (PropertyList{std::string("Octave")}));
    EXPECT_NEAR(centsAboveExpected(player, 880, 5), 0, 0.1);
    for (const std::int32_t number : {-1, 3, 1000000})
        EXPECT_EQ(player.setPreset(number), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(player.setPreset(128 * 128), kNoError);
    EXPECT_EQ(player.preset().presetNumber, 128) << "a drum kit is for channel 10";
    constexpr AudioUnitPropertyID kOfChannel = kSoundFontProperty_FirstChannelPreset;
    EXPECT_EQ(player.set(kOfChannel + 2, std::int32_t{0}), kNoError);
    EXPECT_EQ(player.set(kOfChannel + 2, std::int32_t{5}), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(player.got<std::int32_t>(kOfChannel + 2), 0);
    EXPECT_EQ(player.got<std::int32_t>(kOfChannel + 3), 128);
    EXPECT_NEAR(centsAboveExpected(player, 440, 2), 0, 0.1);
    EXPECT_NEAR(centsAboveExpected(player, 880, 3), 0, 0.1);
}

TEST_F(SoundFontProperties, QualityAndReverb) {
    EXPECT_EQ(player.set(kAudioUnitProperty_RenderQuality, std::uint32_t{128}), kAudioUnitErr_InvalidPropertyValue);
    const auto sound = [&](std::uint32_t quality) {
        EXPECT_EQ(player.set(kAudioUnitProperty_RenderQuality, quality), kNoError);
        player.send(0x90, 62, 100);
        auto rendered = player.seconds(0.1);
        player.send(0xB0, 120);
        player.seconds(0.1);
        return rendered;
    };
    EXPECT_NE(sound(0), sound(127));
    EXPECT_EQ(player.got<std::uint32_t>(kMusicDeviceProperty_UsesInternalReverb), 0U);
    const auto dry = sound(64);
    EXPECT_EQ(player.set(kMusicDeviceProperty_UsesInternalReverb, std::uint32_t{1}), kNoError);
    EXPECT_EQ(player.got<std::uint32_t>(kMusicDeviceProperty_UsesInternalReverb), 1U);
    player.send(0xB0, 91, 127);
    EXPECT_NE(sound(64), dry);
}

TEST(SoundFontURL, GoesThereAndBack) {
    EXPECT_EQ(pathFromFileURL("/a b/%41.sf2"), "/a b/%41.sf2");
    EXPECT_EQ(pathFromFileURL("file:///a%20b/c.sf2"), "/a b/c.sf2");
    EXPECT_EQ(pathFromFileURL("file://localhost/c%zz%4"), "/c%zz%4");
    for (const char* path : {"/plain.sf2", "/µ %41#?.sf2"}) EXPECT_EQ(pathFromFileURL(fileURL(path)), path);
}

TEST_F(SoundFontProperties, TheBankChangesWhileNothingIsRendered) {
    const LogLines log;
    const TinyFont second;
    const std::weak_ptr<SoundFontBank> former = player.instrument->bank();
    player.send(0x90, 69, 100);
    player.block();
    const auto setBank = [&](const std::string& text) {
        return player.setObject(kMusicDeviceProperty_SoundBankURL, {text});
    };
    const std::vector<std::string> wrong{"/no/font.sf2", "", tiny.folder.write("text.sf2", "text").string()};
    for (const std::string& path : wrong) EXPECT_EQ(setBank(path), kAudioUnitErr_InvalidFile);
    EXPECT_TRUE(player.block()) << "the old bank plays on";
    EXPECT_EQ(setBank(fileURL(second.file)), kNoError);
    EXPECT_EQ(player.gotObject(kMusicDeviceProperty_SoundBankURL), (PropertyList{fileURL(fs::canonical(second.file))}));
    EXPECT_FALSE(player.block());
    EXPECT_NEAR(centsAboveExpected(player, 440), 0, 0.1);
    EXPECT_EQ(player.instrument->prepare(48000, 512), kNoError);
    EXPECT_TRUE(former.expired());
}

TEST(SoundFontThreads, BanksChangeAndUnitsGoWhileOthersRender) {
    const TinyFont first, second;
    std::weak_ptr<SoundFontBank> banks[2];
    {
        SoundFontPlayer player(first.bank());
        SoundFontPlayer neighbour(first.bank());
        const auto one = first.bank(), two = second.bank();
        banks[0] = one, banks[1] = two;
        std::atomic<bool> isOver{false};  // written by this thread, read by the one that renders
        std::thread audio([&] {
            for (int i = 0; !isOver; ++i) {
                player.send({{0x90, 60 + i % 12, 100}, {0x80, 60 + (i + 5) % 12}, {0xE0, 0, i % 128}});
                neighbour.send(i % 2 ? 0x80 : 0x90, 69, 100);
                player.block(256), neighbour.block(256);
            }
        });
        for (int i = 0; i < 60; ++i) {
            EXPECT_EQ(player.instrument->loadBank(i % 2 ? first.file : second.file), kNoError);
            EXPECT_EQ(player.setClassInfo(player.classInfo()), kNoError);
            EXPECT_EQ(player.setPreset(i % 2), kNoError);
            EXPECT_EQ(player.set(kMusicDeviceProperty_UsesInternalReverb, static_cast<std::uint32_t>(i % 2)), kNoError);
            EXPECT_EQ(player.instrument->loadBank("/no/font.sf2"), kAudioUnitErr_InvalidFile);
            SoundFontPlayer passing(one);
            player.instrument->silence();
        }
        isOver = true;
        audio.join();
    }
    EXPECT_TRUE(banks[0].expired());
    EXPECT_TRUE(banks[1].expired());
}
