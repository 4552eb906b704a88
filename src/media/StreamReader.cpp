#include "StreamReader.h"

#include "KvLogCategories.h"
#include "KvMediaUtils.h"

#include <QFileInfo>
#include <QtGlobal>

#include <cstdlib>
#include <cstring>

namespace {

// Size of the buffer FFmpeg error texts are formatted into.
constexpr int kErrorTextSize = 1024;
// Microseconds per second: av_seek_frame() on the default stream takes AV_TIME_BASE units.
constexpr double kMicrosecondsPerSecond = 1000000.0;

// Timestamp arithmetic that wraps like the two's-complement machine does instead of being
// undefined: an unset pts (AV_NOPTS_VALUE) is shifted all the same by the rebasing.
int64_t wrappingSubtract(int64_t value, int64_t offset) {
    return static_cast<int64_t>(static_cast<uint64_t>(value) - static_cast<uint64_t>(offset));
}

double streamSeconds(int64_t value, AVRational timeBase) {
    return static_cast<double>(value) * av_q2d(timeBase);
}

} // namespace

void StreamReader::CodecContextDeleter::operator()(AVCodecContext* context) const {
    avcodec_free_context(&context);
}

StreamReader::StreamReader() = default;

StreamReader::~StreamReader() {
    _closeDemuxer();
    std::free(url);
}

int StreamReader::startReading(const char* url, AVDictionary** options) {
    std::free(this->url);
    this->url = url != nullptr ? strdup(url) : nullptr;
    return startReading(url, nullptr, options);
}

int StreamReader::startReading(const char* url, const AVInputFormat* format,
                               AVDictionary** options) {
    initFFmpeg();
    // Reopening without stopReading() first must not leak the file that was open.
    _closeDemuxer();
    formatContext = avformat_alloc_context();
    const int result = _doOpenInput(url, format, options);
    if (result < 0) {
        stopReading();
    }
    return result;
}

int StreamReader::stopReading() {
    _closeDemuxer();
    std::free(url);
    url = nullptr;
    uninitFFmpeg();
    return 0;
}

void StreamReader::_closeDemuxer() {
    if (formatContext == nullptr) {
        return;
    }
    videoCodecContext.reset();
    audioCodecContext.reset();
    subtitleCodecContext.reset();
    videoStream = nullptr;
    audioStream = nullptr;
    subtitleStream = nullptr;
    // avformat_close_input() also closes the file that avformat_open_input() opened; after a
    // failed open the context is already gone.
    avformat_close_input(&formatContext);
    _firstDtsByStream.clear();
    _cursorDts = AV_NOPTS_VALUE;
}

int StreamReader::_doOpenInput(const char* url, const AVInputFormat* format,
                               AVDictionary** options) {
    duration = 0.0;
    // FFmpeg's probe does not survive a null name; no name is simply a file that is not there.
    if (url == nullptr) {
        url = "";
    }
    int result = avformat_open_input(&formatContext, url, format, options);
    if (result < 0) {
        char text[kErrorTextSize] = {0};
        av_strerror(result, text, sizeof(text));
        qCDebug(kvMedia, "avformat_open_input(%s) = %x, %s", url, result, text);
        return result;
    }
    result = avformat_find_stream_info(formatContext, options);
    if (result < 0) {
        return result;
    }
    av_dump_format(formatContext, -1, url, 0);
    _firstDtsByStream.assign(formatContext->nb_streams, AV_NOPTS_VALUE);
    for (unsigned int i = 0; i < formatContext->nb_streams; ++i) {
        _doOpenStream(formatContext->streams[i]);
    }
    duration = _getDuration();
    return result;
}

AVCodecContext* StreamReader::_makeCodecContext(const AVStream* stream) {
    const AVCodec* codec = avcodec_find_decoder(stream->codecpar->codec_id);
    AVCodecContext* context = avcodec_alloc_context3(codec);
    if (context == nullptr) {
        return nullptr;
    }
    if (avcodec_parameters_to_context(context, stream->codecpar) < 0) {
        avcodec_free_context(&context);
        return nullptr;
    }
    context->pkt_timebase = stream->time_base;
    return context;
}

