// The subtitle-track reader, the search over a recording's clips, and the subtitle dump, on the
// generated card clips and on small clips made here with the ffmpeg CLI.
#include "GPSTestUtil.h"
#include "KvGPSReader.h"
#include "KvTestMain.h"
#include "LocationTestUtil.h"
#include "ToolProcess.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLoggingCategory>
#include <QProcess>
#include <QTemporaryDir>
#include <QVector>
#include <QtTest>

#include <atomic>
#include <chrono>
#include <thread>

using kvtest::box;
using kvtest::GpsRecord;
using kvtest::mediaPathOf;
using kvtest::recordBytes;

namespace {

constexpr double kTolerance = 1e-9;
constexpr double kKmhPerKnot = 1.852;
// How often the vanishing files disappear and come back while they are read.
constexpr int kChurnRounds = 100;

QString const kFront001 = QStringLiteral("card/DCIM/F/2026_0315_101500_001F.MP4");
QString const kFront002 = QStringLiteral("card/DCIM/F/2026_0315_101800_002F.MP4");
QString const kRear002 = QStringLiteral("card/DCIM/R/2026_0315_101800_002R.MP4");

struct Cue {
    int startMs;
    QByteArray text;
};

QByteArray srtTime(int ms) {
    return QString::asprintf("00:%02d:%02d,%03d", ms / 60000, ms / 1000 % 60, ms % 1000).toLatin1();
}

QByteArray srt(QVector<Cue> const& cues) {
    QByteArray out;
    for (int i = 0; i < cues.size(); ++i) {
        out += QByteArray::number(i + 1) + "\n" + srtTime(cues[i].startMs) + " --> " +
               srtTime(cues[i].startMs + 150) + "\n" + cues[i].text + "\n\n";
    }
    return out;
}

// A small clip (64x64 grey picture) with the cues as its mov_text track; empty on failure.
QString makeSubtitleClip(QString const& folder, QString const& name, QVector<Cue> const& cues,
                         int seconds) {
    QString const srtPath = folder + "/" + name + ".srt";
    QString const clipPath = folder + "/" + name;
    if (!kvtest::writeFile(srtPath, srt(cues))) {
        return {};
    }
    QProcess ffmpeg;
    ffmpeg.setProcessChannelMode(QProcess::ForwardedChannels);
    kvtest::startTool(
        ffmpeg, QStringLiteral("ffmpeg"),
        {"-nostdin", "-v",
         "error",    "-y",
         "-f",       "lavfi",
         "-i",       QString("color=c=gray:size=64x64:rate=5:duration=%1").arg(seconds),
         "-i",       srtPath,
         "-map",     "0:v",
         "-map",     "1:s",
         "-c:v",     "libx264",
         "-preset",  "ultrafast",
         "-c:s",     "mov_text",
         clipPath});
    if (!ffmpeg.waitForFinished(120000) || ffmpeg.exitCode() != 0) {
        return {};
    }
    return clipPath;
}

QByteArray rmc(QByteArray const& time, char status, QByteArray const& latitude) {
    return "$GPRMC," + time + "," + status + "," + latitude +
           ",N,12130.5678,E,24.3,90.0,150326,,,A*00";
}

// The first fix of second `second` of the generated card track (five cues per second, index
// 5 * second among them): 0.0010 minutes further north and east and 0.01 more g-sensor X per cue.
void verifyCardFix(KvLocation const& location, int hour, int minute, int second) {
    int const cue = 5 * second;
    QVERIFY(location.valid);
    KV_COMPARE_NEAR(location.latitude, 31.0 + (10.1234 + 0.001 * cue) / 60.0, kTolerance);
    KV_COMPARE_NEAR(location.longitude, 121.0 + (30.5678 + 0.001 * cue) / 60.0, kTolerance);
    KV_COMPARE_NEAR(location.speed, 24.3 * kKmhPerKnot, kTolerance);
    QCOMPARE(location.day, 15);
    QCOMPARE(location.month, 3);
    QCOMPARE(location.year, 26);
    QCOMPARE(location.hour, hour);
    QCOMPARE(location.minute, minute);
    QCOMPARE(location.second, second);
    KV_COMPARE_NEAR(location.gsensorX, 0.10 + 0.01 * cue, kTolerance);
    KV_COMPARE_NEAR(location.gsensorY, -0.05, kTolerance);
    KV_COMPARE_NEAR(location.gsensorZ, 0.98, kTolerance);
}

bool sameTrack(QVector<KvLocation> const& a, QVector<KvLocation> const& b) {
    if (a.size() != b.size()) {
        return false;
    }
    for (int i = 0; i < a.size(); ++i) {
        if (!kvtest::sameFields(a[i], b[i])) {
            return false;
        }
    }
    return true;
}

// True when `part` is `whole` cut short (possibly to nothing).
bool isPrefix(QVector<KvLocation> const& part, QVector<KvLocation> const& whole) {
    return part.size() <= whole.size() && sameTrack(part, whole.mid(0, part.size()));
}

} // namespace

