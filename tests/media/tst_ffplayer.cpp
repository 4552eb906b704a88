// KvFFPlayer on generated clips: pacing, status callbacks, seeking, pause, single-frame steps and
// the audio path to the default device (the PulseAudio null sink in CI).

#include "KvPlayerTestUtil.h"
#include "KvTestMain.h"

#include <QAudioDeviceInfo>
#include <QAudioOutput>
#include <QThread>
#include <QtTest>

#include <algorithm>
#include <cmath>

using namespace kvtest;

namespace {

constexpr int kPlayTimeoutMs = 15000;
// Tolerance for timestamps rounded to the container's time base.
constexpr double kTimeTolerance = 0.002;
// One picture interval of play-3s.mp4 (30 fps).
constexpr double kPlayFrameInterval = 1.0 / 30;

bool haveDevice() {
    return !QAudioDeviceInfo::defaultOutputDevice().isNull();
}

} // namespace

class TestFFPlayer : public QObject {
    Q_OBJECT
private slots:
    void picturesArriveInOrderAtRealTime();
    void endOfFileIsReportedOnce();
    void seekLandsWithinAGopBeforeTheTarget();
    void seekWhilePlayingJumps();
    void seekLandsOnTheTargetPicture();
    void stepBackAcrossALongGop();
    void seekBeyondTheEndChangesNothing();
    void seekBackAfterTheEndPlaysAgain();
    void seekBackAfterTheEndWhilePausedRefillsTheCache();
    void seekBackAfterTheEndWithASlowGuiThread();
    void pauseStopsAndPlayResumes();
    void stepForwardShowsTheNextPicture();
    void stepBackwardSeeksHalfASecondBack();
    void stepsWalkTheCacheAndPlayResumesThere();
    void frameCacheFollowsTheGop();
    void videoInterval();
    void audioIsWrittenAtRealTimeBehindThePicture();
    void audioWaitsForThePicture();
    void mutedPlayerWritesNothing();
    void disabledAudioMakesNoOutput();
    void fractionalVolumesWriteCleanly();
    void audioOutputLivesOnTheAudioThread();
};

void TestFFPlayer::picturesArriveInOrderAtRealTime() {
    PlayerRig rig;
    QVERIFY(rig.startPlay(playbackClip("play-3s.mp4")));
    QVERIFY(rig.player.isPlaying());
    QVERIFY(rig.waitForStatus(KvPlayerStatus::EndOfFile, 1, kPlayTimeoutMs));
    rig.player.stopPlay();

    const auto pictures = rig.sink.snapshot();
    // 90 pictures; the decoder's last one or two may stay inside it at the end of the file.
    QVERIFY2(pictures.size() >= 85 && pictures.size() <= 90,
             qPrintable(QString::number(pictures.size())));
    for (size_t i = 1; i < pictures.size(); ++i) {
        QVERIFY(pictures[i].time > pictures[i - 1].time);
    }
    QVERIFY(pictures.front().time < 0.001);
    const double wall = (pictures.back().wallNs - pictures.front().wallNs) / 1e9;
    const double media = pictures.back().time - pictures.front().time;
    QVERIFY2(std::fabs(wall - 3.0) <= 0.3,
             qPrintable(QString("first to last picture: %1 s wall").arg(wall)));
    QVERIFY2(std::fabs(wall - media) <= 0.1 * media,
             qPrintable(QString("%1 s wall for %2 s of pictures").arg(wall).arg(media)));
    // Each picture is on time: never more than one frame interval late against its timestamp.
    for (const ShownPicture& picture : pictures) {
        const double due = picture.time - pictures.front().time;
        const double at = (picture.wallNs - pictures.front().wallNs) / 1e9;
        QVERIFY2(at - due < 1.0 / 30, qPrintable(QString("picture %1 at %2").arg(due).arg(at)));
    }
}

