// Each of the other recorders' layouts written by a small writer in this test (from the layout
// as the readers document it) with a known track of 120 fixes - gaps, a change to the southern
// and western hemispheres, a date change at midnight UTC, invalid fixes - and read back.
#include "GPSFormatTestUtil.h"
#include "Kv70maiGPSReader.h"
#include "KvGpxReader.h"
#include "KvNovatekGPSReader.h"
#include "KvSidecarGPSReader.h"
#include "KvTestMain.h"
#include "KvThinkwareGPSReader.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace kvtest;

class TestGPSFormatWriters : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void trackCoversTheCases();
    void novatekIndexedFloatBlocks();
    void novatekTopLevelDateFirstBlocks();
    void seventyMaiBox();
    void seventyMaiBoxWithoutStamp();
    void thinkwareCues();
    void nmeaSidecar();
    void nmeaSidecarGgaOnly();
    void nmeaSidecarGSensorBeforeFixAndOtherSentences();
    void gpxSidecar();
    void sidecarNamesAndOrder();

private:
    QString _path(QString const& name) const { return _dir.path() + QLatin1Char('/') + name; }
    QTemporaryDir _dir;
    QVector<TrackFix> _track;
};

void TestGPSFormatWriters::initTestCase() {
    QVERIFY(_dir.isValid());
    _track = knownTrack();
}

// The known track has what the writers must carry through.
void TestGPSFormatWriters::trackCoversTheCases() {
    QVERIFY(_track.size() >= 100);
    bool south = false, west = false, midnight = false, invalid = false, gap = false;
    for (int i = 1; i < _track.size(); ++i) {
        TrackFix const& fix = _track.at(i);
        south = south || (fix.valid && fix.latitudeMilliMinutes < 0);
        west = west || (fix.valid && fix.longitudeMilliMinutes < 0);
        midnight = midnight || fix.time.date() != _track.at(i - 1).time.date();
        invalid = invalid || !fix.valid;
        gap = gap || _track.at(i - 1).time.secsTo(fix.time) > 1;
    }
    QVERIFY(south && west && midnight && invalid && gap);
    QVERIFY(_track.first().latitudeMilliMinutes > 0 && _track.first().longitudeMilliMinutes > 0);
}

void TestGPSFormatWriters::novatekIndexedFloatBlocks() {
    QVector<QByteArray> blocks;
    for (TrackFix const& fix : _track) {
        blocks.append(novatekFloatBlock(fix));
    }
    QString const path = _path("novatek-indexed.MOV");
    QVERIFY(writeFile(path, novatekIndexedClip(blocks)));
    QVector<KvLocation> locations;
    QVERIFY(readGPSFromNovatekVideo(locations, path));
    QCOMPARE(locations.size(), _track.size());
    for (int i = 0; i < _track.size(); ++i) {
        compareFix(locations.at(i), novatekExpected(_track.at(i)), i, 1e-5);
    }
}

void TestGPSFormatWriters::novatekTopLevelDateFirstBlocks() {
    QByteArray file = box("ftyp", QByteArray("qt  \0\0\0\0", 8));
    for (TrackFix const& fix : _track) {
        file += novatekDateFirstBlock(fix);
    }
    file += box("moov", box("mvhd", QByteArray(100, '\0')));
    QString const path = _path("novatek-top-level.MP4");
    QVERIFY(writeFile(path, file));
    QVector<KvLocation> locations;
    QVERIFY(readGPSFromNovatekVideo(locations, path));
    QCOMPARE(locations.size(), _track.size());
    for (int i = 0; i < _track.size(); ++i) {
        compareFix(locations.at(i), novatekExpected(_track.at(i)), i, 1e-5);
    }
}

namespace {

QByteArray seventyMaiFile(QVector<TrackFix> const& track) {
    QByteArray records;
    for (TrackFix const& fix : track) {
        records += seventyMaiRecord(fix, uint32_t(track.first().time.secsTo(fix.time)));
    }
    return box("ftyp", QByteArray("isom\0\0\0\0", 8)) + box("free", QByteArray()) +
           box("mdat", QByteArray(64, char(0x5A))) + box("moov", box("mvhd", QByteArray(100, 0))) +
           box("GPS ", records);
}

KvLocation seventyMaiExpected(TrackFix const& fix) {
    KvLocation location = expectedFix(fix, 0.01 * 10, false);
    if (!fix.valid) {
        location.speed = 0.0;
    }
    return location;
}

} // namespace

