#include "KvTestMain.h"
#include "KvTrackExporter.h"
#include "ToolProcess.h"

#include <QDomDocument>
#include <QProcess>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <limits>

// Exported tracks: GPX 1.1 that validates against the published schema, KML that parses, CSV
// that reads back to the same values; fixes in time order over midnight and the antimeridian;
// one track per recording, recordings in the order they were taken, read back as separate tracks
// by gpsbabel; nothing but placeable fixes; no half file left behind.
class TestTrackExporter : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void formatFromNameAndFilter_data();
    void formatFromNameAndFilter();
    void onlyPlaceableFixesAreExported();
    void recordingsMergeInTimeOrderOverMidnight();
    void gpxValidatesAgainstTheSchema();
    void kmlParsesWithEveryFix();
    void csvReadsBackTheSameValues();
    void southWestAndAntimeridian();
    void trackWithoutFixesWritesNothing();
    void failedWriteKeepsTheOldFile();
    void nonAsciiFileName();
    void tenHourTrackExportsEveryFix();
    void recordingsAreOrderedByTheirFirstFix();
    void gpxHasOneTrackPerRecording();
    void kmlHasOneLinePerRecording();
    void csvNamesTheRecordingOfEachFix();
    void gpsbabelReadsOneTrackPerRecording_data();
    void gpsbabelReadsOneTrackPerRecording();

private:
    QTemporaryDir _dir;
};

namespace {
KvLocation fix(int day, int hour, int minute, int second, double latitude, double longitude,
               double speed = 50.0) {
    KvLocation location;
    location.valid = true;
    location.year = 26;
    location.month = 11;
    location.day = day;
    location.hour = hour;
    location.minute = minute;
    location.second = second;
    location.latitude = latitude;
    location.longitude = longitude;
    location.speed = speed;
    location.gsensorX = 0.125;
    location.gsensorY = -0.03;
    location.gsensorZ = 0.98;
    return location;
}

// A drive of `count` fixes, one a second from 23:59:50 on 23 November, so it crosses midnight.
QVector<KvLocation> drive(int count, double latitude = 48.137, double longitude = 11.575) {
    QVector<KvLocation> track;
    for (int i = 0; i < count; ++i) {
        const int total = 23 * 3600 + 59 * 60 + 50 + i;
        const int day = 23 + total / 86400;
        const int t = total % 86400;
        track.append(fix(day, t / 3600, t / 60 % 60, t % 60, latitude + i * 0.0001,
                         longitude + i * 0.0001, 30.0 + i % 40));
    }
    return track;
}

// `count` fixes one a second from noon on 1 June of year 2000 + year, heading north-east from
// (latitude, longitude).
QVector<KvLocation> recordingIn(int year, double latitude, double longitude, int count) {
    QVector<KvLocation> track;
    for (int i = 0; i < count; ++i) {
        KvLocation location =
            fix(1, 12, i / 60, i % 60, latitude + i * 0.0001, longitude + i * 0.0001, 40.0 + i);
        location.year = year;
        location.month = 6;
        track.append(location);
    }
    return track;
}

// Four recordings taken years apart in four places, handed over out of order, as a user selects
// them in the playlist.
QVector<KvTrackExporter::Recording> fourRecordings() {
    return {{QStringLiteral("Munich 2026"), recordingIn(26, 48.137, 11.575, 12)},
            {QStringLiteral("Sydney 2007"), recordingIn(7, -33.8688, 151.2093, 5)},
            {QStringLiteral("New York 2019"), recordingIn(19, 40.7128, -74.006, 9)},
            {QStringLiteral("Tokyo 2012"), recordingIn(12, 35.6762, 139.6503, 7)}};
}

// Names and fix counts of the four recordings in the order they were taken.
const QStringList OrderedNames = {QStringLiteral("Sydney 2007"), QStringLiteral("Tokyo 2012"),
                                  QStringLiteral("New York 2019"), QStringLiteral("Munich 2026")};
const QVector<int> OrderedCounts = {5, 7, 9, 12};

QDomDocument parsed(const QByteArray& xml) {
    QDomDocument document;
    QString error;
    if (!document.setContent(xml, true, &error)) {
        qWarning("%s", qPrintable(error));
    }
    return document;
}

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
} // namespace

