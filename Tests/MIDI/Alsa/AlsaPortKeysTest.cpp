// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Alsa/AlsaCards.h"
#include "Platform/MIDI/Alsa/AlsaGenerations.h"
#include "Platform/MIDI/Alsa/AlsaPortKeys.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvane {

namespace {

AlsaPort onCard(AlsaAddress address, const AlsaCard& card) {
    AlsaPort port{address, "Keys " + std::to_string(address.client), "Keys Port"};
    port.card = card;
    return port;
}

AlsaPort ofProgram(AlsaAddress address, const std::string& client, const std::string& name, int process = -1) {
    AlsaPort port{address, client, name};
    port.process = process;
    return port;
}

std::string keyOf(const AlsaPort& port) {
    return alsaPortKeys({port}).front();
}

TEST(AlsaPortKeysTest, USBDevicesAreKnownBySerialNumbersWhereverTheyArePluggedInAndCountedWithoutThem) {
    const AlsaCard card{"Keys", "1209", "0001", "SN-1"}, renamed{"Keys_1", "1209", "0001", "SN-1"};
    EXPECT_EQ(keyOf(onCard({20, 1}, card)), keyOf(onCard({24, 1}, renamed)));
    EXPECT_NE(keyOf(onCard({20, 1}, card)), keyOf(onCard({20, 0}, card)));
    EXPECT_NE(keyOf(onCard({20, 1}, card)), keyOf(onCard({20, 1}, {"Keys", "1209", "0001", "SN-2"})));
    const AlsaCard inside{"VirMIDI"};
    for (const AlsaCard& each : {AlsaCard{"Keys", "1209", "0001", ""}, AlsaCard{"Keys", "1209", "0001", "0000"}}) {
        const auto keys = alsaPortKeys({onCard({20, 0}, each), onCard({24, 0}, each), onCard({28, 0}, inside)});
        EXPECT_EQ(keys[0], keyOf(onCard({32, 0}, each)));
        EXPECT_NE(keys[0], keys[1]);
        EXPECT_EQ(keys[2], keyOf(onCard({16, 0}, inside)));
        EXPECT_NE(keys[2], keys[0]);
    }
}

TEST(AlsaPortKeysTest, ProgramsAreKnownByNamesButNotByTheirNumbers) {
    const auto keys = alsaPortKeys({ofProgram({128, 0}, "Sequencer", "Out"), ofProgram({129, 0}, "Sequencer", "Out")});
    EXPECT_EQ(keys[0], keyOf(ofProgram({140, 0}, "Sequencer", "Out")));
    EXPECT_NE(keys[0], keys[1]);
    EXPECT_EQ(keyOf(ofProgram({128, 0}, "Synth (4711)", "Synth port (4711:0)", 4711)),
              keyOf(ofProgram({129, 0}, "Synth (815)", "Synth port (815:0)", 815)));
    EXPECT_EQ(keyOf(ofProgram({128, 0}, "Client-128", "Out")), keyOf(ofProgram({129, 0}, "Client-129", "Out")));
    EXPECT_NE(keyOf(ofProgram({128, 0}, "Piano 4711", "Out", 47)), keyOf(ofProgram({128, 0}, "Piano 11", "Out", 47)));
}

TEST(AlsaCardsTest, ReadsUSBNumbersAboveTheCardsInterface) {
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder.path / "devices/usb1/1-1/1-1:1.0");
    std::filesystem::create_directories(folder.path / "devices/platform/builtin");
    std::filesystem::create_directories(folder.path / "class/card1");
    std::filesystem::create_directories(folder.path / "class/card2");
    std::filesystem::create_symlink("../../devices/usb1/1-1/1-1:1.0", folder.path / "class/card1/device");
    std::filesystem::create_symlink("../../devices/platform/builtin", folder.path / "class/card2/device");
    folder.write("devices/usb1/1-1/idVendor", "1209\n");
    folder.write("devices/usb1/1-1/idProduct", "0001\n");
    folder.write("devices/usb1/1-1/serial", "SN 42\n");

    const AlsaCard card = readAlsaCard(folder.path / "class", 1);
    EXPECT_EQ(card.vendor + "/" + card.product + "/" + card.serial, "1209/0001/SN 42");
    EXPECT_EQ(readAlsaCard(folder.path / "class", 2).vendor, "");
    EXPECT_EQ(readAlsaCard(folder.path / "class", 3).vendor, "");
}

TEST(AlsaGenerationsTest, AReturnedPortHasAnotherAddress) {
    AlsaGenerations generations;
    const std::string first = generations.addressOf({20, 0});
    EXPECT_EQ(generations.find(first), (AlsaAddress{20, 0}));
    generations.end({20, 1});
    generations.end({21, -1});
    EXPECT_EQ(generations.addressOf({20, 0}), first);
    generations.end({20, 0});
    const std::string second = generations.addressOf({20, 0});
    EXPECT_NE(second, first);
    EXPECT_EQ(generations.find(first), std::nullopt);
    generations.end({20, -1});
    EXPECT_EQ(generations.find(second), std::nullopt);
    EXPECT_EQ(generations.find(generations.addressOf({20, 0})), (AlsaAddress{20, 0}));
    EXPECT_EQ(generations.find("keys"), std::nullopt);
}

}  // namespace

}  // namespace zelvane
