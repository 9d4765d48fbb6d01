// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/File/LosslessEncoder.h"

#include "Platform/Audio/File/RecordingError.h"

#include <algorithm>
#include <cerrno>
#include <cmath>

namespace zelvane {

namespace {

constexpr float kSteps16 = 32768.0F;
constexpr float kSteps24 = 8388608.0F;

/// The comparisons are false for what is no number.
int steps(float sample, float scale) {
    const float scaled = sample * scale;
    if (scaled >= scale - 1) return static_cast<int>(scale) - 1;
    if (scaled >= -scale) return static_cast<int>(std::lrintf(scaled));
    return sample < 0 ? -static_cast<int>(scale) : 0;
}

std::int16_t sample16(float sample) {
    return static_cast<std::int16_t>(steps(sample, kSteps16));
}

/// The encoder wants the 24 bits at the top.
std::int32_t sample24(float sample) {
    return steps(sample, kSteps24) * 256;
}

/// The layouts that the format knows, one for each number of channels; players find the channels by them.
void chooseLayout(const AVCodec& codec, std::uint32_t channels, AVChannelLayout& chosen) {
    for (const AVChannelLayout* layout = codec.ch_layouts; layout != nullptr && layout->nb_channels > 0; ++layout)
        if (static_cast<std::uint32_t>(layout->nb_channels) == channels)
            checkLibav(av_channel_layout_copy(&chosen, layout), "could not set the channels");
}

}  // namespace

LosslessEncoder::LosslessEncoder(const LosslessFormat& format, PacketSink sink)
    : _sink(std::move(sink)),
      _parameters(ownLibav(avcodec_parameters_alloc())),
      _frame(ownLibav(av_frame_alloc())),
      _packet(ownLibav(av_packet_alloc())) {
    open(format);
    checkLibav(avcodec_parameters_from_context(_parameters.get(), _context.get()), "could not describe the encoder");
    _frame->nb_samples = _context->frame_size;
    _frame->format = _context->sample_fmt;
    checkLibav(av_channel_layout_copy(&_frame->ch_layout, &_context->ch_layout), "could not set the channels");
    checkLibav(av_frame_get_buffer(_frame.get(), 0), "could not make room for a packet");
}

void LosslessEncoder::open(const LosslessFormat& format) {
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_ALAC);
    if (codec == nullptr) throw RecordingError(ENOSYS, "libavcodec was built without an encoder for Apple Lossless");
    _context = ownLibav(avcodec_alloc_context3(codec));
    _context->sample_rate = static_cast<int>(format.sampleRate);
    _context->sample_fmt = format.bits == 16 ? AV_SAMPLE_FMT_S16P : AV_SAMPLE_FMT_S32P;
    _context->bits_per_raw_sample = static_cast<int>(format.bits);
    _context->time_base = {1, _context->sample_rate};
    _context->thread_count = 1;
    _context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    chooseLayout(*codec, format.channels, _context->ch_layout);
    checkLibav(avcodec_open2(_context.get(), codec, nullptr), "could not start the encoder");
}

void LosslessEncoder::write(const float* const* channels, std::uint32_t frames) {
    const auto packetFrames = static_cast<std::uint32_t>(_context->frame_size);
    for (std::uint32_t offset = 0; offset < frames;) {
        const std::uint32_t taken = std::min(frames - offset, packetFrames - _filled);
        fill(channels, offset, taken);
        offset += taken;
        _filled += taken;
        if (_filled == packetFrames) encode();
    }
}

void LosslessEncoder::finish() {
    if (_filled > 0) encode();
    checkLibav(avcodec_send_frame(_context.get(), nullptr), "could not end the encoder");
    passPackets();
}

void LosslessEncoder::fill(const float* const* channels, std::uint32_t offset, std::uint32_t frames) {
    if (_filled == 0) checkLibav(av_frame_make_writable(_frame.get()), "could not make room for a packet");
    for (int channel = 0; channel < _context->ch_layout.nb_channels; ++channel) {
        const float* from = channels[channel] + offset;
        std::uint8_t* to = _frame->extended_data[channel];
        if (_context->sample_fmt == AV_SAMPLE_FMT_S16P) {
            std::transform(from, from + frames, reinterpret_cast<std::int16_t*>(to) + _filled, sample16);
        } else {
            std::transform(from, from + frames, reinterpret_cast<std::int32_t*>(to) + _filled, sample24);
        }
    }
}

void LosslessEncoder::encode() {
    _frame->nb_samples = static_cast<int>(_filled);
    _frame->pts = _position;
    _position += _filled;
    _filled = 0;
    checkLibav(avcodec_send_frame(_context.get(), _frame.get()), "could not encode");
    passPackets();
}

void LosslessEncoder::passPackets() {
    for (;;) {
        const int result = avcodec_receive_packet(_context.get(), _packet.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
        checkLibav(result, "could not encode");
        _sink(*_packet);
        av_packet_unref(_packet.get());
    }
}

}  // namespace zelvane