void TestTrackExporter::initTestCase() {
    QVERIFY(_dir.isValid());
}

void TestTrackExporter::formatFromNameAndFilter_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("filter");
    QTest::addColumn<int>("format");
    QTest::newRow("gpx") << "a/track.gpx"
                         << "" << int(KvTrackExporter::Gpx);
    QTest::newRow("KML upper") << "a/track.KML"
                               << "" << int(KvTrackExporter::Kml);
    QTest::newRow("csv") << "track.csv"
                         << "GPX (*.gpx)" << int(KvTrackExporter::Csv);
    QTest::newRow("filter kml") << "track"
                                << "KML (*.kml)" << int(KvTrackExporter::Kml);
    QTest::newRow("filter csv") << "track.txt"
                                << "CSV (*.csv)" << int(KvTrackExporter::Csv);
    QTest::newRow("default gpx") << "track"
                                 << "" << int(KvTrackExporter::Gpx);
}

void TestTrackExporter::formatFromNameAndFilter() {
    QFETCH(QString, path);
    QFETCH(QString, filter);
    QFETCH(int, format);
    QCOMPARE(int(KvTrackExporter::formatFor(path, filter)), format);
}

void TestTrackExporter::onlyPlaceableFixesAreExported() {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    QVector<KvLocation> track{fix(23, 10, 0, 0, 48.1, 11.5)};
    KvLocation invalid = fix(23, 10, 0, 1, 48.1, 11.5);
    invalid.valid = false;
    track << invalid << fix(23, 10, 0, 2, nan, 11.5) << fix(23, 10, 0, 3, 48.1, inf)
          << fix(23, 10, 0, 4, 91.0, 11.5) << fix(23, 10, 0, 5, 48.1, -180.5)
          << fix(0, 10, 0, 6, 48.1, 11.5) << fix(31, 10, 0, 7, 48.1, 11.5)
          << fix(23, 24, 0, 8, 48.1, 11.5) << fix(23, 10, 0, 9, 0.0, 0.0)
          << fix(23, 10, 0, 10, 48.1, 11.5, nan);
    const QVector<KvLocation> merged = KvTrackExporter::mergeTracks({track});
    // The first, the (0, 0) fix (a real place) and the one whose speed is unknown.
    QCOMPARE(merged.size(), 3);
    QCOMPARE(merged[0].second, 0);
    QCOMPARE(merged[1].second, 9);
    QCOMPARE(merged[2].second, 10);
    const QByteArray csv = KvTrackExporter::toCsv({{"drive", merged}});
    QVERIFY(csv.contains("2026-11-23T10:00:10Z,48.1,11.5,,0.125,-0.03,0.98,drive\n"));
    QVERIFY(!csv.contains("nan"));
}

void TestTrackExporter::recordingsMergeInTimeOrderOverMidnight() {
    const QVector<KvLocation> whole = drive(20);
    // Two recordings handed over in the wrong order: the later one first.
    const QVector<KvLocation> merged =
        KvTrackExporter::mergeTracks({whole.mid(10), whole.mid(0, 10)});
    QCOMPARE(merged.size(), 20);
    for (int i = 0; i < merged.size(); ++i) {
        QCOMPARE(merged[i].latitude, whole[i].latitude);
    }
    QCOMPARE(KvTrackExporter::fixTime(merged[9]),
             QDateTime(QDate(2026, 11, 23), QTime(23, 59, 59), Qt::UTC));
    QCOMPARE(KvTrackExporter::fixTime(merged[10]),
             QDateTime(QDate(2026, 11, 24), QTime(0, 0, 0), Qt::UTC));
}

