// LuPlayer's single-picture steps with a real LuVideoView under Xvfb, checked by the pixels the
// two views show against the pictures the ffmpeg command-line tool decodes from the same clips:
// every step moves exactly one picture in its direction, on the front and on the rear, also when
// the direction changes and when a step leaves the pictures decoded ahead; the rear shows the
// front's instant after every step, also when it was a picture ahead at the pause; the first
// picture is as far back as a step goes; playing resumes at the stepped picture, and a seek after
// steps lands on its own target. The pair is made here with the ffmpeg CLI: both clips at 30
// pictures a second from 0 s, the front with B-frames and a key frame every 30 pictures, the rear
// without B-frames with key frames every 12 pictures from picture 7, so that refills land on
// different key frames in the two clips.

#include "KvReferenceFrames.h"
#include "KvTestMain.h"
#include "LuPlayerTestUtil.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using namespace kvtest;

// A helper's failed check ends the test function that called it.
#define KV_CHECKED(call)                                                                           \
    do {                                                                                           \
        call;                                                                                      \
        if (QTest::currentTestFailed()) {                                                          \
            return;                                                                                \
        }                                                                                          \
    } while (false)

namespace {

constexpr int kSeconds = 4;
constexpr int kFrontWidth = 320;
constexpr int kFrontHeight = 180;
constexpr int kRearWidth = 240;
constexpr int kRearHeight = 136;
// The picture the steps of the direction change start from.
constexpr int kStartPicture = 37;
// Long enough for a step back that refills both channels, even under a sanitizer.
constexpr int kStepWaitMs = 10000;

QStringList clipArguments(const QString& source, int width, int height, const QStringList& codec,
                          const QString& path) {
    return QStringList{"-f", "lavfi", "-i",
                       QString("%1=size=%2x%3:rate=30:duration=%4")
                           .arg(source)
                           .arg(width)
                           .arg(height)
                           .arg(kSeconds)} +
           codec + QStringList{"-pix_fmt", "yuv420p", path};
}

} // namespace

class TestLuPlayerStep : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void directionChangeMovesOnePictureEachWay();
    void stepsBackLeaveTheCacheAndStopAtTheFirstPicture();
    void stepsForwardRunThroughTheCache();
    void aRearAheadAtThePauseComesInStep();
    void playResumesAtTheSteppedPicture();
    void seekAfterStepsLandsOnItsTarget();

private:
    // Starts the pair, lets it play past `seconds` and pauses it.
    void _playAndPause(double seconds);
    // One step through stepPicture(), waited for until stepFinished(); fails the test when the
    // step was refused or never finished.
    void _step(bool forward);
    // Steps forward until the front shows picture `target` (which lies ahead).
    void _stepForwardTo(int target);
    // The numbers of the pictures the front and the rear show, by their pixels.
    int _frontPicture();
    int _rearPicture();
    // Fails the test unless the front shows picture `expected` and the rear the same instant.
    void _expectBoth(int expected, const char* when);
    // The time of the first picture the front shows after the one at `shown`; -1 when none came.
    double _nextFrontTime(double shown);

    QTemporaryDir dir;
    QString front;
    QString rear;
    KvReferenceFrames frontFrames;
    KvReferenceFrames rearFrames;
    std::unique_ptr<PairRig> rig;
};

void TestLuPlayerStep::initTestCase() {
    QVERIFY(dir.isValid());
    front = dir.filePath("front.mp4");
    rear = dir.filePath("rear.mp4");
    const QStringList frontCodec{
        "-c:v", "libx264", "-preset",     "ultrafast", "-bf",           "2",
        "-g",   "30",      "-keyint_min", "30",        "-sc_threshold", "0"};
    const QStringList rearCodec{"-c:v",
                                "libx264",
                                "-preset",
                                "ultrafast",
                                "-bf",
                                "0",
                                "-g",
                                "12",
                                "-keyint_min",
                                "12",
                                "-force_key_frames",
                                "expr:gte(n,7)*eq(mod(n-7,12),0)"};
    QString error =
        runFfmpeg(clipArguments("testsrc", kFrontWidth, kFrontHeight, frontCodec, front));
    QVERIFY2(error.isEmpty(), qPrintable(error));
    error = runFfmpeg(clipArguments("testsrc2", kRearWidth, kRearHeight, rearCodec, rear));
    QVERIFY2(error.isEmpty(), qPrintable(error));
    error = frontFrames.load(front, kFrontWidth, kFrontHeight);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    error = rearFrames.load(rear, kRearWidth, kRearHeight);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QCOMPARE(frontFrames.count(), 30 * kSeconds);
    QCOMPARE(rearFrames.count(), 30 * kSeconds);
    // Each picture tells itself apart from every other.
    QVERIFY(frontFrames.allDistinct());
    QVERIFY(rearFrames.allDistinct());
}