class TestGpsSubtitleReader : public QObject {
    Q_OBJECT

private:
    QTemporaryDir _dir;
    QString _mixedClip;

private slots:
    void initTestCase() {
        QVERIFY(_dir.isValid());
        // One cue every 200 ms, of every kind a track can hold.
        QVector<Cue> const cues = {
            {0, rmc("101500.000", 'A', "3110.1234,N") + "\n$GSENSOR,  0.10,  -0.05,  0.98;"},
            {200, rmc("101501.000", 'V', "3110.1234,N")},
            {400, "hello, world"},
            // The same second as the first fix, but not adjacent to it: kept.
            {600, rmc("101500.000", 'A', "3110.2000,N")},
            // The same second as the fix just stored: dropped.
            {800, rmc("101500.500", 'A', "3110.3000,N")},
            // The compact fallback line, as it reaches the parser only without the ASS fields.
            {1000, "A,150326,101502,3110.1234,N,12130.5678,E,45.5,0.01,0.02,0.98;"},
            {1200, QByteArray(60000, 'x')},
            // 12 parts: neither a sentence nor a fallback line.
            {1400, "$GPRMC,101503,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W"},
            // 40 parts: read positionally like any sentence.
            {1600, rmc("101504.000", 'A', "4807.038,N") + QByteArray(27, ',')},
            {1800, "行车记录 ü"},
            {2000, "$GPRMC"},
        };
        _mixedClip = makeSubtitleClip(_dir.path(), "mixed.mp4", cues, 3);
        QVERIFY(!_mixedClip.isEmpty());
    }

    // Five sentences per second give one fix per second, the first of each, with the g-sensor
    // line's axes.
    void fiveSentencesPerSecond() {
        QVector<KvLocation> locations(3);
        QVERIFY(readGPSFromVideo(locations, mediaPathOf(kFront001)));
        QCOMPARE(locations.size(), 4);
        for (int second = 0; second < locations.size(); ++second) {
            verifyCardFix(locations.at(second), 10, 15, second);
            if (QTest::currentTestFailed()) {
                qWarning("at second %d", second);
                return;
            }
        }
    }

