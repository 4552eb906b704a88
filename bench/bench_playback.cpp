// Two channels played at once, as a recording of the dash camera plays: a 1080p30 front clip and
// a 720p30 rear clip in two KvFFPlayers (front at full volume, rear muted), first without views
// and then with two KvVideoViews on screen. Counts late pictures (shown more than one frame
// interval after their due time) and the process's CPU time, and times the ffmpeg command line
// decoding the same clips' video (ffmpeg -threads 1 -i clip -map 0:v -f null -) in the same run.
//
//   kv_bench_playback <front clip> <rear clip> [noview|view|both]
//
// Goals without views: no late picture, and our CPU at most 1.3 times ffmpeg's decode CPU.
#include "KvFFPlayer.h"
#include "KvVideoView.h"
#include "KvYUV420P.h"

extern "C" {
#include <libavutil/log.h>
}

#include <QApplication>
#include <QElapsedTimer>
#include <QHBoxLayout>
#include <QProcess>
#include <QThread>
#include <QWidget>

#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <memory>
#include <mutex>
#include <clocale>

namespace {

constexpr double kGoalCpuRatio = 1.3;
// A recording plays at most this long past its duration before the bench gives up.
constexpr double kEndGraceSeconds = 10.0;
constexpr int kViewWidth = 640;
constexpr int kViewHeight = 360;

double cpuSeconds(int who) {
    rusage usage{};
    getrusage(who, &usage);
    return usage.ru_utime.tv_sec + usage.ru_utime.tv_usec / 1e6 + usage.ru_stime.tv_sec +
           usage.ru_stime.tv_usec / 1e6;
}

long peakMemoryKb() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// Lateness of each picture against its due time: the wall time of the channel's first picture
// plus the picture's timestamp offset.
class Lateness {
public:
    explicit Lateness(double frameInterval) : interval(frameInterval) { clock.start(); }
    void note(double time) {
        const double now = clock.nsecsElapsed() / 1e9;
        std::lock_guard<std::mutex> guard(mutex);
        if (pictures == 0) {
            firstWall = now;
            firstTime = time;
        }
        const double late = now - (firstWall + (time - firstTime));
        worst = std::max(worst, late);
        lateCount += late > interval ? 1 : 0;
        ++pictures;
    }
    int late() {
        std::lock_guard<std::mutex> guard(mutex);
        return lateCount;
    }
    int count() {
        std::lock_guard<std::mutex> guard(mutex);
        return pictures;
    }
    double worstSeconds() {
        std::lock_guard<std::mutex> guard(mutex);
        return worst;
    }

private:
    const double interval;
    QElapsedTimer clock;
    std::mutex mutex;
    int pictures = 0;
    int lateCount = 0;
    double firstWall = 0;
    double firstTime = 0;
    double worst = 0;
};

// Without a view: notes the picture and drops it.
class CountingSink : public KvVideoSink {
public:
    explicit CountingSink(Lateness* lateness) : lateness(lateness) {}
    void updateYUV420Async(KvYUV420P* picture) override {
        lateness->note(picture->time);
        delete picture;
    }

private:
    Lateness* lateness;
};

// A real view that also notes each picture as it is handed over.
class CountingView : public KvVideoView {
public:
    explicit CountingView(Lateness* lateness) : lateness(lateness) {}
    void updateYUV420Async(KvYUV420P* picture) override {
        lateness->note(picture->time);
        KvVideoView::updateYUV420Async(picture);
    }

private:
    Lateness* lateness;
};

struct EndFlag {
    std::atomic<bool> ended{false};
    static void callback(void* context, int code, double, double) {
        if (code == 1 || code == 2) {
            static_cast<EndFlag*>(context)->ended.store(true);
        }
    }
};

struct Result {
    double wall = 0;
    double cpu = 0;
    int late = 0;
    int pictures = 0;
    double worstLate = 0;
};

Result play(const QByteArray& front, const QByteArray& rear, bool withViews) {
    Lateness frontLate(1.0 / 30), rearLate(1.0 / 30);
    CountingSink frontSink(&frontLate), rearSink(&rearLate);
    std::unique_ptr<QWidget> window;
    CountingView* frontView = nullptr;
    CountingView* rearView = nullptr;
    if (withViews) {
        window = std::make_unique<QWidget>();
        auto* layout = new QHBoxLayout(window.get());
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(0);
        frontView = new CountingView(&frontLate);
        rearView = new CountingView(&rearLate);
        frontView->setFixedSize(kViewWidth, kViewHeight);
        rearView->setFixedSize(kViewWidth, kViewHeight);
        layout->addWidget(frontView);
        layout->addWidget(rearView);
        window->show();
        QApplication::processEvents();
    }
    KvFFPlayer frontPlayer, rearPlayer;
    EndFlag frontEnd, rearEnd;
    frontPlayer.setVolume(1.0f);
    rearPlayer.setVolume(0.0f);
    frontPlayer.setVideoView(withViews ? static_cast<KvVideoSink*>(frontView) : &frontSink);
    rearPlayer.setVideoView(withViews ? static_cast<KvVideoSink*>(rearView) : &rearSink);
    frontPlayer.setCallback(&frontEnd, &EndFlag::callback);
    rearPlayer.setCallback(&rearEnd, &EndFlag::callback);

    const double cpu0 = cpuSeconds(RUSAGE_SELF);
    QElapsedTimer wall;
    wall.start();
    if (frontPlayer.startPlay(front.constData()) < 0 ||
        rearPlayer.startPlay(rear.constData()) < 0) {
        std::fprintf(stderr, "cannot play %s / %s\n", front.constData(), rear.constData());
        return {};
    }
    const double limit = std::max(frontPlayer.duration(), rearPlayer.duration()) + kEndGraceSeconds;
    while (!(frontEnd.ended.load() && rearEnd.ended.load()) && wall.elapsed() < limit * 1000) {
        QApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::msleep(5);
    }
    Result result;
    result.wall = wall.nsecsElapsed() / 1e9;
    result.cpu = cpuSeconds(RUSAGE_SELF) - cpu0;
    frontPlayer.stopPlay();
    rearPlayer.stopPlay();
    result.late = frontLate.late() + rearLate.late();
    result.pictures = frontLate.count() + rearLate.count();
    result.worstLate = std::max(frontLate.worstSeconds(), rearLate.worstSeconds());
    return result;
}

// CPU seconds of the ffmpeg command line decoding the clip's video on one thread.
double ffmpegDecodeCpu(const QByteArray& clip) {
    const double before = cpuSeconds(RUSAGE_CHILDREN);
    const int exitCode =
        QProcess::execute("ffmpeg", {"-nostdin", "-v", "error", "-threads", "1", "-i",
                                     QString::fromUtf8(clip), "-map", "0:v", "-f", "null", "-"});
    if (exitCode != 0) {
        std::fprintf(stderr, "ffmpeg failed on %s\n", clip.constData());
        return -1;
    }
    return cpuSeconds(RUSAGE_CHILDREN) - before;
}

// The same, with both clips decoded at once by two ffmpeg processes, as the two player cores
// decode at once: on a shared pair of cores that costs CPU time of its own.
double ffmpegDecodeCpuTogether(const QByteArray& front, const QByteArray& rear) {
    const double before = cpuSeconds(RUSAGE_CHILDREN);
    QProcess processes[2];
    const QByteArray* clips[2] = {&front, &rear};
    for (int i = 0; i < 2; ++i) {
        processes[i].start("ffmpeg",
                           {"-nostdin", "-v", "error", "-threads", "1", "-i",
                            QString::fromUtf8(*clips[i]), "-map", "0:v", "-f", "null", "-"});
    }
    for (QProcess& process : processes) {
        if (!process.waitForFinished(-1) || process.exitCode() != 0) {
            std::fprintf(stderr, "ffmpeg failed\n");
            return -1;
        }
    }
    return cpuSeconds(RUSAGE_CHILDREN) - before;
}

void report(const char* name, const Result& result, double ffmpegCpu) {
    const double ratio = result.cpu / ffmpegCpu;
    std::printf("%-12s late pictures %d of %d (worst %.1f ms late), wall %.2f s, our CPU %.2f s "
                "(%.3f CPU s per s of playback), ffmpeg decode CPU %.2f s, ratio %.2f\n",
                name, result.late, result.pictures, result.worstLate * 1000, result.wall,
                result.cpu, result.cpu / result.wall, ffmpegCpu, ratio);
}

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    // Numbers in the output keep their decimal point under every locale.
    std::setlocale(LC_NUMERIC, "C");
    if (argc < 3) {
        std::fprintf(stderr,
                     "usage: kv_bench_playback <front clip> <rear clip> [noview|view|both]\n");
        return 2;
    }
    av_log_set_level(AV_LOG_ERROR);
    qputenv("QT_LOGGING_RULES", "*.debug=false");
    const QByteArray front = argv[1];
    const QByteArray rear = argv[2];
    const QByteArray mode = argc > 3 ? QByteArray(argv[3]) : QByteArray("both");

