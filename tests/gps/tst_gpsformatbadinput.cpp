// Damaged and hostile input for the other recorders' GPS readers: truncated boxes, counts that
// overflow, offsets past the end, an index pointing at itself, 4 GB sizes, empty, binary and
// huge sidecars, a GPX file with a million points and an XML bomb. None may crash, hang, read
// outside the file or hold memory without bound; each answer is checked.
#include "GPSFormatTestUtil.h"
#include "Kv70maiGPSReader.h"
#include "KvBoxFile.h"
#include "KvGPSReader.h"
#include "KvGpxReader.h"
#include "KvNovatekGPSReader.h"
#include "KvSidecarGPSReader.h"
#include "KvTestMain.h"
#include "KvThinkwareGPSReader.h"
#include "KvTrackLimits.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/resource.h>

using namespace kvtest;

class TestGPSFormatBadInput : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void novatekTruncatedBlock();
    void novatekIndexCountOverflows();
    void novatekIndexOffsetsPastTheEnd();
    void novatekIndexPointsAtItself();
    void fourGigabyteSizes();
    void seventyMaiBadBoxes();
    void seventyMaiBadRecords();
    void thinkwareBadCues();
    void notMediaFiles();
    void emptyAndBinarySidecars();
    void hugeSidecar();
    void gpxWithAMillionPoints();
    void gpxXmlBomb();
    void gpxHugeText();
    void memoryStaysBounded();

private:
    QString _path(QString const& name) const { return _dir.path() + QLatin1Char('/') + name; }
    QTemporaryDir _dir;
    long _startRssKb = 0;
};