void TestTrackExporter::gpxValidatesAgainstTheSchema() {
    const QString path = _dir.filePath("drive.gpx");
    QString error;
    QVERIFY2(KvTrackExporter::exportTrack(drive(120), path, KvTrackExporter::Gpx,
                                          QStringLiteral("Fahrt <1> & \"ü\""), &error),
             qPrintable(error));
    QProcess lint;
    kvtest::startTool(lint, QStringLiteral("xmllint"),
                      {QStringLiteral("--noout"), QStringLiteral("--schema"),
                       QStringLiteral(KV_SOURCE_DIR "/tests/data/gpx.xsd"), path});
    QVERIFY2(lint.waitForFinished(30000), "xmllint (libxml2-utils) did not run");
    QVERIFY2(lint.exitCode() == 0, lint.readAllStandardError().constData());
    const QByteArray gpx = readAll(path);
    QVERIFY(gpx.contains("<time>2026-11-23T23:59:59Z</time>"));
    QVERIFY(gpx.contains("<time>2026-11-24T00:00:00Z</time>"));
    // 30 km/h in metres per second.
    QVERIFY(gpx.contains("<gpxtpx:speed>8.333333333333334</gpxtpx:speed>"));
    QCOMPARE(gpx.count("<trkpt "), 120);
    // A lone recording is one track of one segment, named after it.
    QCOMPARE(gpx.count("<trk>"), 1);
    QCOMPARE(gpx.count("<trkseg>"), 1);
    QVERIFY(gpx.contains("<name>Fahrt &lt;1&gt; &amp; &quot;\xc3\xbc&quot;</name>"));
}

void TestTrackExporter::kmlParsesWithEveryFix() {
    const QString path = _dir.filePath("drive.kml");
    QVERIFY(KvTrackExporter::exportTrack(drive(50), path, KvTrackExporter::Kml, "drive"));
    QDomDocument document;
    QString error;
    QVERIFY2(document.setContent(readAll(path), true, &error), qPrintable(error));
    QCOMPARE(document.documentElement().namespaceURI(),
             QStringLiteral("http://www.opengis.net/kml/2.2"));
    QCOMPARE(document.elementsByTagName(QStringLiteral("when")).size(), 50);
    const QStringList line = document.elementsByTagName(QStringLiteral("LineString"))
                                 .at(0)
                                 .toElement()
                                 .text()
                                 .simplified()
                                 .split(QLatin1Char(' '), Qt::SkipEmptyParts);
    QCOMPARE(line.size(), 50);
    QCOMPARE(line.first(), QStringLiteral("11.575,48.137"));
    QCOMPARE(document.elementsByTagName(QStringLiteral("LineString")).size(), 1);
    const QDomNodeList folders = document.elementsByTagName(QStringLiteral("Folder"));
    QCOMPARE(folders.size(), 1);
    QCOMPARE(folders.at(0).firstChildElement(QStringLiteral("name")).text(),
             QStringLiteral("fixes"));
}

void TestTrackExporter::csvReadsBackTheSameValues() {
    const QVector<KvLocation> track = drive(100);
    const QString path = _dir.filePath("drive.csv");
    QVERIFY(KvTrackExporter::exportTrack(track, path, KvTrackExporter::Csv, "drive"));
    const QList<QByteArray> lines = readAll(path).split('\n');
    QCOMPARE(lines.first(), QByteArray("time,latitude,longitude,speed_kmh,gsensor_x,gsensor_y,"
                                       "gsensor_z,recording"));
    for (int i = 0; i < track.size(); ++i) {
        const QList<QByteArray> fields = lines.at(i + 1).split(',');
        QCOMPARE(fields.size(), 8);
        QCOMPARE(fields[7], QByteArray("drive"));
        QCOMPARE(QDateTime::fromString(QString::fromLatin1(fields[0]), Qt::ISODate),
                 KvTrackExporter::fixTime(track[i]));
        QCOMPARE(fields[0].right(1), QByteArray("Z"));
        // Exact: the shortest form that reads back as the same double.
        QCOMPARE(fields[1].toDouble(), track[i].latitude);
        QCOMPARE(fields[2].toDouble(), track[i].longitude);
        QCOMPARE(fields[3].toDouble(), track[i].speed);
        QCOMPARE(fields[4].toDouble(), track[i].gsensorX);
        QCOMPARE(fields[5].toDouble(), track[i].gsensorY);
        QCOMPARE(fields[6].toDouble(), track[i].gsensorZ);
    }
}

