// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/File/Libav.h"

#include <cstdint>
#include <functional>

namespace zelvane {

/// What the samples of a file are.
struct LosslessFormat {
    std::uint32_t sampleRate = 0;
    std::uint32_t channels = 0;
    std::uint32_t bits = 0;  ///< 16 or 24
};

/// Packs sound as Apple Lossless. A float that is a step of the integers comes out as that step; beyond ±1 it is held
/// to the largest, and what is no number is silence.
class LosslessEncoder {
  public:
    using PacketSink = std::function<void(AVPacket&)>;

    LosslessEncoder(const LosslessFormat& format, PacketSink sink);

    /// One buffer a channel. Full packets go to the sink.
    void write(const float* const* channels, std::uint32_t frames);
    /// Ends the stream: the last packet is as short as it has to be.
    void finish();

    /// What a file has to say about the stream.
    const AVCodecParameters& parameters() const { return *_parameters; }

  private:
    void open(const LosslessFormat& format);
    void fill(const float* const* channels, std::uint32_t offset, std::uint32_t frames);
    void encode();
    void passPackets();

    const PacketSink _sink;
    LibavOwner<AVCodecContext> _context;
    LibavOwner<AVCodecParameters> _parameters;
    LibavOwner<AVFrame> _frame;
    LibavOwner<AVPacket> _packet;
    std::uint32_t _filled = 0;  // frames that wait for a packet of their own
    std::int64_t _position = 0;
};

}  // namespace zelvane
