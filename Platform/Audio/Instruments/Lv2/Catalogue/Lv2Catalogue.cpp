// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Catalogue/Lv2Catalogue.h"

#include "Platform/Audio/Instruments/Lv2/Catalogue/BundleStamps.h"
#include "Platform/Audio/Instruments/Lv2/Catalogue/Contact.h"
#include "Platform/Audio/Instruments/Lv2/Catalogue/ContactReport.h"
#include "Platform/Audio/Instruments/Lv2/Lv2World.h"
#include "Platform/Foundation/Folders.h"
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/Text.h"

#include <chrono>
#include <optional>
#include <system_error>
#include <utility>

namespace zelvane {

namespace {

constexpr int kBackgroundNiceness = 10;

/// All that is installed is tried one after the other, and each trial has its own limit.
ProcessLimits refreshLimits(int niceness) {
    ProcessLimits limits = contactLimits();
    limits.time = std::chrono::hours(6);
    limits.niceness = niceness;
    return limits;
}

std::optional<std::string> restAfter(const char* word, std::string_view line) {
    const std::string start = std::string(word) + " ";
    if (!line.starts_with(start)) return std::nullopt;
    return std::string(line.substr(start.size()));
}

}  // namespace

std::filesystem::path lv2ScannerProgram() {
    constexpr const char* kName = "zelvane-lv2-scan";
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    const auto beside = folder / kName;
    if (std::filesystem::exists(beside, error)) return beside;
    return folder.parent_path() / "libexec" / "zelvane" / kName;
}

Lv2Catalogue::Settings Lv2Catalogue::usualSettings() {
    return {cacheFolder() / "Lv2Instruments.plist", lv2ScannerProgram(), contactLimits()};
}

Lv2Catalogue::Lv2Catalogue(Settings settings) : _settings(std::move(settings)) {
    reload();
}

Lv2Catalogue::~Lv2Catalogue() = default;

std::shared_ptr<const Lv2Catalogue::Entries> Lv2Catalogue::entries() const {
    const std::lock_guard lock(_mutex);
    return _entries;
}

void Lv2Catalogue::setChangeHandler(std::function<void()> handler) {
    const std::lock_guard lock(_handlerMutex);
    _changeHandler = std::move(handler);
}

bool Lv2Catalogue::isCurrent() const {
    const std::string stamp = combinedStamp(bundleStamps(lv2Folders()));
    const std::lock_guard lock(_mutex);
    return stamp == _stamp;
}

void Lv2Catalogue::reload() {
    InstrumentCache cache = readInstrumentCache(_settings.cacheFile);
    auto entries = std::make_shared<Entries>();
    entries->reserve(cache.instruments.size());
    for (auto& instrument : cache.instruments) entries->push_back(std::move(instrument.entry));
    std::unique_lock lock(_mutex);
    const bool isChanged = _entries != nullptr && *_entries != *entries;
    _entries = std::move(entries);
    _stamp = std::move(cache.stamp);
    lock.unlock();
    const std::lock_guard handling(_handlerMutex);
    if (isChanged && _changeHandler) _changeHandler();
}

bool Lv2Catalogue::refresh(const std::function<void(const std::string& name)>& onTrying, const std::stop_token& stop,
                           int niceness) {
    if (isCurrent()) return true;
    const std::vector<std::string> command{_settings.scanner.string(), contact::kRefresh, _settings.cacheFile.string(),
                                           std::to_string(_settings.limits.time.count()),
                                           std::to_string(_settings.limits.memory)};
    const ProcessLimits limits = refreshLimits(niceness);
    std::string failure;
    const ProcessEnd end = runLimited(
        command, limits,
        [&](std::string_view line) {
            if (line == contact::kSaved) reload();
            if (const auto name = restAfter(contact::kTrying, line); name && onTrying) onTrying(*name);
            if (const auto reason = restAfter(contact::kFailed, line)) failure = *reason;
        },
        stop);
    if (end.kind == ProcessEnd::Kind::exited && end.number == 0) return true;
    if (end.kind == ProcessEnd::Kind::stopped) return false;
    Log::write("Lv2Catalogue: [%@] the list of instruments could not be made: %@",
               {"refresh", failure.empty() ? "the scanner " + inWords(end, limits) : failure});
    return false;
}

void Lv2Catalogue::refreshInBackground() {
    _refresher = std::jthread([this](const std::stop_token& stop) { refresh({}, stop, kBackgroundNiceness); });
}

bool Lv2Catalogue::test(const Lv2Entry& entry, Error& error) const {
    const auto result = tryInstrument(_settings.scanner, entry, _settings.limits);
    if (result && result->refusal.empty()) return true;
    error = {"Lv2", 1, result ? entry.name + ": " + result->refusal : localizedString("It could not be tried.")};
    return false;
}

}  // namespace zelvane