void TestTrackExporter::southWestAndAntimeridian() {
    QVector<KvLocation> track;
    track << fix(23, 10, 0, 0, -33.8688, 179.9999) << fix(23, 10, 0, 1, -33.8689, -179.9999)
          << fix(23, 10, 0, 2, -33.869, -179.9998);
    const QByteArray csv = KvTrackExporter::toCsv({{"sw", KvTrackExporter::mergeTracks({track})}});
    QVERIFY(csv.contains(",-33.8688,179.9999,"));
    QVERIFY(csv.contains(",-33.8689,-179.9999,"));
    const QByteArray gpx = KvTrackExporter::toGpx({{"sw", track}});
    QVERIFY(gpx.contains("lat=\"-33.8689\" lon=\"-179.9999\""));
}

void TestTrackExporter::trackWithoutFixesWritesNothing() {
    const QString path = _dir.filePath("empty.gpx");
    KvLocation invalid = fix(23, 10, 0, 0, 48.1, 11.5);
    invalid.valid = false;
    QString error;
    QVERIFY(!KvTrackExporter::exportTrack({invalid}, path, KvTrackExporter::Gpx, "x", &error));
    QVERIFY(!error.isEmpty());
    QVERIFY(!QFile::exists(path));
    QVERIFY(!KvTrackExporter::exportTrack({}, path, KvTrackExporter::Csv, "x", &error));
    QVERIFY(!QFile::exists(path));
}

void TestTrackExporter::failedWriteKeepsTheOldFile() {
    const QString folder = _dir.filePath("readonly");
    QVERIFY(QDir().mkpath(folder));
    const QString path = folder + "/track.gpx";
    QVERIFY(KvTrackExporter::exportTrack(drive(10), path, KvTrackExporter::Gpx, "old"));
    const QByteArray before = readAll(path);
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner);
    if (QFileInfo(folder).isWritable()) {
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QSKIP("running as root: a read-only folder is still writable");
    }
    QString error;
    const bool written =
        KvTrackExporter::exportTrack(drive(30), path, KvTrackExporter::Gpx, "new", &error);
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QVERIFY(!written);
    QVERIFY(!error.isEmpty());
    QCOMPARE(readAll(path), before);
    QCOMPARE(QDir(folder).entryList(QDir::Files).size(), 1);
}

void TestTrackExporter::nonAsciiFileName() {
    const QString path = _dir.filePath(QStringLiteral("行车 Fahrt ü.csv"));
    QVERIFY(KvTrackExporter::exportTrack(drive(5), path, KvTrackExporter::Csv, "x"));
    QCOMPARE(readAll(path).count('\n'), 6);
}

// How long this takes is measured by bench/run-gps-track (kv_bench_gps_track --export).
void TestTrackExporter::tenHourTrackExportsEveryFix() {
    const QVector<KvLocation> track = drive(36000);
    const QVector<KvLocation> merged = KvTrackExporter::mergeTracks({track});
    QCOMPARE(merged.size(), 36000);
    const QString gpx = _dir.filePath(QStringLiteral("long.gpx"));
    QVERIFY(KvTrackExporter::exportTrack(merged, gpx, KvTrackExporter::Gpx, "ten hours"));
    QCOMPARE(readAll(gpx).count("<trkpt "), 36000);
    const QString kml = _dir.filePath(QStringLiteral("long.kml"));
    QVERIFY(KvTrackExporter::exportTrack(merged, kml, KvTrackExporter::Kml, "ten hours"));
    QCOMPARE(readAll(kml).count("<when>"), 36000);
    const QString csv = _dir.filePath(QStringLiteral("long.csv"));
    QVERIFY(KvTrackExporter::exportTrack(merged, csv, KvTrackExporter::Csv, "ten hours"));
    // The header line and one line per fix.
    QCOMPARE(readAll(csv).count('\n'), 36001);
}

