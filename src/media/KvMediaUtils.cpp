#include "KvMediaUtils.h"

#include "KvFFmpegPtr.h"

#include "StreamReader.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <QFile>

#include <cstring>
#include <memory>
#include <utility>

namespace {

// Users of FFmpeg not yet balanced by uninitFFmpeg(); readers open on several threads.
std::atomic<int> ffmpegUsers{0};

// Still-image encoder settings: a high fixed quality rather than a bit-rate target.
constexpr int64_t kJpegBitRate = 32000;
constexpr AVRational kJpegTimeBase = {1, 30};
// Pixel formats the JPEG encoder takes as they are: full-range YUV. Anything else (including
// the limited-range YUV that video decoders give) is converted to full-range 4:2:0 first, so the
// picture's colours survive in a file that every viewer reads as full range.
constexpr AVPixelFormat kJpegDirectFormats[] = {AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUVJ422P,
                                                AV_PIX_FMT_YUVJ444P};
constexpr AVPixelFormat kJpegConvertedFormat = AV_PIX_FMT_YUVJ420P;
// Row alignment of the converted picture's buffer, so the scaler can use its vector paths.
constexpr int kConvertedAlign = 32;
// Seek flag of writeVideoThumb(): AVSEEK_FLAG_FRAME.
constexpr int kThumbSeekFlags = AVSEEK_FLAG_FRAME;

// A reader that is stopped and destroyed on every way out.
struct ReaderCloser {
    void operator()(StreamReader* reader) const {
        reader->stopReading();
        delete reader;
    }
};
using ReaderPtr = std::unique_ptr<StreamReader, ReaderCloser>;

bool isStopped(const std::atomic<bool>* stop) {
    return stop != nullptr && stop->load();
}

// Reads packets until the video decoder gives its first picture, which lands in frame. Packets
// of other streams are skipped; at the end of the file the decoder is drained, so a clip shorter
// than the decoder's delay still gives its picture. False when the file ends, reading fails or
// stop is raised first.
bool decodeFirstPicture(StreamReader* reader, AVFrame* frame, const std::atomic<bool>* stop) {
    AVCodecContext* decoder = reader->getVideoCodecContext();
    if (decoder == nullptr || !avcodec_is_open(decoder)) {
        return false;
    }
    PacketPtr packet(av_packet_alloc());
    if (!packet) {
        return false;
    }
    while (!isStopped(stop)) {
        const int read = reader->readFrame(packet.get());
        if (read < 0) {
            break;
        }
        if (reader->isVideoPacket(packet.get())) {
            avcodec_send_packet(decoder, packet.get());
            if (avcodec_receive_frame(decoder, frame) >= 0) {
                return true;
            }
        }
        av_packet_unref(packet.get());
    }
    if (isStopped(stop)) {
        return false;
    }
    avcodec_send_packet(decoder, nullptr);
    return avcodec_receive_frame(decoder, frame) >= 0;
}

// Sends frame (then the end of the stream) to the encoder and collects the first packet.
bool encodePicture(AVCodecContext* encoder, const AVFrame* frame, AVPacket* packet) {
    if (avcodec_send_frame(encoder, frame) < 0) {
        return false;
    }
    avcodec_send_frame(encoder, nullptr);
    return avcodec_receive_packet(encoder, packet) >= 0;
}

bool isJpegDirectFormat(int format) {
    for (AVPixelFormat direct : kJpegDirectFormats) {
        if (format == direct) {
            return true;
        }
    }
    return false;
}

// Encodes a picture in one of the encoder's own formats.
bool encodeDirect(AVCodecContext* encoder, const AVCodec* codec, const AVFrame* frame,
                  AVPacket* packet) {
    encoder->pix_fmt = static_cast<AVPixelFormat>(frame->format);
    if (avcodec_open2(encoder, codec, nullptr) < 0) {
        return false;
    }
    return encodePicture(encoder, frame, packet);
}

// The scaler wants the full-range "J" formats spelled as their plain twins plus a range flag.
AVPixelFormat plainFormat(AVPixelFormat format, bool* fullRange) {
    switch (format) {
    case AV_PIX_FMT_YUVJ420P:
        *fullRange = true;
        return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
        *fullRange = true;
        return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
        *fullRange = true;
        return AV_PIX_FMT_YUV444P;
    case AV_PIX_FMT_YUVJ440P:
        *fullRange = true;
        return AV_PIX_FMT_YUV440P;
    default:
        return format;
    }
}

// A scaler from the frame's format (and range) to full-range 4:2:0 of the same size.
SwsContext* makeJpegScaler(const AVFrame* frame) {
    bool sourceFullRange = frame->color_range == AVCOL_RANGE_JPEG;
    const AVPixelFormat source =
        plainFormat(static_cast<AVPixelFormat>(frame->format), &sourceFullRange);
    bool targetFullRange = true;
    const AVPixelFormat target = plainFormat(kJpegConvertedFormat, &targetFullRange);
    // The ranges are options of the context before it is set up: the scaler picks its conversion
    // (a plain copy between equal formats, or one that stretches limited to full range) then.
    SwsContext* scaler = sws_alloc_context();
    if (scaler == nullptr) {
        return nullptr;
    }
    const std::pair<const char*, int64_t> options[] = {
        {"srcw", frame->width},     {"srch", frame->height},
        {"src_format", source},     {"src_range", sourceFullRange ? 1 : 0},
        {"dstw", frame->width},     {"dsth", frame->height},
        {"dst_format", target},     {"dst_range", targetFullRange ? 1 : 0},
        {"sws_flags", SWS_BICUBIC},
    };
    for (const auto& [name, value] : options) {
        if (av_opt_set_int(scaler, name, value, 0) < 0) {
            sws_freeContext(scaler);
            return nullptr;
        }
    }
    if (sws_init_context(scaler, nullptr, nullptr) < 0) {
        sws_freeContext(scaler);
        return nullptr;
    }
    return scaler;
}

// Converts the picture to full-range 4:2:0 and encodes that.
bool encodeConverted(AVCodecContext* encoder, const AVCodec* codec, const AVFrame* frame,
                     AVPacket* packet) {
    encoder->pix_fmt = kJpegConvertedFormat;
    const int width = frame->width;
    const int height = frame->height;
    ScalerPtr scaler(makeJpegScaler(frame));
    FramePtr converted(av_frame_alloc());
    if (!scaler || !converted) {
        return false;
    }
    const int size = av_image_get_buffer_size(kJpegConvertedFormat, width, height, kConvertedAlign);
    if (size < 0) {
        return false;
    }
    std::unique_ptr<uint8_t, decltype(&av_free)> buffer(
        static_cast<uint8_t*>(av_malloc(static_cast<size_t>(size))), &av_free);
    if (!buffer) {
        return false;
    }
    av_image_fill_arrays(converted->data, converted->linesize, buffer.get(), kJpegConvertedFormat,
                         width, height, kConvertedAlign);
    converted->format = kJpegConvertedFormat;
    converted->width = width;
    converted->height = height;
    converted->pts = 1;
    converted->quality = encoder->global_quality;
    if (sws_scale(scaler.get(), frame->data, frame->linesize, 0, height, converted->data,
                  converted->linesize) <= 0) {
        return false;
    }
    if (avcodec_open2(encoder, codec, nullptr) < 0) {
        return false;
    }
    return encodePicture(encoder, converted.get(), packet);
}

void writePacket(const AVPacket* packet, const QString& path) {
    QFile file(path);
    // ReadWrite without Truncate: a longer file already there keeps its tail, as it always has.
    if (!file.open(QIODevice::ReadWrite)) {
        return;
    }
    file.write(reinterpret_cast<const char*>(packet->data), packet->size);
    file.close();
}

// Points a frame that owns nothing at caller-owned planes without row padding.
AVFrame* wrapPlanes(AVPixelFormat format, int width, int height, unsigned char* const* planes,
                    const int* linesizes, int planeCount) {
    AVFrame* frame = av_frame_alloc();
    if (frame == nullptr) {
        return nullptr;
    }
    frame->format = format;
    frame->width = width;
    frame->height = height;
    for (int i = 0; i < planeCount; ++i) {
        frame->data[i] = planes[i];
        frame->linesize[i] = linesizes[i];
    }
    return frame;
}

// Detaches the caller's planes before freeing the wrapper, so the caller keeps its buffers.
void releaseWrapper(AVFrame* frame) {
    if (frame == nullptr) {
        return;
    }
    std::memset(frame->data, 0, sizeof(frame->data));
    av_frame_free(&frame);
}

} // namespace

