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
// stepPicture() steps both channels one picture while paused and reports with stepFinished()
// once each channel shows its new picture. A step forward takes the next picture from the
// channel's queue at once. A step back first refills the channel's cache from the key frame
// before the shown picture on the decode thread; until the cache is full the core ignores the
// step and tells nobody when it is full, so LuPlayer repeats the step on that channel once per
// picture interval, until the picture has gone back or kStepGiveUpMs has passed.
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
    // The time of the picture the channel's view shows; -1 without a view or a picture.
    double _pictureTime(int channel) const;
    void _retryStep();
    void _finishStep();
    void _cancelStep();

    // Shared by the two cores; outlives both (destroyed after them).
    KvSharedClock _clock;
    // A step back that waits for a core's refill (GUI thread): the single-shot retry, the time
    // since the step began, and per channel (front, rear) whether it still waits and the picture
    // time it waits to leave.
    QTimer* _stepRetry;
    QElapsedTimer _stepClock;
    bool _stepWaiting[2] = {false, false};
    double _stepFrom[2] = {-1.0, -1.0};
};
