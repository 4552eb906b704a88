#pragma once

#include <QString>

#include <atomic>

struct AVFrame;

// What readVideoInfo() reports about a clip. thumbPath goes in; the rest comes out.
struct _video_info {
    QString thumbPath;   // where the clip's first-picture JPEG belongs
    double duration = 0; // seconds
    double fps = 0;      // the video stream's average frame rate
    int width = 0;       // coded picture size of the video decoder
    int height = 0;
};

// Reference count of FFmpeg users. Nothing needs registering with current FFmpeg; the count is
// kept so every opener still balances its closer.
void initFFmpeg();
void uninitFFmpeg();
int ffmpegInitCount();

void AVFrameFreeFunc(void* frame);
void AVFrameFree(AVFrame* frame);

// Fills duration, frame rate and size of the clip at path and, when no file exists at
// info->thumbPath yet, writes its first picture there as a JPEG (an existing thumbnail is never
// rewritten and then nothing is decoded). stop, when given, is polled before each packet so the
// info loader can abandon a read promptly. Returns a negative FFmpeg code when the clip does not
// open or has no video stream, else 0 or more (0 when a thumbnail was written).
int readVideoInfo(const char* path, _video_info* info, const std::atomic<bool>* stop = nullptr);
// Writes the first picture at or after `seconds` (0: the first picture, without seeking) to
// thumbPath. 0 on success, -1 when the file ends (or does not open) before a picture.
int writeVideoThumb(const char* path, const QString& thumbPath, double seconds);
// Encodes the frame as a JPEG into path. The file is opened without truncation, so a longer file
// there keeps its tail after the new image; callers that care remove it first. Always returns 0:
// failures are silent.
int writeAVFrame2Jpg(const AVFrame* frame, const QString& path);
// Still images of raw planes without row padding; the caller keeps its buffers. Return 0.
int writeNV12(unsigned char* y, unsigned char* uv, int width, int height, const QString& path);
int writeYUV420P(unsigned char* y, unsigned char* u, unsigned char* v, int width, int height,
                 const QString& path);
