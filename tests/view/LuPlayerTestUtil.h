#pragma once

// Helpers shared by the two-channel player tests: where the generated front/rear pairs are, a
// shown view with a player wired to it (PairRig), and a meter of how far apart the two channels'
// pictures are.

#include "KvVideoInfo.h"
#include "KvVideoView.h"
#include "LuPlayer.h"
#include "LuVideoView.h"
#include "ToolProcess.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QTest>

#include <algorithm>
#include <cmath>

namespace kvtest {

// One picture interval of the 30 fps pairs.
constexpr double kFrameInterval = 1.0 / 30;
// Tolerance for timestamps rounded to the container's time base.
constexpr double kTimeTolerance = 0.002;

inline QString pairClip(const QString& name) {
    return QString::fromUtf8(KV_TEST_MEDIA_DIR) + "/pair/" + name;
}

inline QString mediaClip(const QString& name) {
    return QString::fromUtf8(KV_TEST_MEDIA_DIR) + "/" + name;
}

inline KvVideoInfo pairOf(const QString& front, const QString& rear) {
    return KvVideoInfo(front, rear);
}

// How long a wait for a channel's pictures may take (QTRY_VERIFY's default).
constexpr int kChannelWaitMs = 5000;

// The two-channel view shown at 802 x 600 with a player wired to it, as the main window has them;
// the player stops when the rig goes. The waits return whether their condition came true in time,
// for QVERIFY.
struct PairRig {
    LuVideoView view;
    LuPlayer player; // after the view: destroyed (and its cores stopped) before it

    PairRig() {
        view.resize(802, 600);
        view.show();
        player.setVideoView(&view);
        view.reset();
    }
    ~PairRig() { player.stopPlay(); }
    PairRig(const PairRig&) = delete;
    PairRig& operator=(const PairRig&) = delete;

    // Whether the view reached the screen; OpenGL views draw nothing before.
    bool exposed() { return QTest::qWaitForWindowExposed(&view); }
    // LuPlayer::startPlay's result for the pair.
    int startPair(const QString& front, const QString& rear) {
        return player.startPlay(pairOf(front, rear));
    }
    // Until the front (rear) channel shows a picture later than `seconds`.
    bool waitForFrontPast(double seconds, int timeoutMs = kChannelWaitMs) {
        return QTest::qWaitFor([&] { return view.frontView->getPictureTime() > seconds; },
                               timeoutMs);
    }
    bool waitForRearPast(double seconds, int timeoutMs = kChannelWaitMs) {
        return QTest::qWaitFor([&] { return view.rearView->getPictureTime() > seconds; },
                               timeoutMs);
    }
};

// Samples, on the GUI thread, the times of the pictures the two channels show, and keeps the
// largest difference seen once half a second has passed since the last command.
class StepMeter {
public:
    explicit StepMeter(LuVideoView* view) : view(view) {
        since.start();
        clock.start();
    }
    // A command (start, seek, pause, play, step) was given now.
    void command() {
        since.restart();
        outSince = -1;
    }
    // Samples for the given time, every 2 ms.
    void watch(int milliseconds) {
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < milliseconds) {
            sample();
            QTest::qWait(2);
        }
    }
    void sample() {
        const double front = view->frontView->getPictureTime();
        const double rear = view->rearView->getPictureTime();
        if (front < 0 || rear < 0 || since.elapsed() < kSettleMs) {
            return;
        }
        const double difference = std::fabs(front - rear);
        // How long the channels stay more than a picture apart.
        const qint64 now = clock.elapsed();
        if (difference > kFrameInterval + kTimeTolerance) {
            if (outSince < 0) {
                outSince = now;
            }
            longestOut = std::max(longestOut, now - outSince);
            ++outSamples;
            if (qEnvironmentVariableIsSet("KV_STEP_TRACE")) {
                qInfo("apart at %lld ms: front %.3f rear %.3f", now, front, rear);
            }
        } else {
            outSince = -1;
        }
        if (difference > worst) {
            worst = difference;
            worstFront = front;
            worstRear = rear;
        }
        ++samples;
    }
    QString describe() const {
        return QString("largest difference %1 ms (front %2 s, rear %3 s) over %4 samples; %5 "
                       "samples more than a picture apart, the longest stretch %6 ms")
            .arg(worst * 1000, 0, 'f', 1)
            .arg(worstFront, 0, 'f', 3)
            .arg(worstRear, 0, 'f', 3)
            .arg(samples)
            .arg(outSamples)
            .arg(longestOut);
    }

    double worst = 0;
    int samples = 0;
    int outSamples = 0;    // samples more than a picture apart
    qint64 longestOut = 0; // milliseconds

private:
    static constexpr int kSettleMs = 500;
    LuVideoView* view;
    QElapsedTimer since;
    QElapsedTimer clock;
    qint64 outSince = -1;
    double worstFront = 0;
    double worstRear = 0;
};

// Streams the PulseAudio server plays at the moment (-1 when it cannot be asked).
inline int audioStreams() {
    QProcess pactl;
    kvtest::startTool(pactl, QStringLiteral("pactl"), {"list", "short", "sink-inputs"});
    if (!pactl.waitForFinished(5000) || pactl.exitCode() != 0) {
        return -1;
    }
    const QByteArray out = pactl.readAllStandardOutput().trimmed();
    return out.isEmpty() ? 0 : int(out.count('\n')) + 1;
}

// Threads of this process.
inline int threadCount() {
    return int(QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot).size());
}

} // namespace kvtest