void TestTrackExporter::recordingsAreOrderedByTheirFirstFix() {
    QVector<KvTrackExporter::Recording> recordings = fourRecordings();
    // Tokyo's fixes arrive out of order; the recording still starts with its earliest fix.
    std::reverse(recordings[3].fixes.begin(), recordings[3].fixes.end());
    KvLocation invalid = recordingIn(1, 0.0, 0.0, 1).first();
    invalid.valid = false;
    recordings.append({QStringLiteral("no fix"), {invalid}});
    // Two recordings that start at the same instant keep the order they were handed over in.
    recordings.append({QStringLiteral("Munich 2026 rear"), recordingIn(26, 48.2, 11.6, 3)});
    const QVector<KvTrackExporter::Recording> ordered =
        KvTrackExporter::orderRecordings(recordings);
    QStringList names;
    for (const KvTrackExporter::Recording& recording : ordered) {
        names.append(recording.name);
    }
    QCOMPARE(names, OrderedNames + QStringList{QStringLiteral("Munich 2026 rear")});
    QCOMPARE(ordered[1].fixes.size(), 7);
    QCOMPARE(KvTrackExporter::fixTime(ordered[1].fixes.first()),
             QDateTime(QDate(2012, 6, 1), QTime(12, 0, 0), Qt::UTC));
    QCOMPARE(KvTrackExporter::fixTime(ordered[1].fixes.last()),
             QDateTime(QDate(2012, 6, 1), QTime(12, 0, 6), Qt::UTC));
    QVERIFY(KvTrackExporter::orderRecordings({{QStringLiteral("x"), {invalid}}}).isEmpty());
}

void TestTrackExporter::gpxHasOneTrackPerRecording() {
    const QString path = _dir.filePath("four.gpx");
    QString error;
    QVERIFY2(KvTrackExporter::exportRecordings(KvTrackExporter::orderRecordings(fourRecordings()),
                                               path, KvTrackExporter::Gpx, "four", &error),
             qPrintable(error));
    QProcess lint;
    kvtest::startTool(lint, QStringLiteral("xmllint"),
                      {QStringLiteral("--noout"), QStringLiteral("--schema"),
                       QStringLiteral(KV_SOURCE_DIR "/tests/data/gpx.xsd"), path});
    QVERIFY2(lint.waitForFinished(30000), "xmllint (libxml2-utils) did not run");
    QVERIFY2(lint.exitCode() == 0, lint.readAllStandardError().constData());
    const QDomNodeList tracks = parsed(readAll(path)).elementsByTagName(QStringLiteral("trk"));
    QCOMPARE(tracks.size(), 4);
    for (int i = 0; i < tracks.size(); ++i) {
        const QDomElement track = tracks.at(i).toElement();
        QCOMPARE(track.firstChildElement(QStringLiteral("name")).text(), OrderedNames[i]);
        QCOMPARE(track.elementsByTagName(QStringLiteral("trkseg")).size(), 1);
        QCOMPARE(track.elementsByTagName(QStringLiteral("trkpt")).size(), OrderedCounts[i]);
    }
    QCOMPARE(tracks.at(0).toElement().elementsByTagName("time").at(0).toElement().text(),
             QStringLiteral("2007-06-01T12:00:00Z"));
}

void TestTrackExporter::kmlHasOneLinePerRecording() {
    const QString path = _dir.filePath("four.kml");
    QVERIFY(KvTrackExporter::exportRecordings(KvTrackExporter::orderRecordings(fourRecordings()),
                                              path, KvTrackExporter::Kml, "Four drives"));
    const QDomDocument document = parsed(readAll(path));
    const QDomElement root = document.documentElement().firstChildElement("Document");
    QCOMPARE(root.firstChildElement(QStringLiteral("name")).text(), QStringLiteral("Four drives"));
    const QDomNodeList lines = document.elementsByTagName(QStringLiteral("LineString"));
    QCOMPARE(lines.size(), 4);
    const QDomNodeList folders = document.elementsByTagName(QStringLiteral("Folder"));
    QCOMPARE(folders.size(), 4);
    for (int i = 0; i < lines.size(); ++i) {
        const QDomElement placemark = lines.at(i).parentNode().toElement();
        QCOMPARE(placemark.tagName(), QStringLiteral("Placemark"));
        QCOMPARE(placemark.firstChildElement(QStringLiteral("name")).text(), OrderedNames[i]);
        const QStringList coordinates =
            lines.at(i).toElement().text().simplified().split(' ', Qt::SkipEmptyParts);
        QCOMPARE(coordinates.size(), OrderedCounts[i]);
        const QDomElement folder = folders.at(i).toElement();
        QCOMPARE(folder.firstChildElement(QStringLiteral("name")).text(), OrderedNames[i]);
        QCOMPARE(folder.elementsByTagName(QStringLiteral("when")).size(), OrderedCounts[i]);
    }
    QCOMPARE(lines.at(0).toElement().text().simplified().section(' ', 0, 0),
             QStringLiteral("151.2093,-33.8688"));
}