namespace {

TrackFix oneFix() {
    TrackFix fix;
    fix.latitudeMilliMinutes = 30 * 60000;
    fix.longitudeMilliMinutes = -20 * 60000;
    fix.speedTenths = 55;
    fix.time = QDateTime(QDate(2026, 3, 15), QTime(10, 15, 30), Qt::UTC);
    return fix;
}

QByteArray ftyp() {
    return box("ftyp", QByteArray("isom\0\0\0\0", 8));
}

long peakRssKb() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace

void TestGPSFormatBadInput::initTestCase() {
    QVERIFY(_dir.isValid());
    _startRssKb = peakRssKb();
}

void TestGPSFormatBadInput::novatekTruncatedBlock() {
    QByteArray const block = novatekFloatBlock(oneFix());
    QVector<KvLocation> locations;
    // Cut inside the record, and cut inside the header.
    for (int length : {90, 60, 12, 5}) {
        QVERIFY(writeFile(_path("cut.MOV"), ftyp() + block.left(length)));
        QVERIFY(!readGPSFromNovatekVideo(locations, _path("cut.MOV")));
        QVERIFY(locations.isEmpty());
        KvLocation fix;
        QCOMPARE(locationFromNovatekBlock(reinterpret_cast<unsigned char const*>(block.constData()),
                                          length, &fix),
                 -1);
    }
    QCOMPARE(locationFromNovatekBlock(nullptr, 1000, nullptr), -1);
}

void TestGPSFormatBadInput::novatekIndexCountOverflows() {
    QByteArray clip = novatekIndexedClip({novatekFloatBlock(oneFix())});
    // The index's count (after its version) claims 2^32 - 1 entries; one is there.
    int const count = clip.indexOf("gps ") + 4 + 4;
    clip.replace(count, 4, bigEndian32(0xFFFFFFFFu));
    QVERIFY(writeFile(_path("count.MOV"), clip));
    QVector<KvLocation> locations;
    QVERIFY(readGPSFromNovatekVideo(locations, _path("count.MOV")));
    QCOMPARE(locations.size(), 1);
}

void TestGPSFormatBadInput::novatekIndexOffsetsPastTheEnd() {
    QByteArray const index = bigEndian32(0) + bigEndian32(3) + bigEndian32(0xFFFFFF00u) +
                             bigEndian32(256) + bigEndian32(100) + bigEndian32(0xFFFFFFFFu) +
                             bigEndian32(0x7FFFFFFFu) + bigEndian32(16);
    QByteArray const clip = ftyp() + box("moov", box("gps ", index));
    QVERIFY(writeFile(_path("past.MOV"), clip));
    QVector<KvLocation> locations;
    QVERIFY(!readGPSFromNovatekVideo(locations, _path("past.MOV")));
    // The box reader never hands out bytes outside the file.
    KvBoxFile file(_path("past.MOV"));
    QVERIFY(file.read(file.size(), 10).isEmpty());
    QVERIFY(file.read(-5, 10).isEmpty());
    QCOMPARE(file.read(file.size() - 4, 100).size(), 4);
}

void TestGPSFormatBadInput::novatekIndexPointsAtItself() {
    QByteArray const head = ftyp();
    // moov at head.size(); its "gps " child right after the moov header.
    int const indexOffset = head.size() + 8;
    QByteArray const index = bigEndian32(0) + bigEndian32(2) + bigEndian32(uint32_t(indexOffset)) +
                             bigEndian32(24) + bigEndian32(uint32_t(head.size())) +
                             bigEndian32(0xFFFFFFFFu);
    QVERIFY(writeFile(_path("self.MOV"), head + box("moov", box("gps ", index))));
    QVector<KvLocation> locations;
    QVERIFY(!readGPSFromNovatekVideo(locations, _path("self.MOV")));
}

void TestGPSFormatBadInput::fourGigabyteSizes() {
    QByteArray const records = seventyMaiRecord(oneFix(), 0);
    QVector<KvLocation> locations;
    // A 32-bit size of 4 GB - 1 and a 64-bit size of 2^62 in a small file: cut at its end.
    QVERIFY(writeFile(_path("4g.MP4"), ftyp() + boxWithSizeField(0xFFFFFFFFu, "GPS ", records)));
    QVERIFY(readGPSFrom70maiVideo(locations, _path("4g.MP4")));
    QCOMPARE(locations.size(), 1);
    QByteArray const large =
        bigEndian32(1) + QByteArray("GPS ") + bigEndian32(0x40000000u) + bigEndian32(0) + records;
    QVERIFY(writeFile(_path("large.MP4"), ftyp() + large));
    QVERIFY(readGPSFrom70maiVideo(locations, _path("large.MP4")));
    QCOMPARE(locations.size(), 1);
    // A 4 GB mdat before the boxes: the walk ends at the end of the file.
    QVERIFY(writeFile(_path("mdat4g.MP4"),
                      ftyp() + boxWithSizeField(0xFFFFFFFFu, "mdat", "x") + box("GPS ", records)));
    QVERIFY(!readGPSFrom70maiVideo(locations, _path("mdat4g.MP4")));
    QVERIFY(!readGPSFromNovatekVideo(locations, _path("mdat4g.MP4")));
    // Size 0 ("to the end") holds the rest of the file.
    QVERIFY(writeFile(_path("toend.MP4"), ftyp() + boxWithSizeField(0, "GPS ", records)));
    QVERIFY(readGPSFrom70maiVideo(locations, _path("toend.MP4")));
    QCOMPARE(locations.size(), 1);
}

void TestGPSFormatBadInput::seventyMaiBadBoxes() {
    QByteArray const record = seventyMaiRecord(oneFix(), 0);
    QVector<KvLocation> locations;
    // A box shorter than its header, an empty one, and one cut inside its first record.
    QVERIFY(writeFile(_path("short.MP4"), ftyp() + boxWithSizeField(4, "GPS ", record)));
    QVERIFY(!readGPSFrom70maiVideo(locations, _path("short.MP4")));
    QVERIFY(writeFile(_path("empty.MP4"), ftyp() + box("GPS ", QByteArray())));
    QVERIFY(!readGPSFrom70maiVideo(locations, _path("empty.MP4")));
    QVERIFY(writeFile(_path("cut.MP4"), ftyp() + box("GPS ", record + record).left(8 + 36 + 20)));
    QVERIFY(readGPSFrom70maiVideo(locations, _path("cut.MP4")));
    QCOMPARE(locations.size(), 1);
    // A box size field of 3 makes the walk stop before the box that follows.
    QVERIFY(writeFile(_path("stop.MP4"), boxWithSizeField(3, "ftyp", "") + box("GPS ", record)));
    QVERIFY(!readGPSFrom70maiVideo(locations, _path("stop.MP4")));
}

void TestGPSFormatBadInput::seventyMaiBadRecords() {
    QByteArray good = seventyMaiRecord(oneFix(), 0);
    QByteArray badLetter = good;
    badLetter[16] = 'X';
    QByteArray badMinutes = good;
    badMinutes.replace(17, 4, littleEndian32(3061000)); // 30 deg 61.000'
    QByteArray badSpeed = good;
    badSpeed.replace(12, 4, littleEndian32(0x80000000u));
    QByteArray badSecond = good;
    badSecond.replace(8, 4, littleEndian32(0xFFFFFFFFu));
    QByteArray const payload = badLetter + badMinutes + badSpeed + badSecond + good;
    QVector<KvLocation> locations;
    read70maiRecords(locations, reinterpret_cast<unsigned char const*>(payload.constData()),
                     payload.size(), QDateTime());
    QCOMPARE(locations.size(), 1);
    QCOMPARE(qRound(locations.first().latitude), 30);
    read70maiRecords(locations, nullptr, 0, QDateTime());
    QCOMPARE(locations.size(), 1);
}

void TestGPSFormatBadInput::thinkwareBadCues() {
    KvLocation fix;
    QByteArray const rmc = withChecksum(rmcBody(oneFix())).mid(1);
    QCOMPARE(locationFromThinkwareCue(nullptr, 10, &fix), -1);
    QCOMPARE(locationFromThinkwareCue("", 0, &fix), -1);
    QCOMPARE(locationFromThinkwareCue("gsensori,4,512,1,2,3", 20, &fix), -1);
    // Truncated sentences, fields out of range, binary bytes.
    for (QByteArray const& cue :
         {rmc.left(20), QByteArray("GPRMC,250000,A,4807.038,N,01131.000,E,1,2,230394"),
          QByteArray("GPRMC,120000,A,4807.038,N,01131.000,E,1,2,231394"),
          QByteArray("GPRMC,120000,A,4867.038,N,01131.000,E,1,2,230394"),
          QByteArray("GPRMC,120000,A,9107.038,N,01131.000,E,1,2,230394"),
          QByteArray("GPRMC,120000,A,4807.038,X,01131.000,E,1,2,230394"),
          QByteArray("GPRMC,120000,A,4807.038,N,01131.000,E,-1,2,230394"),
          QByteArray("GPRMC,120000,A,nan,N,01131.000,E,1,2,230394"),
          QByteArray("\x00\x01\xff;GPRMC,\xff\xfe", 12)}) {
        QCOMPARE(locationFromThinkwareCue(cue.constData(), cue.size(), &fix), -1);
    }
    // The axes of a damaged "gsensori" record are 0; the fix is still read.
    QByteArray const cue = "gsensori,4,512,1,x,3;" + rmc;
    QCOMPARE(locationFromThinkwareCue(cue.constData(), cue.size(), &fix), 0);
    QCOMPARE(fix.gsensorX, 0.0);
}

void TestGPSFormatBadInput::notMediaFiles() {
    QByteArray random(4096, '\0');
    QRandomGenerator generator(14);
    for (char& c : random) {
        c = char(generator.bounded(256));
    }
    QVERIFY(writeFile(_path("random.MP4"), random));
    QVERIFY(writeFile(_path("zero.MP4"), QByteArray()));
    for (char const* name : {"random.MP4", "zero.MP4", "missing.MP4"}) {
        QVector<KvLocation> locations(1);
        QString const path = _path(QString::fromLatin1(name));
        QVERIFY(!readGPSFromNovatekVideo(locations, path));
        QVERIFY(!readGPSFrom70maiVideo(locations, path));
        QVERIFY(!readGPSFromThinkwareVideo(locations, path));
        QVERIFY(!readGPSFromSidecar(locations, path));
        QVERIFY(!readGPSTrack(locations, {path}));
        QVERIFY(locations.isEmpty());
    }
    // A folder named like a sidecar is not read.
    QVERIFY(QDir().mkpath(_path("folder.nmea")));
    QVector<KvLocation> locations;
    QVERIFY(!readGPSFromSidecar(locations, _path("folder.MP4")));
}

void TestGPSFormatBadInput::emptyAndBinarySidecars() {
    QByteArray binary(65536, '\0');
    QRandomGenerator generator(4);
    for (char& c : binary) {
        c = char(generator.bounded(256));
    }
    QVERIFY(writeFile(_path("e.nmea"), QByteArray()));
    QVERIFY(writeFile(_path("e.gpx"), QByteArray()));
    QVERIFY(writeFile(_path("b.nmea"), binary));
    QVERIFY(writeFile(_path("b.gpx"), binary));
    QVector<KvLocation> locations;
    QVERIFY(!readGPSFromSidecar(locations, _path("e.MP4")));
    QVERIFY(!readGPSFromSidecar(locations, _path("b.MP4")));
    QVERIFY(!readGPSFromNmeaText(locations, nullptr, 5));
    // Sentences broken in every field; "$GSENSOR" lines without a fix.
    QByteArray const broken = "$GPRMC\n$GPRMC,,,,,,,,,,,,\n$GPRMC,1,A\n$GSENSOR,1,2,3\n"
                              "$GPGGA,999999,,,,,x\n$GSENSORD,a,b,c\n[123\n[]$\n*\n,,,,\n";
    QVERIFY(!readGPSFromNmeaText(locations, broken.constData(), broken.size()));
}

// 50 MB of RMC sentences: read within bounds, the track kept at its limit.
void TestGPSFormatBadInput::hugeSidecar() {
    QByteArray text;
    QDateTime const start(QDate(2026, 1, 1), QTime(0, 0), Qt::UTC);
    for (int i = 0; text.size() < 50 * 1024 * 1024; ++i) {
        TrackFix fix = oneFix();
        fix.time = start.addSecs(i);
        text += withChecksum(rmcBody(fix)) + "\r\n";
    }
    QVERIFY(writeFile(_path("huge.nmea"), text));
    QVector<KvLocation> locations;
    QVERIFY(readGPSFromSidecar(locations, _path("huge.MP4")));
    QCOMPARE(locations.size(), kMaxTrackFixes);
    // An overlong line (no newline in 50 MB) reads as nothing.
    QVERIFY(writeFile(_path("line.nmea"), QByteArray(50 * 1024 * 1024, 'A')));
    QVERIFY(!readGPSFromSidecar(locations, _path("line.MP4")));
}

void TestGPSFormatBadInput::gpxWithAMillionPoints() {
    QByteArray xml = "<?xml version=\"1.0\"?><gpx><trk><trkseg>";
    xml.reserve(40 * 1000 * 1000);
    for (int i = 0; i < 1000 * 1000; ++i) {
        xml += "<trkpt lat=\"1." + QByteArray::number(i) + "\" lon=\"2\"/>";
    }
    xml += "</trkseg></trk></gpx>";
    QVERIFY(writeFile(_path("million.gpx"), xml));
    xml.clear();
    QVector<KvLocation> locations;
    QVERIFY(readGPSFromSidecar(locations, _path("million.MP4")));
    QCOMPARE(locations.size(), kMaxTrackFixes);
}

void TestGPSFormatBadInput::gpxXmlBomb() {
    QByteArray bomb = "<?xml version=\"1.0\"?>\n<!DOCTYPE gpx [\n<!ENTITY a \"1234567890\">\n";
    char previous = 'a';
    for (char name = 'b'; name <= 'k'; ++name) {
        bomb += QByteArray("<!ENTITY ") + name + " \"";
        for (int i = 0; i < 10; ++i) {
            bomb += QByteArray("&") + previous + ";";
        }
        bomb += "\">\n";
        previous = name;
    }
    bomb += "]>\n<gpx><trk><trkseg><trkpt lat=\"1\" lon=\"2\"><name>&k;</name></trkpt>"
            "</trkseg></trk></gpx>\n";
    QVERIFY(writeFile(_path("bomb.gpx"), bomb));
    QVector<KvLocation> locations;
    QTest::ignoreMessage(QtDebugMsg, "gpx: a document type declaration is not read");
    QVERIFY(!readGPSFromSidecar(locations, _path("bomb.MP4")));
    // An entity used without a declaration is an error: the points before it are kept.
    QByteArray const undeclared = "<gpx><trk><trkseg><trkpt lat=\"1\" lon=\"2\"/>"
                                  "<trkpt lat=\"3\" lon=\"4\"><name>&x;</name></trkpt>"
                                  "</trkseg></trk></gpx>";
    QVERIFY(readGPSFromGpxText(locations, undeclared));
    QCOMPARE(locations.size(), 1);
}

// A 100 MB text inside a point: the file is read only up to the sidecar limit, the point cut
// off there is not taken, the one before is.
void TestGPSFormatBadInput::gpxHugeText() {
    {
        QFile file(_path("text.gpx"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(
            "<gpx><trk><trkseg><trkpt lat=\"1\" lon=\"2\"/><trkpt lat=\"3\" lon=\"4\"><name>");
        QByteArray const chunk(1024 * 1024, 'a');
        for (int i = 0; i < 100; ++i) {
            file.write(chunk);
        }
        file.write("</name></trkpt></trkseg></trk></gpx>");
    }
    QVector<KvLocation> locations;
    QVERIFY(readGPSFromSidecar(locations, _path("text.MP4")));
    QCOMPARE(locations.size(), 1);
    QCOMPARE(locations.first().latitude, 1.0);
}

// Everything above together raised this process's peak memory by little more than the 50 MB
// sidecar and the tracks at their limit.
void TestGPSFormatBadInput::memoryStaysBounded() {
#if defined(__SANITIZE_ADDRESS__)
    QSKIP("AddressSanitizer keeps freed memory in quarantine: peak memory says nothing here");
#endif
    long const growthMb = (peakRssKb() - _startRssKb) / 1024;
    QVERIFY2(growthMb < 400, qPrintable(QString("peak grew by %1 MB").arg(growthMb)));
}

KV_TEST_GUILESS_MAIN(TestGPSFormatBadInput)
#include "tst_gpsformatbadinput.moc"
