// How long opening a recording waits for its GPS track: readGPSFromVideo() on a long clip
// against the ffmpeg command line extracting the same subtitle track
// (ffmpeg -i clip -map 0:s:0 -f srt -), in the same run on the same clip.
//
//   kv_bench_gps_track <clip> [rounds]
//   kv_bench_gps_track --layouts <seed clip> <folder> [rounds]
//   kv_bench_gps_track --export <folder> [rounds]
//
// Each round times our reader (skipping the other streams' payload, as the player does), our
// reader reading every payload (for comparison) and the CLI; the fastest round of each counts.
// The bytes our reader reads from the file come from /proc/self/io ("rchar", bytes passed by
// read calls). Prints the figures, the ratio ours/CLI (goal at most 0.5) and the bytes read as a
// share of the file size (goal under 5 %).
//
// With --export, a ten-hour track (36,000 fixes, one a second, across midnight) is merged and
// written as GPX, KML and CSV into <folder>; each format's fastest round is printed in the
// thread's own CPU time (goal under 200 ms each).
#include "Kv70maiGPSReader.h"
#include "KvGPSReader.h"
#include "KvLogCategories.h"
#include "KvNovatekGPSReader.h"
#include "KvSidecarGPSReader.h"
#include "KvTrackExporter.h"

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
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include <time.h>

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

// --- The other recorders' box layouts ------------------------------------------------------
//
// With --layouts, the seed clip (a short real clip whose moov follows its mdat, as ffmpeg
// writes it) is grown to about 1 GB per box layout in <folder>, once: its mdat gets a sparse
// tail (the pictures of a long recording stand in as holes, which the readers and ffprobe seek
// over like real data) and
// - novatek-index.MOV: one "freeGPS " block a second of an hour inside that tail, listed by a
//   "gps " box appended to moov;
// - novatek-free.MOV: the same blocks as top-level "free" boxes between mdat and moov;
// - 70mai.MP4: a top-level "GPS " box of 3,600 records after moov.
// Each reader is timed with the bytes it read, beside ffprobe opening the same file
// (ffprobe -show_format -show_streams). A one-hour NMEA sidecar (every second: GGA, GSA, three
// GSV, RMC and a G-sensor line) is timed on its own (goal under 20 ms).

constexpr qint64 kGrownSize = 1000LL * 1000 * 1000;
constexpr int kLayoutFixes = 3600;
constexpr int kNovatekBlock = 256;
constexpr int k70maiRecord = 36;
constexpr double kGoalSidecarSeconds = 0.020;
constexpr double kGoalBoxBytesShare = 0.01;

QByteArray be32(quint32 v) {
    QByteArray b(4, '\0');
    for (int i = 0; i < 4; ++i) {
        b[i] = char(v >> (8 * (3 - i)));
    }
    return b;
}

QByteArray le32(quint32 v) {
    QByteArray b(4, '\0');
    for (int i = 0; i < 4; ++i) {
        b[i] = char(v >> (8 * i));
    }
    return b;
}

QByteArray leFloat(float f) {
    quint32 bits = 0;
    std::memcpy(&bits, &f, sizeof(bits));
    return le32(bits);
}

QByteArray novatekBlock(int i) {
    QByteArray r = le32(10 + i / 3600) + le32(i / 60 % 60) + le32(i % 60) + le32('A');
    r += leFloat(float(3110.1234 + i * 0.01)) + le32('N') + leFloat(float(12130.5678)) + le32('E');
    r += leFloat(24.3f) + leFloat(90.0f) + le32(2026) + le32(3) + le32(15);
    QByteArray payload = QByteArray("GPS ") + QByteArray(36, '\0') + r;
    payload += QByteArray(kNovatekBlock - 8 - payload.size(), '\0');
    return be32(kNovatekBlock) + QByteArray("free") + payload;
}

QByteArray seventyMaiBox() {
    QByteArray records;
    for (int i = 0; i < kLayoutFixes; ++i) {
        records += le32(1) + le32(1) + le32(quint32(i)) + le32(105330) + 'N' +
                   le32(5211435 + quint32(i)) + 'E' + le32(2047369) + QByteArray(10, '\0');
    }
    return be32(quint32(8 + records.size())) + QByteArray("GPS ") + records;
}