void TestTrackExporter::csvNamesTheRecordingOfEachFix() {
    QVector<KvTrackExporter::Recording> recordings = fourRecordings();
    recordings[0].name = QStringLiteral("Fahrt, \"München\"");
    const QString path = _dir.filePath("four.csv");
    QVERIFY(KvTrackExporter::exportRecordings(KvTrackExporter::orderRecordings(recordings), path,
                                              KvTrackExporter::Csv, "four"));
    const QList<QByteArray> lines = readAll(path).trimmed().split('\n');
    QCOMPARE(lines.size(), 1 + 5 + 7 + 9 + 12);
    QVERIFY(lines.at(1).startsWith("2007-06-01T12:00:00Z,-33.8688,151.2093,"));
    QVERIFY(lines.at(1).endsWith(",Sydney 2007"));
    QVERIFY(lines.at(5).endsWith(",Sydney 2007"));
    QVERIFY(lines.at(6).startsWith("2012-06-01T12:00:00Z,"));
    QVERIFY(lines.at(6).endsWith(",Tokyo 2012"));
    QVERIFY(lines.at(13).endsWith(",New York 2019"));
    // Quoted as RFC 4180 asks, in UTF-8.
    QCOMPARE(lines.last().mid(lines.last().indexOf(",\"")),
             QString(",\"Fahrt, \"\"München\"\"\"").toUtf8());
}

void TestTrackExporter::gpsbabelReadsOneTrackPerRecording_data() {
    QTest::addColumn<int>("format");
    QTest::addColumn<QString>("babelFormat");
    QTest::newRow("gpx") << int(KvTrackExporter::Gpx) << "gpx";
    QTest::newRow("kml") << int(KvTrackExporter::Kml) << "kml";
}

// gpsbabel reads the file as a map app would and writes the tracks it found as GPX.
void TestTrackExporter::gpsbabelReadsOneTrackPerRecording() {
    QFETCH(int, format);
    QFETCH(QString, babelFormat);
    const QString path = _dir.filePath("babel." + babelFormat);
    QVERIFY(KvTrackExporter::exportRecordings(KvTrackExporter::orderRecordings(fourRecordings()),
                                              path, KvTrackExporter::Format(format), "four"));
    QProcess babel;
    kvtest::startTool(babel, QStringLiteral("gpsbabel"),
                      {QStringLiteral("-t"), QStringLiteral("-i"), babelFormat,
                       QStringLiteral("-f"), path, QStringLiteral("-o"), QStringLiteral("gpx"),
                       QStringLiteral("-F"), QStringLiteral("-")});
    QVERIFY2(babel.waitForFinished(30000), "gpsbabel did not run (scripts/install-deps)");
    QVERIFY2(babel.exitCode() == 0, babel.readAllStandardError().constData());
    const QDomNodeList tracks = parsed(babel.readAllStandardOutput()).elementsByTagName("trk");
    QCOMPARE(tracks.size(), 4);
    for (int i = 0; i < tracks.size(); ++i) {
        const QDomElement track = tracks.at(i).toElement();
        QCOMPARE(track.firstChildElement(QStringLiteral("name")).text(), OrderedNames[i]);
        QCOMPARE(track.elementsByTagName(QStringLiteral("trkpt")).size(), OrderedCounts[i]);
    }
}

KV_TEST_GUILESS_MAIN(TestTrackExporter)
#include "tst_trackexporter.moc"
