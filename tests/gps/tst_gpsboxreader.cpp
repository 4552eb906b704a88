// The "gps0" box reader on hand-built files and on the generated clip with a box after its own.
#include "GPSTestUtil.h"
#include "KvGPSReader.h"
#include "KvTestMain.h"
#include "LocationTestUtil.h"
#include "StreamReader.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QVector>
#include <QtTest>

#include <cmath>
#include <limits>

using kvtest::box;
using kvtest::boxWithSizeField;
using kvtest::ftypBox;
using kvtest::GpsRecord;
using kvtest::recordBytes;
using kvtest::writeFile;

namespace {

constexpr double kTolerance = 1e-9;

GpsRecord record(double latitude, double longitude, uint16_t speed, uint8_t second) {
    GpsRecord r;
    r.latitude = latitude;
    r.longitude = longitude;
    r.speed = speed;
    r.day = 15;
    r.month = 3;
    r.year = 26;
    r.hour = 10;
    r.minute = 15;
    r.second = second;
    return r;
}

QByteArray records(QVector<GpsRecord> const& list) {
    QByteArray bytes;
    for (GpsRecord const& r : list) {
        bytes += recordBytes(r);
    }
    return bytes;
}

QByteArray oneRecord() {
    return recordBytes(record(3110.1234, 12130.5678, 45, 0));
}

// A vector with something in it, so that a reader that does not empty it shows.
// Video packets of the clip as the player's reader sees them; -1 when it does not open.
int videoPacketCount(QString const& path) {
    StreamReader reader;
    if (reader.startReading(path.toUtf8().constData(), nullptr) != 0) {
        return -1;
    }
    AVPacket* packet = av_packet_alloc();
    int count = 0;
    while (reader.readFrame(packet) >= 0) {
        count += reader.isVideoPacket(packet) ? 1 : 0;
        av_packet_unref(packet);
    }
    av_packet_free(&packet);
    reader.stopReading();
    return count;
}

QVector<KvLocation> prefilled() {
    return QVector<KvLocation>(2, kvtest::sentinelLocation());
}

} // namespace

class TestGpsBoxReader : public QObject {
    Q_OBJECT

private:
    QTemporaryDir _dir;

    QString _write(QString const& name, QByteArray const& bytes) {
        QString const path = _dir.filePath(name);
        if (!writeFile(path, bytes)) {
            qFatal("cannot write %s", qPrintable(path));
        }
        return path;
    }

    // Reads the file's box into a track that is not empty before.
    QVector<KvLocation> _read(QString const& path, bool* found = nullptr) {
        QVector<KvLocation> locations = prefilled();
        bool const result = readGPSFromAITVideo(locations, path);
        if (found != nullptr) {
            *found = result;
        }
        if (result == locations.isEmpty()) {
            qWarning("result %d does not match %d records", result, int(locations.size()));
        }
        return locations;
    }

    QString _recorderLayoutClip() {
        QFile clip(kvtest::mediaPathOf("gps0.mp4"));
        if (!clip.open(QIODevice::ReadOnly)) {
            return {};
        }
        return _write("recorder-layout.mp4", kvtest::foldEmptyBoxIntoMdat(clip.readAll()));
    }

private slots:
    void initTestCase() { QVERIFY(_dir.isValid()); }