int StreamReader::_doOpenStream(AVStream* stream) {
    if (stream == nullptr || stream->codecpar == nullptr) {
        return -1;
    }
    const AVMediaType type = stream->codecpar->codec_type;
    if (type == AVMEDIA_TYPE_VIDEO) {
        // The stream is chosen even when its decoder does not open: decoding then fails packet by
        // packet in the player, which is what it has always done.
        _doOpenVideoStream(stream);
        videoStream = stream;
        return 0;
    }
    if (type != AVMEDIA_TYPE_AUDIO && type != AVMEDIA_TYPE_SUBTITLE) {
        return 0;
    }
    const AVCodec* codec = avcodec_find_decoder(stream->codecpar->codec_id);
    if (codec == nullptr) {
        return -1;
    }
    CodecContextPtr context(_makeCodecContext(stream));
    if (!context || avcodec_open2(context.get(), codec, nullptr) < 0) {
        return -1;
    }
    // Every stream of a kind is visited, so the last one in file order whose decoder opens wins.
    if (type == AVMEDIA_TYPE_AUDIO) {
        audioStream = stream;
        audioCodecContext = std::move(context);
    } else {
        subtitleStream = stream;
        subtitleCodecContext = std::move(context);
    }
    return 0;
}

int StreamReader::_doOpenVideoStream(AVStream* stream) {
    // The context is kept even when the decoder fails to open, so the picture size and format
    // the container declares stay readable.
    videoCodecContext.reset(_makeCodecContext(stream));
    const AVCodec* codec = avcodec_find_decoder(stream->codecpar->codec_id);
    if (!videoCodecContext || codec == nullptr) {
        return -1;
    }
    return avcodec_open2(videoCodecContext.get(), codec, nullptr) < 0 ? -1 : 0;
}

double StreamReader::_getDuration() {
    for (AVStream* stream : {videoStream, audioStream}) {
        if (stream == nullptr) {
            continue;
        }
        // A container that gives no per-stream length (some give only the overall one) falls
        // through to the overall duration rather than yielding a nonsense negative value.
        if (stream->duration != AV_NOPTS_VALUE) {
            return streamSeconds(stream->duration, stream->time_base);
        }
        break;
    }
    if (formatContext == nullptr || formatContext->duration == AV_NOPTS_VALUE) {
        return 0.0;
    }
    return static_cast<double>(formatContext->duration) / kMicrosecondsPerSecond;
}

AVCodecContext* StreamReader::getCodecContext(const AVStream* stream) const {
    if (stream == nullptr) {
        return nullptr;
    }
    if (stream == videoStream) {
        return videoCodecContext.get();
    }
    if (stream == audioStream) {
        return audioCodecContext.get();
    }
    if (stream == subtitleStream) {
        return subtitleCodecContext.get();
    }
    return nullptr;
}

int StreamReader::readFrame(AVPacket* packet) {
    if (formatContext == nullptr || packet == nullptr) {
        return AVERROR(EINVAL);
    }
    const int result = av_read_frame(formatContext, packet);
    if (result >= 0) {
        _noteFirstDts(packet);
        if (packet->stream_index == _cursorStreamIndex()) {
            _cursorDts =
                packet->dts != AV_NOPTS_VALUE ? packet->dts + packet->duration : _cursorDts;
        }
    }
    if (adjustTime) {
        _adjustTime(packet);
    }
    return result;
}

void StreamReader::_noteFirstDts(const AVPacket* packet) {
    const int index = packet->stream_index;
    if (index < 0 || index >= static_cast<int>(_firstDtsByStream.size())) {
        return;
    }
    if (_firstDtsByStream[index] == AV_NOPTS_VALUE) {
        _firstDtsByStream[index] = packet->dts;
    }
}

int64_t StreamReader::_firstDts(AVStream* stream) {
    const int index = stream->index;
    if (index < 0 || index >= static_cast<int>(_firstDtsByStream.size())) {
        return AV_NOPTS_VALUE;
    }
    return _firstDtsByStream[index];
}

void StreamReader::_adjustTime(AVPacket* packet) {
    AVStream* stream = nullptr;
    for (AVStream* candidate : {videoStream, audioStream, subtitleStream}) {
        if (candidate != nullptr && packet->stream_index == candidate->index) {
            stream = candidate;
            break;
        }
    }
    if (stream == nullptr) {
        return;
    }
    if (packet->pts == AV_NOPTS_VALUE && packet->dts != AV_NOPTS_VALUE) {
        packet->pts = packet->dts;
    }
    if (stream->start_time == AV_NOPTS_VALUE) {
        return;
    }
    // pts is rebased by the stream's start time and dts by its first dts; streams whose first
    // frame is decoded before it is shown thus keep dts <= pts from zero on.
    packet->pts = wrappingSubtract(packet->pts, stream->start_time);
    const int64_t firstDts = _firstDts(stream);
    if (packet->dts != AV_NOPTS_VALUE && firstDts != AV_NOPTS_VALUE) {
        packet->dts = wrappingSubtract(packet->dts, firstDts);
    }
}

