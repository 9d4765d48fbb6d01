// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Log.h"
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"

#include <cmath>

namespace zelvane {

namespace {

constexpr std::uint32_t kTapFrames = 128;
constexpr std::chrono::milliseconds kTapWatchInterval(50);
constexpr AudioObjectPropertyAddress kPhysicalFormat{kAudioStreamPropertyPhysicalFormat,
                                                     kAudioDevicePropertyScopeOutput, 0};

OSStatus MyDefaultOutputPropertyListenerProc(AudioObjectID object, std::uint32_t /*count*/,
                                             const AudioObjectPropertyAddress* /*addresses*/, void* clientData) {
    static_cast<AudioEngine*>(clientData)->setUpOutputFileStreamFormatFromAudioDeviceID(object);
    return kNoError;
}

}  // namespace

void AudioEngine::setUpStreamFormats() {
    constexpr const char* kSelector = "setUpStreamFormats";
    const auto fail = [this](int code, const char* text) {
        presentErrorAndExit({"AudioRecording", code, localizedString(text)});
    };
    AudioStreamBasicDescription format;
    std::uint32_t size = sizeof format;
    _streamFormats.setOutputUnit({});
    if (AudioUnitGetProperty(_outputNode->audioUnit(), kAudioUnitProperty_StreamFormat, kAudioUnitScope_Input, 0,
                             &format, &size) != kNoError) {
        Log::write("AudioEngine+Tap: [%@] unable to get stream format for recording from output node, exiting",
                   {kSelector});
        return fail(2, "Sorry, unable to get stream format for recording from output node. Exiting.");
    }
    _streamFormats.setOutputUnit(format);
    _platform.graph.setMessageDelay(secondsToDuration(recorderLatency()));
    Log::write("AudioEngine+Tap: [%@] succesfully got stream format for recording from output node", {kSelector});
    constexpr AudioObjectPropertyAddress kDefault{kAudioHardwarePropertyDefaultOutputDevice,
                                                  kAudioObjectPropertyScopeGlobal, 0};
    size = sizeof _outputDeviceID;
    if (AudioObjectGetPropertyData(_platform.hardware, kAudioObjectSystemObject, kDefault, size, &_outputDeviceID) !=
        kNoError) {
        Log::write("AudioEngine+Tap: [%@] unable to get default output device for setting up recording format, exiting",
                   {kSelector});
        return fail(3, "Sorry, unable to get default output device for setting up recording format. Exiting.");
    }
    Log::write("AudioEngine+Tap: [%@] succesfully got default output device for setting up recording format",
               {kSelector});
    setUpOutputFileStreamFormatFromAudioDeviceID(_outputDeviceID);
    followPhysicalFormat();
}

void AudioEngine::followPhysicalFormat() {
    constexpr const char* kSelector = "setUpStreamFormats";
    removeDefaultOutputPropertyListener();
    _theAddress = kPhysicalFormat;
    if (AudioObjectAddPropertyListener(_platform.hardware, _outputDeviceID, _theAddress,
                                       MyDefaultOutputPropertyListenerProc, this) != kNoError) {
        Log::write("AudioEngine+Tap: [%@] unable to get notification callback from default output device, exiting",
                   {kSelector});
        return presentErrorAndExit(
            {"AudioRecording", 4,
             localizedString("Sorry, unable to get notification callback from default output device. Exiting.")});
    }
    Log::write("AudioEngine+Tap: [%@] succesfully got notification callback from default output device", {kSelector});
}

void AudioEngine::setUpOutputFileStreamFormatFromAudioDeviceID(AudioObjectID device) {
    AudioStreamBasicDescription physical;
    std::uint32_t size = sizeof physical;
    AudioObjectGetPropertyData(_platform.hardware, device, kPhysicalFormat, size, &physical);
    _streamFormats.setOutputFileFromPhysicalFormat(physical);
}

void AudioEngine::setUpTapForMixerNode() {
    _mixerNode->installTapOnBus(0, kTapFrames, [this](const AVAudioPCMBuffer& buffer, const AVAudioTime& time) {
        _recorderTap.take(buffer, time, isRecording());
    });
    // The audio thread, which is called first, may not log.
    _tapWatch = Timer::every(kTapWatchInterval, [this](Timer& timer) {
        if (!_recorderTap.hasBeenCalled()) return;
        timer.invalidate();
        Log::write("AudioEngine+Tap: [%@] recording tap set up", {"setUpTapForMixerNode"});
    });
    _application.mainRunLoop().add(_tapWatch);
}

void AudioEngine::removeDefaultOutputPropertyListener() {
    AudioObjectRemovePropertyListener(_platform.hardware, _outputDeviceID, _theAddress,
                                      MyDefaultOutputPropertyListenerProc, this);
}

float AudioEngine::recorderLatency() const {
    const double sampleRate = _streamFormats.sampleRate();
    if (sampleRate <= 0) return 0;
    return std::ceil(static_cast<float>(kTapFrames * 1000.0 / sampleRate)) / 1000.0F;
}

}  // namespace zelvane
