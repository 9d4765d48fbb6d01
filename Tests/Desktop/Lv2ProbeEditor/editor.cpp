// SPDX-License-Identifier: GPL-3.0-or-later
// An editor of the probe, drawn with nothing but the X server: a button press sets the gain by its place from left to
// right, and the rest is done by the test in the same process.
#include "Tests/Desktop/Lv2ProbeEditor/ProbeEditor.h"

#include <lv2/atom/forge.h>
#include <lv2/atom/util.h>
#include <lv2/instance-access/instance-access.h>
#include <lv2/midi/midi.h>
#include <lv2/options/options.h>
#include <lv2/patch/patch.h>
#include <lv2/ui/ui.h>
#include <lv2/urid/urid.h>
#include <xcb/xcb.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

constexpr int kWidth = 240, kHeight = 160;
constexpr const char* kLevel = "urn:zelvane:probe#level";

ProbeEditor* latest = nullptr;

template <typename Data>
Data* feature(const LV2_Feature* const* features, const char* uri) {
    for (; *features != nullptr; ++features)
        if (std::strcmp((*features)->URI, uri) == 0) return static_cast<Data*>((*features)->data);
    return nullptr;
}

class Editor final : public ProbeEditor {
  public:
    Editor(LV2UI_Write_Function write, LV2UI_Controller controller, const LV2_Feature* const* features)
        : _write(write),
          _controller(controller),
          _map(feature<LV2_URID_Map>(features, LV2_URID__map)),
          _resize(feature<LV2UI_Resize>(features, LV2_UI__resize)),
          _gainPort(portOf(features, "gain")) {
        instance = feature<void>(features, LV2_INSTANCE_ACCESS_URI);
        readScale(feature<const LV2_Options_Option>(features, LV2_OPTIONS__options));
        lv2_atom_forge_init(&_forge, _map);
        openWindow(
            static_cast<xcb_window_t>(reinterpret_cast<std::uintptr_t>(feature<void>(features, LV2_UI__parent))));
        static int count = 0;
        number = ++count;
        latest = this;
    }
    ~Editor() override {
        if (latest == this) latest = nullptr;
        xcb_destroy_window(_server, window);
        xcb_disconnect(_server);
    }

    void writeControl(std::uint32_t port, float value) override { _write(_controller, port, sizeof value, 0, &value); }

    void writeLevel(float level) override {
        std::array<std::uint64_t, 32> buffer{};
        lv2_atom_forge_set_buffer(&_forge, reinterpret_cast<std::uint8_t*>(buffer.data()), sizeof buffer);
        LV2_Atom_Forge_Frame frame;
        lv2_atom_forge_object(&_forge, &frame, 0, urid(LV2_PATCH__Set));
        lv2_atom_forge_key(&_forge, urid(LV2_PATCH__property));
        lv2_atom_forge_urid(&_forge, urid(kLevel));
        lv2_atom_forge_key(&_forge, urid(LV2_PATCH__value));
        lv2_atom_forge_float(&_forge, level);
        lv2_atom_forge_pop(&_forge, &frame);
        send(reinterpret_cast<const LV2_Atom*>(buffer.data()));
    }

    void playNote(std::uint8_t key) override {
        struct {
            LV2_Atom atom;
            std::array<std::uint8_t, 3> message;
        } event{{3, urid(LV2_MIDI__MidiEvent)}, {0x90, key, 100}};
        send(&event.atom);
    }

