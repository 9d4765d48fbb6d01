// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Alsa/AlsaEventDecoder.h"

#include <new>

namespace zelvane {

AlsaEventDecoder::AlsaEventDecoder() {
    snd_midi_event_t* decoder = nullptr;
    if (snd_midi_event_new(_bytes.size(), &decoder) < 0) throw std::bad_alloc();
    _decoder.reset(decoder);
    snd_midi_event_no_status(decoder, 1);
}

std::span<const std::uint8_t> AlsaEventDecoder::decode(const snd_seq_event_t& event) {
    switch (event.type) {
        case SND_SEQ_EVENT_CLOCK:
        case SND_SEQ_EVENT_TICK:
        case SND_SEQ_EVENT_SENSING:
        case SND_SEQ_EVENT_SYSEX:
            return {};
        default:
            break;
    }
    const long length = snd_midi_event_decode(_decoder.get(), _bytes.data(), static_cast<long>(_bytes.size()), &event);
    return std::span(_bytes).first(length > 0 ? static_cast<std::size_t>(length) : 0);
}

std::span<const std::uint8_t> AlsaEventDecoder::systemExclusivePiece(const snd_seq_event_t& event) {
    if (event.type != SND_SEQ_EVENT_SYSEX || event.data.ext.ptr == nullptr) return {};
    return {static_cast<const std::uint8_t*>(event.data.ext.ptr), event.data.ext.len};
}

}  // namespace zelvane