    // 8 + 96 bytes: three records, the second at 91 degrees north and so invalid, the third in
    // the south-western quarter; the speed is little-endian (300 would read 11265 big-endian).
    void threeRecordsAfterAnotherBox() {
        QVector<GpsRecord> const list = {record(3110.1234, 12130.5678, 300, 0),
                                         record(9100.0, 12130.5678, 41, 1),
                                         record(-3110.5, -12130.5, 42, 2)};
        QByteArray const payload = records(list);
        QCOMPARE(payload.size(), 96);
        QString const path =
            _write("three.mp4", ftypBox() + box("free", "xxxx") + box("gps0", payload));
        bool found = false;
        QVector<KvLocation> const locations = _read(path, &found);
        QVERIFY(found);
        QCOMPARE(locations.size(), 3);

        KvLocation const& first = locations.at(0);
        QVERIFY(first.valid);
        KV_COMPARE_NEAR(first.latitude, 31.0 + 10.1234 / 60.0, kTolerance);
        KV_COMPARE_NEAR(first.longitude, 121.0 + 30.5678 / 60.0, kTolerance);
        QCOMPARE(first.speed, 300.0);
        QCOMPARE(first.day, 15);
        QCOMPARE(first.month, 3);
        QCOMPARE(first.year, 26);
        QCOMPARE(first.hour, 10);
        QCOMPARE(first.minute, 15);
        QCOMPARE(first.second, 0);
        QCOMPARE(first.gsensorX, 0.0);
        QCOMPARE(first.gsensorY, 0.0);
        QCOMPARE(first.gsensorZ, 0.0);

        QVERIFY(!locations.at(1).valid);
        KV_COMPARE_NEAR(locations.at(1).latitude, 91.0, kTolerance);
        QCOMPARE(locations.at(1).second, 1);

        KvLocation const& third = locations.at(2);
        QVERIFY(third.valid);
        KV_COMPARE_NEAR(third.latitude, -31.175, kTolerance);
        KV_COMPARE_NEAR(third.longitude, -(121.0 + 30.5 / 60.0), kTolerance);
        QCOMPARE(third.speed, 42.0);
    }

    // Records are neither de-duplicated nor sorted: two of the same second are both kept.
    void noDeduplication() {
        QString const path =
            _write("same-second.mp4", box("gps0", oneRecord() + oneRecord() + oneRecord()));
        QVector<KvLocation> const locations = _read(path);
        QCOMPARE(locations.size(), 3);
        QVERIFY(KvLocation::isSameSecond(locations.at(0), locations.at(2)));
    }

    // The generated clip carries five records in a box after its own boxes. As FFmpeg wrote
    // it, an empty "free" box follows "ftyp", which ends the walk before the box is reached.
    void generatedClipAsWritten() {
        bool found = true;
        QVERIFY(_read(kvtest::mediaPathOf("gps0.mp4"), &found).isEmpty());
        QVERIFY(!found);
    }

    // The same clip without the empty box, laid out as a recorder writes it (ftyp, mdat, moov,
    // gps0): the walk steps over the media data and the index and reads the five records.
    void generatedClip() {
        QString const path = _recorderLayoutClip();
        // Still the same clip to the player: 2 s at 10 pictures per second.
        QCOMPARE(videoPacketCount(path), 20);
        QVector<KvLocation> const locations = _read(path);
        QCOMPARE(locations.size(), 5);
        for (int i = 0; i < locations.size(); ++i) {
            KvLocation const& location = locations.at(i);
            QVERIFY(location.valid);
            KV_COMPARE_NEAR(location.latitude, 31.0 + (10.1234 + 0.01 * i) / 60.0, 1e-9);
            KV_COMPARE_NEAR(location.longitude, 121.0 + (30.5678 + 0.01 * i) / 60.0, 1e-9);
            QCOMPARE(location.speed, 40.0 + i);
            QCOMPARE(location.hour, 10);
            QCOMPARE(location.minute, 15);
            QCOMPARE(location.second, i);
            QCOMPARE(location.day, 15);
            QCOMPARE(location.month, 3);
            QCOMPARE(location.year, 26);
            QCOMPARE(location.gsensorX, 0.0);
        }
    }

