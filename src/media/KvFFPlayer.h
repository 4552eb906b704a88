#pragma once

#include "KvFFPlayerThread.h"
#include "KvPictureConverter.h"
#include "KvStepCache.h"

#include <QByteArray>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <atomic>
#include <cstdint>
#include <mutex>

class KvAudioPlayer;
class KvAudioQueue;
class KvFFPlayer;
class KvSharedClock;
class KvVideoSink;
class KvYUV420P;
class MutexQueue;
class StreamReader;

// Status callback of the player core: (context, code, position, duration), times in seconds.
// The codes are KvPlayerStatus's: 3 a picture was shown; 1 the pictures ran out after the end of
// the file; 2 they ran out for another reason (a read error, or decoding stopped). Called on the
// video thread (on the GUI thread for single-frame steps); the owner forwards it to its own
// thread.
using KvPlayerCallback = void (*)(void* context, int code, double time, double duration);

// How a step to a neighbouring picture went: shown; waiting for the decode thread (ask again
// a little later); or there is no such picture (the file starts or ends there, or holds none).
enum class KvStepResult { Shown, Waiting, None };

// Plays one media file: a decode thread demultiplexes and decodes into a picture queue (kept at
// most frameCache pictures ahead) and an audio queue; a video thread paces the pictures by their
// timestamps against the wall clock and hands each to the view; an audio thread writes audio
// blocks to the device while audio time is not ahead of video time. Seeks are requests the
// decode thread carries out. While paused, single pictures can be stepped forwards and, inside
// the cache of decoded pictures, backwards.
//
// Every public operation runs on the GUI thread, which only sets flags and starts and joins the
// workers. Fields that workers share are atomics; the two queues have their own locks.
class KvFFPlayer {
public:
    KvFFPlayer();
    KvFFPlayer(const KvFFPlayer&) = delete;
    KvFFPlayer& operator=(const KvFFPlayer&) = delete;
    // Stops everything and closes the file.
    virtual ~KvFFPlayer();

    void setHardwareDecode(bool hardware) { hardwareDecode = hardware; }
    void setCallback(void* context, KvPlayerCallback callback);

    int openInput(const char* path);
    int closeInput();
    bool isOpenFile() const;
    void start();
    void play();
    void pause();
    void seek(double seconds);
    bool isPlaying() const;
    int startPlay(const char* path);
    void stop();
    void stopPlay();

    int getVideoInterval() const;
    double current() const;
    double duration() const;
    void setInterval(long long microseconds) { interval.store(microseconds); }

    void playNextVideo();
    void playPrevVideo();
    // While paused, shows the picture target selects relative to time (seconds): the one after
    // it, before it or showing at it, whatever earlier steps did. It comes from the pictures
    // decoded ahead; when they do not reach back that far, the cache is first refilled from the
    // key frame before time and Waiting returned. Afterwards play() resumes at the picture shown.
    KvStepResult stepTo(KvStepCache::Target target, double time);
    // Whether the open file has a video stream, and whether a picture of it has been shown since
    // it was opened.
    bool hasVideo() const;
    bool hasShownPicture() const;

    void setVideoView(KvVideoSink* view) { videoView.store(view); }
    KvVideoSink* getVideoView() const { return videoView.load(); }
    void disableAudio(bool disabled) { audioDisabled.store(disabled); }
    void setVolume(float volume);
    float getVolume() const { return volume; }
    // Shares a presentation clock with another core (not owned; null: pace alone). The leading
    // core anchors it; a following core shows each picture when the leader's clock says it is
    // due, and skips pictures while it is behind. Set before start()/play().
    void setSharedClock(KvSharedClock* clock, bool leads);

    // Decodes one packet (null: none) of the stream into frame; *gotPicture tells whether a
    // picture came out. Negative FFmpeg codes on failure.
    int decodeVideo(const AVStream* stream, AVFrame* frame, int* gotPicture, AVPacket* packet);

protected:
    friend class KvDecodeThread;
    friend class KvVideoThread;
    friend class KvAudioThread;

    virtual void _doDecode();
    virtual void _doPlayVideo();
    virtual void _doPlayAudio();
    virtual int _doSeek(double seconds, int flags);
    // The video thread of a core that follows a shared clock.
    void _doFollowVideo();
    // The picture to present next: the one held, unless a seek has made it stale, else the next
    // from the queue (*afterSeek: the first since a seek). Null while there is none; *ranDry when
    // decoding has ended and the queue is empty.
    KvYUV420P* _nextPicture(KvYUV420P* held, unsigned* heldSeeks, bool* ranDry, bool* afterSeek);
    // At the end of a video thread: the picture it took but did not show.
    void _returnPicture(KvYUV420P* held, unsigned heldSeeks);