struct Seed {
    QByteArray bytes;
    qint64 mdatOffset = -1, mdatSize = 0, moovOffset = -1, moovSize = 0;
};

// The seed's top-level mdat and moov (32-bit sizes, moov after mdat), else false.
bool readSeed(QString const& path, Seed* seed) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    seed->bytes = file.readAll();
    auto const* b = reinterpret_cast<unsigned char const*>(seed->bytes.constData());
    for (qint64 offset = 0; offset + 8 <= seed->bytes.size();) {
        qint64 const size = (qint64(b[offset]) << 24) | (b[offset + 1] << 16) |
                            (b[offset + 2] << 8) | b[offset + 3];
        if (size < 8) {
            return false;
        }
        if (std::memcmp(b + offset + 4, "mdat", 4) == 0) {
            seed->mdatOffset = offset, seed->mdatSize = size;
        } else if (std::memcmp(b + offset + 4, "moov", 4) == 0) {
            seed->moovOffset = offset, seed->moovSize = size;
        }
        offset += size;
    }
    return seed->mdatOffset >= 0 && seed->moovOffset > seed->mdatOffset;
}

enum class Layout { NovatekIndex, NovatekFree, SeventyMai };

// Writes the grown clip: the seed up to its mdat's end, the sparse tail of mdat (holding the
// blocks of the index layout), the top-level blocks of the free layout, moov (with the index)
// and the 70mai box.
bool growClip(Seed const& seed, QString const& path, Layout layout) {
    QFile out(path);
    if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        return false;
    }
    qint64 const mdatEnd = seed.mdatOffset + seed.mdatSize;
    qint64 const tail = kGrownSize - seed.bytes.size();
    qint64 const step = tail / kLayoutFixes;
    QByteArray head = seed.bytes.left(int(mdatEnd));
    head.replace(int(seed.mdatOffset), 4, be32(quint32(seed.mdatSize + tail)));
    out.write(head);
    QByteArray index = be32(0) + be32(kLayoutFixes);
    for (int i = 0; layout != Layout::SeventyMai && i < kLayoutFixes; ++i) {
        bool const inMdat = layout == Layout::NovatekIndex;
        qint64 const at = inMdat ? mdatEnd + i * step : mdatEnd + tail + i * kNovatekBlock;
        index += be32(quint32(at)) + be32(kNovatekBlock);
        out.seek(at);
        out.write(novatekBlock(i));
    }
    out.seek(mdatEnd + tail + (layout == Layout::NovatekFree ? kLayoutFixes * kNovatekBlock : 0));
    QByteArray moov = seed.bytes.mid(int(seed.moovOffset), int(seed.moovSize));
    if (layout == Layout::NovatekIndex) {
        QByteArray const gps = be32(quint32(8 + index.size())) + QByteArray("gps ") + index;
        moov.replace(0, 4, be32(quint32(moov.size() + gps.size())));
        moov += gps;
    }
    out.write(moov);
    if (layout == Layout::SeventyMai) {
        out.write(seventyMaiBox());
    }
    return out.error() == QFile::NoError;
}

// One hour of a logger's NMEA output, checksums included.
QByteArray oneHourNmea() {
    auto sentence = [](QByteArray const& body) {
        unsigned char sum = 0;
        for (char c : body) {
            sum ^= static_cast<unsigned char>(c);
        }
        char tail[8];
        std::snprintf(tail, sizeof(tail), "*%02X\r\n", sum);
        return QByteArray("$") + body + QByteArray(tail);
    };
    QByteArray text;
    for (int i = 0; i < kLayoutFixes; ++i) {
        char time[16];
        std::snprintf(time, sizeof(time), "%02d%02d%02d.00", 10 + i / 3600, i / 60 % 60, i % 60);
        QByteArray const t(time);
        text += sentence("GPGGA," + t + ",3110.1234,N,12130.5678,E,1,08,0.9,545.4,M,46.9,M,,");
        text += sentence("GPGSA,A,3,04,05,,09,12,,,24,,,,,2.5,1.3,2.1");
        for (int g = 1; g <= 3; ++g) {
            text += sentence("GPGSV,3," + QByteArray::number(g) +
                             ",11,03,03,111,00,04,15,270,00,06,01,010,00,13,06,292,00");
        }
        text += sentence("GPRMC," + t + ",A,3110.1234,N,12130.5678,E,24.3,90.0,150326,,,A");
        text += "$GSENSOR,0.01,-0.02,0.98\r\n";
    }
    return text;
}

