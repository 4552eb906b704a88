#include "KvFFPlayer.h"

#include "KvFollowPacing.h"
#include "KvLeadPacing.h"
#include "KvPictureConverter.h"
#include "KvStepCache.h"

#include "KvAudioData.h"
#include "KvAudioPlayer.h"
#include "KvAudioQueue.h"
#include "KvFFmpegPtr.h"
#include "KvLogCategories.h"
#include "KvPlayerStatus.h"
#include "KvPlayerTiming.h"
#include "KvSharedClock.h"
#include "KvVideoSink.h"
#include "KvYUV420P.h"
#include "MutexQueue.h"
#include "StreamReader.h"

extern "C" {
#include <libavutil/error.h>
#include <libavutil/time.h>
}

#include <QAudioDeviceInfo>
#include <QThread>

#include <algorithm>

using namespace KvPlayerTiming;

namespace {

// Size of the buffer for FFmpeg's error texts.
constexpr int kErrorTextSize = 1024;

} // namespace

KvFFPlayer::KvFFPlayer() = default;

KvFFPlayer::~KvFFPlayer() {
    stopPlay();
}

void KvFFPlayer::setCallback(void* context, KvPlayerCallback function) {
    std::lock_guard<std::mutex> guard(_callbackMutex);
    callbackContext = context;
    callback = function;
}

void KvFFPlayer::_callback(int code) {
    void* context;
    KvPlayerCallback function;
    {
        std::lock_guard<std::mutex> guard(_callbackMutex);
        context = callbackContext;
        function = callback;
    }
    if (function != nullptr) {
        function(context, code, current(), duration());
    }
}

int KvFFPlayer::openInput(const char* path) {
    closeInput();
    _pictureShown.store(false);
    reader = new StreamReader();
    reader->setUseHwaccel(hardwareDecode);
    return reader->startReading(path, nullptr);
}

int KvFFPlayer::closeInput() {
    // The workers use the reader and the queues: they end first.
    _stopPresentation();
    stop();
    if (reader != nullptr) {
        reader->stopReading();
        delete reader;
        reader = nullptr;
    }
    return 0;
}

bool KvFFPlayer::isOpenFile() const {
    return decodeThread != nullptr && !decodeThread->isStopped();
}

bool KvFFPlayer::isPlaying() const {
    return videoThread != nullptr && !videoThread->isStopped();
}

bool KvFFPlayer::hasVideo() const {
    return reader != nullptr && reader->getVideoStream() != nullptr;
}

bool KvFFPlayer::hasShownPicture() const {
    return reader != nullptr && _pictureShown.load();
}

void KvFFPlayer::_startAudio() {
    if (reader->getAudioStream() == nullptr || audioDisabled.load()) {
        return;
    }
    const AVCodecContext* decoder = reader->getAudioCodecContext();
    const QAudioDeviceInfo device = QAudioDeviceInfo::defaultOutputDevice();
    if (decoder == nullptr || device.isNull()) {
        return;
    }
    const QAudioFormat preferred = device.preferredFormat();
    audioQueue = KvAudioQueue::forDevice(*decoder, preferred);
    // The output itself is opened by the audio thread, which alone uses it (see _doPlayAudio).
    audioPlayer = new KvAudioPlayer();
    audioPlayer->setVolume(volume);
    audioPlayer->prepare(preferred.sampleRate(), KvAudioPlayer::sampleFormatOf(preferred),
                         preferred.channelCount());
}

void KvFFPlayer::start() {
    if (_prepareRun()) {
        _startDecoding();
    }
}

bool KvFFPlayer::_prepareRun() {
    if (reader == nullptr) {
        return false;
    }
    // Presentation and decoding of a previous run end before their queues go.
    _stopPresentation();
    stop();
    seekRequested.store(false);
    seekTime.store(0.0);
    _stepRefilledFor = -1.0;
    _shownTime.store(-1.0);
    _seeksDone.store(_seeksRequested.load());
    readError.store(0);
    audioTime.store(0.0);
    videoTime.store(0.0);
    frameTime.store(-1.0);
    frameCache = kMinFrameCache;
    _frameSeconds = kDefaultStepUs / 1e6;
    if (const AVStream* stream = reader->getVideoStream();
        stream != nullptr && stream->avg_frame_rate.num > 0 && stream->avg_frame_rate.den > 0) {
        _frameSeconds = 1.0 / av_q2d(stream->avg_frame_rate);
    }
    if (const AVCodecContext* decoder = reader->getVideoCodecContext();
        reader->getVideoStream() != nullptr) {
        frameCache = frameCacheFor(decoder != nullptr ? decoder->gop_size : 0);
        videoQueue = new MutexQueue(KvYUVDataFreeFunc);
    }
    qCDebug(kvMedia, "frameCache = %d", frameCache);
    _startAudio();
    return true;
}

