// Which reader supplies a recording's track when its clips hold several layouts: the subtitle
// text and the "gps0" box for every clip first, as always; only then the other recorders'
// layouts, clip by clip, each clip in the order Novatek, 70mai, Thinkware, sidecar; and the name
// of the layout that answered.
#include "GPSFormatTestUtil.h"
#include "KvGPSReader.h"
#include "KvTestMain.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace kvtest;

class TestGPSFormatOrder : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void subtitleTrackWinsOverGpsBox();
    void rearSidecarWhenFrontHasNoTrack();
    void gps0BoxWinsOverNovatekBlocks();
    void rearSubtitleTrackWinsOverFrontNovatekBlocks();
    void novatekBeforeSeventyMai();
    void seventyMaiBeforeThinkware();
    void thinkwareBeforeSidecar();
    void frontSidecarBeforeRearBox();
    void nothingAnywhere();
    void layoutsInTheOrderTried();
    void layoutNameSaysWhichReaderAnswered();

private:
    QString _path(QString const& name) const { return _dir.path() + QLatin1Char('/') + name; }
    // Latitude of a one-fix track of each kind, so a test sees which reader answered.
    static QByteArray _rmcCue(double latitude);
    static QByteArray _gpsBox(int latitudeDegrees);
    static QByteArray _novatekBlock(int latitudeDegrees);
    static QByteArray _nmea(int latitudeDegrees);
    static QByteArray _thinkwareCue(int latitudeDegrees);
    bool _subtitleClip(QString const& name, QVector<QByteArray> const& cues);
    QTemporaryDir _dir;
};

namespace {

TrackFix fixAt(int latitudeDegrees) {
    TrackFix fix;
    fix.latitudeMilliMinutes = latitudeDegrees * 60000;
    fix.longitudeMilliMinutes = 10 * 60000;
    fix.speedTenths = 100;
    fix.time = QDateTime(QDate(2026, 3, 15), QTime(10, 15, 30), Qt::UTC);
    return fix;
}

QByteArray plainMp4() {
    return box("ftyp", QByteArray("isom\0\0\0\0", 8)) +
           box("moov", box("mvhd", QByteArray(100, 0)));
}

} // namespace

QByteArray TestGPSFormatOrder::_rmcCue(double latitude) {
    return withChecksum(rmcBody(fixAt(int(latitude))));
}

QByteArray TestGPSFormatOrder::_gpsBox(int latitudeDegrees) {
    return box("GPS ", seventyMaiRecord(fixAt(latitudeDegrees), 0));
}

QByteArray TestGPSFormatOrder::_novatekBlock(int latitudeDegrees) {
    return novatekFloatBlock(fixAt(latitudeDegrees));
}

QByteArray TestGPSFormatOrder::_nmea(int latitudeDegrees) {
    return withChecksum(rmcBody(fixAt(latitudeDegrees))) + "\n";
}

QByteArray TestGPSFormatOrder::_thinkwareCue(int latitudeDegrees) {
    return "gsensori,4,512,1,2,3;" + withChecksum(rmcBody(fixAt(latitudeDegrees))).mid(1);
}

bool TestGPSFormatOrder::_subtitleClip(QString const& name, QVector<QByteArray> const& cues) {
    return writeSubtitleClip(_path(name), cues, false);
}

void TestGPSFormatOrder::initTestCase() {
    QVERIFY(_dir.isValid());
}

void TestGPSFormatOrder::subtitleTrackWinsOverGpsBox() {
    QVERIFY(_subtitleClip("both.mp4", {_rmcCue(11), _rmcCue(11)}));
    QVERIFY(writeFile(_path("both.mp4"), _gpsBox(22), true));
    QVector<KvLocation> locations;
    QVERIFY(readGPSTrack(locations, {_path("both.mp4")}));
    QCOMPARE(qRound(locations.first().latitude), 11);
}

void TestGPSFormatOrder::rearSidecarWhenFrontHasNoTrack() {
    QVERIFY(writeFile(_path("FRONT0001.MP4"), plainMp4()));
    QVERIFY(writeFile(_path("REAR0001.MP4"), plainMp4()));
    QVERIFY(writeFile(_path("REAR0001.nmea"), _nmea(33)));
    QVector<KvLocation> locations;
    QVERIFY(readGPSTrack(locations, {_path("FRONT0001.MP4"), _path("REAR0001.MP4")}));
    QCOMPARE(locations.size(), 1);
    QCOMPARE(qRound(locations.first().latitude), 33);
}

void TestGPSFormatOrder::gps0BoxWinsOverNovatekBlocks() {
    GpsRecord record;
    record.latitude = 4400.0;
    record.longitude = 1000.0;
    QByteArray const file = box("ftyp", QByteArray("isom\0\0\0\0", 8)) + _novatekBlock(55) +
                            box("gps0", recordBytes(record));
    QVERIFY(writeFile(_path("gps0-and-novatek.MP4"), file));
    QVector<KvLocation> locations;
    QVERIFY(readGPSTrack(locations, {_path("gps0-and-novatek.MP4")}));
    QCOMPARE(qRound(locations.first().latitude), 44);
}

void TestGPSFormatOrder::rearSubtitleTrackWinsOverFrontNovatekBlocks() {
    QVERIFY(writeFile(_path("novatek-front.MP4"),
                      box("ftyp", QByteArray("isom\0\0\0\0", 8)) + _novatekBlock(55)));
    QVERIFY(_subtitleClip("subtitle-rear.mp4", {_rmcCue(12)}));
    QVector<KvLocation> locations;
    QVERIFY(readGPSTrack(locations, {_path("novatek-front.MP4"), _path("subtitle-rear.mp4")}));
    QCOMPARE(qRound(locations.first().latitude), 12);
}