double timeProbe(QString const& path) {
    QProcess probe;
    probe.setStandardOutputFile(QProcess::nullDevice());
    QElapsedTimer timer;
    timer.start();
    probe.start("ffprobe", {"-v", "error", "-show_format", "-show_streams", path});
    if (!probe.waitForFinished(-1) || probe.exitCode() != 0) {
        return -1;
    }
    return timer.nsecsElapsed() / 1e9;
}

using Reader = bool (*)(QVector<KvLocation>&, QString const&);

// Fastest of rounds for the reader and for ffprobe; prints one line.
bool benchLayout(QString const& name, QString const& path, Reader reader, int rounds) {
    double best = std::numeric_limits<double>::max();
    double bestProbe = std::numeric_limits<double>::max();
    qint64 bytes = -1;
    QVector<KvLocation> track;
    for (int round = 0; round < rounds; ++round) {
        qint64 const before = bytesReadSoFar();
        QElapsedTimer timer;
        timer.start();
        bool const found = reader(track, path);
        double const seconds = timer.nsecsElapsed() / 1e9;
        bytes = bytesReadSoFar() - before;
        double const probe = timeProbe(path);
        if (!found || probe < 0) {
            std::fprintf(stderr, "%s: no track or ffprobe failed\n", qPrintable(path));
            return false;
        }
        best = std::min(best, seconds);
        bestProbe = std::min(bestProbe, probe);
    }
    double const share = double(bytes) / double(QFileInfo(path).size());
    double const ratio = best / bestProbe;
    std::printf("  %-26s %5d fixes %8.4f s, %8lld bytes read (%.4f %%); ffprobe %.3f s; ratio "
                "%.4f (goal <= %.1f, bytes < %.0f %%): %s\n",
                qPrintable(name), int(track.size()), best, static_cast<long long>(bytes),
                100.0 * share, bestProbe, ratio, kGoalRatio, 100.0 * kGoalBoxBytesShare,
                ratio <= kGoalRatio && share < kGoalBoxBytesShare ? "met" : "NOT met");
    return true;
}

bool benchSidecar(QString const& folder, int rounds) {
    QString const path = folder + "/one-hour.nmea";
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        return false;
    }
    file.write(oneHourNmea());
    file.close();
    double best = std::numeric_limits<double>::max();
    QVector<KvLocation> track;
    for (int round = 0; round < std::max(rounds, 5); ++round) {
        QElapsedTimer timer;
        timer.start();
        if (!readGPSFromNmeaFile(track, path)) {
            return false;
        }
        best = std::min(best, timer.nsecsElapsed() / 1e9);
    }
    std::printf("  one-hour NMEA sidecar (%.1f MB) %5d fixes %8.4f s (goal < %.3f s): %s\n",
                QFileInfo(path).size() / 1e6, int(track.size()), best, kGoalSidecarSeconds,
                best < kGoalSidecarSeconds ? "met" : "NOT met");
    return true;
}

int benchLayouts(QString const& seedPath, QString const& folder, int rounds) {
    Seed seed;
    if (!readSeed(seedPath, &seed)) {
        std::fprintf(stderr, "%s: no mdat followed by moov\n", qPrintable(seedPath));
        return 1;
    }
    struct Case {
        char const* name;
        char const* file;
        Layout layout;
        Reader reader;
    } const cases[] = {
        {"Novatek, gps index", "novatek-index.MOV", Layout::NovatekIndex, readGPSFromNovatekVideo},
        {"Novatek, top-level free", "novatek-free.MOV", Layout::NovatekFree,
         readGPSFromNovatekVideo},
        {"70mai GPS box", "70mai.MP4", Layout::SeventyMai, readGPSFrom70maiVideo},
    };
    std::printf("GPS layouts of ~%.0f MB clips grown from %s, fastest of %d rounds:\n",
                kGrownSize / 1e6, qPrintable(seedPath), rounds);
    for (Case const& c : cases) {
        QString const path = folder + "/" + c.file;
        if (!QFileInfo::exists(path) && !growClip(seed, path, c.layout)) {
            std::fprintf(stderr, "could not write %s\n", qPrintable(path));
            return 1;
        }
        if (!benchLayout(c.name, path, c.reader, rounds)) {
            return 1;
        }
    }
    return benchSidecar(folder, rounds) ? 0 : 1;
}