void KvFFPlayer::_startDecoding() {
    _decoding.store(true);
    decodeThread = new KvDecodeThread(this);
    decodeThread->start(QThread::InheritPriority);
}

void KvFFPlayer::_requestSeek(double seconds, double keepFrom) {
    qCDebug(kvMedia, "seek %lf", seconds);
    // Counted first and the target before the flag: the decode thread reads both after it sees
    // the request.
    _seeksRequested.fetch_add(1);
    seekTime.store(seconds);
    _seekKeepFrom.store(keepFrom);
    seekRequested.store(true);
    KvSharedClock* clock = _sharedClock.load();
    if (clock != nullptr && _leadsClock.load()) {
        clock->invalidate(); // the follower waits for the picture this seek lands on
    }
}

double KvFFPlayer::_landOn(double seconds) const {
    // The picture showing at the target is the last one that starts at or before it: every
    // picture that has ended by then is dropped.
    const double frame = _frameSeconds > 0 ? _frameSeconds : kDefaultStepUs / 1e6;
    return seconds - frame + kTimeEpsilon;
}

void KvFFPlayer::setSharedClock(KvSharedClock* clock, bool leads) {
    _sharedClock.store(clock);
    _leadsClock.store(leads);
}

void KvFFPlayer::_setPresenting(bool presenting) {
    KvSharedClock* clock = _sharedClock.load();
    if (clock != nullptr && _leadsClock.load()) {
        clock->setLeaderPresenting(presenting);
    }
}

void KvFFPlayer::_anchorSharedClock(unsigned serial, int64_t wallUs, double mediaTime) {
    KvSharedClock* clock = _sharedClock.load();
    if (clock != nullptr && _leadsClock.load()) {
        clock->anchor(serial, wallUs, mediaTime);
    }
}

bool KvFFPlayer::_seekPending() const {
    // Only a running decode thread carries a seek out.
    return _seeksRequested.load() != _seeksDone.load() && _decoding.load();
}

void KvFFPlayer::play() {
    if (reader == nullptr) {
        return;
    }
    if (const double stepped = frameTime.load(); stepped >= 0) {
        // Stepping may have gone on after decoding reached the end of the file.
        _seekReading(stepped, _landOn(stepped), -1.0);
    }
    frameTime.store(-1.0);
    _stepRefilledFor = -1.0;
    KvFFPlayerThread::stopAndDelete(videoThread);
    if (KvSharedClock* clock = _sharedClock.load(); clock != nullptr && _leadsClock.load()) {
        // The follower waits until this core shows its first picture and anchors the clock.
        clock->invalidate();
        clock->setLeaderPresenting(videoQueue != nullptr);
    }
    videoThread = new KvVideoThread(this);
    videoThread->start();
    KvFFPlayerThread::stopAndDelete(audioThread);
    audioThread = nullptr;
    if (!audioDisabled.load()) {
        audioThread = new KvAudioThread(this);
        audioThread->start();
    }
    qCDebug(kvMedia, "play");
}

void KvFFPlayer::_stopPresentation() {
    // A leader that pauses still counts as presenting: its follower, paused a moment later,
    // must not run past the leader's last picture meanwhile.
    KvFFPlayerThread::stopAndDelete(videoThread);
    videoThread = nullptr;
    KvFFPlayerThread::stopAndDelete(audioThread);
    audioThread = nullptr;
}

void KvFFPlayer::pause() {
    _stopPresentation();
    qCDebug(kvMedia, "pause");
}

void KvFFPlayer::seek(double seconds) {
    // A user's seek lands on the picture at the target, not on the key frame before it: two
    // cameras with key frames in different places then land on the same instant. It replaces
    // the stepped picture as the place where playing resumes.
    _stepRefilledFor = -1.0;
    _seekReading(seconds, _landOn(seconds), -1.0);
}

void KvFFPlayer::_seekReading(double seconds, double keepFrom, double cursor) {
    // A core whose file was read to its end (a rear clip shorter than the front) has no decode
    // thread left to carry a seek out: decoding starts again, and presentation with it when it
    // was running, so the channel plays on from the new position.
    // The request is made before the new decode thread runs: it would otherwise read on from
    // the end of the file and end again before it saw the seek.
    const bool ended = reader != nullptr && decodeThread != nullptr && !_decoding.load();
    const bool presenting = ended && isPlaying();
    if (ended) {
        _prepareRun();
    }
    frameTime.store(cursor);
    _requestSeek(seconds, keepFrom);
    if (ended) {
        _startDecoding();
    }
    if (presenting) {
        play();
    }
}