void TestFFPlayer::endOfFileIsReportedOnce() {
    PlayerRig rig;
    QVERIFY(rig.startPlay(playbackClip("play-3s.mp4")));
    QVERIFY(QTest::qWaitFor([&] { return rig.recorder.count(KvPlayerStatus::EndOfFile) >= 1; },
                            kPlayTimeoutMs));
    QTest::qWait(500);
    const auto events = rig.recorder.snapshot();
    rig.player.stopPlay();

    QCOMPARE(rig.recorder.count(KvPlayerStatus::EndOfFile), 1);
    QCOMPARE(rig.recorder.count(KvPlayerStatus::RanDry), 0);
    QCOMPARE(events.back().code, KvPlayerStatus::EndOfFile);
    // Code 3 for every picture, positions rising, with the file's duration.
    double last = -1;
    int shown = 0;
    for (const CallbackEvent& event : events) {
        if (event.code == KvPlayerStatus::PictureShown) {
            QVERIFY(event.time > last);
            last = event.time;
            ++shown;
        }
        QVERIFY(std::fabs(event.duration - 3.0) < 0.05);
    }
    QVERIFY(shown >= 85);
    QVERIFY(std::fabs(events.back().time - last) < 1e-9);
}

void TestFFPlayer::seekLandsWithinAGopBeforeTheTarget() {
    PlayerRig rig;
    QVERIFY(rig.startAndShow(playbackClip("long-10s.mp4"), 5));
    rig.player.pause();
    QVERIFY(!rig.player.isPlaying());
    QVERIFY(rig.seekAndFill(6.3));
    QCOMPARE(rig.player.videoClock(), 6.3);
    QVERIFY(rig.resumeAndShow(3));
    rig.player.stopPlay();
    const auto pictures = rig.sink.snapshot();
    // The clip has a key frame every second: playing resumes at the one before the target.
    QVERIFY2(pictures[0].time <= 6.3 && pictures[0].time >= 6.3 - 1.0,
             qPrintable(QString::number(pictures[0].time)));
    QVERIFY(pictures[1].time > pictures[0].time);
}

void TestFFPlayer::seekWhilePlayingJumps() {
    PlayerRig rig;
    QVERIFY(rig.startAndShow(playbackClip("long-10s.mp4"), 5));
    rig.player.seek(7.5);
    QTRY_VERIFY_WITH_TIMEOUT(rig.player.videoClock() >= 6.5 && rig.sink.count() > 12, 5000);
    QTest::qWait(300);
    rig.player.stopPlay();
    const auto pictures = rig.sink.snapshot();
    size_t jump = 1;
    while (jump < pictures.size() && pictures[jump].time - pictures[jump - 1].time < 1.0) {
        ++jump;
    }
    QVERIFY(jump < pictures.size());
    QVERIFY2(pictures[jump].time <= 7.5 && pictures[jump].time >= 6.5,
             qPrintable(QString::number(pictures[jump].time)));
    // After the jump the pictures go on in order at their pace again.
    for (size_t i = jump + 1; i < pictures.size(); ++i) {
        QVERIFY(pictures[i].time > pictures[i - 1].time);
    }
}

void TestFFPlayer::seekLandsOnTheTargetPicture() {
    // B-frames and a key frame every second: 6.3 s lies between 6.28 and 6.32.
    PlayerRig rig;
    QVERIFY(rig.startAndShow(playbackClip("long-10s.mp4"), 5));
    rig.player.pause();
    QVERIFY(rig.seekAndWait(6.3));
    QTRY_VERIFY(rig.player.queuedPictures() > 0);
    QVERIFY(rig.resumeAndShow(3));
    // Played from the picture showing at the target, not from the key frame at 6.0.
    QVERIFY2(std::fabs(rig.sink.snapshot()[0].time - 6.28) < 0.001,
             qPrintable(QString::number(rig.sink.snapshot()[0].time)));
    // The same while playing.
    rig.player.seek(2.5);
    QTRY_VERIFY(rig.player.videoClock() < 3.0 && rig.sink.count() > 0 &&
                rig.sink.snapshot().back().time < 3.0);
    const auto pictures = rig.sink.snapshot();
    double first = -1;
    for (const ShownPicture& picture : pictures) {
        if (picture.time < 3.0) {
            first = picture.time;
            break;
        }
    }
    rig.player.stopPlay();
    QVERIFY2(std::fabs(first - 2.48) < 0.001, qPrintable(QString::number(first)));
}

