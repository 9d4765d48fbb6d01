// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <lilv/lilv.h>

#include <memory>
#include <string>

namespace zelvane {

/// Owners of what lilv hands out. For files of this folder only. All of a world's objects, nodes too, are for the
/// holder of its mutex.
struct LilvDeleter {
    void operator()(LilvWorld* world) const { lilv_world_free(world); }
    void operator()(LilvNode* node) const { lilv_node_free(node); }
    void operator()(LilvState* state) const { lilv_state_free(state); }
};

using LilvWorldOwner = std::unique_ptr<LilvWorld, LilvDeleter>;
using LilvNodeOwner = std::unique_ptr<LilvNode, LilvDeleter>;
// lilv's lists are all `void`, so each kind has an owner of its own.
struct LilvNodesDeleter {
    void operator()(LilvNodes* nodes) const { lilv_nodes_free(nodes); }
};
struct LilvScalePointsDeleter {
    void operator()(LilvScalePoints* points) const { lilv_scale_points_free(points); }
};
using LilvNodesOwner = std::unique_ptr<LilvNodes, LilvNodesDeleter>;
using LilvScalePointsOwner = std::unique_ptr<LilvScalePoints, LilvScalePointsDeleter>;
using LilvStateOwner = std::unique_ptr<LilvState, LilvDeleter>;

}  // namespace zelvane