    void mixedTrack() {
        QVector<KvLocation> locations;
        QVERIFY(readGPSFromVideo(locations, _mixedClip));
        QCOMPARE(locations.size(), 5);

        KvLocation const& first = locations.at(0);
        QVERIFY(first.valid);
        QCOMPARE(first.second, 0);
        KV_COMPARE_NEAR(first.latitude, 31.0 + 10.1234 / 60.0, kTolerance);
        KV_COMPARE_NEAR(first.gsensorX, 0.10, kTolerance);
        KV_COMPARE_NEAR(first.gsensorZ, 0.98, kTolerance);

        // A void sentence is stored like any other.
        QVERIFY(!locations.at(1).valid);
        QCOMPARE(locations.at(1).second, 1);
        KV_COMPARE_NEAR(locations.at(1).latitude, 31.0 + 10.1234 / 60.0, kTolerance);

        // Only the last stored fix is compared: second 0 again after second 1 is kept, the
        // adjacent repeat of it is not.
        QCOMPARE(locations.at(2).second, 0);
        KV_COMPARE_NEAR(locations.at(2).latitude, 31.0 + 10.2 / 60.0, kTolerance);
        QCOMPARE(locations.at(2).gsensorX, 0.0);

        KvLocation const& fallback = locations.at(3);
        QVERIFY(fallback.valid);
        QCOMPARE(fallback.hour, 10);
        QCOMPARE(fallback.minute, 15);
        QCOMPARE(fallback.second, 2);
        QCOMPARE(fallback.speed, 45.5);
        KV_COMPARE_NEAR(fallback.gsensorX, 0.01, kTolerance);
        KV_COMPARE_NEAR(fallback.gsensorY, 0.02, kTolerance);
        KV_COMPARE_NEAR(fallback.gsensorZ, 0.98, kTolerance);

        KvLocation const& wide = locations.at(4);
        QCOMPARE(wide.second, 4);
        KV_COMPARE_NEAR(wide.latitude, 48.1173, kTolerance);
    }

    // Skipping the payload of the other streams does not change the track.
    void discardKeepsTrack_data() {
        QTest::addColumn<QString>("path");
        QTest::newRow("card front") << mediaPathOf(kFront001);
        QTest::newRow("card rear") << mediaPathOf(kRear002);
        QTest::newRow("subtitles only") << QString();
    }
    void discardKeepsTrack() {
        QFETCH(QString, path);
        if (path.isEmpty()) {
            path = _mixedClip;
        }
        QVector<KvLocation> skipping;
        QVector<KvLocation> reading;
        QVERIFY(readGPSFromVideo(skipping, path, true));
        QVERIFY(readGPSFromVideo(reading, path, false));
        QVERIFY(sameTrack(skipping, reading));
    }

    // No subtitle stream: the subtitle reader finds nothing and the box reader gets its turn.
    // (The clip is the generated one without FFmpeg's empty "free" box, which would end the box
    // walk, as tst_gpsboxreader shows.)
    void noSubtitlesFallsThroughToBox() {
        QFile clip(mediaPathOf("gps0.mp4"));
        QVERIFY(clip.open(QIODevice::ReadOnly));
        QString const path = _dir.filePath("gps0-recorder-layout.mp4");
        QVERIFY(kvtest::writeFile(path, kvtest::foldEmptyBoxIntoMdat(clip.readAll())));
        QVector<KvLocation> locations(2);
        QVERIFY(!readGPSFromVideo(locations, path));
        QVERIFY(locations.isEmpty());
        QVERIFY(readGPSTrack(locations, {path}));
        QCOMPARE(locations.size(), 5);
        QCOMPARE(locations.at(4).speed, 44.0);
    }

    // The first clip without a track is passed over; the rear clip's track is used.
    void secondClipSuppliesTrack() {
        QVector<KvLocation> locations;
        QVERIFY(!readGPSFromVideo(locations, mediaPathOf(kFront002)));
        QVERIFY(readGPSTrack(locations, {mediaPathOf(kFront002), mediaPathOf(kRear002)}));
        QCOMPARE(locations.size(), 4);
        verifyCardFix(locations.at(0), 10, 18, 0);
        verifyCardFix(locations.at(3), 10, 18, 3);
    }