void TestFFPlayer::stepBackAcrossALongGop() {
    // A 1080p30 clip with a key frame every 30 pictures: a step back from 3.2 s seeks to 2.7 s and
    // decodes from the key frame at 2.0 s; the cache must still hold the picture at 3.2 s.
    PlayerRig rig;
    rig.player.disableAudio(true);
    QVERIFY(rig.startAndShow(mediaClip("pair/front-1080p.mp4"), 3));
    rig.player.pause();
    QVERIFY(rig.seekAndFill(3.2));
    rig.player.playNextVideo();
    QVERIFY(std::fabs(rig.sink.snapshot().back().time - 3.2) < 0.001);
    rig.player.playPrevVideo();
    QCOMPARE(rig.player.requestedSeek(), 2.7);
    QVERIFY(rig.waitForSeek());
    QVERIFY(rig.waitForFullCache(10000));
    rig.player.playPrevVideo();
    QVERIFY2(std::fabs(rig.sink.snapshot().back().time - 3.2) < 0.001,
             qPrintable(QString::number(rig.sink.snapshot().back().time)));
    rig.player.playPrevVideo();
    QVERIFY(std::fabs(rig.sink.snapshot().back().time - (3.2 - 1.0 / 30)) < 0.001);
}

void TestFFPlayer::seekBeyondTheEndChangesNothing() {
    PlayerRig rig;
    TestPlayer& player = rig.player;
    QVERIFY(rig.startAndShow(playbackClip("long-10s.mp4"), 5));
    QVERIFY(rig.pauseWithFullCache());
    const double video = player.videoClock();
    const double audio = player.audioClock();
    const int64_t pictures = player.queuedPictures();
    const int64_t blocks = player.queuedAudio();
    QVERIFY(rig.seekAndWait(player.duration() + 1.0));
    QTest::qWait(100);
    QCOMPARE(player.videoClock(), video);
    QCOMPARE(player.audioClock(), audio);
    QCOMPARE(player.queuedPictures(), pictures);
    QCOMPARE(player.queuedAudio(), blocks);
    QCOMPARE(player.seeks().size(), size_t(1));
}

void TestFFPlayer::seekBackAfterTheEndPlaysAgain() {
    // As the rear camera of a pair does when its clip is shorter than the front's: the decode
    // loop ended and the video thread ran dry, yet a seek back must bring pictures again.
    PlayerRig rig;
    QVERIFY(rig.startPlay(playbackClip("play-3s.mp4")));
    QVERIFY(rig.waitForStatus(KvPlayerStatus::EndOfFile, 1, kPlayTimeoutMs));
    QTest::qWait(200);
    QVERIFY(rig.player.current() > 2.9);
    rig.sink.reset();
    rig.player.seek(1.0);
    QVERIFY(rig.waitForStatus(KvPlayerStatus::EndOfFile, 2, kPlayTimeoutMs));
    QCOMPARE(rig.recorder.count(KvPlayerStatus::RanDry), 0);
    const auto pictures = rig.sink.snapshot();
    // From the picture showing at 1.0 s on, to the end again (the decoder's last one or two
    // pictures stay inside it at the end of the file).
    QVERIFY2(pictures.size() >= 55 && pictures.size() <= 60,
             qPrintable(QString::number(pictures.size())));
    QVERIFY2(pictures.front().time >= 1.0 - kPlayFrameInterval - kTimeTolerance &&
                 pictures.front().time <= 1.0 + kTimeTolerance,
             qPrintable(QString::number(pictures.front().time)));
    for (size_t i = 1; i < pictures.size(); ++i) {
        QVERIFY(pictures[i].time > pictures[i - 1].time);
    }
    QVERIFY2(pictures.back().time > 2.9, qPrintable(QString::number(pictures.back().time)));
    // Presented at their pace again, not all at once: about 1.9 s from first to last.
    const double wall = (pictures.back().wallNs - pictures.front().wallNs) / 1e9;
    const double media = pictures.back().time - pictures.front().time;
    QVERIFY2(std::fabs(wall - media) <= 0.1 * media,
             qPrintable(QString("%1 s wall for %2 s of pictures").arg(wall).arg(media)));
}

void TestFFPlayer::seekBackAfterTheEndWhilePausedRefillsTheCache() {
    // Paused after the end: the seek restarts decoding only, and play() goes on from the target.
    PlayerRig rig;
    QVERIFY(rig.startPlay(playbackClip("play-3s.mp4")));
    QVERIFY(rig.waitForStatus(KvPlayerStatus::EndOfFile, 1, kPlayTimeoutMs));
    rig.player.pause();
    QVERIFY(!rig.player.isPlaying());
    rig.sink.reset();
    QVERIFY(rig.seekAndWait(1.0));
    // The two seconds left hold fewer pictures than a full cache: a second's worth will do.
    QTRY_VERIFY(rig.player.queuedPictures() >= 30);
    QVERIFY(rig.player.isOpenFile());
    QVERIFY(!rig.player.isPlaying());
    QCOMPARE(rig.sink.count(), 0);
    QCOMPARE(rig.player.videoClock(), 1.0);
    QVERIFY(rig.resumeAndShow(3));
    const double first = rig.sink.snapshot().front().time;
    QVERIFY2(first >= 1.0 - kPlayFrameInterval - kTimeTolerance && first <= 1.0 + kTimeTolerance,
             qPrintable(QString::number(first)));
    QVERIFY(rig.waitForStatus(KvPlayerStatus::EndOfFile, 2, kPlayTimeoutMs));
    QVERIFY(rig.sink.snapshot().back().time > 2.9);
}