void TestLuPlayerStep::init() {
    rig = std::make_unique<PairRig>();
    QVERIFY(rig->exposed());
}

void TestLuPlayerStep::cleanup() {
    rig.reset();
}

void TestLuPlayerStep::_playAndPause(double seconds) {
    QCOMPARE(rig->startPair(front, rear), 0);
    QVERIFY(rig->waitForFrontPast(seconds));
    QVERIFY(rig->waitForRearPast(seconds));
    rig->player.pause();
    QVERIFY(!rig->player.isPlaying());
    QVERIFY(_frontPicture() >= 0);
    QVERIFY(_rearPicture() >= 0);
}

void TestLuPlayerStep::_step(bool forward) {
    QSignalSpy finished(&rig->player, &LuPlayer::stepFinished);
    QVERIFY2(rig->player.stepPicture(forward),
             forward ? "step forward refused" : "step back refused");
    QVERIFY2(finished.count() == 1 || finished.wait(kStepWaitMs), "the step never finished");
    QCOMPARE(finished.count(), 1);
    QVERIFY(!rig->player.isStepping());
    QCOMPARE(finished.at(0).at(0).toDouble(), rig->view.frontView->getPictureTime());
}

void TestLuPlayerStep::_stepForwardTo(int target) {
    for (int picture = _frontPicture(); picture >= 0 && picture < target; ++picture) {
        KV_CHECKED(_step(true));
        QCOMPARE(_frontPicture(), picture + 1);
    }
    QCOMPARE(_frontPicture(), target);
}

int TestLuPlayerStep::_frontPicture() {
    const std::unique_ptr<KvYUV420P> shown = rig->view.frontView->copyPicture();
    return frontFrames.indexOf(shown.get());
}

int TestLuPlayerStep::_rearPicture() {
    const std::unique_ptr<KvYUV420P> shown = rig->view.rearView->copyPicture();
    return rearFrames.indexOf(shown.get());
}

void TestLuPlayerStep::_expectBoth(int expected, const char* when) {
    const int frontShown = _frontPicture();
    const int rearShown = _rearPicture();
    const QString what = QString("%1: front shows picture %2, rear %3, expected %4")
                             .arg(when)
                             .arg(frontShown)
                             .arg(rearShown)
                             .arg(expected);
    QVERIFY2(frontShown == expected && rearShown == expected, qPrintable(what));
    // The times the views carry are those of the pictures they show.
    QVERIFY2(qAbs(rig->view.frontView->getPictureTime() - expected * kFrameInterval) <
                 kTimeTolerance,
             qPrintable(what));
    QVERIFY2(qAbs(rig->view.rearView->getPictureTime() - expected * kFrameInterval) <
                 kTimeTolerance,
             qPrintable(what));
}

double TestLuPlayerStep::_nextFrontTime(double shown) {
    double next = -1.0;
    // Whether it came in time shows in the result.
    (void)QTest::qWaitFor(
        [&] {
            const double now = rig->view.frontView->getPictureTime();
            if (qAbs(now - shown) > kTimeTolerance) {
                next = now;
            }
            return next >= 0;
        },
        kStepWaitMs);
    return next;
}

void TestLuPlayerStep::directionChangeMovesOnePictureEachWay() {
    KV_CHECKED(_playAndPause(0.3));
    QVERIFY(_frontPicture() < kStartPicture);
    KV_CHECKED(_stepForwardTo(kStartPicture));
    KV_CHECKED(_expectBoth(kStartPicture, "forward to the start"));
    // Back twice (the first refills both caches from their key frames), then forward: 36, 35,
    // 36, never 34.
    KV_CHECKED(_step(false));
    KV_CHECKED(_expectBoth(kStartPicture - 1, "first step back"));
    KV_CHECKED(_step(false));
    KV_CHECKED(_expectBoth(kStartPicture - 2, "second step back"));
    KV_CHECKED(_step(true));
    KV_CHECKED(_expectBoth(kStartPicture - 1, "step forward after two back"));
    KV_CHECKED(_step(true));
    KV_CHECKED(_expectBoth(kStartPicture, "second step forward"));
    KV_CHECKED(_step(true));
    KV_CHECKED(_expectBoth(kStartPicture + 1, "third step forward"));
    KV_CHECKED(_step(false));
    KV_CHECKED(_expectBoth(kStartPicture, "step back after three forward"));
    KV_CHECKED(_step(true));
    KV_CHECKED(_expectBoth(kStartPicture + 1, "step forward after one back"));
}

