// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/File/Remuxer.h"

#include "Platform/Audio/File/RecordingError.h"

#include <algorithm>
#include <cerrno>
#include <limits>

namespace zelvane {

namespace {

/// Reads the packets of a file.
class PacketReader {
  public:
    explicit PacketReader(int descriptor)
        : _io(descriptor, DescriptorIO::Direction::read), _context(avformat_alloc_context()) {
        if (_context == nullptr) throw std::bad_alloc();
        _context->pb = _io.context();
        // It frees the context when it fails.
        checkLibav(avformat_open_input(&_context, "", av_find_input_format("mov"), nullptr), "could not read it again");
    }
    ~PacketReader() { avformat_close_input(&_context); }
    PacketReader(const PacketReader&) = delete;
    PacketReader& operator=(const PacketReader&) = delete;

    /// False at the end.
    bool next(AVPacket& packet) {
        const int result = av_read_frame(_context, &packet);
        if (result == AVERROR_EOF) return false;
        checkLibav(result, "could not read it again");
        return true;
    }

  private:
    DescriptorIO _io;
    AVFormatContext* _context;
};

/// The index has a size for each packet and a place for each few; it is written last into room that is kept for it.
std::string roomForIndex(const RecordingTags& tags, const StreamLength& length) {
    constexpr std::uint64_t kBytesForPacket = 8;
    constexpr std::uint64_t kBytesForAll = 16384;
    const std::uint64_t room = kBytesForAll + 2 * tags.title.size() + kBytesForPacket * length.packets;
    return std::to_string(std::min<std::uint64_t>(room, std::numeric_limits<int>::max()));
}

/// Fragments don't tell each packet's length: all but the last are as long as packets get.
StreamLength copyPackets(PacketReader& reader, AVFormatContext& muxer, const StreamLength& expected) {
    const auto longest = static_cast<std::uint64_t>(muxer.streams[0]->codecpar->frame_size);
    const LibavOwner<AVPacket> packet = ownLibav(av_packet_alloc());
    StreamLength copied;
    while (reader.next(*packet) && packet->pts == static_cast<std::int64_t>(copied.frames)) {
        const std::uint64_t frames = std::min(longest, expected.frames - copied.frames);
        packet->duration = static_cast<std::int64_t>(frames);
        packet->pos = -1;
        copied.frames += frames;
        ++copied.packets;
        checkLibav(av_write_frame(&muxer, packet.get()), "could not write it anew");
        av_packet_unref(packet.get());
    }
    return copied;
}

}  // namespace

void remux(int fragmented, int ordinary, const AVCodecParameters& parameters, const RecordingTags& tags,
           const StreamLength& expected) {
    PacketReader reader(fragmented);
    const DescriptorIO output(ordinary, DescriptorIO::Direction::write);
    const LibavOwner<AVFormatContext> muxer = makeM4AMuxer(parameters, tags, output.context());
    checkLibav(av_opt_set(muxer->priv_data, "moov_size", roomForIndex(tags, expected).c_str(), 0),
               "could not set up the file format");
    checkLibav(avformat_write_header(muxer.get(), nullptr), "could not write it anew");
    if (copyPackets(reader, *muxer, expected) != expected) throw RecordingError(EIO, "could not read all of it again");
    checkLibav(av_write_trailer(muxer.get()), "could not write it anew");
    avio_flush(output.context());
    checkLibav(output.context()->error, "could not write it anew");
}

}  // namespace zelvane