namespace {

// Holds the GUI thread inside the debug line of each seek request, as a busy machine may stall
// it there, and counts the lines so that the test knows the hold took place.
constexpr unsigned long kSeekLineHoldMs = 50;
QAtomicInt g_seekLines;
QtMessageHandler g_handlerBeforeHold = nullptr;

void holdOnSeekLines(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (text.startsWith("seek ")) {
        g_seekLines.fetchAndAddRelaxed(1);
        QThread::msleep(kSeekLineHoldMs);
    }
    g_handlerBeforeHold(type, context, text);
}

} // namespace

void TestFFPlayer::seekBackAfterTheEndWithASlowGuiThread() {
    // The decode thread that a seek after the end starts must not read on from where the last
    // one stopped (the end of the file) before it has taken the seek over, however late the GUI
    // thread gets to recording the target.
    PlayerRig rig;
    QVERIFY(rig.startPlay(playbackClip("play-3s.mp4")));
    QVERIFY(rig.waitForStatus(KvPlayerStatus::EndOfFile, 1, kPlayTimeoutMs));
    rig.sink.reset();
    g_seekLines.storeRelaxed(0);
    g_handlerBeforeHold = qInstallMessageHandler(holdOnSeekLines);
    rig.player.seek(1.0);
    qInstallMessageHandler(g_handlerBeforeHold);
    QVERIFY(g_seekLines.loadRelaxed() > 0);
    QVERIFY(rig.waitForStatus(KvPlayerStatus::EndOfFile, 2, kPlayTimeoutMs));
    QVERIFY2(rig.sink.count() >= 55, qPrintable(QString::number(rig.sink.count())));
    const double first = rig.sink.snapshot().front().time;
    QVERIFY2(first >= 1.0 - kPlayFrameInterval - kTimeTolerance && first <= 1.0 + kTimeTolerance,
             qPrintable(QString::number(first)));
}

void TestFFPlayer::pauseStopsAndPlayResumes() {
    PlayerRig rig;
    TestPlayer& player = rig.player;
    RecordingSink& sink = rig.sink;
    QVERIFY(rig.startAndShow(playbackClip("long-10s.mp4"), 10));
    player.pause();
    QVERIFY(!player.isPlaying());
    QVERIFY(player.isOpenFile());
    const int paused = sink.count();
    const double at = player.current();
    QTest::qWait(400);
    QCOMPARE(sink.count(), paused);
    QCOMPARE(player.current(), at);
    player.pause(); // a second pause is harmless
    QVERIFY(!player.isPlaying());
    player.play();
    QVERIFY(player.isPlaying());
    QVERIFY(rig.waitForPictures(paused + 5));
    player.stopPlay();
    const auto pictures = sink.snapshot();
    // Resumed with the next picture, one frame interval (1/25 s) after the last one shown.
    QVERIFY(std::fabs(pictures[size_t(paused)].time - (at + 0.04)) < 0.001);
    QVERIFY(!player.anyThread());
}

void TestFFPlayer::stepForwardShowsTheNextPicture() {
    PlayerRig rig;
    TestPlayer& player = rig.player;
    RecordingSink& sink = rig.sink;
    QVERIFY(rig.startAndShow(playbackClip("step-25fps.mp4"), 10));
    QVERIFY(rig.pauseWithFullCache());
    const double shown = player.videoClock();
    const int count = sink.count();
    rig.recorder.reset();
    player.playNextVideo();
    QCOMPARE(sink.count(), count + 1);
    QVERIFY(std::fabs(sink.snapshot().back().time - (shown + 0.04)) < 0.001);
    QCOMPARE(player.videoClock(), sink.snapshot().back().time);
    // The callback came on this (the GUI) thread, at once.
    QCOMPARE(rig.recorder.count(KvPlayerStatus::PictureShown), 1);
    player.playNextVideo();
    QVERIFY(std::fabs(sink.snapshot().back().time - (shown + 0.08)) < 0.001);
    // The audio behind the stepped picture was dropped.
    KvAudioData* block = player.audio() != nullptr ? player.audio()->popAudioData() : nullptr;
    if (block != nullptr) {
        QVERIFY(block->time >= player.videoClock() - 0.05);
        delete block;
    }
}

