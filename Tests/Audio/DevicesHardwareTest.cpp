// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/AudioHardware.h"
#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/RecordingRenderer.h"
#include "Tests/Fakes/SteppedDevice.h"

#include <gtest/gtest.h>

#include <array>
#include <thread>

namespace zelvane {
namespace {

std::vector<std::unique_ptr<AudioDeviceBackEnd>> backEnds(const std::vector<const SteppedDevice*>& devices) {
    std::vector<std::unique_ptr<AudioDeviceBackEnd>> backEnds;
    for (const SteppedDevice* device : devices) backEnds.push_back(device->backEnd());
    return backEnds;
}

AudioObjectPropertyAddress address(std::uint32_t selector, std::uint32_t scope = kAudioObjectPropertyScopeGlobal) {
    return {selector, scope, 0};
}

class Hardware : public testing::Test {
  protected:
    std::vector<AudioObjectID> objects() {
        std::array<AudioObjectID, 16> numbers{};
        std::uint32_t size = sizeof numbers;
        EXPECT_EQ(AudioObjectGetPropertyData(hardware, kAudioObjectSystemObject, address(kAudioHardwarePropertyDevices),
                                             size, numbers.data()),
                  kNoError);
        return {numbers.begin(), numbers.begin() + size / sizeof(AudioObjectID)};
    }
    std::string name(AudioObjectID object, std::uint32_t size = 64) {
        std::array<char, 64> text{};
        const OSStatus status =
            AudioObjectGetPropertyData(hardware, object, address(kAudioDevicePropertyDeviceName), size, text.data());
        return status == kNoError ? std::string(text.data()) : "?";
    }
    template <typename Value>
    OSStatus read(AudioObjectID object, const AudioObjectPropertyAddress& where, Value& value) {
        std::uint32_t size = sizeof value;
        return AudioObjectGetPropertyData(hardware, object, where, size, &value);
    }

