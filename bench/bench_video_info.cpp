// How long a card scan spends per clip: readVideoInfo() (clip details plus a new first-picture
// thumbnail) against the ffmpeg command line writing the same thumbnail
// (ffmpeg -i clip -frames:v 1 -y thumb.jpg), over the same clips in the same run.
//
//   kv_bench_video_info <folder of clips> [rounds]
//
// Each round times both over every clip; the fastest round of each side counts, which keeps a
// busy neighbour on the shared machine from deciding the result. Prints both totals, the ratio
// ours/CLI and the goal (at most 0.6).
#include "KvMediaUtils.h"

extern "C" {
#include <libavutil/log.h>
}

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <clocale>

namespace {

constexpr int kDefaultRounds = 3;
constexpr double kGoalRatio = 0.6;

// Seconds for one pass of readVideoInfo over the clips, each writing a new thumbnail; -1 when a
// clip fails.
double timeOurs(const QStringList& clips, const QString& thumbDir) {
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < clips.size(); ++i) {
        _video_info info;
        info.thumbPath = QString("%1/ours-%2.jpg").arg(thumbDir).arg(i);
        QFile::remove(info.thumbPath);
        if (readVideoInfo(clips[i].toUtf8().constData(), &info, nullptr) != 0 ||
            !QFileInfo(info.thumbPath).size()) {
            std::fprintf(stderr, "readVideoInfo failed on %s\n", qPrintable(clips[i]));
            return -1;
        }
    }
    return timer.nsecsElapsed() / 1e9;
}

// Seconds for one pass of the ffmpeg command line over the clips; -1 when a run fails.
double timeCli(const QStringList& clips, const QString& thumbDir) {
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < clips.size(); ++i) {
        const QString thumb = QString("%1/cli-%2.jpg").arg(thumbDir).arg(i);
        const int exitCode = QProcess::execute(
            "ffmpeg", {"-nostdin", "-v", "error", "-i", clips[i], "-frames:v", "1", "-y", thumb});
        if (exitCode != 0 || !QFileInfo(thumb).size()) {
            std::fprintf(stderr, "ffmpeg failed on %s\n", qPrintable(clips[i]));
            return -1;
        }
    }
    return timer.nsecsElapsed() / 1e9;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    // Numbers in the output keep their decimal point under every locale.
    std::setlocale(LC_NUMERIC, "C");
    if (argc < 2) {
        std::fprintf(stderr, "usage: kv_bench_video_info <folder of clips> [rounds]\n");
        return 2;
    }
    av_log_set_level(AV_LOG_ERROR);
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    QStringList clips;
    for (const QString& name : folder.entryList({"*.mp4", "*.MP4"}, QDir::Files, QDir::Name)) {
        clips << folder.absoluteFilePath(name);
    }
    const int rounds = argc > 2 ? std::max(1, atoi(argv[2])) : kDefaultRounds;
    QTemporaryDir thumbs;
    if (clips.isEmpty() || !thumbs.isValid()) {
        std::fprintf(stderr, "no clips in %s\n", argv[1]);
        return 2;
    }

    // Warm the file cache and the libraries once, untimed, for both sides.
    timeOurs(clips.mid(0, 2), thumbs.path());
    timeCli(clips.mid(0, 2), thumbs.path());

    double ours = std::numeric_limits<double>::max();
    double cli = std::numeric_limits<double>::max();
    for (int round = 0; round < rounds; ++round) {
        const double oursRound = timeOurs(clips, thumbs.path());
        const double cliRound = timeCli(clips, thumbs.path());
        if (oursRound < 0 || cliRound < 0) {
            return 1;
        }
        std::printf("round %d: readVideoInfo %.3f s, ffmpeg CLI %.3f s\n", round + 1, oursRound,
                    cliRound);
        ours = std::min(ours, oursRound);
        cli = std::min(cli, cliRound);
    }
    const double ratio = ours / cli;
    std::printf("clips: %d, rounds: %d (fastest round of each counts)\n", int(clips.size()),
                rounds);
    std::printf("readVideoInfo total: %.3f s (%.1f ms per clip)\n", ours,
                1000 * ours / clips.size());
    std::printf("ffmpeg CLI total:    %.3f s (%.1f ms per clip)\n", cli, 1000 * cli / clips.size());
    std::printf("ratio ours/CLI: %.3f (goal <= %.1f): %s\n", ratio, kGoalRatio,
                ratio <= kGoalRatio ? "met" : "NOT met");
    return 0;
}