    void _renderVideo(KvYUV420P* picture);
    void _syncAudio2Video();
    void _playNextFrameAtVideoQueue();
    void _playPrevFrameAtVideoQueue();
    void _callback(int code);
    void _clearQueues();
    void _destroyQueues();
    void _stopPresentation();
    // A seek to seconds; the decode thread then drops pictures (and audio) older than keepFrom.
    void _requestSeek(double seconds, double keepFrom);
    // keepFrom of a seek that lands on the picture showing at seconds.
    double _landOn(double seconds) const;
    void _seekNow(double* keepFrom);
    bool _pushPicture(const AVFrame* frame, double time, double* keepFrom);
    void _anchorSharedClock(unsigned serial, int64_t wallUs, double mediaTime);
    void _setPresenting(bool presenting);
    bool _seekPending() const;
    KvYUV420P* _makePicture(const AVFrame* frame);
    void _startAudio();
    // Everything start() does but starting the decode thread: the threads of a previous run
    // end, the clocks reset, the queues and the audio output are made. False without a file.
    bool _prepareRun();
    void _startDecoding();
    // A seek that starts decoding again when it had reached the end of the file; cursor becomes
    // the stepping cursor (frameTime).
    void _seekReading(double seconds, double keepFrom, double cursor);
    // Refills the step cache with the pictures around time.
    void _refillAround(double time);
    // Whether the picture shown is the one showing at time, the pictures after it still queued.
    bool _showsPictureAt(double time) const;

    // Created and destroyed by the GUI thread while no worker runs; used by the decode thread.
    StreamReader* reader = nullptr;
    bool hardwareDecode = false;
    // GUI thread only: the workers of the current run (null when not running).
    KvDecodeThread* decodeThread = nullptr;
    KvVideoThread* videoThread = nullptr;
    KvAudioThread* audioThread = nullptr;
    std::atomic<double> videoTime{0.0}; // written by the video thread, the decode thread on a
                                        // seek and the GUI thread when stepping
    std::atomic<double> audioTime{0.0}; // written by the audio thread and on a seek
    std::atomic<double> frameTime{0.0}; // stepping cursor; -1 when not stepping
    int frameCache = 0;                 // set by start() before the decode thread runs
    std::atomic<int> frameCount{0};     // pictures since the video clock was anchored; a seek
                                        // resets it so that the video thread re-anchors
    std::atomic<bool> seekRequested{false};
    std::atomic<double> seekTime{0.0};
    // Pictures and audio of the pending seek older than this are decoded and dropped, so that a
    // seek lands on its target picture rather than on the key frame before it (written before
    // seekRequested, read by the decode thread after it).
    std::atomic<double> _seekKeepFrom{0.0};
    // Seconds per picture from the stream's frame rate; set by start() before the workers run.
    double _frameSeconds = 0.0;
    // Seek requests made (GUI thread) and carried out (decode thread). While they differ the
    // queues still hold pictures from before the target, so presentation and stepping wait.
    std::atomic<unsigned> _seeksRequested{0};
    std::atomic<unsigned> _seeksDone{0};
    // The time a step refilled the cache around, so that it is done once; -1 when none. GUI
    // thread only.
    double _stepRefilledFor = -1.0;
    // Whether a picture of the open file has been handed over (video thread, or GUI thread
    // while stepping); cleared when a file is opened.
    std::atomic<bool> _pictureShown{false};
    // The time of the picture last handed over and the seeks carried out by then (written with
    // it); -1 when none of this run.
    std::atomic<double> _shownTime{-1.0};
    std::atomic<unsigned> _shownSeeks{0};
    std::atomic<int> readError{0};       // last negative read result, for the end code
    std::atomic<long long> interval{-1}; // microseconds per picture; <= 0: from the frame rate
    // Created by start() before the workers run, destroyed after they were joined; each has its
    // own lock.
    MutexQueue* videoQueue = nullptr;
    KvAudioQueue* audioQueue = nullptr;
    std::atomic<KvVideoSink*> videoView{nullptr};
    // Frames to pictures; decode thread only.
    KvPictureConverter _converter;
    // GUI thread creates and deletes it; the audio thread opens, writes and closes its output.
    KvAudioPlayer* audioPlayer = nullptr;
    std::atomic<bool> audioDisabled{false};
    float volume = 1.0f; // GUI thread
    // True from start() until the decode loop has ended: the presentation threads end when their
    // queue is empty and this is false.
    std::atomic<bool> _decoding{false};
    // The clock shared with the other core of a recording, and whether this core leads it. The
    // GUI thread sets both while no worker runs.
    std::atomic<KvSharedClock*> _sharedClock{nullptr};
    std::atomic<bool> _leadsClock{false};

private:
    std::mutex _callbackMutex; // guards the two fields below, set by the GUI thread
    void* callbackContext = nullptr;
    KvPlayerCallback callback = nullptr;
};
