// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Machine/AlsaBackEndTest.h"
#include "Tests/Machine/SequencerPeer.h"
#include "Tests/Machine/UsbKeyboard.h"

namespace zelvane {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class AlsaHotPlugTest : public AlsaBackEndTest {
  protected:
    bool appears() {
        return waitFor([&] { return source("Keys 49").has_value(); }, kPatience);
    }
    bool goes() {
        return waitFor([&] { return !source("Keys 49"); }, kPatience);
    }
};

TEST_F(AlsaHotPlugTest, AKeyboardIsKnownAgainWhenItReturnsAndItsNotesEndWhenItGoes) {
    const UsbKeyboard keyboard("Keys 49", "SN-0042");
    const int before = _recorder.setupChanges();
    keyboard.plugIn();
    ASSERT_TRUE(appears());
    EXPECT_TRUE(waitFor([&] { return _recorder.setupChanges() > before; }, kPatience));
    const auto first = *source("Keys 49");
    EXPECT_THAT(first.key, HasSubstr("1209:0001:SN-0042"));

    ASSERT_TRUE(_backEnd->connectSource(1, first.address));
    keyboard.play({0x90, 60, 100, 0x90, 64, 100, 0x80, 60, 0});
    ASSERT_TRUE(hears(3));
    const int whilePluggedIn = _recorder.setupChanges();
    keyboard.unplug();
    ASSERT_TRUE(hears(4));
    EXPECT_THAT(_recorder.messages(),
                ElementsAre(Bytes{0x90, 60, 100}, Bytes{0x90, 64, 100}, Bytes{0x80, 60, 0}, Bytes{0x80, 64, 64}));
    ASSERT_TRUE(goes());
    EXPECT_TRUE(waitFor([&] { return _recorder.setupChanges() > whilePluggedIn; }, kPatience));
    EXPECT_FALSE(_backEnd->connectSource(2, first.address));

    keyboard.plugIn();
    ASSERT_TRUE(appears());
    const auto second = *source("Keys 49");
    EXPECT_EQ(second.key, first.key);
    EXPECT_NE(second.address, first.address);
    _recorder.forget();
    ASSERT_TRUE(_backEnd->connectSource(3, second.address));
    keyboard.play({0x90, 72, 1});
    ASSERT_TRUE(hears(1));
    EXPECT_EQ(_recorder.all().front().line, 3U);
}

TEST_F(AlsaHotPlugTest, AKeyboardWithoutSerialNumberIsKnownByItsName) {
    const UsbKeyboard keyboard("Keys 49", "");
    keyboard.plugIn();
    ASSERT_TRUE(appears());
    const auto first = *source("Keys 49");
    keyboard.unplug();
    ASSERT_TRUE(goes());
    keyboard.plugIn();
    ASSERT_TRUE(appears());
    EXPECT_EQ(source("Keys 49")->key, first.key);
    EXPECT_THAT(first.key, HasSubstr("Keys 49"));
}

TEST_F(AlsaHotPlugTest, SendsToADevice) {
    UsbKeyboard keyboard("Keys 49", "SN-0042");
    keyboard.plugIn();
    ASSERT_TRUE(appears());
    keyboard.listen();
    const Bytes bytes{0xB0, 7, 99, 0xF0, 1, 2, 3, 0xF7};
    const MIDIPacket packet{Clock::monotonic().now(), bytes};
    ASSERT_TRUE(_backEnd->send(find(MIDIDirection::destination, "Keys 49")->address, {&packet, 1}));
    EXPECT_EQ(keyboard.hear(bytes.size()), bytes);
}

}  // namespace

}  // namespace zelvane
