// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/File/FragmentFile.h"
#include "Platform/Audio/File/LosslessEncoder.h"
#include "Platform/Audio/File/Remuxer.h"

#include <vector>

namespace zelvane {

/// An M4A file with Apple Lossless that grows by fragments of half a second, and becomes an ordinary one at its end. It
/// takes a name that is free at once, and one that is not when its first fragment is on the disk: an earlier recording
/// is never given for nothing. Used by one thread at a time. Errors are thrown as `RecordingError`; after one, only
/// `frames` may be asked for.
class LosslessFile {
  public:
    LosslessFile(const std::filesystem::path& target, const LosslessFormat& format, std::function<void()> beforeWrite);

    /// One buffer a channel.
    void write(const float* const* channels, std::uint32_t frames);
    /// Brings the rest into the file and makes it an ordinary one; a file without sound goes away. False when somebody
    /// else has its name by now: it stays in fragments then.
    bool finish();

    /// Frames in whole fragments.
    std::uint64_t frames() const { return _committed.frames; }

  private:
    void add(AVPacket& packet);
    void commit();
    bool makeOrdinary();

    const std::filesystem::path _target;
    const RecordingTags _tags;
    LosslessEncoder _encoder;
    FragmentMuxer _muxer;
    FragmentFile _file;
    StreamLength _committed;
    StreamLength _pending;  // in the muxer
    const std::uint64_t _fragmentFrames;
};

}  // namespace zelvane
