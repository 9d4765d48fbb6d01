// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace zelvane {

// Every function of libav that is used in this folder, with the library that it is in.
// clang-format off
#define ZELVANE_LIBAV_FUNCTIONS(FUNCTION) \
    FUNCTION(avformat, av_find_input_format) \
    FUNCTION(avformat, av_read_frame) \
    FUNCTION(avformat, av_write_frame) \
    FUNCTION(avformat, av_write_trailer) \
    FUNCTION(avformat, avformat_alloc_context) \
    FUNCTION(avformat, avformat_alloc_output_context2) \
    FUNCTION(avformat, avformat_close_input) \
    FUNCTION(avformat, avformat_free_context) \
    FUNCTION(avformat, avformat_new_stream) \
    FUNCTION(avformat, avformat_open_input) \
    FUNCTION(avformat, avformat_write_header) \
    FUNCTION(avformat, avio_alloc_context) \
    FUNCTION(avformat, avio_context_free) \
    FUNCTION(avformat, avio_flush) \
    FUNCTION(avcodec, av_packet_alloc) \
    FUNCTION(avcodec, av_packet_free) \
    FUNCTION(avcodec, av_packet_unref) \
    FUNCTION(avcodec, avcodec_alloc_context3) \
    FUNCTION(avcodec, avcodec_find_encoder) \
    FUNCTION(avcodec, avcodec_free_context) \
    FUNCTION(avcodec, avcodec_open2) \
    FUNCTION(avcodec, avcodec_parameters_alloc) \
    FUNCTION(avcodec, avcodec_parameters_copy) \
    FUNCTION(avcodec, avcodec_parameters_free) \
    FUNCTION(avcodec, avcodec_parameters_from_context) \
    FUNCTION(avcodec, avcodec_receive_packet) \
    FUNCTION(avcodec, avcodec_send_frame) \
    FUNCTION(avutil, av_channel_layout_copy) \
    FUNCTION(avutil, av_channel_layout_default) \
    FUNCTION(avutil, av_dict_set) \
    FUNCTION(avutil, av_frame_alloc) \
    FUNCTION(avutil, av_frame_free) \
    FUNCTION(avutil, av_frame_get_buffer) \
    FUNCTION(avutil, av_frame_make_writable) \
    FUNCTION(avutil, av_free) \
    FUNCTION(avutil, av_freep) \
    FUNCTION(avutil, av_log_set_level) \
    FUNCTION(avutil, av_malloc) \
    FUNCTION(avutil, av_opt_set) \
    FUNCTION(avutil, av_strerror) \
    FUNCTION(swresample, swr_alloc_set_opts2) \
    FUNCTION(swresample, swr_convert) \
    FUNCTION(swresample, swr_free) \
    FUNCTION(swresample, swr_init)
// clang-format on

// Within this namespace they go before the functions themselves, which the program is not linked with.
// NOLINTNEXTLINE(bugprone-macro-parentheses)
#define ZELVANE_DECLARE_FUNCTION(library, name) extern decltype(&::name) name;
ZELVANE_LIBAV_FUNCTIONS(ZELVANE_DECLARE_FUNCTION)
#undef ZELVANE_DECLARE_FUNCTION

/// Makes the functions ready when a file is first wanted: with all that they bring these libraries take three times as
/// long to load as the rest of the program. Throws a RecordingError when one isn't there. Any thread but the audio
/// thread.
void loadLibav();

}  // namespace zelvane
