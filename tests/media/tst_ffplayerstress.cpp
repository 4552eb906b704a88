// Starts, pauses, seeks, steps and stops a player in a quick random (but seeded, so repeatable)
// order for 30 seconds. Nothing may crash, hang or leak; the sanitizer builds run this too.

#include "KvPlayerTestUtil.h"
#include "KvTestMain.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QtTest>

using namespace kvtest;

namespace {

constexpr quint32 kSeed = 20261122;
constexpr qint64 kRunMs = 30000;
// No operation may take longer than this: stopping a worker is a matter of milliseconds.
constexpr qint64 kSlowestOperationMs = 2000;
// Longest pause between two operations.
constexpr int kMaxGapMs = 120;

enum Operation { StartPlay, StopPlay, Pause, Play, Seek, Start, Stop, StepNext, StepPrev, Volume };
constexpr int kOperations = Volume + 1;

} // namespace

class TestFFPlayerStress : public QObject {
    Q_OBJECT
private slots:
    void randomOperationsFor30Seconds();
};

void TestFFPlayerStress::randomOperationsFor30Seconds() {
    const QByteArray clips[] = {playbackClip("long-10s.mp4"),   playbackClip("play-3s.mp4"),
                                playbackClip("step-25fps.mp4"), mediaClip("mjpeg-pcm.avi"),
                                mediaClip("truncated.mp4"),     mediaClip("empty.mp4")};
    QRandomGenerator random(kSeed);
    PlayerRig rig;
    TestPlayer& player = rig.player;

    int counts[kOperations] = {};
    qint64 slowest = 0;
    QElapsedTimer run;
    run.start();
    while (run.elapsed() < kRunMs) {
        const auto operation = Operation(random.bounded(kOperations));
        QElapsedTimer timer;
        timer.start();
        switch (operation) {
        case StartPlay:
            player.startPlay(clips[random.bounded(int(std::size(clips)))].constData());
            break;
        case StopPlay:
            player.stopPlay();
            break;
        case Pause:
            player.pause();
            break;
        case Play:
            player.play();
            break;
        case Seek:
            player.seek(random.bounded(player.duration() + 1.0));
            break;
        case Start:
            player.start();
            break;
        case Stop:
            player.stop();
            break;
        case StepNext:
            player.playNextVideo();
            break;
        case StepPrev:
            player.playPrevVideo();
            break;
        case Volume:
            player.setVolume(float(random.bounded(2)));
            break;
        }
        slowest = std::max(slowest, timer.elapsed());
        ++counts[operation];
        QTest::qWait(random.bounded(kMaxGapMs));
    }
    player.stopPlay();
    QVERIFY(!player.anyThread());
    QVERIFY2(slowest < kSlowestOperationMs, qPrintable(QString::number(slowest)));
    QString summary;
    int total = 0;
    for (int count : counts) {
        summary += QString::number(count) + " ";
        total += count;
    }
    qInfo("operations (startPlay stopPlay pause play seek start stop next prev volume): %s",
          qPrintable(summary));
    qInfo("%d operations, %d pictures shown, slowest operation %lld ms", total, rig.sink.count(),
          slowest);
    QVERIFY(total > 200);
    QVERIFY(rig.sink.count() > 100);
}

KV_TEST_GUILESS_MAIN(TestFFPlayerStress)
#include "tst_ffplayerstress.moc"