bool StreamReader::isVideoPacket(const AVPacket* packet) const {
    return packet != nullptr && videoStream != nullptr &&
           packet->stream_index == videoStream->index;
}

bool StreamReader::isAudioPacket(const AVPacket* packet) const {
    return packet != nullptr && audioStream != nullptr &&
           packet->stream_index == audioStream->index;
}

bool StreamReader::isSubtitlePacket(const AVPacket* packet) const {
    return packet != nullptr && subtitleStream != nullptr &&
           packet->stream_index == subtitleStream->index;
}

AVStream* StreamReader::_cursorStream() const {
    return videoStream != nullptr ? videoStream : audioStream;
}

int StreamReader::_cursorStreamIndex() const {
    const AVStream* stream = _cursorStream();
    return stream != nullptr ? stream->index : -1;
}

double StreamReader::currentTime() const {
    const AVStream* stream = _cursorStream();
    if (stream == nullptr) {
        return -1.0;
    }
    if (_cursorDts != AV_NOPTS_VALUE) {
        return streamSeconds(_cursorDts, stream->time_base);
    }
    // Nothing read yet: reading stands at the stream's beginning.
    return stream->start_time != AV_NOPTS_VALUE
               ? streamSeconds(stream->start_time, stream->time_base)
               : 0.0;
}

int StreamReader::seek(double seconds, int flags) {
    if (seconds < 0 || seconds > duration || formatContext == nullptr) {
        return -1;
    }
    const auto target = static_cast<int64_t>(seconds * kMicrosecondsPerSecond);
    const int result = av_seek_frame(formatContext, -1, target, flags);
    if (result < 0) {
        return result;
    }
    // A stream seen for the first time after this seek would otherwise take a later packet as its
    // origin; the demuxer's index knows where each stream really began.
    for (unsigned int i = 0; i < formatContext->nb_streams && i < _firstDtsByStream.size(); ++i) {
        AVStream* stream = formatContext->streams[i];
        if (_firstDtsByStream[i] == AV_NOPTS_VALUE &&
            avformat_index_get_entries_count(stream) > 0) {
            _firstDtsByStream[i] = avformat_index_get_entry(stream, 0)->timestamp;
        }
    }
    if (const AVStream* stream = _cursorStream()) {
        _cursorDts = av_rescale_q(target, AV_TIME_BASE_Q, stream->time_base);
    }
    // A video decoder that failed to open has nothing to flush.
    for (AVCodecContext* context : {videoCodecContext.get(), audioCodecContext.get()}) {
        if (context != nullptr && avcodec_is_open(context)) {
            avcodec_flush_buffers(context);
        }
    }
    return result;
}

int StreamReader::doAfterDecode(AVFrame* /*frame*/) {
    return -1;
}

int StreamReader::decode(const AVStream* stream, AVFrame* frame, int* gotPicture,
                         AVPacket* packet) {
    *gotPicture = 0;
    AVCodecContext* decoder = getCodecContext(stream);
    if (decoder == nullptr) {
        return AVERROR(EINVAL);
    }
    if (packet != nullptr) {
        const int sent = avcodec_send_packet(decoder, packet);
        if (sent < 0 && sent != AVERROR_EOF) {
            return sent;
        }
    }
    const int received = avcodec_receive_frame(decoder, frame);
    if (received < 0) {
        return received;
    }
    *gotPicture = 1;
    doAfterDecode(frame);
    return 0;
}

bool StreamReader::isCutShort() const {
    const qint64 fileSize = url != nullptr ? QFileInfo(QString::fromUtf8(url)).size() : 0;
    for (AVStream* stream : {getVideoStream(), getAudioStream()}) {
        const int entries = stream != nullptr ? avformat_index_get_entries_count(stream) : 0;
        const AVIndexEntry* last =
            entries > 0 ? avformat_index_get_entry(stream, entries - 1) : nullptr;
        if (last != nullptr && fileSize > 0 && last->pos + last->size > fileSize) {
            return true;
        }
    }
    return false;
}
