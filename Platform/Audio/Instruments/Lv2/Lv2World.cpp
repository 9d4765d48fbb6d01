// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2World.h"

#include "Platform/Audio/Instruments/Lv2/Lv2Library.h"

#include <lv2/core/lv2.h>
#include <lv2/presets/presets.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <sstream>

namespace zelvane {

namespace fs = std::filesystem;

namespace {

constexpr const char* kSeeAlso = "http://www.w3.org/2000/01/rdf-schema#seeAlso";

/// What descriptions use without defining it: classes, units, and parameters with a type of their own.
constexpr const char* kVocabulary[] = {"core.lv2", "units.lv2", "parameters.lv2"};

fs::path homeFolder() {
    const char* home = std::getenv("HOME");
    return home == nullptr ? fs::path() : fs::path(home);
}

void loadVocabulary(Lv2World::Library& library) {
    const auto folders = lv2Folders();
    for (const char* name : kVocabulary) {
        const auto place = std::find_if(folders.begin(), folders.end(), [&](const fs::path& folder) {
            std::error_code error;
            return fs::exists(folder / name / "manifest.ttl", error);
        });
        if (place != folders.end()) library.load(*place / name);
    }
    lilv_world_load_specifications(library.world.get());
    lilv_world_load_plugin_classes(library.world.get());
}

}  // namespace

std::vector<fs::path> lv2Folders() {
    std::vector<fs::path> folders;
    if (const char* path = std::getenv("LV2_PATH"); path != nullptr && *path != '\0') {
        std::istringstream stream{std::string(path)};
        for (std::string folder; std::getline(stream, folder, ':');)
            if (!folder.empty())
                folders.push_back(folder.starts_with("~/") ? homeFolder() / folder.substr(2) : fs::path(folder));
        return folders;
    }
    if (!homeFolder().empty()) folders.push_back(homeFolder() / ".lv2");
    for (const char* folder : {"/usr/local/lib/lv2", "/usr/lib/lv2", "/usr/lib64/lv2"}) folders.emplace_back(folder);
    return folders;
}

const LilvNode* Lv2World::Library::node(const char* uri) {
    LilvNodeOwner& known = _nodes[uri];
    if (known == nullptr) known.reset(lilv_new_uri(world.get(), uri));
    return known.get();
}

const LilvPlugin* Lv2World::Library::plugin(const std::string& uri) {
    const LilvNode* name = node(uri.c_str());
    return name == nullptr ? nullptr : lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world.get()), name);
}

LilvNodeOwner Lv2World::Library::object(const LilvNode* subject, const char* predicate) {
    return LilvNodeOwner(lilv_world_get(world.get(), subject, node(predicate), nullptr));
}

std::string Lv2World::Library::text(const LilvNode* subject, const char* predicate) {
    const LilvNodeOwner found = object(subject, predicate);
    const char* value = found == nullptr ? nullptr : lilv_node_as_string(found.get());
    return value == nullptr ? std::string() : value;
}

fs::path Lv2World::Library::path(const LilvNode* fileURI) {
    const char* uri = fileURI == nullptr || !lilv_node_is_uri(fileURI) ? nullptr : lilv_node_as_uri(fileURI);
    char* parsed = uri == nullptr ? nullptr : lilv_file_uri_parse(uri, nullptr);
    fs::path path = parsed == nullptr ? fs::path() : fs::path(parsed);
    lilv_free(parsed);
    return path;
}

void Lv2World::Library::load(const fs::path& bundle) {
    const std::string folder = bundle.native().ends_with('/') ? bundle.native() : bundle.native() + "/";
    const LilvNodeOwner uri(lilv_new_file_uri(world.get(), nullptr, folder.c_str()));
    lilv_world_load_bundle(world.get(), uri.get());
}

Lv2World::Lv2World() : _library(std::make_unique<Library>()) {
    const std::lock_guard lock(_mutex);
    loadVocabulary(*_library);
}

Lv2World::~Lv2World() = default;

void Lv2World::loadBundle(const fs::path& bundle) {
    const std::lock_guard lock(_mutex);
    _library->load(bundle);
}

void Lv2World::loadAll() {
    const std::lock_guard lock(_mutex);
    lilv_world_load_all(_library->world.get());
}

std::vector<std::string> Lv2World::plugins() const {
    const std::lock_guard lock(_mutex);
    std::vector<std::string> uris;
    const LilvPlugins* all = lilv_world_get_all_plugins(_library->world.get());
    LILV_FOREACH(plugins, place, all)
    uris.emplace_back(lilv_node_as_uri(lilv_plugin_get_uri(lilv_plugins_get(all, place))));
    std::sort(uris.begin(), uris.end());
    return uris;
}

std::optional<Lv2Plugin> Lv2World::plugin(const std::string& uri) const {
    const std::lock_guard lock(_mutex);
    const LilvPlugin* found = _library->plugin(uri);
    if (found == nullptr) return std::nullopt;
    return readLv2Plugin(*_library, found);
}

std::vector<fs::path> Lv2World::presetBundles(const std::string& uri) const {
    const std::lock_guard lock(_mutex);
    const LilvPlugin* plugin = _library->plugin(uri);
    if (plugin == nullptr) return {};
    const fs::path own = _library->path(lilv_plugin_get_bundle_uri(plugin)).parent_path();
    std::set<fs::path> bundles;
    const LilvNodesOwner presets(lilv_plugin_get_related(plugin, _library->node(LV2_PRESETS__Preset)));
    LILV_FOREACH(nodes, place, presets.get()) {
        const LilvNodeOwner file = _library->object(lilv_nodes_get(presets.get(), place), kSeeAlso);
        const fs::path bundle = _library->path(file.get()).parent_path();
        if (!bundle.empty() && bundle != own) bundles.insert(bundle);
    }
    return {bundles.begin(), bundles.end()};
}

}  // namespace zelvane
