// How long opening a recording waits for its GPS track: readGPSFromVideo() on a long clip
// against the ffmpeg command line extracting the same subtitle track
// (ffmpeg -i clip -map 0:s:0 -f srt -), in the same run on the same clip.
//
//   kv_bench_gps_track <clip> [rounds]
//
// Each round times our reader (skipping the other streams' payload, as the player does), our
// reader reading every payload (for comparison) and the CLI; the fastest round of each counts.
// The bytes our reader reads from the file come from /proc/self/io ("rchar", bytes passed by
// read calls). Prints the figures, the ratio ours/CLI (goal at most 0.5) and the bytes read as a
// share of the file size (goal under 5 %).
#include "KvGPSReader.h"

extern "C" {
#include <libavutil/log.h>
}

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QProcess>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <clocale>

namespace {

constexpr int kDefaultRounds = 3;
constexpr double kGoalRatio = 0.5;
constexpr double kGoalBytesShare = 0.05;

// Bytes this process has passed through read calls so far; -1 when /proc is not there.
qint64 bytesReadSoFar() {
    QFile io(QStringLiteral("/proc/self/io"));
    if (!io.open(QIODevice::ReadOnly)) {
        return -1;
    }
    for (QByteArray const& line : io.readAll().split('\n')) {
        if (line.startsWith("rchar:")) {
            return line.mid(6).trimmed().toLongLong();
        }
    }
    return -1;
}

struct Run {
    double seconds = -1;
    qint64 bytes = -1;
    QVector<KvLocation> track;
};

Run timeOurs(QString const& clip, bool discardOtherStreams) {
    Run run;
    qint64 const before = bytesReadSoFar();
    QElapsedTimer timer;
    timer.start();
    if (!readGPSFromVideo(run.track, clip, discardOtherStreams)) {
        std::fprintf(stderr, "readGPSFromVideo found no track in %s\n", qPrintable(clip));
        return run;
    }
    run.seconds = timer.nsecsElapsed() / 1e9;
    run.bytes = bytesReadSoFar() - before;
    return run;
}

double timeCli(QString const& clip) {
    QProcess ffmpeg;
    ffmpeg.setStandardOutputFile(QProcess::nullDevice());
    QElapsedTimer timer;
    timer.start();
    ffmpeg.start("ffmpeg",
                 {"-nostdin", "-v", "error", "-i", clip, "-map", "0:s:0", "-f", "srt", "-"});
    if (!ffmpeg.waitForFinished(-1) || ffmpeg.exitCode() != 0) {
        std::fprintf(stderr, "ffmpeg failed on %s\n", qPrintable(clip));
        return -1;
    }
    return timer.nsecsElapsed() / 1e9;
}

bool sameTrack(QVector<KvLocation> const& a, QVector<KvLocation> const& b) {
    if (a.size() != b.size()) {
        return false;
    }
    for (int i = 0; i < a.size(); ++i) {
        if (a[i].valid != b[i].valid || a[i].latitude != b[i].latitude ||
            a[i].longitude != b[i].longitude || a[i].speed != b[i].speed ||
            a[i].gsensorX != b[i].gsensorX || !KvLocation::isSameSecond(a[i], b[i])) {
            return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    // Numbers in the output keep their decimal point under every locale.
    std::setlocale(LC_NUMERIC, "C");
    if (argc < 2) {
        std::fprintf(stderr, "usage: kv_bench_gps_track <clip> [rounds]\n");
        return 2;
    }
    av_log_set_level(AV_LOG_ERROR);
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    QString const clip = QString::fromLocal8Bit(argv[1]);
    int const rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : kDefaultRounds;
    qint64 const fileSize = QFileInfo(clip).size();

    double bestOurs = std::numeric_limits<double>::max();
    double bestReadAll = std::numeric_limits<double>::max();
    double bestCli = std::numeric_limits<double>::max();
    qint64 bytesOurs = -1;
    qint64 bytesReadAll = -1;
    QVector<KvLocation> track;
    for (int round = 0; round < rounds; ++round) {
        Run const ours = timeOurs(clip, true);
        Run const readAll = timeOurs(clip, false);
        double const cli = timeCli(clip);
        if (ours.seconds < 0 || readAll.seconds < 0 || cli < 0) {
            return 1;
        }
        if (!sameTrack(ours.track, readAll.track)) {
            std::fprintf(stderr, "the track differs when the other streams are skipped\n");
            return 1;
        }
        track = ours.track;
        bestOurs = std::min(bestOurs, ours.seconds);
        bestReadAll = std::min(bestReadAll, readAll.seconds);
        bestCli = std::min(bestCli, cli);
        bytesOurs = ours.bytes;
        bytesReadAll = readAll.bytes;
    }

    double const ratio = bestOurs / bestCli;
    double const share = double(bytesOurs) / double(fileSize);
    std::printf("GPS track of %s (%.1f MB, %d fixes), fastest of %d rounds:\n", qPrintable(clip),
                fileSize / 1e6, int(track.size()), rounds);
    std::printf("  readGPSFromVideo                  %8.3f s, %10lld bytes read (%.2f %% of the "
                "file)\n",
                bestOurs, static_cast<long long>(bytesOurs), 100.0 * share);
    std::printf("  readGPSFromVideo, all payloads    %8.3f s, %10lld bytes read (%.2f %% of the "
                "file)\n",
                bestReadAll, static_cast<long long>(bytesReadAll),
                100.0 * double(bytesReadAll) / double(fileSize));
    std::printf("  ffmpeg -i clip -map 0:s:0 -f srt - %7.3f s\n", bestCli);
    std::printf("  ratio ours/CLI %.3f (goal <= %.1f): %s\n", ratio, kGoalRatio,
                ratio <= kGoalRatio ? "met" : "NOT met");
    std::printf("  bytes read %.2f %% of the file (goal < %.0f %%): %s\n", 100.0 * share,
                100.0 * kGoalBytesShare, share < kGoalBytesShare ? "met" : "NOT met");
    return 0;
}
