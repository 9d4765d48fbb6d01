// SPDX-License-Identifier: GPL-3.0-or-later
#include "PYMIDI/PYMIDIManager.h"
#include "Platform/Audio/Graph/AudioPlatform.h"
#include "Platform/Desktop/OneInstance.h"
#include "Platform/Desktop/ServiceNotifier.h"
#include "Platform/Foundation/Collation.h"
#include "Platform/Foundation/Folders.h"
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/UserDefaults.h"
#include "Platform/MIDI/MIDIService.h"
#include "Platform/OSC/OSCClient.h"
#include "Resources/AudioServices.h"
#include "Resources/DesktopLoader.h"
#include "Resources/InstrumentList.h"
#include "Resources/MIDIBackEnds.h"
#include "Resources/ManagedSession.h"
#include "Resources/Options.h"
#include "Resources/TerminationSignals.h"
#include "Sources/AppDelegate.h"
#include "Sources/ConsoleShell.h"
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaReport.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <set>
#include <string>
#include <vector>

namespace zelvane {
namespace {

constexpr int kFailure = 1;
constexpr int kUsageFailure = 2;

// What a player asks the one that runs already, and what that one answers to the first.
constexpr std::string_view kShow = "show", kStatus = "status", kStatusAsJson = "status json";
constexpr std::string_view kShown = "shown", kHidden = "hidden";

int complain(const std::string& sentence, int status) {
    std::cerr << "zelvane: " + sentence + "\n";
    return status;
}

void setUpDefaults(UserDefaults& defaults, const Options& options) {
    defaults.registerDefaults(AppDelegate::registeredDefaults());
    for (const auto& [key, value] : options.defaults) defaults.setArgument(key, {value});
    if (options.device) defaults.setArgument("outputDevice", {*options.device});
    if (!options.midi) return;
    defaults.setArgument("midi", {*options.midi});
    defaults.setArgument("midiEndpoint", {std::string()});  // the stored input does not count in this run
}

std::filesystem::path settingsFile() {
    return preferencesFolder() / "Zelvane.plist";
}

std::filesystem::path uniqueIDFile() {
    return userSupportFolder() / "MIDIUniqueIDs.plist";
}

int listDevices() {
    std::set<std::string> names;
    for (const auto& backEnd : makeAudioBackEnds()) {
        for (const auto& device : backEnd->devices()) names.insert(device.name);
    }
    std::vector<std::string> sorted(names.begin(), names.end());
    std::sort(sorted.begin(), sorted.end(), localizedCaseInsensitiveLess);
    for (const auto& name : sorted) std::cout << name << '\n';
    return 0;
}

/// Those that are there, and the stored one also when it is not. The player's own comes last.
std::vector<std::string> midiInputs(const UserDefaults& defaults) {
    PYMIDIManager* manager = PYMIDIManager::sharedInstance();
    if (manager == nullptr) return {};
    const auto stored = defaults.object("midiEndpoint");
    const auto* data = stored ? std::get_if<PropertyList::Data>(&stored->value) : nullptr;
    if (data != nullptr) Zelvane::decodeMidiEndpoint(*data);
    std::vector<std::string> names;
    for (const auto& source : manager->realSources()) names.push_back(source->displayName());
    names.emplace_back("Zelvane");
    return names;
}

int listMIDI(const Options& options) {
    UserDefaults defaults(settingsFile());
    setUpDefaults(defaults, options);
    RunLoop mainRunLoop;
    const MIDIService service(makeMIDIBackEnds(defaults), mainRunLoop, uniqueIDFile());
    const auto names = midiInputs(defaults);
    for (const auto& name : names) std::cout << name << '\n';
    PYMIDIManager::releaseSharedInstance();
    return names.empty() ? complain("there is neither an ALSA sequencer nor a JACK server.", kFailure) : 0;
}

int check(const Options& options) {
    UserDefaults defaults(settingsFile());
    setUpDefaults(defaults, options);
    return reportScalaFiles(options.files, defaults, std::cout, std::cerr) ? 0 : kFailure;
}

int send(const Options& options) {
    UserDefaults defaults(settingsFile());
    setUpDefaults(defaults, options);
    Error error;
    const OSCMessage message = oscMessageFromWords(options.message);
    if (sendOSCMessage(message, "127.0.0.1", static_cast<std::uint16_t>(defaults.integer("port")), error)) return 0;
    return complain(error.description, kFailure);
}

bool isListed(AudioPlatform& platform, const std::string& name) {
    const auto devices = platform.controller.devices();
    return std::any_of(devices.begin(), devices.end(), [&](const auto& entry) { return entry.second.name == name; });
}

bool isMIDIInput(const UserDefaults& defaults, const std::string& name) {
    const auto names = midiInputs(defaults);
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// Some instruments are made with Qt, which ends the program where it finds no display unless it is told not to look
/// for one.
void hideMissingDisplay() {
    if (std::getenv("DISPLAY") == nullptr && std::getenv("WAYLAND_DISPLAY") == nullptr)
        ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
}

/// Of several players that share their settings, each would undo what the other stores.
int yieldTo(const OneInstance& instance, const Options& options) {
    if (options.isHeadless || instance.askFirst(std::string(kShow)).text != kShown)
        return complain("it runs already, and one is enough for these settings.", kFailure);
    std::cout << "Zelvane: it runs already and was brought up\n";
    return 0;
}

int status(const Options& options) {
    const std::string request(options.wantsJson ? kStatusAsJson : kStatus);
    const InstanceAnswer answer = askFirstInstance(preferencesFolder(), request);
    switch (answer.outcome) {
        case InstanceAnswer::Outcome::answered:
            std::cout << answer.text;
            return 0;
        case InstanceAnswer::Outcome::noPlayer:
            return complain("no player runs with these settings.", kFailure);
        case InstanceAnswer::Outcome::silent:
            return complain("the player runs, but has not answered within " +
                                std::to_string(kInstancePatience.count()) + " seconds.",
                            kFailure);
    }
    return kFailure;
}

std::string answerTo(const std::string& request, AppDelegate& application, Shell& shell) {
    if (request == kStatus) return reportText(application.report());
    if (request == kStatusAsJson) return reportJson(application.report());
    if (request != kShow) return {};
    return std::string(shell.bringUp() ? kShown : kHidden);
}

void answerOthers(OneInstance& instance, RunLoop& mainRunLoop, AppDelegate& application, Shell& shell) {
    instance.answerWith([&](const std::string& request) {
        std::string answer;
        mainRunLoop.perform([&] { answer = answerTo(request, application, shell); }, RunLoop::Wait::yes);
        return answer;
    });
}

/// Without a desktop, or when none is asked for, the player is a service on the console.
std::unique_ptr<Desktop> desktopFor(const Options& options, const DesktopServices& services) {
    if (options.isHeadless) return nullptr;
    std::string reason;
    auto desktop = loadDesktop(services, reason);
    if (desktop == nullptr) std::cerr << "zelvane: " + reason + ", so it runs as with --headless.\n";
    return desktop;
}

int play(const Options& options) {
    hideMissingDisplay();
    RunLoop mainRunLoop;
    mainRunLoop.attachToCurrentThread();
    const TerminationSignals signals([&mainRunLoop] { mainRunLoop.end(); });
    ManagedSession session(mainRunLoop);
    if (session.refusal()) return complain(*session.refusal() + ".", kFailure);
    if (mainRunLoop.hasEnded()) return 0;
    OneInstance instance(preferencesFolder());
    if (!instance.isFirst()) return yieldTo(instance, options);
    UserDefaults defaults(settingsFile());
    setUpDefaults(defaults, options);
    defaults.setSaveHandler([&] { mainRunLoop.perform([&] { defaults.save(); }); });
    AudioPlatform platform(makeAudioBackEnds(session.jackPresence()), makeComponentProviders());
    if (options.device && !isListed(platform, *options.device))
        return complain("there is no output device \"" + *options.device + "\"; --list-devices shows them.",
                        kUsageFailure);
    const MIDIService midi(makeMIDIBackEnds(defaults, session.jackPresence()), mainRunLoop, uniqueIDFile());
    if (options.midi && !isMIDIInput(defaults, *options.midi))
        return complain("there is no MIDI input \"" + *options.midi + "\"; --list-midi shows them.", kUsageFailure);
    const auto desktop = desktopFor(options, {mainRunLoop, defaults});
    ConsoleShell console;
    Shell& shell = desktop != nullptr ? desktop->shell() : console;
    if (desktop != nullptr) platform.components.setViewControllerProvider(desktop->viewControllers());
    AppDelegate application(mainRunLoop, platform, defaults, shell);
    answerOthers(instance, mainRunLoop, application, shell);
    application.applicationDidFinishLaunching(desktop == nullptr);
    if (options.record) application.enableRecording(std::filesystem::absolute(*options.record));
    session.begin(defaults);
    mainRunLoop.run();
    notifyServiceManager("STOPPING=1");
    instance.answerWith({});
    application.applicationWillTerminate();
    platform.components.setViewControllerProvider(nullptr);
    defaults.save();
    return application.exitStatus();
}

int run(const Options& options) {
    switch (options.command) {
        case Options::Command::help:
            std::cout << usage();
            return 0;
        case Options::Command::version:
            std::cout << "zelvane " ZELVANE_VERSION "\n";
            return 0;
        case Options::Command::listDevices:
            return listDevices();
        case Options::Command::listInstruments:
            return listInstruments(options.listsAll);
        case Options::Command::listMIDI:
            return listMIDI(options);
        case Options::Command::check:
            return check(options);
        case Options::Command::send:
            return send(options);
        case Options::Command::status:
            return status(options);
        case Options::Command::play:
            return play(options);
    }
    return kFailure;
}

}  // namespace
}  // namespace zelvane

int main(int argc, char** argv) {
    using namespace zelvane;
    initLocalization();
    const std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
    const auto parsed = parseOptions(words);
    if (const auto* error = std::get_if<UsageError>(&parsed)) return complain(error->sentence, kUsageFailure);
    return run(std::get<Options>(parsed));
}
