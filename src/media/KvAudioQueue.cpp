#include "KvAudioQueue.h"

#include "KvAudioData.h"
#include "KvAudioPlayer.h"
#include "KvLogCategories.h"
#include "KvPlayerTiming.h"
#include "KvYUVData.h"
#include "MutexQueue.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
#include <libavutil/fifo.h>
#include <libavutil/frame.h>
#include <libavutil/mem.h>
#include <libavutil/samplefmt.h>
#include <libswresample/swresample.h>
}

#include <QtGlobal>

#include <algorithm>

namespace {

// Samples per channel in one queued block: small, so that each write to the device is short
// and the audio thread, held back behind the picture, can stop within one block.
constexpr int kBlockSamples = 1024;
// A layout of 0 (unknown) is taken as the single front-left channel.
constexpr long long kDefaultLayout = AV_CH_FRONT_LEFT;
// The FIFOs hold two blocks: one being cut plus the remainder of a conversion.
constexpr int kFifoBlocks = 2;

// The channel layout libswresample is given: the mask when it names as many channels as the
// stream has, else the usual layout for that many channels.
AVChannelLayout layoutFor(long long mask, int channels) {
    AVChannelLayout layout{};
    if (av_channel_layout_from_mask(&layout, static_cast<uint64_t>(mask)) < 0 ||
        layout.nb_channels != channels) {
        av_channel_layout_uninit(&layout);
        av_channel_layout_default(&layout, std::max(channels, 1));
    }
    return layout;
}

} // namespace

KvAudioQueue::KvAudioQueue(int inRate, long long inLayout, int inChannels, int inFormat,
                           int outRate, long long outLayout, int outChannels, int outFormat)
    : inRate(inRate), inLayout(inLayout == 0 ? kDefaultLayout : inLayout), inChannels(inChannels),
      inFormat(inFormat), outRate(outRate), outLayout(outLayout == 0 ? kDefaultLayout : outLayout),
      outChannels(outChannels), outFormat(outFormat) {
    needResample = this->inRate != this->outRate || this->inChannels != this->outChannels ||
                   this->inLayout != this->outLayout || this->inFormat != this->outFormat;
    qCDebug(kvMedia, "%d, %lld, %d, %d", this->inRate, this->inLayout, this->inChannels,
            this->inFormat);
    qCDebug(kvMedia, "%d, %lld, %d, %d", this->outRate, this->outLayout, this->outChannels,
            this->outFormat);
    bytesPerSample = av_get_bytes_per_sample(static_cast<AVSampleFormat>(outFormat));
    outPlanar = av_sample_fmt_is_planar(static_cast<AVSampleFormat>(outFormat)) != 0;
    if (needResample) {
        AVChannelLayout in = layoutFor(this->inLayout, inChannels);
        AVChannelLayout out = layoutFor(this->outLayout, outChannels);
        if (swr_alloc_set_opts2(&resampler, &out, static_cast<AVSampleFormat>(outFormat), outRate,
                                &in, static_cast<AVSampleFormat>(inFormat), inRate, 0,
                                nullptr) < 0 ||
            swr_init(resampler) < 0) {
            swr_free(&resampler);
        }
        av_channel_layout_uninit(&in);
        av_channel_layout_uninit(&out);
    }
    setSampleSize(kBlockSamples);
    // The free function destroys a block with its buffers.
    queue = new MutexQueue(KvYUVDataFreeFunc);
}

KvAudioQueue::~KvAudioQueue() {
    clear();
    delete queue;
    swr_free(&resampler);
    _freeBuffers();
}

void KvAudioQueue::_freeBuffers() {
    for (uint8_t*& buffer : convertBuffers) {
        av_freep(&buffer);
    }
    convertBuffers.clear();
    for (AVFifo*& fifo : fifos) {
        av_fifo_freep2(&fifo);
    }
}

void KvAudioQueue::setSampleSize(int samples) {
    std::lock_guard<std::mutex> guard(_convertMutex);
    _freeBuffers();
    sampleSize = samples;
    blockSize0 = blockSize1 = 0;
    if (samples <= 0 || bytesPerSample <= 0 || outChannels <= 0) {
        return;
    }
    // Planar output has one buffer per channel; the blocks carry the first two planes.
    const int planes = outPlanar ? outChannels : 1;
    const int blockSize =
        outPlanar ? samples * bytesPerSample : outChannels * samples * bytesPerSample;
    blockSize0 = blockSize1 = blockSize;
    convertBuffers.assign(static_cast<size_t>(planes), nullptr);
    for (uint8_t*& buffer : convertBuffers) {
        buffer = static_cast<uint8_t*>(av_malloc(static_cast<size_t>(blockSize)));
    }
    const int fifoCount = std::min(planes, 2);
    for (int i = 0; i < fifoCount; ++i) {
        fifos[i] = av_fifo_alloc2(static_cast<size_t>(kFifoBlocks * blockSize), 1, 0);
    }
}