void TestGPSFormatWriters::seventyMaiBox() {
    // The clip's name gives its start: the first fix's time.
    QString const path = _path("NO20251231-235830-000001.MP4");
    QVERIFY(writeFile(path, seventyMaiFile(_track)));
    QVector<KvLocation> locations;
    QVERIFY(readGPSFrom70maiVideo(locations, path));
    QCOMPARE(locations.size(), _track.size());
    for (int i = 0; i < _track.size(); ++i) {
        compareFix(locations.at(i), seventyMaiExpected(_track.at(i)), i);
    }
}

void TestGPSFormatWriters::seventyMaiBoxWithoutStamp() {
    QString const path = _path("clip.MP4");
    QVERIFY(writeFile(path, seventyMaiFile(_track)));
    QVector<KvLocation> locations;
    QVERIFY(readGPSFrom70maiVideo(locations, path));
    QCOMPARE(locations.size(), _track.size());
    // No date; the time counts the seconds from the start of the clip.
    KvLocation const& last = locations.last();
    int const seconds = int(_track.first().time.secsTo(_track.last().time));
    QCOMPARE(last.day, 0);
    QCOMPARE(last.year, 0);
    QCOMPARE(last.hour * 3600 + last.minute * 60 + last.second, seconds);
    QCOMPARE(locations.at(1).second, 1);
}

void TestGPSFormatWriters::thinkwareCues() {
    // One cue a second from the first fix on; the seconds of the gaps hold cues without RMC.
    QVector<QByteArray> cues(int(_track.first().time.secsTo(_track.last().time)) + 1);
    for (int s = 0; s < cues.size(); ++s) {
        cues[s] = QByteArray("gsensori,4,512,0,0,512;CAR,0,0,0,0.0,0,0");
    }
    for (int i = 0; i < _track.size(); ++i) {
        TrackFix const& fix = _track.at(i);
        QByteArray const rmc = withChecksum(rmcBody(fix, i % 2 == 0 ? "GP" : "GN")).mid(1);
        cues[int(_track.first().time.secsTo(fix.time))] =
            QByteArray("gsensori,4,512,") + QByteArray::number(i) + "," + QByteArray::number(-i) +
            "," + QByteArray::number(500 + i) + ";" + rmc + ";CAR,0,0,0,0.0,0,0";
    }
    QString const path = _path("thinkware.mp4");
    QVERIFY2(writeSubtitleClip(path, cues, false), "ffmpeg could not write the subtitle clip");
    QVector<KvLocation> locations;
    QVERIFY(readGPSFromThinkwareVideo(locations, path));
    QCOMPARE(locations.size(), _track.size());
    for (int i = 0; i < _track.size(); ++i) {
        KvLocation expected = expectedFix(_track.at(i), 0.1852, false);
        expected.gsensorX = i;
        expected.gsensorY = -i;
        expected.gsensorZ = 500 + i;
        compareFix(locations.at(i), expected, i, 1e-9);
    }
}

void TestGPSFormatWriters::nmeaSidecar() {
    QByteArray text;
    int wrongChecksums = 0;
    for (int i = 0; i < _track.size(); ++i) {
        TrackFix const& fix = _track.at(i);
        QByteArray rmc = withChecksum(rmcBody(fix));
        if (i % 5 == 0) { // edited by hand after the checksum was written
            rmc[rmc.size() - 1] = rmc.at(rmc.size() - 1) == '0' ? '1' : '0';
            ++wrongChecksums;
        }
        QByteArray const prefix =
            i % 3 == 0 ? "[" + QByteArray::number(fix.time.toMSecsSinceEpoch()) + "]" : "";
        text += withChecksum("GPGSV,3,1,11,03,03,111,00,04,15,270,00,06,01,010,00,13,06,292,00") +
                "\r\n";
        text += prefix + rmc + "\r\n";
        text += "$GSENSOR," + QByteArray::number(i) + ",-" + QByteArray::number(i) + ",976\r\n";
        // A second sentence of the same second (a 2 Hz logger): the first is kept.
        text += prefix + withChecksum(rmcBody(fix).replace(".00,", ".50,")) + "\r\n";
    }
    QString const clip = _path("MOV_0001.MOV");
    QVERIFY(writeFile(_path("MOV_0001.nmea"), text));
    QTest::ignoreMessage(QtDebugMsg,
                         qPrintable(QString("nmea: %1 sentences kept with a checksum that does "
                                            "not match")
                                        .arg(wrongChecksums)));
    QVector<KvLocation> locations;
    QVERIFY(readGPSFromSidecar(locations, clip));
    QCOMPARE(locations.size(), _track.size());
    for (int i = 0; i < _track.size(); ++i) {
        KvLocation expected = expectedFix(_track.at(i), 0.1852, false);
        expected.gsensorX = i;
        expected.gsensorY = -i;
        expected.gsensorZ = 976;
        compareFix(locations.at(i), expected, i, 1e-9);
    }
}

