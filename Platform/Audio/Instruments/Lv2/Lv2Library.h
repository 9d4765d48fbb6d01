// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/Lilv.h"
#include "Platform/Audio/Instruments/Lv2/Lv2World.h"

#include <filesystem>
#include <map>
#include <string>

namespace zelvane {

/// lilv's world with the nodes that questions are asked with. For the holder of the world's mutex.
struct Lv2World::Library {
    LilvWorldOwner world{lilv_world_new()};

    /// The node of a URI, kept for the next time.
    const LilvNode* node(const char* uri);
    const LilvPlugin* plugin(const std::string& uri);

    /// The object of a statement, or null.
    LilvNodeOwner object(const LilvNode* subject, const char* predicate);
    /// As text; empty when there is none.
    std::string text(const LilvNode* subject, const char* predicate);
    std::filesystem::path path(const LilvNode* fileURI);

    void load(const std::filesystem::path& bundle);

  private:
    std::map<std::string, LilvNodeOwner> _nodes;
};

/// What lilv knows of a plug-in as plain data.
Lv2Plugin readLv2Plugin(Lv2World::Library& library, const LilvPlugin* plugin);

}  // namespace zelvane
