// KvFFPlayer's single-picture steps while paused: the steps of the cursor kept in frameTime
// (playNextVideo, playPrevVideo) and the steps to a neighbouring picture (stepTo). The rest of
// the class is in KvFFPlayer.cpp; the two files share its header.

#include "KvFFPlayer.h"

#include "KvAudioQueue.h"
#include "KvPlayerTiming.h"
#include "KvStepCache.h"
#include "KvYUV420P.h"
#include "MutexQueue.h"
#include "StreamReader.h"

using namespace KvPlayerTiming;

KvStepResult KvFFPlayer::stepTo(KvStepCache::Target target, double time) {
    if (isPlaying() || reader == nullptr || decodeThread == nullptr || videoQueue == nullptr) {
        return KvStepResult::None;
    }
    const bool complete = !_decoding.load(std::memory_order_acquire);
    // A refill or a seek is under way, or the decode thread has yet to fill the cache again.
    if (_seekPending() || (!complete && videoQueue->size() == 0)) {
        return KvStepResult::Waiting;
    }
    KvYUV420P* copy = nullptr;
    switch (KvStepCache::find(*videoQueue, target, time, complete, &copy)) {
    case KvStepCache::Found::Here:
        _stepRefilledFor = -1.0;
        // The position reported with the picture, and where play() resumes.
        frameTime.store(copy->time);
        _renderVideo(copy);
        _syncAudio2Video();
        return KvStepResult::Shown;
    case KvStepCache::Found::Later:
        if (complete) {
            return KvStepResult::None; // the file ends before it
        }
        if (videoQueue->size() > frameCache) {
            // The cache is full of pictures before it: half of them make room to decode on.
            KvStepCache::dropBefore(*videoQueue, time, frameCache / 2);
        }
        return KvStepResult::Waiting;
    case KvStepCache::Found::Earlier:
        if (target == KvStepCache::Target::At && _showsPictureAt(time)) {
            return KvStepResult::Shown; // a rear a picture ahead of its front at the pause
        }
        if (_stepRefilledFor == time) {
            return KvStepResult::None; // refilled from before time already: the file starts here
        }
        _refillAround(time);
        return KvStepResult::Waiting;
    }
    return KvStepResult::None;
}

bool KvFFPlayer::_showsPictureAt(double time) const {
    // Until a step or a seek moves the cache, the queue goes on with the picture after the one
    // shown, which the caller found to start after time.
    const double shown = _shownTime.load();
    return frameTime.load() < 0 && _shownSeeks.load() == _seeksDone.load() && shown >= 0 &&
           shown <= time + kTimeEpsilon;
}

void KvFFPlayer::_refillAround(double time) {
    // The cache refills from the key frame before the pictures around time; pictures too old to
    // leave room for the one at time and the one after it are dropped. Playing resumes at time
    // until a step has shown another picture.
    _seekReading(time < kStepBackFromStart ? 0.0 : time - kStepBackSeconds,
                 time - (frameCache - 1) * _frameSeconds - kTimeEpsilon, time);
    _stepRefilledFor = time;
}

void KvFFPlayer::_syncAudio2Video() {
    if (audioQueue != nullptr) {
        audioQueue->dropBefore(current());
    }
}

void KvFFPlayer::playNextVideo() {
    if (isPlaying() || !_decoding.load()) {
        return;
    }
    if (frameTime.load() >= 0) {
        _playNextFrameAtVideoQueue();
        return;
    }
    auto* picture = videoQueue != nullptr ? static_cast<KvYUV420P*>(videoQueue->pop()) : nullptr;
    if (picture != nullptr) {
        _renderVideo(picture);
    }
    _syncAudio2Video();
}

void KvFFPlayer::playPrevVideo() {
    if (isPlaying() || !_decoding.load() || videoTime.load() == 0 || videoQueue == nullptr ||
        videoQueue->size() == 0) {
        return;
    }
    if (frameTime.load() < 0) {
        const double shown = videoTime.load();
        frameTime.store(shown);
        // The cache refills from the key frame before the target; pictures too old to leave
        // room for the shown one in the cache are dropped, so that it can be stepped back to.
        _requestSeek(shown < kStepBackFromStart ? 0.0 : shown - kStepBackSeconds,
                     shown - (frameCache - 1) * _frameSeconds - kTimeEpsilon);
        return;
    }
    if (_seekPending() || videoQueue->size() < frameCache) {
        return; // the cache is still refilling after the seek
    }
    _playPrevFrameAtVideoQueue();
}

void KvFFPlayer::_playNextFrameAtVideoQueue() {
    double next = -1.0;
    KvYUV420P* copy = KvStepCache::stepForward(*videoQueue, frameTime.load(), &next);
    if (copy != nullptr) {
        frameTime.store(next);
        _renderVideo(copy);
    }
    if (copy == nullptr || next < 0) {
        // Stepping has left the cache; the next step starts over from the queue's head.
        frameTime.store(-1.0);
        _clearQueues();
    }
}

void KvFFPlayer::_playPrevFrameAtVideoQueue() {
    double previousTime = -1.0;
    KvYUV420P* copy = KvStepCache::stepBackward(*videoQueue, frameTime.load(), &previousTime);
    frameTime.store(previousTime);
    if (copy != nullptr) {
        _renderVideo(copy);
    }
    if (previousTime < 0) {
        _clearQueues();
    }
}
