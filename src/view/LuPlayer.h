#pragma once

#include "KvFFPlayer.h"
#include "KvSharedClock.h"

#include <QElapsedTimer>
#include <QObject>

class KvVideoInfo;
class LuVideoView;
class QTimer;

// Plays a recording of the dash camera: the front clip and, when there is one, the rear clip, in
// two player cores side by side. The front core plays the sound and reports progress and the end
// of the recording; the rear core is always muted and decodes no audio at all. The two cores
// share one presentation clock, led by the front, so the two pictures show the same instant
// after starting, pausing, resuming, seeking and stepping. GUI thread only.
//
// stepPicture() steps the channels one picture while paused and reports with stepFinished()
// once each shows its new picture: the front the picture after or before the one it showed,
// the rear the picture of the instant the front then shows. A step forward is normally shown at
// once from the pictures the cores keep decoded ahead. A step back that leaves those pictures
// first has the core refill them from the key frame before, on its decode thread, which tells
// nobody when it is done; LuPlayer asks again once per picture interval, until the channels
// show their pictures or kStepGiveUpMs has passed.
class LuPlayer : public QObject {
    Q_OBJECT
public:
    explicit LuPlayer(QObject* parent = nullptr);
    // Stops and destroys the rear core, then the front core.
    ~LuPlayer() override;

    // Gives the view's front channel to the front core and its rear channel to the rear core
    // (null: the cores show nothing).
    void setVideoView(LuVideoView* view);
    LuVideoView* getVideoView() const { return view; }
    // Progress and the end of a recording are reported by the front core alone.
    void setCallback(void* context, void (*callback)(void*, int, double, double));

    // 0 when playing (also when one of two channels failed to open) or for an empty record; -1
    // when nothing could be opened.
    int startPlay(const KvVideoInfo& info);
    void stopPlay();
    void start();
    void stop();
    void play();
    void pause();
    void seek(double seconds);
    bool isOpenFile() const;
    bool isPlaying() const;
    // One single-picture step of both cores while paused, as the cores take it: a step back
    // that must first refill a core's cache does nothing on that core yet.
    void playNextVideo();
    void playPrevVideo();
    // Steps the channels of the current recording one picture forward or back while paused and
    // emits stepFinished() once both show their new picture (at once for a step forward, after
    // the refill for a step back), or after kStepGiveUpMs when a channel cannot step. false when
    // nothing is open, the player plays, or a step is still under way. Every command but pause()
    // (play, seek, stopPlay, startPlay, start, stop) ends a step that is still waiting, without
    // stepFinished(): the picture it waited for is no longer wanted.
    bool stepPicture(bool forward);
    bool isStepping() const;
    // Whether a channel of the current recording has shown a picture since it was started.
    bool hasShownPicture() const;
    // The volume of the front channel; the rear's stays 0.
    void setVolume(float volume);
    float getVolume() const;

    KvFFPlayer* getFrontPlayer() const { return front; }
    KvFFPlayer* getRearPlayer() const { return rear; }

    // A channel that has not shown its stepped-back picture by then is given up.
    static constexpr int kStepGiveUpMs = 3000;

signals:
    // A step of stepPicture() is complete: position is the front channel's picture time (-1
    // when it shows none), duration the front clip's length, both in seconds.
    void stepFinished(double position, double duration);

protected:
    KvFFPlayer* front; // owned
    KvFFPlayer* rear;  // owned
    LuVideoView* view = nullptr;

private:
    // The time of the picture the channel shows; -1 when it shows none.
    double _pictureTime(int channel) const;
    // Steps the channels that still wait, front first; true when none waits any more.
    bool _advanceStep();
    void _retryStep();
    void _finishStep();
    void _cancelStep();

    // Shared by the two cores; outlives both (destroyed after them).
    KvSharedClock _clock;
    // A step that waits for a core's refill (GUI thread): the single-shot retry, the time since
    // the step began, its direction, and per channel (front, rear) whether it still waits and the
    // time of the picture it showed when the step began (-1: none).
    QTimer* _stepRetry;
    QElapsedTimer _stepClock;
    bool _stepForward = true;
    bool _stepWaiting[2] = {false, false};
    double _stepFrom[2] = {-1.0, -1.0};
};
