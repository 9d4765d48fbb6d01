// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Editor/Lv2EditorFiles.h"

#include "Platform/Audio/Instruments/Lv2/Editor/Lv2EditorFeatures.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Library.h"

namespace zelvane {

namespace {

struct LilvUIsDeleter {
    void operator()(LilvUIs* uis) const { lilv_uis_free(uis); }
};

bool asksForWhatIsOffered(Lv2World::Library& library, const LilvUI* ui) {
    const LilvNodesOwner required(lilv_world_find_nodes(library.world.get(), lilv_ui_get_uri(ui),
                                                        library.node(LV2_CORE__requiredFeature), nullptr));
    LILV_FOREACH(nodes, place, required.get()) {
        const LilvNode* feature = lilv_nodes_get(required.get(), place);
        if (!lilv_node_is_uri(feature) || !Lv2EditorFeatures::isOffered(lilv_node_as_uri(feature))) return false;
    }
    return true;
}

}  // namespace

std::optional<Lv2EditorFiles> findLv2Editor(Lv2World& world, const std::string& pluginURI) {
    const std::lock_guard lock(world.mutex());
    auto& library = world.library();
    const LilvPlugin* plugin = library.plugin(pluginURI);
    if (plugin == nullptr) return std::nullopt;
    const std::unique_ptr<LilvUIs, LilvUIsDeleter> uis(lilv_plugin_get_uis(plugin));
    LILV_FOREACH(uis, place, uis.get()) {
        const LilvUI* ui = lilv_uis_get(uis.get(), place);
        if (!lilv_ui_is_a(ui, library.node(LV2_UI__X11UI))) continue;
        // What it requires stands in a file of its own, which is read only when it is asked for.
        lilv_world_load_resource(library.world.get(), lilv_ui_get_uri(ui));
        if (!asksForWhatIsOffered(library, ui)) continue;
        return Lv2EditorFiles{lilv_node_as_uri(lilv_ui_get_uri(ui)), library.path(lilv_ui_get_binary_uri(ui)),
                              library.path(lilv_ui_get_bundle_uri(ui))};
    }
    return std::nullopt;
}

}  // namespace zelvane