    // The walk ends at a box it cannot step over, even with a "gps0" box behind it.
    void walkStops_data() {
        QTest::addColumn<QByteArray>("bytes");
        QByteArray const gps = box("gps0", oneRecord());
        QTest::newRow("first box of size 8") << boxWithSizeField(8, "free", {}) + gps;
        QTest::newRow("size 8 after ftyp") << ftypBox() + boxWithSizeField(8, "free", {}) + gps;
        // Size field 1: the real size follows as 64 bits, which the walk does not read.
        QTest::newRow("64-bit size")
            << ftypBox() +
                   boxWithSizeField(1, "mdat",
                                    QByteArray::fromHex("0000000000000018") + QByteArray(8, 'm')) +
                   gps;
        QTest::newRow("size 0, to end of file") << boxWithSizeField(0, "mdat", "mmmm") + gps;
        QTest::newRow("size below the header") << boxWithSizeField(4, "free", {}) + gps;
        // 2 GiB and more is negative as a signed 32-bit size.
        QTest::newRow("size 0x80000000") << boxWithSizeField(0x80000000u, "mdat", "mmmm") + gps;
        QTest::newRow("size 0xFFFFFFFF") << boxWithSizeField(0xFFFFFFFFu, "mdat", "mmmm") + gps;
        // A box running past the end of the file: the next header is not there.
        QTest::newRow("skipped box past end of file")
            << boxWithSizeField(1000, "free", QByteArray(16, 'f')) + gps;
        // Stepping over the second box would take the walk past 2 GiB. It must not fall back to
        // reading "headers" from inside that box: the ones planted there lead back to offset 0,
        // round and round, and past them lies a "gps0" box that must not be found either.
        QTest::newRow("walk past 2 GiB") << box("free", "12345678") +
                                                boxWithSizeField(0x7FFFFFF0u, "skip", {}) +
                                                boxWithSizeField(0x7FFFFFF0u, "skip", {}) +
                                                boxWithSizeField(16, "loop", {}) + gps;
        QTest::newRow("header cut short") << ftypBox() + QByteArray("\0\0\0", 3);
        QTest::newRow("no gps0 box") << ftypBox() + box("free", "abcd") + box("moov", "abcd");
        QTest::newRow("zero bytes") << QByteArray();
        QTest::newRow("type gps1") << box("gps1", oneRecord());
        QTest::newRow("type GPS0") << box("GPS0", oneRecord());
    }
    void walkStops() {
        QFETCH(QByteArray, bytes);
        QString const path = _write("walk.mp4", bytes);
        bool found = true;
        QVector<KvLocation> const locations = _read(path, &found);
        QVERIFY(!found);
        QVERIFY(locations.isEmpty());
    }

    // Whole records only: below one record nothing is stored, and a partial record at the end
    // of the payload is skipped.
    void payloadLength_data() {
        QTest::addColumn<int>("payloadBytes");
        QTest::addColumn<int>("expectedRecords");
        QTest::newRow("1 byte") << 1 << 0;
        QTest::newRow("31 bytes") << 31 << 0;
        QTest::newRow("32 bytes") << 32 << 1;
        QTest::newRow("63 bytes") << 63 << 1;
        QTest::newRow("64 bytes") << 64 << 2;
        QTest::newRow("95 bytes") << 95 << 2;
    }
    void payloadLength() {
        QFETCH(int, payloadBytes);
        QFETCH(int, expectedRecords);
        QByteArray const payload = (oneRecord() + oneRecord() + oneRecord()).left(payloadBytes);
        QString const path = _write("payload.mp4", ftypBox() + box("gps0", payload));
        bool found = false;
        QVector<KvLocation> const locations = _read(path, &found);
        QCOMPARE(found, expectedRecords > 0);
        QCOMPARE(locations.size(), expectedRecords);
    }

    // A "gps0" box whose size runs past the end of the file yields the whole records that are
    // there, and never allocates or reads what its size claims.
    void gpsBoxPastEndOfFile_data() {
        QTest::addColumn<uint>("sizeField");
        QTest::newRow("10 records claimed") << uint(8 + 10 * 32);
        QTest::newRow("2 GiB - 16 claimed") << 0x7FFFFFF0u;
    }
    void gpsBoxPastEndOfFile() {
        QFETCH(uint, sizeField);
        QByteArray const payload = oneRecord() + oneRecord() + QByteArray(5, 'p');
        QString const path =
            _write("past-end.mp4", ftypBox() + boxWithSizeField(sizeField, "gps0", payload));
        QVector<KvLocation> const locations = _read(path);
        QCOMPARE(locations.size(), 2);
        QVERIFY(locations.at(1).valid);
        KV_COMPARE_NEAR(locations.at(1).latitude, 31.0 + 10.1234 / 60.0, kTolerance);
    }