void initFFmpeg() {
    ++ffmpegUsers;
}

void uninitFFmpeg() {
    --ffmpegUsers;
}

int ffmpegInitCount() {
    return ffmpegUsers.load();
}

void AVFrameFreeFunc(void* frame) {
    AVFrameFree(static_cast<AVFrame*>(frame));
}

void AVFrameFree(AVFrame* frame) {
    if (frame != nullptr) {
        av_frame_free(&frame);
    }
}

int readVideoInfo(const char* path, _video_info* info, const std::atomic<bool>* stop) {
    ReaderPtr reader(new StreamReader());
    const int result = reader->startReading(path, nullptr);
    if (result < 0) {
        // The failed open closed the reader already; it is only destroyed.
        delete reader.release();
        return result;
    }
    info->duration = reader->getDuration();
    const AVStream* video = reader->getVideoStream();
    const AVCodecContext* decoder = reader->getVideoCodecContext();
    if (video == nullptr || decoder == nullptr) {
        // Nothing to show in the list for a file without pictures.
        info->width = 0;
        info->height = 0;
        info->fps = 0;
        return AVERROR_STREAM_NOT_FOUND;
    }
    info->width = decoder->width;
    info->height = decoder->height;
    info->fps = av_q2d(video->avg_frame_rate);
    if (QFile::exists(info->thumbPath)) {
        return result;
    }
    FramePtr frame(av_frame_alloc());
    if (frame && decodeFirstPicture(reader.get(), frame.get(), stop)) {
        writeAVFrame2Jpg(frame.get(), info->thumbPath);
        return 0;
    }
    return result;
}

