// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/Text.h"
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"

#include <iostream>
#include <utility>

namespace zelvane {

namespace {

constexpr const char* kSetupSelector = "setupAudioFile:";
constexpr std::chrono::milliseconds kTellInterval(100);

Error recordingError(int code, const char* pattern, const std::filesystem::path& path, const std::string& reason) {
    return {"AudioRecording", code, formatted(localizedString(pattern), {path.string(), reason})};
}

}  // namespace

void AudioEngine::enableRecording(const std::filesystem::path& url) {
    if (!isRecording()) setupAudioFile(url);
}

bool AudioEngine::setupAudioFile(const std::filesystem::path& url) {
    if (_outputFile != nullptr) outputFileDispose();
    // A file of that name that is still being finished would come to stand in the place of the new one.
    ExtAudioFileDispose(_finishingFile);
    _audioFileUrl = url;
    OSStatus status = ExtAudioFileCreateWithURL(url, kAudioFileM4AType, _streamFormats.outputFile(),
                                                kAudioFileFlags_EraseFile, _outputFile, fileOptions());
    if (status != kNoError || _outputFile == nullptr)
        return failToSetUp("AudioEngine+Recording: [%@] could not create audio file %%@ (ID=%%d/'%%-4.4s')", status);
    const AudioStreamBasicDescription client = _streamFormats.outputUnit();
    status = ExtAudioFileSetProperty(_outputFile.get(), kExtAudioFileProperty_ClientDataFormat, sizeof client, &client);
    if (status != kNoError)
        return failToSetUp(
            "AudioEngine+Recording: [%@] could not set up client data format for output file %%@ (ID=%%d/'%%-4.4s')",
            status);
    status = ExtAudioFileWriteAsync(_outputFile.get(), 0, nullptr);
    if (status != kNoError)
        return failToSetUp("AudioEngine+Recording: [%@] could not initialize asynchronous writing (ID=%%d/'%%-4.4s')",
                           status);
    _recorderTap.file().put(*_outputFile);
    tellWriteFailures();
    return true;
}

ExtAudioFileOptions AudioEngine::fileOptions() {
    ExtAudioFileOptions options;
    options.failed = [&application = _application](const ExtAudioFileReport& report) {
        application.mainRunLoop().perform(
            [&application,
             error = recordingError(6, "Sorry, recording to %@ failed: %@. What was recorded before is kept.",
                                    report.path, report.errorText)] { application.presentError(error); });
    };
    options.finished = [this](const ExtAudioFileReport& report) {
        _recordingReports->add(report);
        _application.mainRunLoop().perform(
            [reports = _recordingReports, &application = _application] { tellOfFinished(*reports, application); });
    };
    return options;
}

/// Nothing is told of a recording that was armed and heard nothing.
void AudioEngine::tellOfFinished(RecordingReports& reports, Application& application) {
    for (const ExtAudioFileReport& report : reports.takeAll()) {
        if (report.framesDropped > 0)
            Log::write("AudioEngine+Recording: [%@] the disk was too slow, %d frames of %@ are silence",
                       {"outputFileDispose", std::to_string(report.framesDropped), report.path.string()});
        if (report.framesWritten > 0)
            application.recordingDidFinish({report.path, static_cast<double>(report.framesWritten) / report.sampleRate,
                                            static_cast<double>(report.framesDropped) / report.sampleRate});
    }
}

bool AudioEngine::failToSetUp(std::string_view pattern, OSStatus status) {
    logError(status, _audioFileUrl, formatted(pattern, {kSetupSelector}));
    const std::string reason = _outputFile != nullptr ? ExtAudioFileGetReport(_outputFile.get()).errorText : "";
    _application.mainRunLoop().perform(
        [&application = _application, error = recordingError(5, "Sorry, unable to record to %@. %@", _audioFileUrl,
                                                             reason)] { application.presentError(error); });
    return false;
}

/// The text is a pattern itself, in which the place of the URL may be missing.
void AudioEngine::logError(OSStatus status, const std::filesystem::path& url, const std::string& formatString) {
    std::vector<std::string> arguments{std::to_string(status), fourCharacters(static_cast<std::uint32_t>(status))};
    if (formatString.find("%@") != std::string::npos) arguments.insert(arguments.begin(), url.string());
    Log::write(formatString, arguments);
}

void AudioEngine::stopRecording() {
    if (!isRecording()) return;
    setIsRecording(false);
    // The buffer in flight is written first.
    RunLoop& runLoop = RunLoop::current() != nullptr ? *RunLoop::current() : _application.mainRunLoop();
    _closing = Timer::after(secondsToDuration(recorderLatency()), [this](Timer&) { outputFileDispose(); });
    runLoop.add(_closing);
}

void AudioEngine::outputFileDispose() {
    if (_closing != nullptr) _closing->invalidate();
    _recorderTap.file().take();
    if (_outputFile == nullptr) return;
    reportWriteFailures();
    if (_failureTeller != nullptr) _failureTeller->invalidate();
    ExtAudioFileDispose(_finishingFile);
    _finishingFile = std::move(_outputFile);
    ExtAudioFileBeginDispose(_finishingFile.get());
}

/// The audio thread can't tell it itself.
void AudioEngine::tellWriteFailures() {
    if (_failureTeller != nullptr) _failureTeller->invalidate();
    _failureTeller = Timer::every(kTellInterval, [this](Timer&) { reportWriteFailures(); });
    _application.mainRunLoop().add(_failureTeller);
}

void AudioEngine::reportWriteFailures() {
    const auto [count, status] = _recorderTap.takeFailures();
    const std::string line =
        formatted("AudioEngine+Tap: [%s] ExtAudioFileWrite failed with error %d '%-4.4s'\n",
                  {"setUpTapForMixerNode", std::to_string(status), fourCharacters(static_cast<std::uint32_t>(status))});
    for (std::uint64_t failure = 0; failure < count; ++failure) std::cerr << line;
}

/// At the end there is no run loop any more that would do it later.
void AudioEngine::finishRecording() {
    for (const auto& timer : {_closing, _failureTeller, _tapWatch}) {
        if (timer != nullptr) timer->invalidate();
    }
    setIsRecording(false);
    outputFileDispose();
    ExtAudioFileDispose(_finishingFile);
    tellOfFinished(*_recordingReports, _application);
}

}  // namespace zelvane
