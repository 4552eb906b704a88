// LuPlayer with a real LuVideoView under Xvfb and the audio device (the PulseAudio null sink in
// CI), on generated front/rear pairs (1080p front with a key frame every second, 720p rear with
// key frames every 12 pictures offset from the front's): both channels play, one failed channel
// is tolerated, the rear is muted and sends nothing to the device, seeks land on the target
// picture, and the two channels stay within one picture of each other through start, pause,
// resume, seeks and single-picture steps. stepPicture() reports with stepFinished() once both
// channels show their stepped picture (at once forwards, after the refill backwards; a channel
// without pictures is not waited for), and a later command ends a step that still waits.

#include "KvTestMain.h"
#include "LuPlayer.h"
#include "LuPlayerTestUtil.h"

#include <QAudioDeviceInfo>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

using namespace kvtest;

namespace {

// The channels show pictures at most one interval apart. Under ThreadSanitizer our code runs
// several times slower (every copy of a picture is checked) and the channels cannot keep real
// time; that run drives the same sequence to find races, and only reports the difference.
constexpr double kInStepBound = kFrameInterval;
#if defined(__SANITIZE_THREAD__)
constexpr bool kTimingAsserted = false;
#else
constexpr bool kTimingAsserted = true;
#endif

bool haveDevice() {
    return !QAudioDeviceInfo::defaultOutputDevice().isNull();
}

} // namespace

class TestLuPlayer : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void emptyRecordChangesNothing();
    void pairPlaysInBothChannels();
    void missingFrontPlaysTheRearWithTwoChannels();
    void bothMissingFailsAndKeepsTheCount();
    void singleClipPlaysOneChannel();
    void volumeActsOnTheFrontOnly();
    void rearSendsNothingToTheDevice();
    void seekLandsOnTheTargetPicture();
    void channelsStayInStep();
    void stepBackReportsWhenBothChannelsWentBack();
    void stepForwardReportsAtOnce();
    void stepRefusedWhilePlaying();
    void laterCommandEndsAWaitingStep();
    void stepDoesNotWaitForAChannelWithoutPictures();

private:
    // Plays the 1080p/720p pair for a while and pauses it; both channels show a picture.
    void _playAndPause();

    std::unique_ptr<LuVideoView> view;
    std::unique_ptr<LuPlayer> player;
};

void TestLuPlayer::init() {
    view = std::make_unique<LuVideoView>();
    view->resize(802, 600);
    view->show();
    QVERIFY(QTest::qWaitForWindowExposed(view.get()));
    player = std::make_unique<LuPlayer>();
    player->setVideoView(view.get());
    view->reset();
}

void TestLuPlayer::cleanup() {
    if (player) {
        player->stopPlay();
    }
    player.reset();
    view.reset();
}

void TestLuPlayer::emptyRecordChangesNothing() {
    view->setPlayerCount(1);
    player->setVolume(0.3f);
    QCOMPARE(player->startPlay(KvVideoInfo()), 0);
    QVERIFY(!player->isOpenFile());
    QVERIFY(!player->isPlaying());
    QCOMPARE(view->getPlayerCount(), 1);
    QCOMPARE(player->getVolume(), 0.3f);
}

void TestLuPlayer::pairPlaysInBothChannels() {
    QCOMPARE(player->getVideoView(), view.get());
    QCOMPARE(player->getFrontPlayer()->getVideoView(), view->frontView);
    QCOMPARE(player->getRearPlayer()->getVideoView(), view->rearView);
    player->setVideoView(nullptr);
    QVERIFY(player->getFrontPlayer()->getVideoView() == nullptr);
    player->setVideoView(view.get());
    QCOMPARE(player->startPlay(pairOf(pairClip("front-1080p.mp4"), pairClip("rear-720p.mp4"))), 0);
    QCOMPARE(view->getPlayerCount(), 2);
    QVERIFY(player->isOpenFile());
    QVERIFY(player->isPlaying());
    QTRY_VERIFY(view->frontView->getPictureTime() > 0.5);
    QTRY_VERIFY(view->rearView->getPictureTime() > 0.5);
    // Both channels on screen, side by side, not black.
    const QImage image = view->grab().toImage();
    QVERIFY(image.pixel(200, 300) != image.pixel(600, 300) || qGray(image.pixel(200, 300)) > 10);
    player->stopPlay();
    QVERIFY(!player->isOpenFile());
    QVERIFY(!player->isPlaying());
}

