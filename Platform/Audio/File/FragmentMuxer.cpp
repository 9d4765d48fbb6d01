// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/File/FragmentMuxer.h"

#include "Platform/Audio/File/RecordingError.h"

namespace zelvane {

namespace {

void setOption(AVFormatContext& context, const char* name, const char* value) {
    checkLibav(av_opt_set(context.priv_data, name, value, 0), "could not set up the file format");
}

}  // namespace

LibavOwner<AVFormatContext> makeM4AMuxer(const AVCodecParameters& parameters, const RecordingTags& tags,
                                         AVIOContext* output) {
    AVFormatContext* made = nullptr;
    checkLibav(avformat_alloc_output_context2(&made, nullptr, "ipod", nullptr), "could not set up the file format");
    LibavOwner<AVFormatContext> context = ownLibav(made);
    context->pb = output;
    context->flags |= AVFMT_FLAG_CUSTOM_IO;
    av_dict_set(&context->metadata, "title", tags.title.c_str(), 0);
    av_dict_set(&context->metadata, "date", tags.date.c_str(), 0);
    av_dict_set(&context->metadata, "creation_time", tags.date.c_str(), 0);
    AVStream* stream = avformat_new_stream(made, nullptr);
    if (stream == nullptr) throw std::bad_alloc();
    checkLibav(avcodec_parameters_copy(stream->codecpar, &parameters), "could not set up the file format");
    stream->codecpar->codec_tag = 0;
    stream->time_base = {1, parameters.sample_rate};
    // Everything begins at 0, and milliseconds would not hold the duration to the frame.
    setOption(*made, "use_editlist", "0");
    setOption(*made, "movie_timescale", std::to_string(parameters.sample_rate).c_str());
    return context;
}

FragmentMuxer::FragmentMuxer(const AVCodecParameters& parameters, const RecordingTags& tags)
    : _context(makeM4AMuxer(parameters, tags, _output.context())) {
    setOption(*_context, "movflags", "frag_custom+empty_moov+default_base_moof+skip_trailer");
}

std::vector<std::byte> FragmentMuxer::header() {
    checkLibav(avformat_write_header(_context.get(), nullptr), "could not write the header");
    return _output.take();
}

void FragmentMuxer::add(AVPacket& packet) {
    packet.stream_index = 0;
    checkLibav(av_write_frame(_context.get(), &packet), "could not write a packet");
}

std::vector<std::byte> FragmentMuxer::cut() {
    checkLibav(av_write_frame(_context.get(), nullptr), "could not write a fragment");
    return _output.take();
}

}  // namespace zelvane
