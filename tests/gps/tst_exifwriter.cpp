#include "KvExifWriter.h"
#include "KvTestMain.h"
#include "ToolProcess.h"

#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QtTest>

#include <limits>

// Still images carry the fix's position, time and speed in EXIF GPS tags that photo tools read:
// checked with exiftool, for a north-eastern and a south-western fix.
class TestExifWriter : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void tagsReadBackWithExiftool_data();
    void tagsReadBackWithExiftool();
    void secondWriteReplacesTheTags();
    void pictureIsUnchanged();
    void unplaceableFixLeavesTheFile();
    void notAJpegIsLeftAlone();

private:
    QString _stillImage(const QString& name);
    QJsonObject _exiftool(const QString& path);
    QTemporaryDir _dir;
};

namespace {
KvLocation fix(double latitude, double longitude, double speed) {
    KvLocation location;
    location.valid = true;
    location.latitude = latitude;
    location.longitude = longitude;
    location.speed = speed;
    location.year = 26;
    location.month = 11;
    location.day = 23;
    location.hour = 8;
    location.minute = 15;
    location.second = 42;
    return location;
}

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
} // namespace

void TestExifWriter::initTestCase() {
    QVERIFY(_dir.isValid());
}

QString TestExifWriter::_stillImage(const QString& name) {
    QImage image(320, 180, QImage::Format_RGB32);
    image.fill(QColor(200, 40, 40));
    const QString path = _dir.filePath(name);
    image.save(path, "JPEG", 90);
    return path;
}

QJsonObject TestExifWriter::_exiftool(const QString& path) {
    QProcess tool;
    kvtest::startTool(
        tool, QStringLiteral("exiftool"),
        {QStringLiteral("-j"), QStringLiteral("-n"), QStringLiteral("-GPS:all"), path});
    if (!tool.waitForFinished(30000) || tool.exitCode() != 0) {
        qWarning() << "exiftool failed:" << tool.readAllStandardError();
        return QJsonObject();
    }
    return QJsonDocument::fromJson(tool.readAllStandardOutput()).array().at(0).toObject();
}

void TestExifWriter::tagsReadBackWithExiftool_data() {
    QTest::addColumn<double>("latitude");
    QTest::addColumn<double>("longitude");
    QTest::addColumn<double>("speed");
    QTest::addColumn<QString>("latitudeRef");
    QTest::addColumn<QString>("longitudeRef");
    QTest::newRow("north-east") << 48.137154 << 11.576124 << 52.3 << "N"
                                << "E";
    QTest::newRow("south-west") << -33.868820 << -70.650391 << 0.0 << "S"
                                << "W";
    QTest::newRow("antimeridian") << -16.5 << 179.99999 << 120.75 << "S"
                                  << "E";
}

void TestExifWriter::tagsReadBackWithExiftool() {
    QFETCH(double, latitude);
    QFETCH(double, longitude);
    QFETCH(double, speed);
    QFETCH(QString, latitudeRef);
    QFETCH(QString, longitudeRef);
    const QString path = _stillImage(QStringLiteral("still ü %1.jpg").arg(QTest::currentDataTag()));
    QVERIFY(KvExifWriter::writeGpsTags(path, fix(latitude, longitude, speed)));
    const QJsonObject tags = _exiftool(path);
    QVERIFY2(!tags.isEmpty(), "exiftool (libimage-exiftool-perl) read nothing");
    QCOMPARE(tags.value("GPSLatitudeRef").toString(), latitudeRef);
    QCOMPARE(tags.value("GPSLongitudeRef").toString(), longitudeRef);
    // Seconds of arc in thousandths: a few centimetres.
    QVERIFY(qAbs(tags.value("GPSLatitude").toDouble() - qAbs(latitude)) < 1e-6);
    QVERIFY(qAbs(tags.value("GPSLongitude").toDouble() - qAbs(longitude)) < 1e-6);
    QCOMPARE(tags.value("GPSDateStamp").toString(), QStringLiteral("2026:11:23"));
    QCOMPARE(tags.value("GPSTimeStamp").toString(), QStringLiteral("08:15:42"));
    QCOMPARE(tags.value("GPSSpeedRef").toString(), QStringLiteral("K"));
    QVERIFY(qAbs(tags.value("GPSSpeed").toDouble() - speed) < 0.01);
    QCOMPARE(tags.value("GPSMapDatum").toString(), QStringLiteral("WGS-84"));
}

void TestExifWriter::secondWriteReplacesTheTags() {
    const QString path = _stillImage(QStringLiteral("twice.jpg"));
    QVERIFY(KvExifWriter::writeGpsTags(path, fix(10.0, 20.0, 30.0)));
    const int once = readAll(path).size();
    QVERIFY(KvExifWriter::writeGpsTags(path, fix(-10.5, -20.25, 31.0)));
    QCOMPARE(readAll(path).size(), once);
    const QJsonObject tags = _exiftool(path);
    QCOMPARE(tags.value("GPSLatitudeRef").toString(), QStringLiteral("S"));
    QVERIFY(qAbs(tags.value("GPSLongitude").toDouble() - 20.25) < 1e-6);
}

void TestExifWriter::pictureIsUnchanged() {
    const QString path = _stillImage(QStringLiteral("picture.jpg"));
    const QImage before(path);
    QVERIFY(KvExifWriter::writeGpsTags(path, fix(1.0, 2.0, 3.0)));
    const QImage after(path);
    QCOMPARE(after.size(), before.size());
    QCOMPARE(after, before);
}

void TestExifWriter::unplaceableFixLeavesTheFile() {
    const QString path = _stillImage(QStringLiteral("unplaceable.jpg"));
    const QByteArray before = readAll(path);
    KvLocation invalid = fix(1.0, 2.0, 3.0);
    invalid.valid = false;
    QVERIFY(!KvExifWriter::writeGpsTags(path, invalid));
    QVERIFY(!KvExifWriter::writeGpsTags(path, fix(std::numeric_limits<double>::quiet_NaN(), 2, 3)));
    QVERIFY(!KvExifWriter::writeGpsTags(path, fix(95.0, 2.0, 3.0)));
    QCOMPARE(readAll(path), before);
    QVERIFY(!KvExifWriter::writeGpsTags(_dir.filePath("missing.jpg"), fix(1, 2, 3)));
    QVERIFY(!QFile::exists(_dir.filePath("missing.jpg")));
}

void TestExifWriter::notAJpegIsLeftAlone() {
    const QString path = _dir.filePath("text.jpg");
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("not a picture");
    }
    QVERIFY(!KvExifWriter::writeGpsTags(path, fix(1, 2, 3)));
    QCOMPARE(readAll(path), QByteArray("not a picture"));
    QVERIFY(KvExifWriter::insertExif(QByteArray("\xff\xd8\xff\xe0\x00\x10", 6), QByteArray())
                .isEmpty());
}

KV_TEST_MAIN(TestExifWriter)
#include "tst_exifwriter.moc"