void TestLuPlayer::missingFrontPlaysTheRearWithTwoChannels() {
    QCOMPARE(player->startPlay(pairOf(pairClip("missing-front.mp4"), pairClip("rear-720p.mp4"))),
             0);
    QCOMPARE(view->getPlayerCount(), 2);
    QVERIFY(player->isOpenFile());
    QVERIFY(player->isPlaying());
    QTRY_VERIFY(view->rearView->getPictureTime() > 0.5);
    QCOMPARE(view->frontView->getPictureTime(), -1.0);
    QVERIFY(!player->getFrontPlayer()->isOpenFile());
}

void TestLuPlayer::bothMissingFailsAndKeepsTheCount() {
    view->setPlayerCount(1);
    QCOMPARE(player->startPlay(pairOf(pairClip("missing-front.mp4"), pairClip("missing-rear.mp4"))),
             -1);
    QCOMPARE(view->getPlayerCount(), 1);
    QVERIFY(!player->isOpenFile());
    QVERIFY(!player->isPlaying());
}

void TestLuPlayer::singleClipPlaysOneChannel() {
    // A pair first, so that its rear must stop when a single clip follows.
    QCOMPARE(player->startPlay(pairOf(pairClip("front-1080p.mp4"), pairClip("rear-720p.mp4"))), 0);
    QTRY_VERIFY(view->rearView->getPictureTime() >= 0);
    KvVideoInfo single;
    single.appendVideo(pairClip("rear-720p.mp4"));
    QCOMPARE(player->startPlay(single), 0);
    QCOMPARE(view->getPlayerCount(), 1);
    QVERIFY(player->getFrontPlayer()->isPlaying());
    QVERIFY(!player->getRearPlayer()->isOpenFile());
    QVERIFY(view->frontView->geometry().width() > 700);
    KvVideoInfo missing;
    missing.appendVideo(pairClip("missing.mp4"));
    QCOMPARE(player->startPlay(missing), -1);
    QCOMPARE(view->getPlayerCount(), 1);
}

void TestLuPlayer::volumeActsOnTheFrontOnly() {
    QCOMPARE(player->getVolume(), 1.0f);
    QCOMPARE(player->getRearPlayer()->getVolume(), 0.0f);
    player->setVolume(0.5f);
    QCOMPARE(player->getVolume(), 0.5f);
    QCOMPARE(player->getFrontPlayer()->getVolume(), 0.5f);
    QCOMPARE(player->getRearPlayer()->getVolume(), 0.0f);
    // Starting a recording sets the volumes again.
    QCOMPARE(player->startPlay(pairOf(pairClip("front-1080p.mp4"), pairClip("rear-720p.mp4"))), 0);
    QCOMPARE(player->getVolume(), 1.0f);
    QCOMPARE(player->getRearPlayer()->getVolume(), 0.0f);
    player->setVolume(0.5f);
    QCOMPARE(player->getRearPlayer()->getVolume(), 0.0f);
}

void TestLuPlayer::rearSendsNothingToTheDevice() {
    if (!haveDevice()) {
        QSKIP("no audio output device");
    }
    if (audioStreams() < 0) {
        QSKIP("pactl cannot reach the PulseAudio server");
    }
    QCOMPARE(audioStreams(), 0);
    // Both clips have sound: only the front's reaches the device.
    QCOMPARE(player->startPlay(pairOf(pairClip("front-1080p.mp4"), pairClip("rear-720p.mp4"))), 0);
    QTRY_VERIFY(view->rearView->getPictureTime() > 0.5);
    QCOMPARE(audioStreams(), 1);
    player->stopPlay();
    QTRY_COMPARE(audioStreams(), 0);
    // A silent front and a rear with sound: nothing reaches the device.
    QCOMPARE(player->startPlay(pairOf(mediaClip("no-audio.mp4"), pairClip("rear-720p.mp4"))), 0);
    QTRY_VERIFY(view->rearView->getPictureTime() > 0.5);
    QTRY_VERIFY(view->frontView->getPictureTime() > 0.5);
    QCOMPARE(audioStreams(), 0);
}