int KvFFPlayer::startPlay(const char* path) {
    const int result = openInput(path);
    if (result >= 0) {
        start();
        play();
    } else {
        stopPlay();
    }
    return result;
}

void KvFFPlayer::stop() {
    // Without their queues the presentation threads cannot go on.
    _stopPresentation();
    KvFFPlayerThread::stopAndDelete(decodeThread);
    decodeThread = nullptr;
    _decoding.store(false);
    _setPresenting(false);
    // The audio thread has closed the output when it ended.
    delete audioPlayer;
    audioPlayer = nullptr;
    _destroyQueues();
}

void KvFFPlayer::stopPlay() {
    _stopPresentation();
    qCDebug(kvMedia, "pause");
    stop();
    if (reader != nullptr) {
        reader->stopReading();
        delete reader;
        reader = nullptr;
    }
}

void KvFFPlayer::_destroyQueues() {
    _clearQueues(); // the queues free what they hold
    delete videoQueue;
    videoQueue = nullptr;
    delete audioQueue;
    audioQueue = nullptr;
}

void KvFFPlayer::_clearQueues() {
    if (videoQueue != nullptr) {
        videoQueue->clear();
    }
    if (audioQueue != nullptr) {
        audioQueue->clear();
    }
}

int KvFFPlayer::getVideoInterval() const {
    const AVStream* stream = reader != nullptr ? reader->getVideoStream() : nullptr;
    if (stream == nullptr) {
        return -1;
    }
    const AVRational rate = stream->avg_frame_rate;
    if (rate.num == 0 || rate.den == 0) {
        return kDefaultIntervalMs;
    }
    return static_cast<int>(1000 / av_q2d(rate));
}

double KvFFPlayer::current() const {
    const double stepping = frameTime.load();
    return stepping >= 0 ? stepping : videoTime.load();
}

double KvFFPlayer::duration() const {
    return reader != nullptr ? reader->getDuration() : 0.0;
}

void KvFFPlayer::setVolume(float value) {
    volume = value;
    if (audioPlayer != nullptr) {
        audioPlayer->setVolume(value);
    }
}

int KvFFPlayer::decodeVideo(const AVStream* stream, AVFrame* frame, int* gotPicture,
                            AVPacket* packet) {
    *gotPicture = 0;
    return reader != nullptr ? reader->decode(stream, frame, gotPicture, packet) : AVERROR(EINVAL);
}

KvYUV420P* KvFFPlayer::_makePicture(const AVFrame* frame) {
    return _converter.convert(frame);
}

void KvFFPlayer::_doDecode() {
    PacketPtr packet(av_packet_alloc());
    FramePtr frame(av_frame_alloc());
    const AVStream* videoStream = reader->getVideoStream();
    const AVStream* audioStream = reader->getAudioStream();
    const double videoBase = videoStream != nullptr ? av_q2d(videoStream->time_base) : 0.0;
    const double audioBase = audioStream != nullptr ? av_q2d(audioStream->time_base) : 0.0;
    AVCodecContext* audioDecoder = reader->getAudioCodecContext();
    // After a seek: what comes before these times is decoded only to reach the target.
    double keepFrom[2] = {kKeepAll, kKeepAll}; // pictures, audio
    int result = 0;
    while (!kvWorkerStopped()) {
        if (seekRequested.exchange(false)) {
            _seekNow(keepFrom);
        }
        if (videoQueue != nullptr && videoQueue->size() > frameCache) {
            kvSleepPoll();
            continue;
        }
        result = reader->readFrame(packet.get());
        if (result < 0) {
            break;
        }
        if (reader->isVideoPacket(packet.get())) {
            int gotPicture = 0;
            decodeVideo(videoStream, frame.get(), &gotPicture, packet.get());
            if (gotPicture != 0) {
                const int64_t pts =
                    frame->pts != AV_NOPTS_VALUE ? frame->pts : frame->best_effort_timestamp;
                _pushPicture(frame.get(), pts * videoBase, &keepFrom[0]);
                av_frame_unref(frame.get());
            }
        } else if (reader->isAudioPacket(packet.get()) && !audioDisabled.load() &&
                   audioQueue != nullptr && audioDecoder != nullptr) {
            audioQueue->pushPacket(audioDecoder, packet.get(), frame.get(), audioBase,
                                   &keepFrom[1]);
        }
        av_packet_unref(packet.get());
    }
    if (result == AVERROR_EOF && reader->isCutShort()) {
        // The file is cut off: its index promises samples beyond its last byte.
        result = AVERROR_INVALIDDATA;
    }
    if (result < 0) {
        readError.store(result);
        if (result != AVERROR_EOF) {
            char text[kErrorTextSize] = {0};
            av_strerror(result, text, sizeof(text));
            qCDebug(kvMedia, "read frame = %x, %s", result, text);
        }
    }
    _decoding.store(false, std::memory_order_release);
}