void TestGPSFormatWriters::nmeaSidecarGgaOnly() {
    QByteArray text;
    for (TrackFix const& fix : _track) {
        QTime const t = fix.time.time();
        QByteArray body =
            QString::asprintf("GPGGA,%02d%02d%02d.00,", t.hour(), t.minute(), t.second())
                .toLatin1();
        if (fix.valid) {
            body += (ddmmText(fix.latitudeMilliMinutes, 2) +
                     (fix.latitudeMilliMinutes < 0 ? ",S," : ",N,") +
                     ddmmText(fix.longitudeMilliMinutes, 3) +
                     (fix.longitudeMilliMinutes < 0 ? ",W,1," : ",E,1,"))
                        .toLatin1();
        } else {
            body += ",,,,0,";
        }
        body += "08,0.9,545.4,M,46.9,M,,";
        // The "$GSENSORD" line comes before the sentence here.
        text += "$GSENSORD,0.010,-0.020,0.980\n" + withChecksum(body) + "\n";
    }
    QVector<KvLocation> locations;
    QVERIFY(readGPSFromNmeaText(locations, text.constData(), text.size()));
    QCOMPARE(locations.size(), _track.size());
    for (int i = 0; i < _track.size(); ++i) {
        KvLocation expected = expectedFix(_track.at(i), 0.0, false);
        expected.day = expected.month = expected.year = 0; // GGA has no date, no speed
        expected.gsensorX = 0.010;
        expected.gsensorY = -0.020;
        expected.gsensorZ = 0.980;
        compareFix(locations.at(i), expected, i);
    }
}

// A logger that writes, each second, GGA, GSA, GSV, the "$GSENSORD" line and then RMC, and
// one that writes time-prefixed VTG, ZDA and GLL sentences around RMC: the RMC fixes make the
// track, each with the axes of its own second.
void TestGPSFormatWriters::nmeaSidecarGSensorBeforeFixAndOtherSentences() {
    QByteArray before;
    QByteArray prefixed;
    for (int i = 0; i < _track.size(); ++i) {
        TrackFix const& fix = _track.at(i);
        QTime const t = fix.time.time();
        QByteArray const time =
            QString::asprintf("%02d%02d%02d.00", t.hour(), t.minute(), t.second()).toLatin1();
        before += withChecksum("GPGGA," + time + ",0000.000,N,00000.000,E,0,00,,,M,,M,,") + "\n";
        before += withChecksum("GPGSA,A,3,04,05,,09,12,,,24,,,,,2.5,1.3,2.1") + "\n";
        before += withChecksum("GPGSV,1,1,02,03,03,111,00,04,15,270,00") + "\n";
        before += "$GSENSORD," + QByteArray::number(i) + ".000,0.500,-" + QByteArray::number(i) +
                  ".250\n";
        before += withChecksum(rmcBody(fix)) + "\n";
        QByteArray const ms = "[" + QByteArray::number(fix.time.toMSecsSinceEpoch()) + "]";
        prefixed += ms + withChecksum("GPVTG,84.4,T,,M,22.4,N,41.5,K,A") + "\n";
        prefixed += ms + withChecksum(rmcBody(fix)) + "\n";
        prefixed += ms + withChecksum("GPZDA," + time + ",31,12,2025,00,00") + "\n";
        prefixed += ms + withChecksum("GPGLL,4916.45,N,12311.12,W," + time + ",A,A") + "\n";
    }
    QVector<KvLocation> locations;
    QVERIFY(readGPSFromNmeaText(locations, before.constData(), before.size()));
    QCOMPARE(locations.size(), _track.size());
    for (int i = 0; i < _track.size(); ++i) {
        KvLocation expected = expectedFix(_track.at(i), 0.1852, false);
        expected.gsensorX = i;
        expected.gsensorY = 0.5;
        expected.gsensorZ = -(i + 0.25);
        compareFix(locations.at(i), expected, i);
    }
    QVERIFY(readGPSFromNmeaText(locations, prefixed.constData(), prefixed.size()));
    QCOMPARE(locations.size(), _track.size());
    for (int i = 0; i < _track.size(); ++i) {
        compareFix(locations.at(i), expectedFix(_track.at(i), 0.1852, false), i);
    }
}