    // A clip with both forms: the subtitle track wins, though the box reader finds the box.
    void subtitleFormWins() {
        QString const path = _dir.filePath("both.mp4");
        QFile clip(mediaPathOf(kFront001));
        QVERIFY(clip.open(QIODevice::ReadOnly));
        QVERIFY(kvtest::writeFile(path, kvtest::foldEmptyBoxIntoMdat(clip.readAll())));
        GpsRecord record;
        record.latitude = 4807.038;
        record.longitude = 1131.0;
        record.second = 9;
        QVERIFY(kvtest::writeFile(path, box("gps0", recordBytes(record)), true));

        QVector<KvLocation> fromBox;
        QVERIFY(readGPSFromAITVideo(fromBox, path));
        QCOMPARE(fromBox.size(), 1);
        QCOMPARE(fromBox.at(0).second, 9);

        QVector<KvLocation> track;
        QVERIFY(readGPSTrack(track, {path}));
        QCOMPARE(track.size(), 4);
        verifyCardFix(track.at(0), 10, 15, 0);

        QVERIFY(!readGPSTrack(track, {mediaPathOf(kFront002), mediaPathOf("no-audio.mp4")}));
        QVERIFY(track.isEmpty());
    }

    void notAClip_data() {
        QTest::addColumn<QString>("path");
        QTest::newRow("missing") << QStringLiteral("/nonexistent/clip.mp4");
        QTest::newRow("empty path") << QString();
        QTest::newRow("directory") << QDir::tempPath();
        QTest::newRow("zero bytes") << mediaPathOf("empty.mp4");
        QTest::newRow("random") << mediaPathOf("random.mp4");
        QTest::newRow("truncated") << mediaPathOf("truncated.mp4");
        QTest::newRow("truncated, no index") << mediaPathOf("truncated-nomoov.mp4");
        QTest::newRow("no audio") << mediaPathOf("no-audio.mp4");
        QTest::newRow("audio only") << mediaPathOf("audio-only.mp4");
        QTest::newRow("avi") << mediaPathOf("mjpeg-pcm.avi");
        QTest::newRow("hevc") << mediaPathOf("hevc.mp4");
    }
    void notAClip() {
        QFETCH(QString, path);
        QVector<KvLocation> locations(2);
        QVERIFY(!readGPSFromVideo(locations, path));
        QVERIFY(locations.isEmpty());
    }

    // The SubRip file itself has only a subtitle stream; its cues are read like a clip's.
    void subtitleOnlyFile() {
        QVector<KvLocation> locations;
        QVERIFY(readGPSFromVideo(locations, mediaPathOf("gps-track.srt")));
        QCOMPARE(locations.size(), 4);
        verifyCardFix(locations.at(2), 10, 15, 2);
    }

    void nonAsciiPath() {
        QString const folder = _dir.filePath(QStringLiteral("行车记录 Fahrt ü"));
        QVERIFY(QDir().mkpath(folder));
        QString const path = folder + QStringLiteral("/Clip ü.MP4");
        QFile::remove(path);
        QVERIFY(QFile::copy(mediaPathOf(kFront001), path));
        QVector<KvLocation> locations;
        QVERIFY(readGPSFromVideo(locations, path));
        QCOMPARE(locations.size(), 4);
    }