    // The machine is shared: ffmpeg is timed before and after the playback runs and its faster
    // pass counts, so that a busy neighbour during one pass does not flatter the ratio.
    const double ffmpegBefore = ffmpegDecodeCpu(front) + ffmpegDecodeCpu(rear);
    std::printf("ffmpeg -threads 1 decode of both clips' video: %.2f CPU s\n", ffmpegBefore);
    double ffmpegCpu = ffmpegBefore;
    int status = 0;
    Result withoutViews;
    if (mode == "noview" || mode == "both") {
        withoutViews = play(front, rear, false);
        const double ffmpegAfter = ffmpegDecodeCpu(front) + ffmpegDecodeCpu(rear);
        std::printf("ffmpeg -threads 1 decode of both clips' video, again: %.2f CPU s\n",
                    ffmpegAfter);
        ffmpegCpu = std::min(ffmpegBefore, ffmpegAfter);
        const Result& result = withoutViews;
        report("no views", result, ffmpegCpu);
        const double together = ffmpegDecodeCpuTogether(front, rear);
        std::printf("ffmpeg -threads 1 decoding both clips at once (two processes): %.2f CPU s; "
                    "our ratio against that %.2f\n",
                    together, result.cpu / together);
        const bool met = result.late == 0 && result.cpu <= kGoalCpuRatio * ffmpegCpu;
        std::printf("goal without views (no late picture, CPU ratio <= %.1f): %s\n", kGoalCpuRatio,
                    met ? "met" : "NOT met");
        status = met ? 0 : 1;
        std::printf("peak memory so far (max RSS): %.1f MiB\n", peakMemoryKb() / 1024.0);
    }
    if (mode == "view" || mode == "both") {
        report("with views", play(front, rear, true), ffmpegCpu);
    }
    std::printf("peak memory (max RSS): %.1f MiB\n", peakMemoryKb() / 1024.0);
    return status;
}