void TestLuPlayer::seekLandsOnTheTargetPicture() {
    QCOMPARE(player->startPlay(pairOf(pairClip("front-1080p.mp4"), pairClip("rear-720p.mp4"))), 0);
    QTRY_VERIFY(view->frontView->getPictureTime() >= 0.1);
    // Between key frames of both clips: the front's are at whole seconds, the rear's at 7/30 s
    // and then every 0.4 s.
    for (double target : {1.5, 3.7, 2.2}) {
        player->pause();
        player->seek(target);
        QTest::qWait(300);
        player->play();
        double firstFront = -1;
        double firstRear = -1;
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < 3000 && (firstFront < 0 || firstRear < 0)) {
            const double front = view->frontView->getPictureTime();
            const double rear = view->rearView->getPictureTime();
            // Anything within a second before the target would be a key-frame landing; the
            // pictures before the seek are more than a second away.
            if (firstFront < 0 && front > target - 1.0 && front < target + 0.5) {
                firstFront = front;
            }
            if (firstRear < 0 && rear > target - 1.0 && rear < target + 0.5) {
                firstRear = rear;
            }
            QTest::qWait(1);
        }
        const QString what =
            QString("target %1: front %2, rear %3").arg(target).arg(firstFront).arg(firstRear);
        QVERIFY2(firstFront >= target - kFrameInterval - kTimeTolerance &&
                     firstFront <= target + 0.1,
                 qPrintable(what));
        QVERIFY2(firstRear >= target - kFrameInterval - kTimeTolerance && firstRear <= target + 0.1,
                 qPrintable(what));
    }
}

void TestLuPlayer::channelsStayInStep() {
    StepMeter meter(view.get());
    QCOMPARE(player->startPlay(pairOf(pairClip("front-1080p.mp4"), pairClip("rear-720p.mp4"))), 0);
    meter.command();
    qInfo("started");
    meter.watch(1200);
    player->pause();
    meter.command();
    meter.watch(700);
    player->play();
    meter.command();
    meter.watch(800);
    for (double target : {1.5, 3.7, 2.2}) {
        player->seek(target);
        meter.command();
        meter.watch(900);
    }
    // Steps back (the first one refills the caches from before the picture), then play.
    player->pause();
    for (int step = 0; step < 4; ++step) {
        player->playPrevVideo();
        meter.command();
        meter.watch(700);
    }
    player->play();
    meter.command();
    meter.watch(800);
    // Steps forward, then play.
    player->pause();
    for (int step = 0; step < 3; ++step) {
        player->playNextVideo();
        meter.command();
        meter.watch(600);
    }
    player->play();
    meter.command();
    meter.watch(800);
    qInfo("%s", qPrintable(meter.describe()));
    QVERIFY(meter.samples > 500);
    if (!kTimingAsserted) {
        qWarning("not asserted under ThreadSanitizer: %s", qPrintable(meter.describe()));
        return;
    }
    QVERIFY2(meter.worst <= kInStepBound + kTimeTolerance, qPrintable(meter.describe()));
}

void TestLuPlayer::_playAndPause() {
    QCOMPARE(player->startPlay(pairOf(pairClip("front-1080p.mp4"), pairClip("rear-720p.mp4"))), 0);
    QTRY_VERIFY(view->frontView->getPictureTime() > 1.5 && view->rearView->getPictureTime() > 1.5);
    player->pause();
    QTest::qWait(200);
}

void TestLuPlayer::stepBackReportsWhenBothChannelsWentBack() {
    _playAndPause();
    const double front0 = view->frontView->getPictureTime();
    const double rear0 = view->rearView->getPictureTime();
    QSignalSpy finished(player.get(), &LuPlayer::stepFinished);
    QVERIFY(player->stepPicture(false));
    // The first step back refills both caches from the key frames before the pictures.
    QVERIFY(player->isStepping());
    QCOMPARE(finished.count(), 0);
    QVERIFY(!player->stepPicture(false));
    QTRY_COMPARE(finished.count(), 1);
    QVERIFY(!player->isStepping());
    const double front = view->frontView->getPictureTime();
    const double rear = view->rearView->getPictureTime();
    const QString what =
        QString("front %1 -> %2, rear %3 -> %4").arg(front0).arg(front).arg(rear0).arg(rear);
    QVERIFY2(qAbs(front - (front0 - kFrameInterval)) < kTimeTolerance, qPrintable(what));
    // The rear went back to the front's instant (it may have been a picture apart at the pause).
    QVERIFY2(rear < rear0 && qAbs(rear - front) < kTimeTolerance, qPrintable(what));
    QCOMPARE(finished.at(0).at(0).toDouble(), front);
    QCOMPARE(finished.at(0).at(1).toDouble(), player->getFrontPlayer()->duration());
    QVERIFY(player->getFrontPlayer()->duration() > 5.9);
    // The next step back finds the earlier picture in the refilled cache.
    QVERIFY(player->stepPicture(false));
    QTRY_COMPARE(finished.count(), 2);
    QVERIFY(qAbs(view->frontView->getPictureTime() - (front0 - 2 * kFrameInterval)) <
            kTimeTolerance);
}

