// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/TemporaryFolder.h"
#include "Tests/Machine/AlsaBackEndTest.h"
#include "Tests/Machine/SequencerPeer.h"

#include <cstdio>
#include <regex>

namespace zelvane {

namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ContainsRegex;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class AlsaPortsTest : public AlsaBackEndTest {
  protected:
    /// What a program that is not ours prints.
    std::string output(const std::vector<std::string>& command) const {
        const auto file = (_folder.path / "output").string();
        const bool isDone = ChildProcess::run(command, {}, file);
        const std::string output = TemporaryFolder::read(file);
        EXPECT_TRUE(isDone) << command.front() << ": " << output;
        return output;
    }

    TemporaryFolder _folder;
};

TEST_F(AlsaPortsTest, OtherProgramsSeeVirtualPortsAndNoneOfThoseWeKeepForOurselves) {
    ASSERT_TRUE(_backEnd->createVirtual(1, MIDIDirection::destination, "Zelvane"));
    ASSERT_TRUE(_backEnd->createVirtual(2, MIDIDirection::source, "Zelvane Out"));
    ASSERT_TRUE(_backEnd->connectSource(3, source("Midi Through")->address));
    const std::string destinations = output({"aconnect", "-o"});
    EXPECT_THAT(destinations, ContainsRegex("client [0-9]+: 'Zelvane' .*\n +[0-9]+ 'Zelvane +'"));
    EXPECT_THAT(destinations, AllOf(Not(HasSubstr("Zelvane Out")), Not(HasSubstr("Input"))));
    EXPECT_THAT(output({"aconnect", "-i"}), HasSubstr("Zelvane Out"));
    _backEnd->close(1);
    _backEnd->close(2);
    EXPECT_THAT(output({"aconnect", "-l"}), AllOf(Not(HasSubstr("'Zelvane  ")), Not(HasSubstr("Zelvane Out"))));
}

TEST_F(AlsaPortsTest, AProgramConnectsToTheVirtualDestinationAndPlaysAFile) {
    // A port that we keep for ourselves, made first, is not to be the one that the program takes.
    ASSERT_TRUE(_backEnd->connectSource(2, source("Midi Through")->address));
    ASSERT_TRUE(_backEnd->createVirtual(1, MIDIDirection::destination, "Zelvane"));
    // 96 ticks a quarter, 500 ms each: the notes lie 250 ms apart.
    const auto song = _folder.write("song.mid", std::string("MThd\0\0\0\x06\0\0\0\x01\0\x60MTrk\0\0\0\x10"
                                                            "\0\x90\x3C\x64\x30\x40\x64\x30\x80\x3C\x40\0\xFF\x2F\0"
                                                            "\0",
                                                            14 + 8 + 16));
    output({"aplaymidi", "-d", "0", "-p", "Zelvane", song.string()});
    ASSERT_TRUE(hears(3));
    const auto heard = _recorder.all();
    EXPECT_EQ(heard[0].bytes, (Bytes{0x90, 0x3C, 0x64}));
    EXPECT_EQ(heard[1].bytes, (Bytes{0x90, 0x40, 0x64}));
    EXPECT_EQ(heard[2].bytes, (Bytes{0x80, 0x3C, 0x40}));
    for (const int note : {1, 2}) {
        const auto distance =
            heard[static_cast<std::size_t>(note)].stamp - heard[static_cast<std::size_t>(note) - 1].stamp;
        EXPECT_NEAR(std::chrono::duration<double>(distance).count(), 0.25, 0.1);
    }
}

TEST_F(AlsaPortsTest, OthersSeeANewNameAndAreToldOfIt) {
    ASSERT_TRUE(_backEnd->createVirtual(1, MIDIDirection::destination, "Zelvane"));
    ASSERT_TRUE(_backEnd->createVirtual(2, MIDIDirection::source, "Zelvane"));
    BackEndRecorder another;
    AlsaBackEnd observer;
    Error error;
    ASSERT_TRUE(observer.open(another, error));
    const int before = another.setupChanges();
    EXPECT_TRUE(_backEnd->renameVirtual(1, "Organ"));
    EXPECT_TRUE(_backEnd->renameVirtual(2, "Pipes"));
    EXPECT_THAT(output({"aconnect", "-o"}), HasSubstr("'Organ "));
    EXPECT_THAT(output({"aconnect", "-i"}), HasSubstr("'Pipes "));
    EXPECT_TRUE(waitFor([&] { return another.setupChanges() > before; }, kPatience));
    EXPECT_FALSE(_backEnd->renameVirtual(3, "Nobody"));
}

TEST_F(AlsaPortsTest, ListsOthersPortsWithNeitherOurOwnNorTheSystems) {
    ASSERT_TRUE(_backEnd->createVirtual(1, MIDIDirection::destination, "Zelvane"));
    const SequencerPeer peer("Sequencer", "Both Ways");
    std::map<std::string, std::string> drivers;
    for (const auto& port : _backEnd->ports()) drivers[port.deviceName] = port.driver;
    EXPECT_EQ(drivers.count("System") + drivers.count("Zelvane"), 0U);
    EXPECT_EQ(drivers.at("Midi Through"), "com.apple.AppleMIDIIACDriver");
    EXPECT_EQ(drivers.at("Sequencer"), "");
    EXPECT_EQ(drivers.at("Virtual Raw MIDI 0-1"), "");
    for (const auto direction : {MIDIDirection::source, MIDIDirection::destination}) {
        EXPECT_TRUE(find(direction, "Sequencer", "Both Ways"));
    }
}

TEST_F(AlsaPortsTest, TellsOfProgramsThatComeAndGoAndKnowsThemAgain) {
    const auto changesAfter = [this](const std::function<void()>& doIt) {
        const int before = _recorder.setupChanges();
        doIt();
        return waitFor([&] { return _recorder.setupChanges() > before; }, kPatience);
    };
    std::optional<SequencerPeer> peer;
    EXPECT_TRUE(changesAfter([&] { peer.emplace("Sequencer", "Out"); }));
    const auto first = source("Sequencer");
    ASSERT_TRUE(first);
    EXPECT_TRUE(changesAfter([&] { peer.reset(); }));
    EXPECT_TRUE(waitFor([&] { return !source("Sequencer"); }, kPatience));
    EXPECT_FALSE(_backEnd->connectSource(1, first->address));
    _backEnd->close(1);

    peer.emplace("Sequencer", "Out");
    ASSERT_TRUE(
        waitFor([&] { return source("Sequencer") && source("Sequencer")->address != first->address; }, kPatience));
    EXPECT_EQ(source("Sequencer")->key, first->key);
    EXPECT_TRUE(_backEnd->connectSource(1, source("Sequencer")->address));
}

TEST_F(AlsaPortsTest, WithoutASequencerItIsQuietlyNotThere) {
    ASSERT_EQ(std::rename("/dev/snd/seq", "/dev/snd/seq-elsewhere"), 0);
    ::testing::internal::CaptureStderr();
    AlsaBackEnd backEnd;
    Error error;
    const bool isOpen = backEnd.open(_recorder, error);
    const std::string printed = ::testing::internal::GetCapturedStderr();
    ASSERT_EQ(std::rename("/dev/snd/seq-elsewhere", "/dev/snd/seq"), 0);
    EXPECT_FALSE(isOpen);
    EXPECT_THAT(error.description, HasSubstr("No such file or directory"));
    EXPECT_EQ(printed, "");
    EXPECT_THAT(_log.all(), IsEmpty());
}

}  // namespace

}  // namespace zelvane