    // Files that disappear and come back while the readers run, so that some reads find the
    // file gone between the existence check and the opening. The clip is put back whole (by
    // renaming a full copy over its name): each read gives its whole track or nothing. The box
    // file is written back in pieces, so reads also meet it cut short: each gives its records up
    // to where the file ended, or nothing. Nothing crashes or hangs.
    void vanishingFile() {
        QString const subtitleSource = mediaPathOf(kFront001);
        QString const boxSource = _dir.filePath("gps0-source.mp4");
        QString const subtitlePath = _dir.filePath("vanishing.mp4");
        QString const subtitleCopy = _dir.filePath("vanishing-copy.mp4");
        QString const boxPath = _dir.filePath("vanishing-box.mp4");
        QFile boxClip(mediaPathOf("gps0.mp4"));
        QVERIFY(boxClip.open(QIODevice::ReadOnly));
        QByteArray const boxBytes = kvtest::foldEmptyBoxIntoMdat(boxClip.readAll());
        QVERIFY(kvtest::writeFile(boxSource, boxBytes));
        QVector<KvLocation> subtitleTrack;
        QVector<KvLocation> boxTrack;
        QVERIFY(readGPSFromVideo(subtitleTrack, subtitleSource));
        QVERIFY(readGPSFromAITVideo(boxTrack, boxSource));

        // Thousands of box walks: their debug lines would drown the test log.
        QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
        std::atomic<bool> stop{false};
        std::atomic<int> rounds{0};
        std::thread churn([&] {
            int round = 0;
            while (!stop.load()) {
                rounds = round;
                QFile::remove(subtitlePath);
                QFile::remove(boxPath);
                std::this_thread::yield();
                QFile::remove(subtitleCopy);
                QFile::copy(subtitleSource, subtitleCopy);
                QFile::rename(subtitleCopy, subtitlePath);
                int const pieces = 1 + round++ % 4;
                int const piece = boxBytes.size() / pieces + 1;
                for (int i = 0; i < pieces && !stop.load(); ++i) {
                    kvtest::writeFile(boxPath, boxBytes.mid(i * piece, piece), i > 0);
                    std::this_thread::sleep_for(std::chrono::microseconds(200));
                }
                // Leave both files whole for a moment, so that reads of every kind happen.
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            }
        });

        int subtitleFound = 0;
        int boxFound = 0;
        bool wholeOrNothing = true;
        bool allPrefixes = true;
        int reads = 0;
        QElapsedTimer timer;
        timer.start();
        // Reads of a file that is not there return at once; reading goes on until the files
        // have come and gone many times.
        while (reads < 40 || rounds.load() < kChurnRounds) {
            ++reads;
            QVector<KvLocation> locations;
            subtitleFound += readGPSFromVideo(locations, subtitlePath) ? 1 : 0;
            wholeOrNothing =
                wholeOrNothing && (locations.isEmpty() || sameTrack(locations, subtitleTrack));
            for (int j = 0; j < 10; ++j) {
                boxFound += readGPSFromAITVideo(locations, boxPath) ? 1 : 0;
                allPrefixes = allPrefixes && isPrefix(locations, boxTrack);
            }
        }
        stop = true;
        churn.join();
        QLoggingCategory::setFilterRules(QString());
        qInfo("%d rounds in %lld ms, tracks found: %d of %d subtitle reads, %d of %d box reads",
              rounds.load(), timer.elapsed(), subtitleFound, reads, boxFound, reads * 10);
        QVERIFY(wholeOrNothing);
        QVERIFY(allPrefixes);
    }

    // The ASS dialogue text as FFmpeg's decoders give it becomes the camera's text again.
    void textFromAss_data() {
        QTest::addColumn<QByteArray>("ass");
        QTest::addColumn<QByteArray>("plain");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("sentence and g-sensor line")
            << QByteArray("0,0,Default,,0,0,0,,$GPRMC,1,A\\N$GSENSOR,  0.1,  0.2,  0.3;")
            << QByteArray() << QByteArray("$GPRMC,1,A\r\n$GSENSOR,  0.1,  0.2,  0.3;");
        QTest::newRow("fallback line")
            << QByteArray("12,0,Default,,0,0,0,,A,150326,101530,1,N,2,E,3,4,5,6;") << QByteArray()
            << QByteArray("A,150326,101530,1,N,2,E,3,4,5,6;");
        QTest::newRow("fewer fields than a dialogue")
            << QByteArray("$GPRMC,1,A\\Nx") << QByteArray() << QByteArray("$GPRMC,1,A\r\nx");
        QTest::newRow("empty text")
            << QByteArray("0,0,Default,,0,0,0,,") << QByteArray() << QByteArray("");
        QTest::newRow("plain text only")
            << QByteArray() << QByteArray("$GPRMC,1\\N") << QByteArray("$GPRMC,1\\N");
    }
    void textFromAss() {
        QFETCH(QByteArray, ass);
        QFETCH(QByteArray, plain);
        QFETCH(QByteArray, expected);
        QByteArray const text = subtitleTextFromAss(ass.isNull() ? nullptr : ass.constData(),
                                                    plain.isNull() ? nullptr : plain.constData());
        QCOMPARE(text, expected);
        QVERIFY(!text.isNull());
    }
    void textFromNothing() { QVERIFY(subtitleTextFromAss(nullptr, nullptr).isNull()); }