    // NaN passes the range tests and stays valid (the tests are written as comparisons);
    // infinities and huge numbers do not.
    void oddNumbers_data() {
        QTest::addColumn<double>("latitude");
        QTest::addColumn<double>("longitude");
        QTest::addColumn<bool>("valid");
        double const nan = std::numeric_limits<double>::quiet_NaN();
        double const inf = std::numeric_limits<double>::infinity();
        QTest::newRow("NaN latitude") << nan << 12130.5678 << true;
        QTest::newRow("NaN longitude") << 3110.1234 << nan << true;
        QTest::newRow("NaN both") << nan << nan << true;
        QTest::newRow("huge latitude") << 1e300 << 12130.5678 << false;
        QTest::newRow("huge negative longitude") << 3110.1234 << -1e300 << false;
        QTest::newRow("infinite latitude") << inf << 12130.5678 << false;
        QTest::newRow("minus infinite longitude") << 3110.1234 << -inf << false;
        QTest::newRow("largest double") << std::numeric_limits<double>::max() << 0.0 << false;
        QTest::newRow("denormal") << std::numeric_limits<double>::denorm_min() << -0.0 << true;
        QTest::newRow("exactly 90 and 180") << 9000.0 << 18000.0 << true;
        QTest::newRow("just over 180") << 0.0 << 18000.0001 << false;
        QTest::newRow("just under -90") << -9000.0001 << 0.0 << false;
    }
    void oddNumbers() {
        QFETCH(double, latitude);
        QFETCH(double, longitude);
        QFETCH(bool, valid);
        QByteArray const bytes =
            box("gps0", recordBytes(record(latitude, longitude, 0xFFFF, 59)) + oneRecord());
        QVector<KvLocation> const locations = _read(_write("odd.mp4", bytes));
        QCOMPARE(locations.size(), 2);
        QCOMPARE(locations.at(0).valid, valid);
        QCOMPARE(locations.at(0).speed, 65535.0);
        QCOMPARE(locations.at(0).second, 59);
        QCOMPARE(std::isnan(locations.at(0).latitude), std::isnan(latitude));
        QVERIFY(locations.at(1).valid);
    }

    // A file that is not there leaves the vector empty; so do files that are not clips.
    void notAClip_data() {
        QTest::addColumn<QString>("path");
        QTest::newRow("missing") << QStringLiteral("/nonexistent/clip.mp4");
        QTest::newRow("empty path") << QString();
        QTest::newRow("directory") << QDir::tempPath();
        QTest::newRow("zero bytes") << kvtest::mediaPathOf("empty.mp4");
        QTest::newRow("random") << kvtest::mediaPathOf("random.mp4");
        QTest::newRow("truncated") << kvtest::mediaPathOf("truncated.mp4");
        QTest::newRow("truncated, no index") << kvtest::mediaPathOf("truncated-nomoov.mp4");
        QTest::newRow("clip without box")
            << kvtest::mediaPathOf("card/DCIM/F/2026_0315_101500_001F.MP4");
        QTest::newRow("avi") << kvtest::mediaPathOf("mjpeg-pcm.avi");
    }
    void notAClip() {
        QFETCH(QString, path);
        bool found = true;
        QVector<KvLocation> const locations = _read(path, &found);
        QVERIFY(!found);
        QVERIFY(locations.isEmpty());
    }

    void nonAsciiPath() {
        QString const folder = _dir.filePath(QStringLiteral("行车记录 Fahrt ü"));
        QVERIFY(QDir().mkpath(folder));
        QString const path = folder + QStringLiteral("/Clip ü.mp4");
        QVERIFY(writeFile(path, ftypBox() + box("gps0", oneRecord())));
        QCOMPARE(_read(path).size(), 1);
    }
};

KV_TEST_GUILESS_MAIN(TestGpsBoxReader)
#include "tst_gpsboxreader.moc"
