#pragma once

#include "KvFFPlayer.h"
#include "KvSharedClock.h"

#include <QObject>

class KvVideoInfo;
class LuVideoView;

// Plays a recording of the dash camera: the front clip and, when there is one, the rear clip, in
// two player cores side by side. The front core plays the sound and reports progress and the end
// of the recording; the rear core is always muted and decodes no audio at all. The two cores
// share one presentation clock, led by the front, so the two pictures show the same instant
// after starting, pausing, resuming, seeking and stepping. GUI thread only.
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
    // Single-picture steps of both channels while paused.
    void playNextVideo();
    void playPrevVideo();
    // The volume of the front channel; the rear's stays 0.
    void setVolume(float volume);
    float getVolume() const;

    KvFFPlayer* getFrontPlayer() const { return front; }
    KvFFPlayer* getRearPlayer() const { return rear; }

protected:
    KvFFPlayer* front; // owned
    KvFFPlayer* rear;  // owned
    LuVideoView* view = nullptr;

private:
    // Shared by the two cores; outlives both (destroyed after them).
    KvSharedClock _clock;
};