void TestLuPlayer::stepForwardReportsAtOnce() {
    _playAndPause();
    const double front0 = view->frontView->getPictureTime();
    QSignalSpy finished(player.get(), &LuPlayer::stepFinished);
    QVERIFY(player->stepPicture(true));
    QCOMPARE(finished.count(), 1);
    QVERIFY(!player->isStepping());
    QVERIFY(qAbs(view->frontView->getPictureTime() - (front0 + kFrameInterval)) < kTimeTolerance);
    QCOMPARE(finished.at(0).at(0).toDouble(), view->frontView->getPictureTime());
    // The rear shows the front's instant.
    QVERIFY(qAbs(view->rearView->getPictureTime() - view->frontView->getPictureTime()) <
            kTimeTolerance);
}

void TestLuPlayer::stepRefusedWhilePlaying() {
    QSignalSpy finished(player.get(), &LuPlayer::stepFinished);
    // Nothing open.
    QVERIFY(!player->stepPicture(true));
    QCOMPARE(player->startPlay(pairOf(pairClip("front-1080p.mp4"), pairClip("rear-720p.mp4"))), 0);
    QTRY_VERIFY(view->frontView->getPictureTime() > 0.5);
    QVERIFY(!player->stepPicture(false));
    QVERIFY(!player->stepPicture(true));
    QVERIFY(!player->isStepping());
    QTest::qWait(200);
    QCOMPARE(finished.count(), 0);
}

void TestLuPlayer::laterCommandEndsAWaitingStep() {
    _playAndPause();
    QSignalSpy finished(player.get(), &LuPlayer::stepFinished);
    QVERIFY(player->stepPicture(false));
    QVERIFY(player->isStepping());
    player->play();
    QVERIFY(!player->isStepping());
    QTest::qWait(1000);
    QCOMPARE(finished.count(), 0);
    // A seek while paused ends it as well.
    player->pause();
    QTest::qWait(200);
    QVERIFY(player->stepPicture(false));
    QVERIFY(player->isStepping());
    player->seek(1.0);
    QVERIFY(!player->isStepping());
    QTest::qWait(1000);
    QCOMPARE(finished.count(), 0);
}

void TestLuPlayer::stepDoesNotWaitForAChannelWithoutPictures() {
    QCOMPARE(player->startPlay(pairOf(pairClip("front-1080p.mp4"), pairClip("rear-novideo.mp4"))),
             0);
    QCOMPARE(view->getPlayerCount(), 2);
    QTRY_VERIFY(view->frontView->getPictureTime() > 1.5);
    player->pause();
    QTest::qWait(200);
    QVERIFY(player->getRearPlayer()->isOpenFile());
    const double front0 = view->frontView->getPictureTime();
    QSignalSpy finished(player.get(), &LuPlayer::stepFinished);
    QElapsedTimer waited;
    waited.start();
    QVERIFY(player->stepPicture(false));
    // The rear has no picture to step from: the step ends when the front has stepped back.
    QTRY_VERIFY_WITH_TIMEOUT(finished.count() == 1, 6000);
    const qint64 elapsed = waited.elapsed();
    QVERIFY(qAbs(view->frontView->getPictureTime() - (front0 - kFrameInterval)) < kTimeTolerance);
    QCOMPARE(view->rearView->getPictureTime(), -1.0);
    QVERIFY(!player->isStepping());
    if (kTimingAsserted) {
        QVERIFY2(elapsed < LuPlayer::kStepGiveUpMs,
                 qPrintable(QString("reported after %1 ms").arg(elapsed)));
    }
}

KV_TEST_MAIN(TestLuPlayer)
#include "tst_luplayer.moc"
