#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
#include <libswscale/swscale.h>
}

#include <memory>

// Owners of FFmpeg objects that free them on every way out of a scope.
struct KvFrameDeleter {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct KvPacketDeleter {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct KvCodecContextDeleter {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct KvScalerDeleter {
    void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};
using FramePtr = std::unique_ptr<AVFrame, KvFrameDeleter>;
using PacketPtr = std::unique_ptr<AVPacket, KvPacketDeleter>;
using CodecContextPtr = std::unique_ptr<AVCodecContext, KvCodecContextDeleter>;
using ScalerPtr = std::unique_ptr<SwsContext, KvScalerDeleter>;