void TestLuPlayerStep::stepsBackLeaveTheCacheAndStopAtTheFirstPicture() {
    KV_CHECKED(_playAndPause(1.5));
    const int start = _frontPicture();
    QVERIFY(start > 45);
    // Far enough back that the refilled pictures run out more than once.
    for (int expected = start - 1; expected >= 0; --expected) {
        KV_CHECKED(_step(false));
        KV_CHECKED(_expectBoth(expected, "stepping back"));
    }
    // The first picture: a step back keeps it, on both channels.
    KV_CHECKED(_step(false));
    KV_CHECKED(_expectBoth(0, "a step back at the first picture"));
    KV_CHECKED(_step(true));
    KV_CHECKED(_expectBoth(1, "a step forward from the first picture"));
}

void TestLuPlayerStep::stepsForwardRunThroughTheCache() {
    KV_CHECKED(_playAndPause(0.3));
    const int start = _frontPicture();
    // More pictures than either core keeps decoded ahead (at most 61).
    const int target = start + 70;
    QVERIFY(target < frontFrames.count() - 10);
    for (int expected = start + 1; expected <= target; ++expected) {
        KV_CHECKED(_step(true));
        KV_CHECKED(_expectBoth(expected, "stepping forward"));
    }
    // And back into the pictures the forward steps went through.
    KV_CHECKED(_step(false));
    KV_CHECKED(_expectBoth(target - 1, "back after seventy forward"));
}

void TestLuPlayerStep::aRearAheadAtThePauseComesInStep() {
    KV_CHECKED(_playAndPause(1.0));
    const int start = _frontPicture();
    // The rear core alone takes pictures from its queue until it is one ahead of the front, as
    // the rear may be when the pair is paused between the two channels' pictures.
    for (int tries = 0; tries < 5 && _rearPicture() <= start; ++tries) {
        rig->player.getRearPlayer()->playNextVideo();
    }
    QCOMPARE(_rearPicture(), start + 1);
    // A step forward brings the front to the rear, which stays; then both move together.
    KV_CHECKED(_step(true));
    KV_CHECKED(_expectBoth(start + 1, "forward with the rear ahead"));
    KV_CHECKED(_step(true));
    KV_CHECKED(_expectBoth(start + 2, "second step forward"));
    KV_CHECKED(_step(false));
    KV_CHECKED(_expectBoth(start + 1, "back after two forward"));
}

void TestLuPlayerStep::playResumesAtTheSteppedPicture() {
    KV_CHECKED(_playAndPause(1.5));
    const int start = _frontPicture();
    for (int step = 0; step < 5; ++step) {
        KV_CHECKED(_step(false));
    }
    KV_CHECKED(_step(true));
    KV_CHECKED(_expectBoth(start - 4, "after the steps"));
    const double stepped = rig->view.frontView->getPictureTime();
    rig->player.play();
    // Playing goes on from the stepped picture, not from where playing had stopped (five
    // pictures further on).
    const double next = _nextFrontTime(stepped);
    QVERIFY2(next > stepped && next <= stepped + 2 * kFrameInterval + kTimeTolerance,
             qPrintable(QString("%1 after %2").arg(next).arg(stepped)));
    QVERIFY(rig->waitForFrontPast(stepped + 0.5));
    QVERIFY(rig->waitForRearPast(stepped + 0.5));
}

void TestLuPlayerStep::seekAfterStepsLandsOnItsTarget() {
    KV_CHECKED(_playAndPause(1.0));
    KV_CHECKED(_step(false));
    KV_CHECKED(_step(true));
    KV_CHECKED(_step(true));
    // As the window does when the time slider moves while paused: seek, then play on.
    constexpr double target = 3.0;
    const double stepped = rig->view.frontView->getPictureTime();
    rig->player.seek(target);
    rig->player.pause();
    rig->player.play();
    // The first picture after the seek is the target's, not the stepped one's successor.
    const double next = _nextFrontTime(stepped);
    QVERIFY2(next >= target - kFrameInterval - kTimeTolerance && next < target + 0.5,
             qPrintable(QString("%1 after a seek to %2").arg(next).arg(target)));
    QVERIFY(rig->waitForRearPast(target - kFrameInterval - kTimeTolerance));
}

KV_TEST_MAIN(TestLuPlayerStep)
#include "tst_luplayerstep.moc"