void TestGPSFormatWriters::gpxSidecar() {
    QByteArray xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<gpx version=\"1.1\" creator=\"test\" xmlns=\"http://www.topografix.com/GPX/1/1\""
        " xmlns:gpxtpx=\"http://www.garmin.com/xmlschemas/TrackPointExtension/v2\">\n"
        "<trk><name>known</name><trkseg>\n";
    for (int i = 0; i < _track.size(); ++i) {
        TrackFix const& fix = _track.at(i);
        // Some times are written in another zone: the reader turns them into UTC.
        QString const time = i % 4 == 0 ? fix.time.toOffsetFromUtc(3600).toString(Qt::ISODate)
                                        : fix.time.toString(Qt::ISODate);
        xml += QString("<trkpt lat=\"%1\" lon=\"%2\"><ele>12.5</ele><time>%3</time>")
                   .arg(degreesOf(fix.latitudeMilliMinutes), 0, 'f', 12)
                   .arg(degreesOf(fix.longitudeMilliMinutes), 0, 'f', 12)
                   .arg(time)
                   .toUtf8();
        QByteArray const speed = QByteArray::number(fix.speedTenths / 10.0, 'f', 1);
        xml += i % 2 == 0 ? "<speed>" + speed + "</speed>"
                          : "<extensions><gpxtpx:TrackPointExtension><gpxtpx:speed>" + speed +
                                "</gpxtpx:speed></gpxtpx:TrackPointExtension></extensions>";
        xml += fix.valid ? "" : "<fix>none</fix>";
        xml += "</trkpt>\n";
    }
    xml += "</trkseg></trk></gpx>\n";
    QVERIFY(writeFile(_path("track.gpx"), xml));
    QVector<KvLocation> locations;
    QVERIFY(readGPSFromSidecar(locations, _path("track.mp4")));
    QCOMPARE(locations.size(), _track.size());
    for (int i = 0; i < _track.size(); ++i) {
        compareFix(locations.at(i), expectedFix(_track.at(i), 0.36, true), i, 1e-9);
    }
}

void TestGPSFormatWriters::sidecarNamesAndOrder() {
    QString const clip = _path("sub/REC.0001.MP4");
    QVERIFY(QDir().mkpath(_path("sub")));
    QStringList const expected = {_path("sub/REC.0001.nmea"), _path("sub/REC.0001.NMEA"),
                                  _path("sub/REC.0001.gps"),  _path("sub/REC.0001.GPS"),
                                  _path("sub/REC.0001.gpx"),  _path("sub/REC.0001.GPX")};
    QCOMPARE(sidecarPaths(clip), expected);
    TrackFix fix = _track.first();
    QVERIFY(
        writeFile(_path("sub/REC.0001.GPX"),
                  "<gpx><trk><trkseg><trkpt lat=\"-10.5\" lon=\"20.25\"/></trkseg></trk></gpx>"));
    QVector<KvLocation> locations;
    QVERIFY(readGPSFromSidecar(locations, clip));
    QCOMPARE(locations.first().latitude, -10.5);
    // A text log is preferred to the GPX one; ".gps" is text too.
    QVERIFY(writeFile(_path("sub/REC.0001.gps"), withChecksum(rmcBody(fix)) + "\n"));
    QVERIFY(readGPSFromSidecar(locations, clip));
    QCOMPARE(locations.size(), 1);
    QCOMPARE(locations.first().second, fix.time.time().second());
    // A sidecar without a track does not hide the next one.
    QVERIFY(writeFile(_path("sub/REC.0001.NMEA"), "no sentences here\n"));
    QVERIFY(readGPSFromSidecar(locations, clip));
    QCOMPARE(locations.size(), 1);
}

KV_TEST_GUILESS_MAIN(TestGPSFormatWriters)
#include "tst_gpsformatwriters.moc"
