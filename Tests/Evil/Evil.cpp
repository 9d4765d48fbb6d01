// SPDX-License-Identifier: GPL-3.0-or-later
#include <lv2/atom/atom.h>
#include <lv2/atom/util.h>
#include <lv2/core/lv2.h>
#include <lv2/midi/midi.h>
#include <lv2/urid/urid.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <numbers>

// A sine with a bend of EVIL_BEND cents that does one thing no instrument should do, EVIL_DEED, at the moment
// EVIL_MOMENT: both are numbers of the list in the build file.
namespace {

enum Deed { none, crash, abortion, hang, leave, gorge, notANumber, crawl, extraPort };
enum Moment { making, running };

constexpr Deed kDeed = EVIL_DEED;
constexpr Moment kMoment = EVIL_MOMENT;
constexpr double kBend = EVIL_BEND;

[[maybe_unused]] volatile bool isForEver = true;
[[maybe_unused]] int* volatile nowhere = nullptr;

[[maybe_unused]] void useEightGigabytes() {
    constexpr std::size_t kSize = std::size_t{8} << 30;
    auto* memory = static_cast<volatile char*>(std::malloc(kSize));
    for (std::size_t page = 0; page < kSize; page += 4096) memory[page] = 1;
}

void doTheDeed(Moment moment) {
    if (moment != kMoment) return;
    if constexpr (kDeed == crash) *nowhere = 1;
    if constexpr (kDeed == abortion) std::abort();
    if constexpr (kDeed == hang) {
        while (isForEver) {
        }
    }
    if constexpr (kDeed == leave) std::exit(0);
    if constexpr (kDeed == gorge) useEightGigabytes();
    if constexpr (kDeed == crawl) ::usleep(30000);
}

struct Sine {
    double rate = 48000;
    LV2_URID midiEvent = 0;
    std::array<void*, 8> ports{};
    double phase = 0, key = 0, cents = 0;
    bool isOn = false;

    void take(const std::uint8_t* message) {
        switch (message[0] & 0xF0U) {
            case LV2_MIDI_MSG_NOTE_ON:
                key = message[1];
                isOn = true;
                break;
            case LV2_MIDI_MSG_NOTE_OFF:
                isOn = false;
                break;
            case LV2_MIDI_MSG_BENDER:
                cents = kBend * (message[1] + 128 * message[2] - 8192) / 8192;
                break;
            default:
                break;
        }
    }

    float next() {
        if (!isOn) return 0;
        phase += 440 * std::exp2((key - 69 + cents / 100) / 12) / rate;
        phase -= std::floor(phase);
        if (kDeed == notANumber) return std::numeric_limits<float>::quiet_NaN();
        return static_cast<float>(0.1 * std::sin(2 * std::numbers::pi * phase));
    }
};

LV2_Handle instantiate(const LV2_Descriptor*, double rate, const char*, const LV2_Feature* const* features) {
    doTheDeed(making);
    auto* sine = new Sine{.rate = rate};
    for (; *features != nullptr; ++features) {
        if (std::strcmp((*features)->URI, LV2_URID__map) != 0) continue;
        const auto* map = static_cast<const LV2_URID_Map*>((*features)->data);
        sine->midiEvent = map->map(map->handle, LV2_MIDI__MidiEvent);
    }
    return sine;
}

void connectPort(LV2_Handle instance, std::uint32_t port, void* data) {
    static_cast<Sine*>(instance)->ports.at(port) = data;
}

void run(LV2_Handle instance, std::uint32_t frames) {
    doTheDeed(running);
    auto* sine = static_cast<Sine*>(instance);
    const auto* events = static_cast<const LV2_Atom_Sequence*>(sine->ports[0]);
    auto* out = static_cast<float*>(sine->ports[1]);
    if (kDeed == extraPort) static_cast<volatile float*>(sine->ports[2])[0] = 1;
    const auto* event = lv2_atom_sequence_begin(&events->body);
    for (std::uint32_t frame = 0; frame < frames; ++frame) {
        for (; !lv2_atom_sequence_is_end(&events->body, events->atom.size, event) && event->time.frames <= frame;
             event = lv2_atom_sequence_next(event)) {
            if (event->body.type == sine->midiEvent) sine->take(reinterpret_cast<const std::uint8_t*>(event + 1));
        }
        out[frame] = sine->next();
    }
}

void cleanup(LV2_Handle instance) {
    delete static_cast<Sine*>(instance);
}

constexpr LV2_Descriptor kDescriptor{EVIL_URI, instantiate, connectPort, nullptr, run, nullptr, cleanup, nullptr};

}  // namespace

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(std::uint32_t index) {
    return index == 0 ? &kDescriptor : nullptr;
}
