// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2Source.h"

#include "Platform/Audio/Instruments/Lv2/Lv2Library.h"
#include "Platform/Foundation/LocalizedString.h"

#include <lv2/presets/presets.h>

#include <algorithm>
#include <map>
#include <tuple>

namespace zelvane {

namespace {

constexpr const char* kLabel = "http://www.w3.org/2000/01/rdf-schema#label";

using Key = std::pair<std::string, std::vector<std::filesystem::path>>;

/// The sources in use.
struct Sources {
    std::mutex mutex;
    std::map<Key, std::weak_ptr<Lv2Source>> byEntry;
};

Sources& sources() {
    static auto& instance = *new Sources;  // never destroyed: loader threads may end late
    return instance;
}

std::shared_ptr<Lv2Source> read(const Lv2Entry& entry, Error& error) {
    auto world = std::make_unique<Lv2World>();
    for (const auto& bundle : entry.bundles) world->loadBundle(bundle);
    auto plugin = world->plugin(entry.uri);
    if (!plugin) {
        error = {"LV2", 2, localizedString("Sorry, this instrument is not installed any more.")};
        return nullptr;
    }
    if (const std::string reason = plugin->whyNotPlayable(); !reason.empty()) {
        error = {"LV2", 3, localizedString("Sorry, this instrument can't be played.") + " " + reason};
        return nullptr;
    }
    return std::make_shared<Lv2Source>(std::move(world), std::move(*plugin));
}

std::string lastPartOf(const std::string& uri) {
    return uri.substr(uri.find_last_of("#/") + 1);
}

}  // namespace

std::shared_ptr<Lv2Source> Lv2Source::load(const Lv2Entry& entry, Error& error) {
    auto& all = sources();
    const std::lock_guard lock(all.mutex);
    std::erase_if(all.byEntry, [](const auto& one) { return one.second.expired(); });
    std::weak_ptr<Lv2Source>& known = all.byEntry[{entry.uri, entry.bundles}];
    if (auto source = known.lock()) return source;
    auto source = read(entry, error);
    known = source;
    return source;
}

const std::vector<Lv2Source::Preset>& Lv2Source::presets() {
    std::call_once(_presetsOnce, [this] { _presets = readPresets(); });
    return _presets;
}

const std::optional<Lv2EditorFiles>& Lv2Source::editorFiles() {
    std::call_once(_editorOnce, [this] { _editorFiles = findLv2Editor(*_world, _plugin.uri); });
    return _editorFiles;
}

std::vector<Lv2Source::Preset> Lv2Source::readPresets() {
    const std::lock_guard lock(_world->mutex());
    auto& library = _world->library();
    std::vector<Preset> presets;
    const LilvNodesOwner nodes(lilv_plugin_get_related(library.plugin(_plugin.uri), library.node(LV2_PRESETS__Preset)));
    LILV_FOREACH(nodes, place, nodes.get()) {
        const LilvNode* node = lilv_nodes_get(nodes.get(), place);
        if (!lilv_node_is_uri(node)) continue;
        Preset preset{lilv_node_as_uri(node), library.text(node, kLabel)};
        if (preset.name.empty() && lilv_world_load_resource(library.world.get(), node) > 0)
            preset.name = library.text(node, kLabel);
        if (preset.name.empty()) preset.name = lastPartOf(preset.uri);
        presets.push_back(std::move(preset));
    }
    std::sort(presets.begin(), presets.end(),
              [](const Preset& a, const Preset& b) { return std::tie(a.name, a.uri) < std::tie(b.name, b.uri); });
    return presets;
}

}  // namespace zelvane