    LogLines log;
    SteppedDevice server{"Kopfh\u00f6rer", {.sampleRate = 44100, .channels = 6, .bitsPerChannel = 24}};
    SteppedDevice null{"null"};
    RecordingRenderer renderer;
    OutputDeviceController controller{backEnds({&server, &null}), renderer, [] {}};
    AudioHardware hardware{controller};
};

constexpr AudioObjectPropertyAddress kPhysicalFormat{kAudioStreamPropertyPhysicalFormat,
                                                     kAudioDevicePropertyScopeOutput, 0};

TEST_F(Hardware, describesDevicesAsNumberedObjects) {
    controller.select({});
    const auto devices = objects();
    ASSERT_EQ(devices.size(), 2U);
    EXPECT_EQ(name(devices[0]), "Kopfh\u00f6rer");
    EXPECT_EQ(name(devices[0], 7), "Kopfh") << "half a character was handed out";
    EXPECT_EQ(hardware.choice(devices[1]), (OutputDeviceController::Choice{"null", "null"}));
    for (const AudioObjectID nobody : {0U, kAudioObjectSystemObject, 4711U}) EXPECT_FALSE(hardware.choice(nobody));

    AudioObjectID defaultDevice = 0;
    EXPECT_EQ(read(kAudioObjectSystemObject, address(kAudioHardwarePropertyDefaultOutputDevice), defaultDevice), 0);
    EXPECT_EQ(defaultDevice, devices[0]);
    AudioStreamBasicDescription format;
    EXPECT_EQ(read(devices[0], kPhysicalFormat, format), kNoError);
    EXPECT_EQ(format, (AudioStreamBasicDescription{44100, kAudioFormatLinearPCM, 12, 18, 1, 18, 6, 24, 0}));

    std::uint32_t size = 0;
    const auto streams = [&](std::uint32_t scope) {
        return AudioObjectGetPropertyDataSize(hardware, devices[0], address(kAudioDevicePropertyStreams, scope), size);
    };
    EXPECT_EQ(streams(kAudioDevicePropertyScopeOutput), kNoError);
    EXPECT_EQ(size, 4U);
    EXPECT_EQ(streams(kAudioDevicePropertyScopeInput), kNoError);
    EXPECT_EQ(size, 0U);
    std::uint32_t period = 0;
    EXPECT_EQ(read(devices[0], address(kAudioDevicePropertyBufferFrameSize), period), kNoError);
    EXPECT_EQ(period, 512U);
}

TEST_F(Hardware, refusesWhatItDoesNotKnow) {
    std::uint32_t value = 0;
    EXPECT_EQ(read(4711, kPhysicalFormat, value), kAudioHardwareBadObjectError);
    EXPECT_EQ(read(objects()[0], address(0x12345678), value), kAudioHardwareUnknownPropertyError);
    EXPECT_EQ(read(objects()[0], {kAudioDevicePropertyDeviceName, kAudioObjectPropertyScopeGlobal, 1}, value),
              kAudioHardwareUnknownPropertyError);
    EXPECT_EQ(read(kAudioObjectSystemObject, kPhysicalFormat, value), kAudioHardwareUnknownPropertyError);
    EXPECT_EQ(read(objects()[0], kPhysicalFormat, value), kAudioHardwareBadPropertySizeError);
    // A list is cut to whole elements.
    std::uint32_t size = 7;
    std::array<AudioObjectID, 2> few{0, 0};
    EXPECT_EQ(hardware.propertyData(kAudioObjectSystemObject, address(kAudioHardwarePropertyDevices), size, few.data()),
              kNoError);
    EXPECT_EQ(size, 4U);
    EXPECT_EQ(few[1], 0U);
}

TEST_F(Hardware, keepsTheNumberOfADeviceThatIsAway) {
    const AudioObjectID number = objects()[0];
    server.die();
    EXPECT_EQ(objects().size(), 1U);
    EXPECT_EQ(name(number), "Kopfh\u00f6rer");
    EXPECT_TRUE(hardware.choice(number));
    server.comeBack();
    EXPECT_EQ(objects()[0], number);
}

struct Listener {
    static OSStatus changed(AudioObjectID object, std::uint32_t count, const AudioObjectPropertyAddress* addresses,
                            void* data) {
        auto& self = *static_cast<Listener*>(data);
        EXPECT_EQ(object, self.object);
        EXPECT_TRUE(count == 1 && addresses[0] == self.watched);
        EXPECT_FALSE(self.isGone) << "called after it was removed";
        ++self.calls;
        while (self.isHeld) std::this_thread::yield();
        if (self.removesItself) {
            EXPECT_EQ(AudioObjectRemovePropertyListener(self.hardware, object, addresses[0], changed, data), kNoError);
        }
        return kNoError;
    }

    AudioHardware& hardware;
    AudioObjectID object;
    AudioObjectPropertyAddress watched;
    std::atomic<int> calls{0};
    std::atomic<bool> isHeld{false};
    std::atomic<bool> isGone{false};
    bool removesItself = false;
};

TEST_F(Hardware, tellsListenersOfChangesUntilTheyAreRemoved) {
    controller.select({});
    Listener format{hardware, objects()[0], kPhysicalFormat};
    Listener other{hardware, kAudioObjectSystemObject, address(kAudioHardwarePropertyDefaultOutputDevice)};
    other.removesItself = true;
    for (Listener* one : {&format, &other}) {
        ASSERT_EQ(AudioObjectAddPropertyListener(hardware, one->object, one->watched, Listener::changed, one),
                  kNoError);
    }
    EXPECT_EQ(hardware.addListener(4711, kPhysicalFormat, Listener::changed, nullptr), kAudioHardwareBadObjectError);

    format.isHeld = true;
    server.setFormat({.sampleRate = 96000});
    ASSERT_TRUE(waitFor([&] { return format.calls == 1; }));
    EXPECT_EQ(other.calls, 0) << "told of what has not changed";
    // Removing waits for the call that is under way.
    std::jthread remover([&] {
        hardware.removeListener(format.object, format.watched, Listener::changed, &format);
        format.isGone = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(format.isGone);
    format.isHeld = false;
    remover.join();

    server.setFormat({.sampleRate = 44100});
    server.die();
    ASSERT_TRUE(waitFor([&] { return other.calls == 1; }));
    EXPECT_NE(hardware.removeListener(other.object, other.watched, Listener::changed, &other), kNoError);
}

}  // namespace
}  // namespace zelvane