void TestFFPlayer::stepBackwardSeeksHalfASecondBack() {
    PlayerRig rig;
    TestPlayer& player = rig.player;
    QVERIFY(rig.startAndShow(playbackClip("long-10s.mp4"), 3));
    QVERIFY(rig.pauseWithFullCache());
    // Within the first second the step goes back to the start.
    player.setVideoClock(0.7);
    player.playPrevVideo();
    QCOMPARE(player.stepCursor(), 0.7);
    QCOMPARE(player.requestedSeek(), 0.0);
    QVERIFY(rig.waitForSeek());
    QCOMPARE(player.seeks().back(), 0.0);
    // Later, half a second back.
    player.play();
    QVERIFY(rig.pauseWithFullCache());
    player.setVideoClock(5.0);
    player.playPrevVideo();
    QCOMPARE(player.requestedSeek(), 4.5);
    QVERIFY(rig.waitForSeek());
    QCOMPARE(player.seeks().back(), 4.5);
    // At video time 0 there is nothing before.
    player.play();
    player.pause();
    QVERIFY(rig.waitForSeek());
    QVERIFY(rig.waitForFullCache());
    player.setVideoClock(0.0);
    const size_t seeks = player.seeks().size();
    player.playPrevVideo();
    QTest::qWait(50);
    QCOMPARE(player.seeks().size(), seeks);
}

void TestFFPlayer::stepsWalkTheCacheAndPlayResumesThere() {
    PlayerRig rig;
    TestPlayer& player = rig.player;
    RecordingSink& sink = rig.sink;
    QVERIFY(rig.startPlay(playbackClip("step-25fps.mp4")));
    QTRY_VERIFY_WITH_TIMEOUT(player.videoClock() >= 2.0, 5000);
    player.pause();
    const double shown = player.videoClock();
    // First backward step: the cache refills from before the picture.
    player.playPrevVideo();
    QCOMPARE(player.stepCursor(), shown);
    QVERIFY(rig.waitForSeek());
    QVERIFY(rig.waitForFullCache());
    // Second: the picture itself again, the cursor moves to the one before.
    player.playPrevVideo();
    QVERIFY(std::fabs(sink.snapshot().back().time - shown) < 1e-9);
    QVERIFY(std::fabs(player.stepCursor() - (shown - 0.04)) < 0.001);
    // Then one picture back per step.
    player.playPrevVideo();
    QVERIFY(std::fabs(sink.snapshot().back().time - (shown - 0.04)) < 0.001);
    player.playPrevVideo();
    const double stepped = sink.snapshot().back().time;
    QVERIFY(std::fabs(stepped - (shown - 0.08)) < 0.001);
    QVERIFY(std::fabs(player.current() - (shown - 0.12)) < 0.001);
    // A forward step inside the cache shows the picture at the cursor.
    player.playNextVideo();
    QVERIFY(std::fabs(sink.snapshot().back().time - (shown - 0.12)) < 0.001);
    QVERIFY(std::fabs(player.current() - (shown - 0.08)) < 0.001);
    // play() resumes at the stepped cursor, not at the picture shown before the steps.
    const double cursor = player.current();
    QVERIFY(rig.resumeAndShow(3));
    player.stopPlay();
    const auto pictures = sink.snapshot();
    QVERIFY2(pictures[0].time <= cursor + 1e-9 && pictures[0].time >= cursor - 0.4 - 1e-9,
             qPrintable(QString("%1 for cursor %2").arg(pictures[0].time).arg(cursor)));
    QVERIFY(pictures[0].time < shown);
}