void TestGPSFormatOrder::novatekBeforeSeventyMai() {
    QByteArray const file =
        box("ftyp", QByteArray("isom\0\0\0\0", 8)) + _gpsBox(22) + _novatekBlock(55);
    QVERIFY(writeFile(_path("novatek-and-70mai.MP4"), file));
    QVector<KvLocation> locations;
    QVERIFY(readGPSTrack(locations, {_path("novatek-and-70mai.MP4")}));
    QCOMPARE(qRound(locations.first().latitude), 55);
}

void TestGPSFormatOrder::seventyMaiBeforeThinkware() {
    QVERIFY(_subtitleClip("thinkware-and-70mai.mp4", {_thinkwareCue(66)}));
    QVector<KvLocation> locations;
    QVERIFY(readGPSTrack(locations, {_path("thinkware-and-70mai.mp4")}));
    QCOMPARE(qRound(locations.first().latitude), 66);
    QVERIFY(writeFile(_path("thinkware-and-70mai.mp4"), _gpsBox(22), true));
    QVERIFY(readGPSTrack(locations, {_path("thinkware-and-70mai.mp4")}));
    QCOMPARE(qRound(locations.first().latitude), 22);
}

void TestGPSFormatOrder::thinkwareBeforeSidecar() {
    QVERIFY(_subtitleClip("thinkware.mp4", {_thinkwareCue(66)}));
    QVERIFY(writeFile(_path("thinkware.nmea"), _nmea(33)));
    QVector<KvLocation> locations;
    QVERIFY(readGPSTrack(locations, {_path("thinkware.mp4")}));
    QCOMPARE(qRound(locations.first().latitude), 66);
    QCOMPARE(locations.first().gsensorZ, 3.0);
}

void TestGPSFormatOrder::frontSidecarBeforeRearBox() {
    QVERIFY(writeFile(_path("F0002.MP4"), plainMp4()));
    QVERIFY(writeFile(_path("F0002.gpx"),
                      "<gpx><trk><trkseg><trkpt lat=\"77.5\" lon=\"1\"/></trkseg></trk></gpx>"));
    QVERIFY(writeFile(_path("R0002.MP4"), plainMp4() + _gpsBox(22)));
    QVector<KvLocation> locations;
    QVERIFY(readGPSTrack(locations, {_path("F0002.MP4"), _path("R0002.MP4")}));
    QCOMPARE(locations.first().latitude, 77.5);
}

void TestGPSFormatOrder::nothingAnywhere() {
    QVERIFY(writeFile(_path("empty1.MP4"), plainMp4()));
    QVector<KvLocation> locations(2);
    QVERIFY(!readGPSTrack(locations, {_path("empty1.MP4"), _path("missing.MP4")}));
    QVERIFY(locations.isEmpty());
}

void TestGPSFormatOrder::layoutsInTheOrderTried() {
    QStringList names;
    QStringList primary;
    for (KvGpsLayout const& layout : gpsLayouts()) {
        names << QString::fromLatin1(layout.name);
        if (layout.group == KvGpsLayout::Primary) {
            primary << QString::fromLatin1(layout.name);
        }
        QVERIFY(layout.read != nullptr);
    }
    QCOMPARE(names, QStringList({"subtitle", "gps0", "novatek", "70mai", "thinkware", "sidecar"}));
    QCOMPARE(primary, QStringList({"subtitle", "gps0"}));
}

void TestGPSFormatOrder::layoutNameSaysWhichReaderAnswered() {
    QVERIFY(writeFile(_path("named-novatek.MP4"), box("ftyp", QByteArray("isom\0\0\0\0", 8)) +
                                                      _gpsBox(22) + _novatekBlock(55)));
    GpsRecord record;
    record.latitude = 4400.0;
    record.longitude = 1000.0;
    QVERIFY(writeFile(_path("named-gps0.MP4"), plainMp4() + box("gps0", recordBytes(record))));
    QVERIFY(writeFile(_path("named-sidecar.MP4"), plainMp4()));
    QVERIFY(writeFile(_path("named-sidecar.nmea"), _nmea(33)));
    QVERIFY(_subtitleClip("named-subtitle.mp4", {_rmcCue(12)}));

    QVector<KvLocation> locations;
    QString layout;
    QVERIFY(readGPSTrack(locations, {_path("named-novatek.MP4")}, &layout));
    QCOMPARE(layout, QStringLiteral("novatek"));
    QVERIFY(
        readGPSTrack(locations, {_path("named-sidecar.MP4"), _path("named-gps0.MP4")}, &layout));
    QCOMPARE(layout, QStringLiteral("gps0"));
    QVERIFY(readGPSTrack(locations, {_path("named-sidecar.MP4")}, &layout));
    QCOMPARE(layout, QStringLiteral("sidecar"));
    QCOMPARE(qRound(locations.first().latitude), 33);
    QVERIFY(readGPSTrack(locations, {_path("named-subtitle.mp4")}, &layout));
    QCOMPARE(layout, QStringLiteral("subtitle"));
    // Without a track the name is left as it was.
    layout = QStringLiteral("unchanged");
    QVERIFY(!readGPSTrack(locations, {_path("missing.MP4")}, &layout));
    QCOMPARE(layout, QStringLiteral("unchanged"));
}

KV_TEST_GUILESS_MAIN(TestGPSFormatOrder)
#include "tst_gpsformatorder.moc"
