// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Catalogue/Contact.h"
#include "Platform/Audio/Instruments/Lv2/Catalogue/ContactReport.h"
#include "Platform/Audio/Instruments/Lv2/Catalogue/Refresh.h"
#include "Platform/Audio/Instruments/Lv2/Catalogue/Scanner/AllocationWatch.h"
#include "Platform/Audio/Instruments/Lv2/Catalogue/Scanner/FirstContact.h"
#include "Platform/Foundation/LimitedProcess.h"
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Text.h"

#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zelvane {
namespace {

/// In one piece, so that a crash right after it does not take it along. Nothing is kept where an exit would flush it.
void report(const std::string& line) {
    const std::string text = line + "\n";
    std::string_view rest = text;
    while (!rest.empty()) {
        const ssize_t written = ::write(kReportDescriptor, rest.data(), rest.size());
        if (written <= 0) return;
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
}

int contactInstrument(const std::vector<std::string>& words) {
    Lv2Entry entry{.uri = words[1], .name = words[1]};
    entry.bundles.assign(words.begin() + 2, words.end());
    FirstContact(std::move(entry), report).run();
    return EXIT_SUCCESS;
}

int refresh(const std::vector<std::string>& words) {
    RefreshSettings settings{.cacheFile = words[1], .scanner = "/proc/self/exe", .limits = contactLimits()};
    settings.limits.time = std::chrono::milliseconds(integerPrefix(words[2]));
    settings.limits.memory = static_cast<std::uint64_t>(integerPrefix(words[3]));
    settings.report = report;
    return refreshInstrumentCache(settings) ? EXIT_SUCCESS : EXIT_FAILURE;
}

int run(const std::vector<std::string>& words) {
    const std::string command = words.empty() ? std::string() : words.front();
    if (command == contact::kCommand && words.size() >= 3) return contactInstrument(words);
    if (command == contact::kRefresh && words.size() == 4) return refresh(words);
    std::cerr << "zelvane-lv2-scan is a part of zelvane, which runs it.\n";
    return EXIT_FAILURE;
}

}  // namespace
}  // namespace zelvane

int main(int argc, char** argv) {
    zelvane::initLocalization();
    zelvane::reportFailedAllocations();
    const int status = zelvane::run({argv + 1, argv + argc});
    // What libraries do when a program exits is not looked at: the player ends in the same way.
    std::cerr.flush();
    ::_exit(status);
}