void KvAudioQueue::_appendConverted(int samples) {
    const int bytes = outPlanar ? samples * bytesPerSample : samples * bytesPerSample * outChannels;
    for (int i = 0; i < 2; ++i) {
        // A FIFO never needs more than its two blocks here; whatever would not fit is dropped
        // rather than overrunning it.
        if (fifos[i] != nullptr && av_fifo_can_write(fifos[i]) >= static_cast<size_t>(bytes)) {
            av_fifo_write(fifos[i], convertBuffers[static_cast<size_t>(i)],
                          static_cast<size_t>(bytes));
        }
    }
}

void KvAudioQueue::_cutBlocks(int sourceFormat, double time, std::vector<KvAudioData*>* blocks) {
    while (fifos[0] != nullptr && av_fifo_can_read(fifos[0]) >= static_cast<size_t>(blockSize0)) {
        auto* block =
            outPlanar ? new KvAudioData(blockSize0, blockSize1) : new KvAudioData(blockSize0, 0);
        av_fifo_read(fifos[0], block->data0, static_cast<size_t>(blockSize0));
        if (outPlanar && fifos[1] != nullptr &&
            av_fifo_can_read(fifos[1]) >= static_cast<size_t>(blockSize1)) {
            av_fifo_read(fifos[1], block->data1, static_cast<size_t>(blockSize1));
        }
        block->format = sourceFormat;
        block->time = time;
        blocks->push_back(block);
    }
}

void KvAudioQueue::pushFrame(const AVFrame* frame, double time) {
    if (frame == nullptr || frame->nb_samples <= 0) {
        return;
    }
    // The converter reads as many planes as it was set up for; a frame of another shape (the
    // stream changed mid-way) would make it read planes that are not there, so it is dropped.
    if (frame->format != inFormat || frame->ch_layout.nb_channels != inChannels) {
        return;
    }
    std::vector<KvAudioData*> blocks;
    {
        std::lock_guard<std::mutex> guard(_convertMutex);
        if (convertBuffers.empty()) {
            return;
        }
        if (!needResample) {
            const int bytes = outPlanar ? bytesPerSample * frame->nb_samples
                                        : bytesPerSample * frame->nb_samples * outChannels;
            for (int i = 0; i < 2; ++i) {
                if (fifos[i] != nullptr &&
                    av_fifo_can_write(fifos[i]) >= static_cast<size_t>(bytes)) {
                    av_fifo_write(fifos[i], frame->extended_data[i], static_cast<size_t>(bytes));
                }
            }
            return;
        }
        if (resampler == nullptr) {
            return;
        }
        const uint8_t** input = const_cast<const uint8_t**>(frame->extended_data);
        int inputSamples = frame->nb_samples;
        for (;;) {
            const int converted =
                swr_convert(resampler, convertBuffers.data(), sampleSize, input, inputSamples);
            if (converted <= 0) {
                break;
            }
            _appendConverted(converted);
            _cutBlocks(frame->format, time, &blocks);
            // Then drain what the converter still holds.
            input = nullptr;
            inputSamples = 0;
        }
    }
    // Queued outside the conversion lock, so the two locks are never held together.
    for (KvAudioData* block : blocks) {
        queue->push(block);
    }
}

KvAudioData* KvAudioQueue::popAudioData() {
    return queue != nullptr ? static_cast<KvAudioData*>(queue->pop()) : nullptr;
}

int64_t KvAudioQueue::size() {
    return queue != nullptr ? queue->size() : 0;
}

void KvAudioQueue::clear() {
    if (queue != nullptr) {
        queue->clear();
    }
    std::lock_guard<std::mutex> guard(_convertMutex);
    for (AVFifo* fifo : fifos) {
        if (fifo != nullptr) {
            av_fifo_reset2(fifo);
        }
    }
}

long long KvAudioQueue::layoutMask(const AVChannelLayout& layout) {
    return layout.order == AV_CHANNEL_ORDER_NATIVE ? static_cast<long long>(layout.u.mask) : 0;
}

KvAudioQueue* KvAudioQueue::forDevice(const AVCodecContext& decoder, const QAudioFormat& device) {
    const int outFormat = KvAudioPlayer::sampleFormatOf(device);
    const long long outLayout =
        device.channelCount() == 1 ? AV_CH_LAYOUT_MONO : AV_CH_LAYOUT_STEREO;
    return new KvAudioQueue(decoder.sample_rate, layoutMask(decoder.ch_layout),
                            decoder.ch_layout.nb_channels, decoder.sample_fmt, device.sampleRate(),
                            outLayout, device.channelCount(), outFormat);
}

void KvAudioQueue::dropBefore(double position) {
    while (KvAudioData* block = popAudioData()) {
        const double time = block->time;
        delete block;
        if (time >= position) {
            break;
        }
    }
}

void KvAudioQueue::pushPacket(AVCodecContext* decoder, const AVPacket* packet, AVFrame* frame,
                              double base, double* keepFrom) {
    if (avcodec_send_packet(decoder, packet) < 0) {
        return;
    }
    while (avcodec_receive_frame(decoder, frame) >= 0) {
        const double time = frame->pts * base;
        const double length =
            frame->sample_rate > 0 ? double(frame->nb_samples) / frame->sample_rate : 0.0;
        // Sound that has ended before a seek's target is not played after it.
        if (time + length > *keepFrom) {
            *keepFrom = KvPlayerTiming::kKeepAll;
            pushFrame(frame, time);
        }
        av_frame_unref(frame);
    }
}
