#pragma once

// Helpers shared by the player-core tests: a picture sink that records what reaches it and when,
// a recorder of status callbacks, a player that lets the tests look at its clocks, queues and
// threads, and PlayerRig, which wires the three together and waits on them.

#include "KvAudioData.h"
#include "KvAudioPlayer.h"
#include "KvAudioQueue.h"
#include "KvFFPlayer.h"
#include "KvPlayerStatus.h"
#include "KvVideoSink.h"
#include "KvYUV420P.h"
#include "MutexQueue.h"
#include "StreamReader.h"

#include <QAudioOutput>
#include <QElapsedTimer>
#include <QString>
#include <QTest>
#include <QThread>

#include <mutex>
#include <vector>

namespace kvtest {

inline QByteArray playbackClip(const char* name) {
    return (QString::fromUtf8(KV_PLAYBACK_MEDIA_DIR) + "/" + name).toUtf8();
}

inline QByteArray mediaClip(const QString& name) {
    return (QString::fromUtf8(KV_TEST_MEDIA_DIR) + "/" + name).toUtf8();
}

// One picture as it reached the sink.
struct ShownPicture {
    double time;   // the picture's presentation time
    qint64 wallNs; // when it arrived, on the sink's clock
    int width;
    int height;
    unsigned char firstLuma;
};

// Records every picture handed to it (and destroys it), from whatever thread.
class RecordingSink : public KvVideoSink {
public:
    RecordingSink() { clock.start(); }
    void updateYUV420Async(KvYUV420P* picture) override {
        ShownPicture shown{picture->time, clock.nsecsElapsed(), picture->width, picture->height,
                           picture->y != nullptr ? picture->y[0] : (unsigned char)0};
        delete picture;
        std::lock_guard<std::mutex> guard(mutex);
        pictures.push_back(shown);
    }
    std::vector<ShownPicture> snapshot() {
        std::lock_guard<std::mutex> guard(mutex);
        return pictures;
    }
    int count() {
        std::lock_guard<std::mutex> guard(mutex);
        return int(pictures.size());
    }
    void reset() {
        std::lock_guard<std::mutex> guard(mutex);
        pictures.clear();
    }

private:
    QElapsedTimer clock;
    std::mutex mutex;
    std::vector<ShownPicture> pictures;
};

struct CallbackEvent {
    int code;
    double time;
    double duration;
};

// Collects the status callbacks of a player (called on its video thread or the GUI thread).
class CallbackRecorder {
public:
    static void callback(void* context, int code, double time, double duration) {
        auto* self = static_cast<CallbackRecorder*>(context);
        std::lock_guard<std::mutex> guard(self->mutex);
        self->events.push_back({code, time, duration});
    }
    std::vector<CallbackEvent> snapshot() {
        std::lock_guard<std::mutex> guard(mutex);
        return events;
    }
    int count(int code) {
        std::lock_guard<std::mutex> guard(mutex);
        int n = 0;
        for (const CallbackEvent& event : events) {
            n += event.code == code ? 1 : 0;
        }
        return n;
    }
    void reset() {
        std::lock_guard<std::mutex> guard(mutex);
        events.clear();
    }

private:
    std::mutex mutex;
    std::vector<CallbackEvent> events;
};

// The QAudioOutput inside a KvAudioPlayer the player core made. A pointer to the protected member,
// formed through this derived class, may be applied to any KvAudioPlayer.
struct AudioOutputOf : KvAudioPlayer {
    static QAudioOutput* of(const KvAudioPlayer& player) {
        return player.*(&AudioOutputOf::output);
    }
};

// The player with its insides visible to the tests, and the seeks it performs recorded.
class TestPlayer : public KvFFPlayer {
public:
    double videoClock() const { return videoTime.load(); }
    double audioClock() const { return audioTime.load(); }
    double stepCursor() const { return frameTime.load(); }
    double requestedSeek() const { return seekTime.load(); }
    // From the request until the decode thread has carried the seek out: it takes the request
    // (clearing seekRequested) before it seeks and empties the queues, and until then the cache
    // still holds the pictures from before the seek.
    bool seekPending() const { return seekRequested.load() || _seekPending(); }
    void setVideoClock(double seconds) { videoTime.store(seconds); }
    int cacheSize() const { return frameCache; }
    int64_t queuedPictures() const { return videoQueue != nullptr ? videoQueue->size() : -1; }
    int64_t queuedAudio() const { return audioQueue != nullptr ? audioQueue->size() : -1; }
    KvAudioQueue* audio() const { return audioQueue; }
    KvAudioPlayer* output() const { return audioPlayer; }
    // The device output of the audio player (null while its audio thread has none open). The
    // audio thread writes it: read it after that thread was joined, or after a value it stored
    // later (processedUSecs() growing) was seen.
    QAudioOutput* deviceOutput() const {
        return audioPlayer != nullptr ? AudioOutputOf::of(*audioPlayer) : nullptr;
    }
    QThread* audioWorker() const { return audioThread; }
    StreamReader* streamReader() const { return reader; }
    bool anyThread() const {
        return decodeThread != nullptr || videoThread != nullptr || audioThread != nullptr;
    }
    std::vector<double> seeks() {
        std::lock_guard<std::mutex> guard(seekMutex);
        return seekTargets;
    }
    // When set, the video thread shows nothing and video time stays where the test puts it.
    std::atomic<bool> holdVideo{false};

protected:
    int _doSeek(double seconds, int flags) override {
        {
            std::lock_guard<std::mutex> guard(seekMutex);
            seekTargets.push_back(seconds);
        }
        return KvFFPlayer::_doSeek(seconds, flags);
    }
    void _doPlayVideo() override {
        if (!holdVideo.load()) {
            KvFFPlayer::_doPlayVideo();
        }
    }

private:
    std::mutex seekMutex;
    std::vector<double> seekTargets;
};

// How long a wait for pictures or a seek may take (QTRY_VERIFY's default).
constexpr int kWaitMs = 5000;

// A player wired to a recording sink and a callback recorder, stopped when the rig goes. The
// waits return whether their condition came true in time, for QVERIFY.
struct PlayerRig {
    TestPlayer player;
    RecordingSink sink;
    CallbackRecorder recorder;