int writeVideoThumb(const char* path, const QString& thumbPath, double seconds) {
    ReaderPtr reader(new StreamReader());
    reader->startReading(path, nullptr);
    if (seconds > 0) {
        reader->seek(seconds, kThumbSeekFlags);
    }
    FramePtr frame(av_frame_alloc());
    if (!frame || !decodeFirstPicture(reader.get(), frame.get(), nullptr)) {
        return -1;
    }
    writeAVFrame2Jpg(frame.get(), thumbPath);
    return 0;
}

int writeAVFrame2Jpg(const AVFrame* frame, const QString& path) {
    // Nothing to encode: no picture, no size, no pixels or a format nobody knows.
    if (frame == nullptr || frame->width <= 0 || frame->height <= 0 || frame->data[0] == nullptr ||
        av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame->format)) == nullptr) {
        return 0;
    }
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_MJPEG);
    if (codec == nullptr) {
        return 0;
    }
    CodecContextPtr encoder(avcodec_alloc_context3(codec));
    PacketPtr packet(av_packet_alloc());
    if (!encoder || !packet) {
        return 0;
    }
    encoder->width = frame->width;
    encoder->height = frame->height;
    encoder->bit_rate = kJpegBitRate;
    encoder->codec_type = AVMEDIA_TYPE_VIDEO;
    encoder->time_base = kJpegTimeBase;
    encoder->flags |= AV_CODEC_FLAG_QSCALE;
    encoder->global_quality = encoder->qmin * FF_QP2LAMBDA;
    encoder->mb_lmin = encoder->qmin * FF_QP2LAMBDA;
    encoder->mb_lmax = encoder->qmax * FF_QP2LAMBDA;

    const bool encoded = isJpegDirectFormat(frame->format)
                             ? encodeDirect(encoder.get(), codec, frame, packet.get())
                             : encodeConverted(encoder.get(), codec, frame, packet.get());
    if (encoded) {
        writePacket(packet.get(), path);
    }
    return 0;
}

int writeNV12(unsigned char* y, unsigned char* uv, int width, int height, const QString& path) {
    unsigned char* const planes[] = {y, uv};
    const int linesizes[] = {width, width};
    AVFrame* frame = wrapPlanes(AV_PIX_FMT_NV12, width, height, planes, linesizes, 2);
    writeAVFrame2Jpg(frame, path);
    releaseWrapper(frame);
    return 0;
}

int writeYUV420P(unsigned char* y, unsigned char* u, unsigned char* v, int width, int height,
                 const QString& path) {
    unsigned char* const planes[] = {y, u, v};
    const int linesizes[] = {width, width / 2, width / 2};
    AVFrame* frame = wrapPlanes(AV_PIX_FMT_YUV420P, width, height, planes, linesizes, 3);
    writeAVFrame2Jpg(frame, path);
    releaseWrapper(frame);
    return 0;
}
