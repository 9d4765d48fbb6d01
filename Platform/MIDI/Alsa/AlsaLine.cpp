// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Alsa/AlsaLine.h"

namespace zelvane {

void AlsaLine::take(const snd_seq_event_t& event, AlsaEventDecoder& decoder, TimePoint time) {
    Sender& sender = _senders[{event.source.client, event.source.port}];
    // The kernel carries everything else in events of its own.
    sender.assembler.add(AlsaEventDecoder::systemExclusivePiece(event), [&](MessageAssembler::Message message) {
        if (message[0] == 0xF0) add(message, time);
    });
    const auto message = decoder.decode(event);
    if (message.empty()) return;
    sender.notes.follow(message);
    add(message, time);
}

void AlsaLine::endSender(AlsaAddress sender, TimePoint time) {
    const auto isMeant = [sender](const auto& entry) {
        return entry.first == sender || (sender.port < 0 && entry.first.client == sender.client);
    };
    for (auto& entry : _senders) {
        if (isMeant(entry)) endNotes(entry.second, time);
    }
    std::erase_if(_senders, isMeant);
}

void AlsaLine::endAllSenders(TimePoint time) {
    for (auto& [address, sender] : _senders) endNotes(sender, time);
    _senders.clear();
}

void AlsaLine::endNotes(Sender& sender, TimePoint time) {
    const auto endings = sender.notes.takeEndings();
    for (std::size_t place = 0; place < endings.size(); place += 3) add(std::span(endings).subspan(place, 3), time);
}

void AlsaLine::add(std::span<const std::uint8_t> message, TimePoint time) {
    _bytes.insert(_bytes.end(), message.begin(), message.end());
    _packets.push_back({time, message.size()});
}

void AlsaLine::deliver(MIDIBackEndListener& listener) {
    if (_packets.empty()) return;
    _list.clear();
    std::span<const std::uint8_t> rest(_bytes);
    for (const Packet& packet : _packets) {
        _list.push_back({packet.time, rest.first(packet.length)});
        rest = rest.subspan(packet.length);
    }
    listener.received(_id, _list);
    _packets.clear();
    _bytes.clear();
}

}  // namespace zelvane
