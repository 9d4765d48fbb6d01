// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/Editor/Lv2EditorFiles.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Entry.h"
#include "Platform/Audio/Instruments/Lv2/Lv2World.h"
#include "Platform/Foundation/Error.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvane {

/// A plug-in with the bundles that belong to it: what its instances are made of, shared by all of them. Control
/// threads.
class Lv2Source {
  public:
    struct Preset {
        std::string uri;
        std::string name;
    };

    /// The source of an entry, read once for as long as somebody has it. Null, with the reason, when the plug-in is not
    /// there or can't be played.
    static std::shared_ptr<Lv2Source> load(const Lv2Entry& entry, Error& error);

    Lv2Source(std::unique_ptr<Lv2World> world, Lv2Plugin plugin)
        : _world(std::move(world)), _plugin(std::move(plugin)) {}

    const Lv2Plugin& plugin() const { return _plugin; }
    Lv2World& world() { return *_world; }

    /// The factory presets by name; their places in the list are the same wherever the same bundles are. Read at the
    /// first call.
    const std::vector<Preset>& presets();

    /// The editor for X servers that the plug-in brings and that can be opened here, if any. Read at the first call.
    const std::optional<Lv2EditorFiles>& editorFiles();

    /// What was told of its instances and need not be told of each. Any thread.
    struct Told {
        std::atomic<bool> muting{false};
        std::atomic<bool> slowness{false};
    };
    Told& told() { return _told; }

  private:
    std::vector<Preset> readPresets();

    const std::unique_ptr<Lv2World> _world;
    const Lv2Plugin _plugin;
    Told _told;
    std::once_flag _presetsOnce, _editorOnce;
    std::optional<Lv2EditorFiles> _editorFiles;
    std::vector<Preset> _presets;
};

}  // namespace zelvane