void TestFFPlayer::frameCacheFollowsTheGop() {
    const std::pair<int, int> cases[] = {{20, 40}, {40, 60}, {10, 30}, {14, 30}, {15, 30}};
    for (const auto& [gop, cache] : cases) {
        TestPlayer player;
        QVERIFY(player.openInput(playbackClip("step-25fps.mp4").constData()) >= 0);
        player.streamReader()->getVideoCodecContext()->gop_size = gop;
        player.disableAudio(true);
        player.start();
        QCOMPARE(player.cacheSize(), cache);
        QTRY_VERIFY(player.queuedPictures() == cache + 1);
        QTest::qWait(50);
        QCOMPARE(player.queuedPictures(), int64_t(cache + 1));
        player.stopPlay();
    }
}

void TestFFPlayer::videoInterval() {
    TestPlayer player;
    QCOMPARE(player.getVideoInterval(), -1);
    QCOMPARE(player.duration(), 0.0);
    QVERIFY(player.openInput(playbackClip("step-25fps.mp4").constData()) >= 0);
    QCOMPARE(player.getVideoInterval(), 40);
    player.streamReader()->getVideoStream()->avg_frame_rate = AVRational{0, 0};
    QCOMPARE(player.getVideoInterval(), 33);
    player.closeInput();
    QVERIFY(player.openInput(playbackClip("play-3s.mp4").constData()) >= 0);
    QCOMPARE(player.getVideoInterval(), 33);
    player.closeInput();
}

void TestFFPlayer::audioIsWrittenAtRealTimeBehindThePicture() {
    if (!haveDevice()) {
        QSKIP("no audio output device");
    }
    TestPlayer player;
    QVERIFY(player.startPlay(playbackClip("long-10s.mp4").constData()) >= 0);
    QVERIFY(player.audio() != nullptr && player.output() != nullptr);
    // The CI device is 44.1 kHz S16 stereo and the clip is 48 kHz: blocks of 1024 samples x 2
    // channels x 2 bytes, resampled.
    const QAudioFormat device = QAudioDeviceInfo::defaultOutputDevice().preferredFormat();
    QCOMPARE(player.output()->format().sampleRate(), device.sampleRate());
    QCOMPARE(player.audio()->isResampling(), true);
    if (device.sampleRate() == 44100 && device.sampleSize() == 16 && device.channelCount() == 2) {
        QCOMPARE(player.audio()->getBlockSize0(), 4096);
    }
    QElapsedTimer timer;
    timer.start();
    double worstLead = -1;
    double audioAtOne = -1;
    qint64 writtenAtOne = -1;
    while (timer.elapsed() < 4000) {
        worstLead = std::max(worstLead, player.audioClock() - player.videoClock());
        if (audioAtOne < 0 && timer.elapsed() >= 1000) {
            audioAtOne = player.audioClock();
            writtenAtOne = player.output()->processedUSecs();
        }
        QTest::qWait(1);
    }
    const double audioRate = (player.audioClock() - audioAtOne) / 3.0;
    const double writtenRate = (player.output()->processedUSecs() - writtenAtOne) / 3e6;
    player.stopPlay();
    // A block is written only while audio time is not ahead of video time, so the newest block
    // is at most about one block (23 ms) past the picture.
    QVERIFY2(worstLead < 0.05, qPrintable(QString::number(worstLead)));
    // Once running, the device takes audio at its real-time pace (it takes it in pieces of a
    // fifth of a second or so, hence the tolerance), and the audio clock follows.
    QVERIFY2(std::fabs(audioRate - 1.0) < 0.15, qPrintable(QString::number(audioRate)));
    QVERIFY2(std::fabs(writtenRate - 1.0) < 0.15, qPrintable(QString::number(writtenRate)));
}

void TestFFPlayer::audioWaitsForThePicture() {
    if (!haveDevice()) {
        QSKIP("no audio output device");
    }
    TestPlayer player;
    player.holdVideo = true;
    QVERIFY(player.startPlay(playbackClip("play-3s.mp4").constData()) >= 0);
    QTRY_VERIFY(player.queuedAudio() > 40);
    QTest::qWait(300);
    // Video time stays 0: only the block(s) stamped 0 and the next one went out.
    QVERIFY2(player.audioClock() < 0.05, qPrintable(QString::number(player.audioClock())));
    QVERIFY(player.queuedAudio() > 40);
    player.setVideoClock(1.0);
    QTRY_VERIFY_WITH_TIMEOUT(player.audioClock() >= 0.97, 3000);
    QTest::qWait(300);
    QVERIFY2(player.audioClock() < 1.05, qPrintable(QString::number(player.audioClock())));
    player.stopPlay();
}

