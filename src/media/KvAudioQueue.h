#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

struct AVChannelLayout;
struct AVCodecContext;
struct AVPacket;
struct AVFifo;
struct AVFrame;
struct SwrContext;
class KvAudioData;
class QAudioFormat;
class MutexQueue;

// Converts decoded audio frames to the output device's sample format, cuts the converted stream
// into blocks of a fixed number of samples and keeps the blocks, stamped with their presentation
// time, in a locked FIFO. The decode thread pushes frames; the audio thread pops blocks.
class KvAudioQueue {
public:
    // A queue that converts the decoder's audio to the device's preferred format: its rate, its
    // channel count (mono, else stereo) and the sample format closest to it.
    static KvAudioQueue* forDevice(const AVCodecContext& decoder, const QAudioFormat& device);
    // The channel mask of a decoder's layout, 0 when the layout is not a mask.
    static long long layoutMask(const AVChannelLayout& layout);

    // Layouts are channel masks; a layout of 0 stands for the single front-left channel.
    KvAudioQueue(int inRate, long long inLayout, int inChannels, int inFormat, int outRate,
                 long long outLayout, int outChannels, int outFormat);
    KvAudioQueue(const KvAudioQueue&) = delete;
    KvAudioQueue& operator=(const KvAudioQueue&) = delete;
    ~KvAudioQueue();

    // (Re)allocates the convert buffers and FIFOs for blocks of `samples` samples per channel.
    void setSampleSize(int samples);
    // Converts the frame and queues every whole block it completes, all stamped with `time`.
    // Without conversion (the source is already in the output format) samples only collect in
    // the FIFOs and no block is queued: such a source stays silent, deliberately.
    void pushFrame(const AVFrame* frame, double time);
    // The oldest block or null; the caller owns it.
    KvAudioData* popAudioData();
    // Decodes one audio packet with decoder into frame and pushes every frame of it whose sound
    // has not ended before *keepFrom (seconds; base is the stream's time base). The first frame
    // pushed opens the gate: *keepFrom then keeps everything. Decode thread.
    void pushPacket(AVCodecContext* decoder, const AVPacket* packet, AVFrame* frame, double base,
                    double* keepFrom);
    // Drops the blocks before position (seconds) and the first one at or after it: the sound
    // behind a stepped picture is not played afterwards.
    void dropBefore(double position);
    int64_t size();
    // Drops the queued blocks and the samples waiting in the FIFOs.
    void clear();

    bool isResampling() const { return needResample; }
    int getSampleSize() const { return sampleSize; }
    int getBlockSize0() const { return blockSize0; }
    int getBlockSize1() const { return blockSize1; }

private:
    void _freeBuffers();
    void _appendConverted(int samples);
    void _cutBlocks(int sourceFormat, double time, std::vector<KvAudioData*>* blocks);

    // Fixed at construction.
    int inRate;
    long long inLayout;
    int inChannels;
    int inFormat;
    int outRate;
    long long outLayout;
    int outChannels;
    int outFormat;
    bool needResample = false;
    bool outPlanar = false;
    int bytesPerSample = 0;

    // The conversion state below is guarded by _convertMutex: pushFrame() runs on the decode
    // thread while clear() may come from the GUI thread (frame stepping).
    std::vector<uint8_t*> convertBuffers; // one per output plane
    int blockSize0 = 0;
    int blockSize1 = 0;
    int sampleSize = 0;
    SwrContext* resampler = nullptr; // null without conversion or when it failed to initialise
    AVFifo* fifos[2] = {nullptr, nullptr};
    std::mutex _convertMutex;

    MutexQueue* queue = nullptr; // owned; KvAudioData blocks, locked by itself
};
