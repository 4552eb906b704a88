#pragma once

// Helpers shared by the media tests: where the generated clips are, and turning decoded pictures
// and JPEG files into RGB images that can be compared pixel by pixel.

#include "StreamReader.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

#include <QFile>
#include <QImage>
#include <QString>

#include <cstdlib>
#include <memory>

namespace kvtest {

inline QString mediaPath(const QString& name) {
    return QString::fromUtf8(KV_TEST_MEDIA_DIR) + "/" + name;
}

inline QByteArray mediaPath8(const QString& name) {
    return mediaPath(name).toUtf8();
}

struct FrameDeleter {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct PacketDeleter {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct CodecDeleter {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
using FramePtr = std::unique_ptr<AVFrame, FrameDeleter>;
using PacketPtr = std::unique_ptr<AVPacket, PacketDeleter>;
using CodecPtr = std::unique_ptr<AVCodecContext, CodecDeleter>;

// The picture as 8-bit RGB, converted the way any viewer would (range taken from the format).
inline QImage frameToImage(const AVFrame* frame) {
    if (frame == nullptr || frame->width <= 0 || frame->height <= 0) {
        return {};
    }
    QImage image(frame->width, frame->height, QImage::Format_RGB888);
    // Full-range "J" formats are given to the scaler as their plain twins plus a range flag.
    AVPixelFormat source = static_cast<AVPixelFormat>(frame->format);
    bool fullRange = frame->color_range == AVCOL_RANGE_JPEG;
    if (source == AV_PIX_FMT_YUVJ420P || source == AV_PIX_FMT_YUVJ422P ||
        source == AV_PIX_FMT_YUVJ444P) {
        fullRange = true;
        source = source == AV_PIX_FMT_YUVJ420P   ? AV_PIX_FMT_YUV420P
                 : source == AV_PIX_FMT_YUVJ422P ? AV_PIX_FMT_YUV422P
                                                 : AV_PIX_FMT_YUV444P;
    }
    SwsContext* scaler = sws_alloc_context();
    if (scaler == nullptr) {
        return {};
    }
    av_opt_set_int(scaler, "srcw", frame->width, 0);
    av_opt_set_int(scaler, "srch", frame->height, 0);
    av_opt_set_int(scaler, "src_format", source, 0);
    av_opt_set_int(scaler, "src_range", fullRange ? 1 : 0, 0);
    av_opt_set_int(scaler, "dstw", frame->width, 0);
    av_opt_set_int(scaler, "dsth", frame->height, 0);
    av_opt_set_int(scaler, "dst_format", AV_PIX_FMT_RGB24, 0);
    av_opt_set_int(scaler, "sws_flags", SWS_BICUBIC, 0);
    if (sws_init_context(scaler, nullptr, nullptr) < 0) {
        sws_freeContext(scaler);
        return {};
    }
    uint8_t* target[4] = {image.bits(), nullptr, nullptr, nullptr};
    int stride[4] = {int(image.bytesPerLine()), 0, 0, 0};
    sws_scale(scaler, frame->data, frame->linesize, 0, frame->height, target, stride);
    sws_freeContext(scaler);
    return image;
}

// Decodes a JPEG file with FFmpeg's own decoder (no image plug-in needed).
inline QImage decodeJpeg(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    QByteArray bytes = file.readAll();
    const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_MJPEG);
    CodecPtr decoder(avcodec_alloc_context3(codec));
    if (!decoder || avcodec_open2(decoder.get(), codec, nullptr) < 0) {
        return {};
    }
    PacketPtr packet(av_packet_alloc());
    if (av_new_packet(packet.get(), bytes.size()) < 0) {
        return {};
    }
    memcpy(packet->data, bytes.constData(), size_t(bytes.size()));
    FramePtr frame(av_frame_alloc());
    if (avcodec_send_packet(decoder.get(), packet.get()) < 0) {
        return {};
    }
    avcodec_send_packet(decoder.get(), nullptr);
    if (avcodec_receive_frame(decoder.get(), frame.get()) < 0) {
        return {};
    }
    return frameToImage(frame.get());
}

// The first picture of a clip, decoded through a StreamReader the way the player does.
inline QImage firstPicture(const QByteArray& path) {
    StreamReader reader;
    QImage image;
    if (reader.startReading(path.constData(), nullptr) < 0) {
        return image;
    }
    AVCodecContext* decoder = reader.getVideoCodecContext();
    PacketPtr packet(av_packet_alloc());
    FramePtr frame(av_frame_alloc());
    bool got = false;
    while (!got && reader.readFrame(packet.get()) >= 0) {
        if (reader.isVideoPacket(packet.get()) && avcodec_send_packet(decoder, packet.get()) >= 0) {
            got = avcodec_receive_frame(decoder, frame.get()) >= 0;
        }
        av_packet_unref(packet.get());
    }
    if (!got) {
        avcodec_send_packet(decoder, nullptr);
        got = avcodec_receive_frame(decoder, frame.get()) >= 0;
    }
    if (got) {
        image = frameToImage(frame.get());
    }
    reader.stopReading();
    return image;
}

// Mean absolute difference of the RGB channels of two same-sized images; -1 when they differ in
// size.
inline double meanDifference(const QImage& a, const QImage& b) {
    if (a.size() != b.size() || a.isNull()) {
        return -1;
    }
    const QImage left = a.convertToFormat(QImage::Format_RGB888);
    const QImage right = b.convertToFormat(QImage::Format_RGB888);
    double total = 0;
    for (int y = 0; y < left.height(); ++y) {
        const uchar* l = left.constScanLine(y);
        const uchar* r = right.constScanLine(y);
        for (int x = 0; x < left.width() * 3; ++x) {
            total += std::abs(int(l[x]) - int(r[x]));
        }
    }
    return total / (double(left.width()) * left.height() * 3);
}

// True when every channel of the colour lies within tolerance of the expected one.
inline bool colourNear(QRgb actual, QRgb expected, int tolerance) {
    return std::abs(qRed(actual) - qRed(expected)) <= tolerance &&
           std::abs(qGreen(actual) - qGreen(expected)) <= tolerance &&
           std::abs(qBlue(actual) - qBlue(expected)) <= tolerance;
}

} // namespace kvtest
