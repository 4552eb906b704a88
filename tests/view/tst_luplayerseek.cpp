// LuPlayer with a real LuVideoView under Xvfb, on a pair whose rear clip ends before its front (a
// rear camera that started recording later, or stopped earlier): once the rear core has played
// its file to the end while the front plays on, a seek back brings the rear's pictures again,
// whether the pair was playing or paused. The pair is made here with the ffmpeg CLI.

#include "KvTestMain.h"
#include "LuPlayerTestUtil.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using namespace kvtest;

namespace {

// Lengths of the pair: the rear ends half-way through the front.
constexpr int kFrontSeconds = 6;
constexpr int kRearSeconds = 3;
// The rear's last picture (30 fps) lies after this; the front is past kFrontPlaying by the time
// the rear core has run dry.
constexpr double kRearEnd = kRearSeconds - 0.1;
constexpr double kFrontPlaying = 4.0;
// Where the seek goes back to.
constexpr double kTarget = 1.0;
constexpr int kPlayTimeoutMs = 20000;
constexpr int kClipTimeoutMs = 60000;

// Writes a clip of `seconds` with a test picture and a tone, a key frame every second.
QString makeClip(const QString& path, const char* size, int seconds) {
    const QString length = QString::number(seconds);
    QProcess ffmpeg;
    ffmpeg.setProcessChannelMode(QProcess::MergedChannels);
    kvtest::startTool(ffmpeg, QStringLiteral("ffmpeg"),
                      {"-nostdin",
                       "-hide_banner",
                       "-loglevel",
                       "error",
                       "-y",
                       "-f",
                       "lavfi",
                       "-i",
                       QString("testsrc2=size=%1:rate=30:duration=%2").arg(size, length),
                       "-f",
                       "lavfi",
                       "-i",
                       QString("sine=frequency=440:sample_rate=48000:duration=%1").arg(length),
                       "-c:v",
                       "libx264",
                       "-preset",
                       "ultrafast",
                       "-bf",
                       "0",
                       "-g",
                       "30",
                       "-keyint_min",
                       "30",
                       "-sc_threshold",
                       "0",
                       "-pix_fmt",
                       "yuv420p",
                       "-c:a",
                       "aac",
                       "-b:a",
                       "64k",
                       "-ac",
                       "2",
                       "-shortest",
                       path});
    if (!ffmpeg.waitForFinished(kClipTimeoutMs) || ffmpeg.exitStatus() != QProcess::NormalExit ||
        ffmpeg.exitCode() != 0) {
        return QString("ffmpeg failed for %1: %2 %3")
            .arg(path, ffmpeg.errorString(), QString::fromUtf8(ffmpeg.readAll()));
    }
    return QString();
}

} // namespace

class TestLuPlayerSeek : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void seekBackWhilePlayingRestartsTheEndedRear();
    void seekBackWhilePausedRestartsTheEndedRear();

private:
    // Starts the pair and waits until the rear has run dry while the front plays on.
    bool playUntilTheRearHasEnded();
    // Waits until the rear shows a picture from the target on, then that it advances; fails the
    // test otherwise.
    void expectTheRearBackAtTheTarget();

    QTemporaryDir dir;
    QString front;
    QString rear;
    std::unique_ptr<PairRig> rig;
};

void TestLuPlayerSeek::initTestCase() {
    QVERIFY(dir.isValid());
    front = dir.filePath("front.mp4");
    rear = dir.filePath("rear-short.mp4");
    const QString frontError = makeClip(front, "640x360", kFrontSeconds);
    QVERIFY2(frontError.isEmpty(), qPrintable(frontError));
    const QString rearError = makeClip(rear, "320x180", kRearSeconds);
    QVERIFY2(rearError.isEmpty(), qPrintable(rearError));
}

void TestLuPlayerSeek::init() {
    rig = std::make_unique<PairRig>();
    QVERIFY(rig->exposed());
}

void TestLuPlayerSeek::cleanup() {
    rig.reset();
}

bool TestLuPlayerSeek::playUntilTheRearHasEnded() {
    if (rig->startPair(front, rear) != 0 || !rig->waitForRearPast(kRearEnd, kPlayTimeoutMs) ||
        !rig->waitForFrontPast(kFrontPlaying, kPlayTimeoutMs)) {
        return false;
    }
    // The rear keeps its last picture; the pair as a whole still plays.
    const double last = rig->view.rearView->getPictureTime();
    return last > kRearEnd && last < kRearSeconds && rig->player.isPlaying();
}

void TestLuPlayerSeek::expectTheRearBackAtTheTarget() {
    LuVideoView& view = rig->view;
    QVERIFY2(QTest::qWaitFor([&] { return view.rearView->getPictureTime() < kTarget + 1.0; },
                             kChannelWaitMs),
             qPrintable(QString::number(view.rearView->getPictureTime())));
    const double back = view.rearView->getPictureTime();
    const double frontThen = view.frontView->getPictureTime();
    // Landed on the picture showing at the target, not before it, and the front is there too.
    QVERIFY2(back >= kTarget - kFrameInterval - kTimeTolerance, qPrintable(QString::number(back)));
    QVERIFY2(frontThen >= kTarget - kFrameInterval - kTimeTolerance && frontThen < kTarget + 1.0,
             qPrintable(QString::number(frontThen)));
    // And the rear plays on from there.
    QVERIFY2(rig->waitForRearPast(back + 0.5),
             qPrintable(QString("%1 after %2").arg(view.rearView->getPictureTime()).arg(back)));
}

void TestLuPlayerSeek::seekBackWhilePlayingRestartsTheEndedRear() {
    QVERIFY(playUntilTheRearHasEnded());
    rig->player.seek(kTarget);
    expectTheRearBackAtTheTarget();
    if (QTest::currentTestFailed()) {
        return;
    }
    QVERIFY(rig->player.getRearPlayer()->isPlaying());
    // To its end again.
    QVERIFY(rig->waitForRearPast(kRearEnd, kPlayTimeoutMs));
}

void TestLuPlayerSeek::seekBackWhilePausedRestartsTheEndedRear() {
    QVERIFY(playUntilTheRearHasEnded());
    rig->player.pause();
    QVERIFY(!rig->player.isPlaying());
    rig->player.seek(kTarget);
    // Paused, the seek decodes from the target but shows nothing yet.
    QTest::qWait(300);
    QVERIFY(!rig->player.isPlaying());
    QVERIFY(rig->player.getRearPlayer()->isOpenFile());
    QVERIFY(rig->view.rearView->getPictureTime() > kRearEnd);
    rig->player.play();
    expectTheRearBackAtTheTarget();
}

KV_TEST_MAIN(TestLuPlayerSeek)
#include "ToolProcess.h"
#include "tst_luplayerseek.moc"
