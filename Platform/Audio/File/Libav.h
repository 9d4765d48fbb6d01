// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/File/LibavFunctions.h"

#include <memory>
#include <new>

namespace zelvane {

/// Frees what libav made. Inner header: names of libav go no further than this folder.
struct LibavDeleter {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVCodecParameters* parameters) const { avcodec_parameters_free(&parameters); }
    void operator()(AVFormatContext* context) const { avformat_free_context(context); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(SwrContext* context) const { swr_free(&context); }
    void operator()(AVIOContext* context) const {
        av_freep(&context->buffer);
        avio_context_free(&context);
    }
};

template <typename Object>
using LibavOwner = std::unique_ptr<Object, LibavDeleter>;

/// An owner of what a function of libav has just made, which is null when there was no memory.
template <typename Object>
LibavOwner<Object> ownLibav(Object* object) {
    if (object == nullptr) throw std::bad_alloc();
    return LibavOwner<Object>(object);
}

}  // namespace zelvane