    void resize(int width, int height) override {
        const std::array<std::uint32_t, 2> size{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
        xcb_configure_window(_server, window, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size.data());
        xcb_flush(_server);
        // As a toolkit's own pixels, with which some editors count.
        const int factor = std::strcmp(std::getenv("PROBE_EDITOR"), "toolkit") == 0 ? static_cast<int>(scaleFactor) : 1;
        if (!_isStill) _resize->ui_resize(_resize->handle, width / factor, height / factor);
    }

    void close() override { _isClosed = true; }

    int idle() {
        ++timesIdle;
        while (xcb_generic_event_t* event = xcb_poll_for_event(_server)) {
            const auto* press = reinterpret_cast<const xcb_button_press_event_t*>(event);
            if ((event->response_type & 0x7F) == XCB_BUTTON_PRESS)
                writeControl(_gainPort, 2 * static_cast<float>(press->event_x) / kWidth);
            std::free(event);
        }
        return _isClosed ? 1 : 0;
    }

    void portEvent(std::uint32_t port, std::uint32_t size, std::uint32_t protocol, const void* buffer) {
        if (protocol == 0 && size == sizeof(float)) {
            shown.emplace_back(port, *static_cast<const float*>(buffer));
            // Some write what they are told back, not quite as it was.
            writeControl(port, *static_cast<const float*>(buffer) * 1.0001F);
        } else if (protocol == urid(LV2_ATOM__eventTransfer)) {
            hear(*static_cast<const LV2_Atom_Object*>(buffer));
        }
    }

  private:
    LV2_URID urid(const char* uri) { return _map->map(_map->handle, uri); }

    static std::uint32_t portOf(const LV2_Feature* const* features, const char* symbol) {
        const auto* map = feature<LV2UI_Port_Map>(features, LV2_UI__portMap);
        return map->port_index(map->handle, symbol);
    }

    void readScale(const LV2_Options_Option* option) {
        for (; option->key != 0; ++option)
            if (option->key == urid(LV2_UI__scaleFactor)) scaleFactor = *static_cast<const float*>(option->value);
    }

    void openWindow(xcb_window_t parent) {
        _server = xcb_connect(nullptr, nullptr);
        window = xcb_generate_id(_server);
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(_server)).data;
        const std::array<std::uint32_t, 2> values{0x2060A0, XCB_EVENT_MASK_BUTTON_PRESS};
        xcb_create_window(_server, XCB_COPY_FROM_PARENT, window, parent, 0, 0, kWidth, kHeight, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK,
                          values.data());
        xcb_map_window(_server, window);
        // The host looks at the window over a connection of its own.
        std::free(xcb_get_input_focus_reply(_server, xcb_get_input_focus(_server), nullptr));
        if (!_isStill) resize(320, 200);
    }

    void send(const LV2_Atom* atom) {
        _write(_controller, 0, static_cast<std::uint32_t>(sizeof *atom + atom->size), urid(LV2_ATOM__eventTransfer),
               atom);
    }

    void hear(const LV2_Atom_Object& object) {
        const LV2_Atom *property = nullptr, *value = nullptr;
        lv2_atom_object_get(&object, urid(LV2_PATCH__property), &property, urid(LV2_PATCH__value), &value, 0);
        if (property != nullptr && reinterpret_cast<const LV2_Atom_URID*>(property)->body == urid(kLevel))
            levels.push_back(reinterpret_cast<const LV2_Atom_Float*>(value)->body);
    }

    const LV2UI_Write_Function _write;
    const LV2UI_Controller _controller;
    LV2_URID_Map* const _map;
    LV2UI_Resize* const _resize;
    const std::uint32_t _gainPort;
    const bool _isStill = std::strcmp(std::getenv("PROBE_EDITOR"), "still") == 0;
    bool _isClosed = false;
    LV2_Atom_Forge _forge{};
    xcb_connection_t* _server = nullptr;
};

LV2UI_Handle instantiate(const LV2UI_Descriptor*, const char*, const char*, LV2UI_Write_Function write,
                         LV2UI_Controller controller, LV2UI_Widget* widget, const LV2_Feature* const* features) {
    const char* wish = std::getenv("PROBE_EDITOR");
    if (std::strcmp(wish, "crash") == 0) std::abort();
    if (std::strcmp(wish, "refuse") == 0) return nullptr;
    auto editor = std::make_unique<Editor>(write, controller, features);
    const std::uintptr_t window = editor->window;
    std::memcpy(widget, &window, sizeof window);  // what LV2 hands on as a pointer is a window's number
    return editor.release();
}

const void* extensionData(const char* uri) {
    static const LV2UI_Idle_Interface idle{[](LV2UI_Handle editor) { return static_cast<Editor*>(editor)->idle(); }};
    return std::strcmp(uri, LV2_UI__idleInterface) == 0 ? &idle : nullptr;
}

const LV2UI_Descriptor descriptor{
    "urn:zelvane:probe#editor", &instantiate, [](LV2UI_Handle editor) { delete static_cast<Editor*>(editor); },
    [](LV2UI_Handle editor, std::uint32_t port, std::uint32_t size, std::uint32_t protocol, const void* buffer) {
        static_cast<Editor*>(editor)->portEvent(port, size, protocol, buffer);
    },
    &extensionData};

}  // namespace

LV2_SYMBOL_EXPORT const LV2UI_Descriptor* lv2ui_descriptor(std::uint32_t index) {
    return index == 0 ? &descriptor : nullptr;
}

extern "C" __attribute__((visibility("default"))) ProbeEditor* probeEditor() {
    return latest;
}