void TestFFPlayer::mutedPlayerWritesNothing() {
    if (!haveDevice()) {
        QSKIP("no audio output device");
    }
    TestPlayer player;
    player.setVolume(0.0f);
    QVERIFY(player.startPlay(playbackClip("play-3s.mp4").constData()) >= 0);
    QCOMPARE(player.output()->getVolume(), 0.0f);
    QTRY_VERIFY(player.audioClock() > 1.0);
    QCOMPARE(player.output()->processedUSecs(), qint64(0));
    player.stopPlay();
}

void TestFFPlayer::disabledAudioMakesNoOutput() {
    PlayerRig rig;
    rig.player.disableAudio(true);
    QVERIFY(rig.startPlay(playbackClip("play-3s.mp4")));
    QVERIFY(rig.player.audio() == nullptr);
    QVERIFY(rig.player.output() == nullptr);
    QVERIFY(rig.waitForStatus(KvPlayerStatus::EndOfFile, 1, kPlayTimeoutMs));
    QVERIFY(rig.sink.count() >= 85);
}

namespace {

// Warnings of the audio output while a test runs.
QAtomicInt g_audioWarnings;
QtMessageHandler g_previousHandler = nullptr;

void countAudioWarnings(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (type == QtWarningMsg && text.contains("QAudioOutput")) {
        g_audioWarnings.fetchAndAddRelaxed(1);
    }
    g_previousHandler(type, context, text);
}

} // namespace

void TestFFPlayer::fractionalVolumesWriteCleanly() {
    if (!haveDevice()) {
        QSKIP("no audio output device");
    }
    g_audioWarnings.storeRelaxed(0);
    g_previousHandler = qInstallMessageHandler(countAudioWarnings);
    PlayerRig rig;
    rig.player.setVolume(0.5f);
    QVERIFY(rig.startPlay(playbackClip("play-3s.mp4")));
    // The volume slider moves while the sound plays.
    QElapsedTimer timer;
    timer.start();
    for (int step = 0;
         rig.recorder.count(KvPlayerStatus::EndOfFile) == 0 && timer.elapsed() < kPlayTimeoutMs;
         ++step) {
        rig.player.setVolume(0.2f + 0.1f * float(step % 7));
        QTest::qWait(20);
    }
    const qint64 played = rig.player.output()->processedUSecs();
    rig.player.stopPlay();
    qInstallMessageHandler(g_previousHandler);
    QCOMPARE(rig.recorder.count(KvPlayerStatus::EndOfFile), 1);
    // Most of the 3 s reached the device (its start-up and its buffer at the end are not counted).
    QVERIFY2(played > 1500000, qPrintable(QString::number(played)));
    QCOMPARE(g_audioWarnings.loadRelaxed(), 0);
}

void TestFFPlayer::audioOutputLivesOnTheAudioThread() {
    if (!haveDevice()) {
        QSKIP("no audio output device");
    }
    PlayerRig rig;
    TestPlayer& player = rig.player;
    QVERIFY(rig.startAndShow(playbackClip("long-10s.mp4"), 5));
    QVERIFY(player.output() != nullptr);
    // The audio thread opens the output before it writes; once written audio is counted, the
    // output is there to look at (its thread publishes the count after the write).
    QTRY_VERIFY(player.output()->processedUSecs() > 0);
    QAudioOutput* output = player.deviceOutput();
    QVERIFY(output != nullptr);
    QVERIFY(player.audioWorker() != nullptr);
    QCOMPARE(output->thread(), player.audioWorker());
    QVERIFY(output->thread() != QThread::currentThread());
    // A pause ends the audio thread, and the output with it.
    player.pause();
    QVERIFY(player.audioWorker() == nullptr);
    QVERIFY(player.deviceOutput() == nullptr);
    QVERIFY(player.output() != nullptr);
    // A closed output has played nothing.
    QCOMPARE(player.output()->processedUSecs(), qint64(0));
    // Playing again opens a new output on the new audio thread.
    player.play();
    QTRY_VERIFY(player.output()->processedUSecs() > 0);
    output = player.deviceOutput();
    QVERIFY(output != nullptr);
    QVERIFY(player.audioWorker() != nullptr);
    QCOMPARE(output->thread(), player.audioWorker());
    QVERIFY(output->thread() != QThread::currentThread());
    player.stopPlay();
    QVERIFY(player.output() == nullptr);
}

KV_TEST_GUILESS_MAIN(TestFFPlayer)
#include "tst_ffplayer.moc"
