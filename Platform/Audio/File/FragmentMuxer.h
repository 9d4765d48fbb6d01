// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/File/LibavIO.h"

#include <string>

namespace zelvane {

/// What a player shows about a recording.
struct RecordingTags {
    std::string title;
    std::string date;  ///< in the way of ISO 8601
};

/// A muxer for M4A files that has a stream of this kind and these tags; nothing is written yet.
LibavOwner<AVFormatContext> makeM4AMuxer(const AVCodecParameters& parameters, const RecordingTags& tags,
                                         AVIOContext* output);

/// Writes packets as fragments: a player can open the file with any number of them, as soon as the header is there.
class FragmentMuxer {
  public:
    FragmentMuxer(const AVCodecParameters& parameters, const RecordingTags& tags);

    /// What the file begins with; to be asked for once, before everything else.
    std::vector<std::byte> header();
    void add(AVPacket& packet);
    /// A fragment with all packets since the last one; empty when there were none.
    std::vector<std::byte> cut();

  private:
    MemoryOutput _output;
    LibavOwner<AVFormatContext> _context;
};

}  // namespace zelvane