void KvFFPlayer::_seekNow(double* keepFrom) {
    const unsigned serial = _seeksRequested.load();
    const double keep = _seekKeepFrom.load();
    if (_doSeek(seekTime.load(), kSeekFlags) >= 0) {
        keepFrom[0] = keep;
        keepFrom[1] = keep;
    }
    frameCount.store(0);
    _seeksDone.store(serial);
}

bool KvFFPlayer::_pushPicture(const AVFrame* frame, double time, double* keepFrom) {
    if (time < *keepFrom) {
        return false; // before the seek's target: decoded only to reach it
    }
    *keepFrom = kKeepAll;
    KvYUV420P* picture = _makePicture(frame);
    if (picture == nullptr) {
        return false;
    }
    picture->time = time;
    if (videoQueue != nullptr) {
        videoQueue->push(picture);
    } else {
        KvYUVDataFree(picture);
    }
    return true;
}

void KvFFPlayer::_renderVideo(KvYUV420P* picture) {
    const double time = picture->time;
    videoTime.store(time);
    _pictureShown.store(true);
    _shownSeeks.store(_seeksDone.load());
    _shownTime.store(time);
    if (KvVideoSink* view = videoView.load()) {
        view->updateYUV420Async(picture); // may wait while the view paints its last picture
    } else {
        KvYUVDataFree(picture);
    }
    // Only now is the picture on its way to the screen: a follower must not count on it before.
    if (KvSharedClock* clock = _sharedClock.load(); clock != nullptr && _leadsClock.load()) {
        clock->shown(time);
    }
    _callback(KvPlayerStatus::PictureShown);
}

KvYUV420P* KvFFPlayer::_nextPicture(KvYUV420P* held, unsigned* heldSeeks, bool* ranDry,
                                    bool* afterSeek) {
    *ranDry = false;
    *afterSeek = false;
    if (held != nullptr && (_seekPending() || *heldSeeks != _seeksDone.load())) {
        KvYUVDataFree(held); // taken before a seek
        held = nullptr;
    }
    if (held != nullptr || _seekPending()) {
        return held;
    }
    held = videoQueue != nullptr ? static_cast<KvYUV420P*>(videoQueue->pop()) : nullptr;
    if (held == nullptr) {
        *ranDry = !_decoding.load(std::memory_order_acquire);
    } else if (*heldSeeks != _seeksDone.load()) {
        *heldSeeks = _seeksDone.load();
        *afterSeek = true;
    }
    return held;
}

void KvFFPlayer::_returnPicture(KvYUV420P* held, unsigned heldSeeks) {
    // The GUI thread is joining this thread, so no seek can be requested meanwhile: a picture
    // that is still current goes back to the head of the queue, where play() or a step finds it.
    if (held != nullptr && !_seekPending() && heldSeeks == _seeksDone.load()) {
        videoQueue->pushFront(held);
    } else {
        KvYUVDataFree(held);
    }
}

