// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/Editor/Lv2EditorFeatures.h"
#include "Platform/Audio/Units/NativeEditor.h"
#include "Platform/Foundation/Error.h"

#include <lv2/atom/atom.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace zelvane {

class Lv2EditorFeed;
class Lv2Instance;
class Lv2PatchProperties;
class Lv2Source;

/// A plug-in's own editor. Many look into the instance itself: it is kept as long as the editor lasts, also when the
/// instrument has another by then. Main thread.
class Lv2Editor final : public NativeEditor {
  public:
    struct Collaborators {
        std::shared_ptr<Lv2Instance> instance;
        Lv2EditorFeed& feed;
        Lv2PatchProperties& patches;
        std::function<bool()> isPresentInstance;
    };

    static std::unique_ptr<Lv2Editor> open(Lv2Source& source, Collaborators collaborators, Host host, Error& error);
    ~Lv2Editor() override;
    Lv2Editor(const Lv2Editor&) = delete;
    Lv2Editor& operator=(const Lv2Editor&) = delete;

    std::uint32_t window() const override { return _window; }
    void showParameter(AudioUnitParameterID id, float value) override;
    bool idle() override;

  private:
    Lv2Editor(Lv2Source& source, Collaborators collaborators, Host host);
    bool instantiate();
    void tellAllPorts();
    void tellOutputs();
    void tellEvents();
    void tellControl(std::uint32_t port, float value);
    void write(std::uint32_t port, std::uint32_t size, std::uint32_t protocol, const void* buffer);
    void writeControl(std::uint32_t port, float value);
    void writeEvent(std::span<const std::byte> atom);
    bool writeProperty(const LV2_Atom& atom);
    std::uint32_t portIndex(const char* symbol) const;

    Lv2Source& _source;
    const Collaborators _with;
    const Host _host;
    std::vector<float> _controls;  // what the editor shows, by index of the port
    Lv2EditorFeatures _features;
    const LV2UI_Descriptor* _descriptor = nullptr;
    const LV2UI_Idle_Interface* _idle = nullptr;
    LV2UI_Handle _handle = nullptr;
    std::uint32_t _window = 0;
    bool _isTelling = false;
};

}  // namespace zelvane