// --- Track export ---------------------------------------------------------------------------

constexpr int kExportFixes = 36000;
constexpr double kGoalExportMs = 200.0;

// CPU time the calling thread has used, in ms: other processes sharing the cores do not count.
double threadCpuMs() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return now.tv_sec * 1e3 + now.tv_nsec / 1e6;
}

// A drive of one fix a second from 23:59:50 on 23 November 2026, so it crosses midnight.
QVector<KvLocation> tenHourDrive() {
    QVector<KvLocation> track;
    track.reserve(kExportFixes);
    for (int i = 0; i < kExportFixes; ++i) {
        int const total = 23 * 3600 + 59 * 60 + 50 + i;
        int const t = total % 86400;
        KvLocation fix;
        fix.valid = true;
        fix.year = 26;
        fix.month = 11;
        fix.day = 23 + total / 86400;
        fix.hour = t / 3600;
        fix.minute = t / 60 % 60;
        fix.second = t % 60;
        fix.latitude = 48.137 + i * 0.0001;
        fix.longitude = 11.575 + i * 0.0001;
        fix.speed = 30.0 + i % 40;
        fix.gsensorX = 0.125;
        fix.gsensorY = -0.03;
        fix.gsensorZ = 0.98;
        track.append(fix);
    }
    return track;
}

int benchExport(QString const& folder, int rounds) {
    QVector<KvLocation> const track = tenHourDrive();
    struct Case {
        char const* name;
        KvTrackExporter::Format format;
    } const cases[] = {{"GPX", KvTrackExporter::Gpx},
                       {"KML", KvTrackExporter::Kml},
                       {"CSV", KvTrackExporter::Csv}};
    std::printf("Export of a %d-fix track (merge and write), fastest of %d rounds:\n", kExportFixes,
                rounds);
    for (Case const& c : cases) {
        QString const path = QStringLiteral("%1/ten-hours.%2").arg(folder, c.name);
        double best = std::numeric_limits<double>::max();
        for (int round = 0; round < rounds; ++round) {
            double const before = threadCpuMs();
            QString error;
            if (!KvTrackExporter::exportTrack(KvTrackExporter::mergeTracks({track}), path, c.format,
                                              "ten hours", &error)) {
                std::fprintf(stderr, "export to %s failed: %s\n", qPrintable(path),
                             qPrintable(error));
                return 1;
            }
            best = std::min(best, threadCpuMs() - before);
        }
        std::printf("  %s %8.1f ms of CPU, %8.1f MB written; goal < %.0f ms, ratio %.2f: %s\n",
                    c.name, best, QFileInfo(path).size() / 1e6, kGoalExportMs, best / kGoalExportMs,
                    best < kGoalExportMs ? "met" : "NOT met");
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    // Numbers in the output keep their decimal point under every locale.
    std::setlocale(LC_NUMERIC, "C");
    if (argc < 2) {
        std::fprintf(stderr, "usage: kv_bench_gps_track <clip> [rounds]\n"
                             "       kv_bench_gps_track --layouts <seed clip> <folder> [rounds]\n"
                             "       kv_bench_gps_track --export <folder> [rounds]\n");
        return 2;
    }
    av_log_set_level(AV_LOG_ERROR);
    QLoggingCategory::setFilterRules(QLatin1String(KvQuietDebugRules));
    if (qstrcmp(argv[1], "--export") == 0) {
        if (argc < 3) {
            std::fprintf(stderr, "usage: kv_bench_gps_track --export <folder> [rounds]\n");
            return 2;
        }
        return benchExport(QString::fromLocal8Bit(argv[2]),
                           argc > 3 ? std::max(1, std::atoi(argv[3])) : kDefaultRounds);
    }
    if (qstrcmp(argv[1], "--layouts") == 0) {
        if (argc < 4) {
            std::fprintf(stderr,
                         "usage: kv_bench_gps_track --layouts <seed clip> <folder> [rounds]\n");
            return 2;
        }
        return benchLayouts(QString::fromLocal8Bit(argv[2]), QString::fromLocal8Bit(argv[3]),
                            argc > 4 ? std::max(1, std::atoi(argv[4])) : kDefaultRounds);
    }
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