void KvFFPlayer::_doPlayVideo() {
    if (_sharedClock.load() != nullptr && !_leadsClock.load()) {
        _doFollowVideo();
        return;
    }
    const AVStream* stream = reader->getVideoStream();
    long long step = interval.load();
    if (step <= 0) {
        const AVRational rate = stream != nullptr ? stream->avg_frame_rate : AVRational{0, 0};
        step = rate.num == 0 || rate.den == 0 ? kDefaultStepUs
                                              : static_cast<long long>(1000000 / av_q2d(rate));
    }
    qCDebug(kvMedia, "interval %lld", step);
    frameCount.store(0);
    KvYUV420P* held = nullptr; // taken from the queue, shown when it is due
    unsigned heldSeeks = _seeksDone.load();
    KvLeadPacing pacing(step);
    bool ranDry = false;
    bool afterSeek = false;
    while (!kvWorkerStopped() && !ranDry) {
        // Read before the picture is taken: an anchor on a picture from before a newer play or
        // seek is refused.
        const unsigned clockSerial =
            _sharedClock.load() != nullptr ? _sharedClock.load()->serial() : 0;
        held = _nextPicture(held, &heldSeeks, &ranDry, &afterSeek);
        if (held == nullptr) {
            if (!ranDry) {
                kvSleepPoll();
            }
            continue;
        }
        const int64_t now = av_gettime();
        const int count = frameCount.load();
        if (count == 0) {
            pacing.anchor(held->time, now);
            _anchorSharedClock(clockSerial, now, held->time);
        }
        const int64_t due = pacing.due(held->time, count);
        if (now < due) {
            // Sleeping to the due time in one go, rather than in 1 ms steps, saves two player
            // cores some 30 wake-ups per picture; the cap keeps a stop request prompt.
            QThread::usleep(static_cast<unsigned long>(std::min(due - now, kMaxPacingSleepUs)));
            continue;
        }
        _renderVideo(held);
        held = nullptr;
        // A seek in the meantime has reset the count; it stays 0, so the next picture (the
        // first after the seek) anchors the clock again.
        int expected = count;
        frameCount.compare_exchange_strong(expected, count + 1);
    }
    _returnPicture(held, heldSeeks);
    if (ranDry) {
        _setPresenting(false); // the follower plays on alone
        _callback(readError.load() == AVERROR_EOF ? KvPlayerStatus::EndOfFile
                                                  : KvPlayerStatus::RanDry);
    }
}

void KvFFPlayer::_doFollowVideo() {
    const KvSharedClock* clock = _sharedClock.load();
    qCDebug(kvMedia, "interval %lld", static_cast<long long>(_frameSeconds * 1000000));
    KvYUV420P* held = nullptr; // taken from the queue, shown when it is due
    unsigned heldSeeks = _seeksDone.load();
    KvFollowPacing pacing;
    pacing.restart(av_gettime());
    bool ranDry = false;
    bool afterSeek = false;
    while (!kvWorkerStopped() && !ranDry) {
        held = _nextPicture(held, &heldSeeks, &ranDry, &afterSeek);
        if (held == nullptr) {
            if (!ranDry) {
                kvSleepPoll();
            }
            continue;
        }
        const int64_t now = av_gettime();
        if (afterSeek) {
            pacing.restart(now);
        }
        int64_t wakeAt = now;
        switch (
            pacing.next(*clock, held->time, _frameSeconds, now, videoQueue->size() > 0, &wakeAt)) {
        case KvFollowStep::Wait:
            QThread::usleep(static_cast<unsigned long>(std::min(wakeAt - now, kMaxPacingSleepUs)));
            continue;
        case KvFollowStep::Skip:
            KvYUVDataFree(held);
            held = nullptr;
            continue;
        case KvFollowStep::Show:
            break;
        }
        _renderVideo(held);
        held = nullptr;
        int count = frameCount.load();
        frameCount.compare_exchange_strong(count, count + 1);
    }
    _returnPicture(held, heldSeeks);
    if (ranDry) {
        _callback(readError.load() == AVERROR_EOF ? KvPlayerStatus::EndOfFile
                                                  : KvPlayerStatus::RanDry);
    }
}

void KvFFPlayer::_doPlayAudio() {
    if (reader->getAudioStream() == nullptr || audioDisabled.load() || audioQueue == nullptr ||
        audioPlayer == nullptr) {
        return;
    }
    // The output lives on this thread, from here to the end of the run (a pause or a stop).
    audioPlayer->open();
    while (!kvWorkerStopped()) {
        // Audio never runs ahead of the picture.
        if (audioTime.load() > videoTime.load() || _seekPending()) {
            kvSleepPoll();
            continue;
        }
        KvAudioData* block = audioQueue->popAudioData();
        if (block == nullptr) {
            if (!_decoding.load(std::memory_order_acquire)) {
                break;
            }
            kvSleepPoll();
            continue;
        }
        audioTime.store(block->time);
        if (block->size0 > 0) {
            audioPlayer->write(block->data0, block->size0);
        }
        if (block->size1 > 0) {
            audioPlayer->write(block->data1, block->size1);
        }
        delete block;
    }
    audioPlayer->close();
}

int KvFFPlayer::_doSeek(double seconds, int flags) {
    if (reader == nullptr) {
        return -1;
    }
    const int result = reader->seek(seconds, flags);
    qCDebug(kvMedia, "_videoTime = %lf, _frameTime = %lf, _doSeek %lf = %d", videoTime.load(),
            frameTime.load(), seconds, result);
    if (result < 0) {
        return result;
    }
    _clearQueues();
    videoTime.store(seconds);
    audioTime.store(seconds);
    return result;
}
