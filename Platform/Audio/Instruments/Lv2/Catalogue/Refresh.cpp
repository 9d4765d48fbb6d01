// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Catalogue/Refresh.h"

#include "Platform/Audio/Instruments/Lv2/Catalogue/BundleStamps.h"
#include "Platform/Audio/Instruments/Lv2/Catalogue/CacheFile.h"
#include "Platform/Audio/Instruments/Lv2/Catalogue/Contact.h"
#include "Platform/Audio/Instruments/Lv2/Catalogue/ContactReport.h"
#include "Platform/Audio/Instruments/Lv2/Catalogue/UniqueNames.h"
#include "Platform/Audio/Instruments/Lv2/Lv2World.h"
#include "Platform/Foundation/Collation.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <utility>

namespace zelvane {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr std::chrono::seconds kBetweenSaves{5};

bool isDamaged(const Lv2Plugin& plugin) {
    return plugin.name.empty() || plugin.ports.empty();
}

/// A name for what has none.
std::string nameOf(const Lv2Plugin& plugin) {
    return plugin.name.empty() ? plugin.bundle.stem().string() : plugin.name;
}

class Refresh {
  public:
    explicit Refresh(const RefreshSettings& settings) : _settings(settings) {
        for (auto& known : readInstrumentCache(settings.cacheFile).instruments) {
            std::string uri = known.entry.uri;
            _known.emplace(std::move(uri), std::move(known));
        }
    }

    bool run() {
        // Before anything is read: what changes meanwhile is found the next time.
        _stamps = bundleStamps(lv2Folders());
        _world.loadAll();
        for (const auto& uri : _world.plugins()) {
            const auto plugin = _world.plugin(uri);
            if (plugin && (plugin->isInstrument() || isDamaged(*plugin))) add(*plugin);
        }
        _known.clear();  // what is left is no longer installed
        if (_triedAll) _cache.stamp = combinedStamp(_stamps);
        return save();
    }

  private:
    void add(const Lv2Plugin& plugin) {
        CachedInstrument instrument{{.uri = plugin.uri, .name = nameOf(plugin), .bundles = {plugin.bundle}},
                                    stampOf(plugin)};
        for (auto& bundle : _world.presetBundles(plugin.uri)) instrument.entry.bundles.push_back(std::move(bundle));
        if (learn(plugin, instrument)) {
            _cache.instruments.push_back(std::move(instrument));
        } else {
            _triedAll = false;
        }
        _known.erase(plugin.uri);
        if (SteadyClock::now() - _lastSave >= kBetweenSaves) save();
    }

    /// False when it could not be found out.
    bool learn(const Lv2Plugin& plugin, CachedInstrument& instrument) {
        instrument.entry.refusal = plugin.whyNotPlayable();
        if (!instrument.entry.refusal.empty()) return true;
        const auto known = _known.find(plugin.uri);
        if (known != _known.end() && isTheSame(known->second, instrument)) {
            instrument.entry.refusal = known->second.entry.refusal;
            instrument.entry.bendCents = known->second.entry.bendCents;
            return true;
        }
        _settings.report(std::string(contact::kTrying) + " " + instrument.entry.name);
        const auto result = tryInstrument(_settings.scanner, instrument.entry, _settings.limits);
        if (!result) return false;
        instrument.entry.refusal = result->refusal;
        instrument.entry.bendCents = result->bendCents;
        if (result->tookTooLong) instrument.stamp.clear();  // so that it is tried again the next time
        return true;
    }

    static bool isTheSame(const CachedInstrument& known, const CachedInstrument& found) {
        return !known.stamp.empty() && known.stamp == found.stamp &&
               known.entry.bundles.front() == found.entry.bundles.front();
    }

    std::string stampOf(const Lv2Plugin& plugin) const {
        const auto found = _stamps.find(plugin.bundle.lexically_normal());
        return found == _stamps.end() ? std::string() : found->second;
    }

    bool save() {
        InstrumentCache cache = _cache;
        for (const auto& [uri, known] : _known) cache.instruments.push_back(known);
        makeNamesUnique(cache.instruments);
        std::sort(cache.instruments.begin(), cache.instruments.end(), [](const auto& a, const auto& b) {
            return localizedCaseInsensitiveLess(a.entry.name, b.entry.name);
        });
        Error error;
        const bool isSaved = writeInstrumentCache(_settings.cacheFile, cache, error);
        _settings.report(isSaved ? contact::kSaved : std::string(contact::kFailed) + " " + error.description);
        _lastSave = SteadyClock::now();
        return isSaved;
    }

    const RefreshSettings& _settings;
    std::map<std::string, CachedInstrument> _known;
    BundleStamps _stamps;
    Lv2World _world;
    InstrumentCache _cache;
    bool _triedAll = true;
    SteadyClock::time_point _lastSave = SteadyClock::now();
};

}  // namespace

bool refreshInstrumentCache(const RefreshSettings& settings) {
    return Refresh(settings).run();
}

}  // namespace zelvane