    PlayerRig() {
        player.setVideoView(&sink);
        player.setCallback(&recorder, &CallbackRecorder::callback);
    }
    // The workers stop before the sink and the recorder they call go.
    ~PlayerRig() { player.stopPlay(); }
    PlayerRig(const PlayerRig&) = delete;
    PlayerRig& operator=(const PlayerRig&) = delete;

    bool startPlay(const QByteArray& clip) { return player.startPlay(clip.constData()) >= 0; }
    // Starts the clip and waits until `pictures` pictures have reached the sink.
    bool startAndShow(const QByteArray& clip, int pictures, int timeoutMs = kWaitMs) {
        return startPlay(clip) && waitForPictures(pictures, timeoutMs);
    }
    bool waitForPictures(int pictures, int timeoutMs = kWaitMs) {
        return QTest::qWaitFor([&] { return sink.count() >= pictures; }, timeoutMs);
    }
    // Until the callback has reported `code` exactly `times` times.
    bool waitForStatus(int code, int times, int timeoutMs) {
        return QTest::qWaitFor([&] { return recorder.count(code) == times; }, timeoutMs);
    }
    // Until the pictures have run out once, for whatever reason.
    bool waitForEnd(int timeoutMs) {
        return QTest::qWaitFor(
            [&] {
                return recorder.count(KvPlayerStatus::EndOfFile) +
                           recorder.count(KvPlayerStatus::RanDry) ==
                       1;
            },
            timeoutMs);
    }
    // Until the decode thread holds a full cache (more than frameCache pictures).
    bool waitForFullCache(int timeoutMs = kWaitMs) {
        return QTest::qWaitFor([&] { return player.queuedPictures() > player.cacheSize(); },
                               timeoutMs);
    }
    bool pauseWithFullCache() {
        player.pause();
        return waitForFullCache();
    }
    // Until the decode thread has carried out the pending seek.
    bool waitForSeek() {
        return QTest::qWaitFor([&] { return !player.seekPending(); }, kWaitMs);
    }
    bool seekAndWait(double seconds) {
        player.seek(seconds);
        return waitForSeek();
    }
    // Seeks, and waits until the cache is full again from the target on.
    bool seekAndFill(double seconds, int timeoutMs = kWaitMs) {
        return seekAndWait(seconds) && waitForFullCache(timeoutMs);
    }
    // Forgets the pictures shown so far, plays, and waits for `pictures` new ones.
    bool resumeAndShow(int pictures) {
        sink.reset();
        player.play();
        return waitForPictures(pictures);
    }
};

} // namespace kvtest