    // Whatever a decoder hands over, the text the reader makes of it parses or is rejected
    // without harm. (A mov_text cue holds at most 64 KiB, so the longest texts come here.)
    void oddRectTexts_data() {
        QTest::addColumn<QByteArray>("ass");
        QTest::addColumn<int>("expected");
        QByteArray const dialogue = "0,0,Default,,0,0,0,,";
        QByteArray binary;
        for (int i = 1; i < 256; ++i) {
            binary += char(i);
        }
        QByteArray const sentence = "$GPRMC,101500,A,3110.1234,N,12130.5678,E,24.3,90.0,150326,,,A";
        QTest::newRow("empty") << QByteArray() << -1;
        QTest::newRow("empty text field") << dialogue << -1;
        QTest::newRow("binary") << dialogue + binary << -1;
        QTest::newRow("binary before a sentence") << dialogue + binary + sentence << 0;
        QTest::newRow("100 KB of breaks")
            << dialogue + QByteArray(50 * 1024, '\\').replace("\\", "\\N") << -1;
        QTest::newRow("100 KB of letters") << dialogue + QByteArray(100 * 1024, 'x') << -1;
        QTest::newRow("100 KB of commas") << dialogue + "$GPRMC" + QByteArray(100 * 1024, ',') << 0;
        QTest::newRow("sentence, 100 KB g-sensor line")
            << dialogue + sentence + "\\N$GSENSOR," + QByteArray(100 * 1024, ' ') << 0;
        QTest::newRow("a break cut in half") << dialogue + sentence + "\\" << 0;
    }
    void oddRectTexts() {
        QFETCH(QByteArray, ass);
        QFETCH(int, expected);
        QByteArray const text = subtitleTextFromAss(ass.constData(), nullptr);
        KvLocation location;
        QCOMPARE(KvLocation::locationFromText(text.constData(), &location), expected);
    }

    // The dump writes every cue's ASS text back to back and returns -1 whatever happens.
    void subtitleDump() {
        QString const output = _dir.filePath("dump.txt");
        QCOMPARE(readVideoSubtitle(mediaPathOf(kFront001).toUtf8().constData(),
                                   output.toUtf8().constData()),
                 -1);
        QFile file(output);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QByteArray const text = file.readAll();
        QCOMPARE(text.count("$GPRMC,"), 20);
        QCOMPARE(text.count("\\N$GSENSOR,  0."), 20);
        QVERIFY(text.contains("$GPRMC,101500.000,A,"));
        QVERIFY(text.contains("$GPRMC,101503.800,A,"));
        QVERIFY(!text.contains('\n'));
    }

    void subtitleDumpWithoutTrack() {
        QString const output = _dir.filePath("no-dump.txt");
        QCOMPARE(readVideoSubtitle(mediaPathOf(kFront002).toUtf8().constData(),
                                   output.toUtf8().constData()),
                 -1);
        QVERIFY(!QFile::exists(output));
        QCOMPARE(readVideoSubtitle("/nonexistent.mp4", output.toUtf8().constData()), -1);
        QCOMPARE(readVideoSubtitle(nullptr, output.toUtf8().constData()), -1);
        QCOMPARE(readVideoSubtitle(mediaPathOf(kFront001).toUtf8().constData(), nullptr), -1);
        QCOMPARE(
            readVideoSubtitle(mediaPathOf(kFront001).toUtf8().constData(), "/nonexistent/dump.txt"),
            -1);
        QVERIFY(!QFile::exists(output));
    }
};

KV_TEST_GUILESS_MAIN(TestGpsSubtitleReader)
#include "tst_gpssubtitlereader.moc"
