#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <memory>
#include <vector>

// Opens one media file, picks its video, audio and subtitle streams, opens a decoder for each and
// hands out packets one at a time with every stream's timestamps moved to start at zero. It starts
// no thread and takes no lock: its owner drives it from one thread at a time (the player core from
// its decode thread, the info loader from its own thread).
//
// Each chosen stream gets a decoder context of its own, owned by the reader and freed by
// stopReading(); getCodecContext() gives it to callers that decode.
class StreamReader {
public:
    StreamReader();
    StreamReader(const StreamReader&) = delete;
    StreamReader& operator=(const StreamReader&) = delete;
    // Owners call stopReading() first. Whatever is still open is released here all the same, so a
    // forgotten stopReading() leaks nothing (the init counter is left as it is).
    virtual ~StreamReader();

    // Keeps a copy of url and opens it with the input format guessed from the file.
    virtual int startReading(const char* url, AVDictionary** options);
    // 0 or more on success; a failed open has been closed again when this returns.
    virtual int startReading(const char* url, const AVInputFormat* format, AVDictionary** options);
    // Closes decoders and demuxer and balances initFFmpeg(); harmless on a closed reader.
    virtual int stopReading();
    // Refuses (-1) a target below 0 or beyond getDuration(); otherwise seeks the default stream
    // to the target in microseconds and flushes the video and audio decoders.
    virtual int seek(double seconds, int flags);

    AVStream* getVideoStream() const { return videoStream; }
    AVStream* getAudioStream() const { return audioStream; }
    AVStream* getSubtitleStream() const { return subtitleStream; }
    AVCodecContext* getVideoCodecContext() const { return videoCodecContext.get(); }
    AVCodecContext* getAudioCodecContext() const { return audioCodecContext.get(); }
    AVCodecContext* getSubtitleCodecContext() const { return subtitleCodecContext.get(); }
    // The decoder context of a chosen stream; null for any other stream.
    AVCodecContext* getCodecContext(const AVStream* stream) const;

    // av_read_frame(), then (with adjustTime set) the timestamps rebased whatever the read gave.
    int readFrame(AVPacket* packet);
    bool isVideoPacket(const AVPacket* packet) const;
    bool isAudioPacket(const AVPacket* packet) const;
    bool isSubtitlePacket(const AVPacket* packet) const;

    // Where reading stands in the video stream (the audio stream without video), in seconds of
    // the container's own clock; -1.0 when the file has neither.
    double currentTime() const;
    double getDuration() const { return duration; }

    void setAdjustTime(bool adjust) { adjustTime = adjust; }
    void setUseHwaccel(bool use) { useHwaccel = use; }

    // Called by the player after each decoded video frame. The base reader has nothing to do.
    int doAfterDecode(AVFrame* frame);
    // Decodes one packet (null: none, to drain) of the stream into frame with the stream's
    // decoder; *gotPicture tells whether a frame came out. Negative FFmpeg codes on failure.
    int decode(const AVStream* stream, AVFrame* frame, int* gotPicture, AVPacket* packet);
    // Whether the file is cut off: its index promises samples beyond its last byte (a clip the
    // camera was still writing when the power went).
    bool isCutShort() const;

protected:
    virtual int _doOpenInput(const char* url, const AVInputFormat* format, AVDictionary** options);
    virtual int _doOpenStream(AVStream* stream);
    virtual int _doOpenVideoStream(AVStream* stream);
    virtual void _adjustTime(AVPacket* packet);
    double _getDuration();

    // A decoder context for the stream, filled from its parameters, not yet opened.
    static AVCodecContext* _makeCodecContext(const AVStream* stream);

    struct CodecContextDeleter {
        void operator()(AVCodecContext* context) const;
    };
    using CodecContextPtr = std::unique_ptr<AVCodecContext, CodecContextDeleter>;

    AVFormatContext* formatContext = nullptr;
    AVStream* videoStream = nullptr;
    AVStream* audioStream = nullptr;
    AVStream* subtitleStream = nullptr;
    char* url = nullptr; // strdup'ed copy of the path being read, released with free
    double duration = 0.0;
    bool adjustTime = true;
    bool useHwaccel = false; // for derived readers; the base reader always decodes in software

    CodecContextPtr videoCodecContext;
    CodecContextPtr audioCodecContext;
    CodecContextPtr subtitleCodecContext;

private:
    void _closeDemuxer();
    int64_t _firstDts(AVStream* stream);
    void _noteFirstDts(const AVPacket* packet);
    AVStream* _cursorStream() const;
    int _cursorStreamIndex() const;

    // Per stream index: the dts of the stream's first packet, the origin that dts values are
    // rebased to. Taken from the first packet read, or from the demuxer's index when a seek
    // comes before any packet of that stream.
    std::vector<int64_t> _firstDtsByStream;
    // The next dts expected in the cursor stream (container clock), for currentTime().
    int64_t _cursorDts = AV_NOPTS_VALUE;
};
