// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Graph/AudioPlatform.h"
#include "Platform/Foundation/Collation.h"
#include "Platform/Foundation/Folders.h"
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/UserDefaults.h"
#include "Platform/OSC/OSCClient.h"
#include "Resources/AudioServices.h"
#include "Resources/Options.h"
#include "Resources/TerminationSignals.h"
#include "Sources/AppDelegate.h"
#include "Sources/ConsoleShell.h"

#include <algorithm>
#include <iostream>
#include <set>
#include <string>
#include <vector>

namespace zelvane {
namespace {

constexpr int kFailure = 1;
constexpr int kUsageFailure = 2;

int complain(const std::string& sentence, int status) {
    std::cerr << "zelvane: " + sentence + "\n";
    return status;
}

void setUpDefaults(UserDefaults& defaults, const Options& options) {
    defaults.registerDefaults(AppDelegate::registeredDefaults());
    for (const auto& [key, value] : options.defaults) defaults.setArgument(key, {value});
    if (options.device) defaults.setArgument("outputDevice", {*options.device});
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

int listInstruments() {
    std::string advice;
    bool areThere = false;
    for (const auto& provider : makeComponentProviders()) {
        for (const auto& component : provider->components()) {
            areThere = true;
            std::cout << component.name << '\n';
        }
        advice += provider->installationAdvice();
    }
    return areThere ? 0 : complain("there is no instrument. " + advice, kFailure);
}

int send(const Options& options) {
    UserDefaults defaults(preferencesFolder() / "Zelvane.plist");
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

int play(const Options& options) {
    RunLoop mainRunLoop;
    mainRunLoop.attachToCurrentThread();
    const TerminationSignals signals([&mainRunLoop] { mainRunLoop.end(); });
    UserDefaults defaults(preferencesFolder() / "Zelvane.plist");
    setUpDefaults(defaults, options);
    defaults.setSaveHandler([&] { mainRunLoop.perform([&] { defaults.save(); }); });
    AudioPlatform platform(makeAudioBackEnds(), makeComponentProviders());
    if (options.device && !isListed(platform, *options.device))
        return complain("there is no output device \"" + *options.device + "\"; --list-devices shows them.",
                        kUsageFailure);
    ConsoleShell shell;
    AppDelegate application(mainRunLoop, platform, defaults, shell);
    if (!options.isHeadless) std::cerr << "zelvane: no desktop shell, so it runs as with --headless.\n";
    application.applicationDidFinishLaunching(true);
    mainRunLoop.run();
    application.applicationWillTerminate();
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
            return listInstruments();
        case Options::Command::send:
            return send(options);
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
