#include "KvTestMain.h"
#include <QFile>
#include <QMap>
#include <QPixmap>
#include <QXmlStreamReader>
#include <QtTest>

namespace {

// Every image of the resource file and the pixel size it is rendered at: twice the size on
// screen, and 1x plus @2x for the slider handle, which a style sheet draws unscaled.
const QMap<QString, QSize>& expectedImages() {
    static const QMap<QString, QSize> images = {
        {":resources/open_file.png", QSize(128, 96)},
        {":resources/capture.png", QSize(128, 96)},
        {":resources/configure.png", QSize(128, 96)},
        {":resources/prev.png", QSize(64, 64)},
        {":resources/stop.png", QSize(64, 64)},
        {":resources/next.png", QSize(64, 64)},
        {":resources/step_back.png", QSize(64, 64)},
        {":resources/step_forward.png", QSize(64, 64)},
        {":resources/play.png", QSize(72, 72)},
        {":resources/pause.png", QSize(72, 72)},
        {":resources/volume_on.png", QSize(32, 64)},
        {":resources/volume_mute.png", QSize(32, 64)},
        {":resources/slider_normal.png", QSize(11, 11)},
        {":resources/slider_normal@2x.png", QSize(22, 22)},
        {":resources/icon.png", QSize(256, 256)},
        {":resource/exit_normal.png", QSize(60, 60)},
        {":resource/exit_hover.png", QSize(60, 60)},
        {":resource/exit_pressed.png", QSize(60, 60)},
    };
    return images;
}

// The paths the resource file lists, as the widgets name them (":<path>").
QStringList listedPaths() {
    QFile file(KV_RESOURCES_QRC);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    QStringList paths;
    QString prefix;
    QXmlStreamReader xml(&file);
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement) {
            continue;
        }
        if (xml.name() == QLatin1String("qresource")) {
            prefix = xml.attributes().value("prefix").toString();
            if (!prefix.endsWith('/')) {
                prefix += '/';
            }
        } else if (xml.name() == QLatin1String("file")) {
            const QString alias = xml.attributes().value("alias").toString();
            const QString name = xml.readElementText();
            paths << ":" + (prefix + (alias.isEmpty() ? name : alias)).mid(1);
        }
    }
    return xml.hasError() ? QStringList() : paths;
}

} // namespace

class TestResources : public QObject {
    Q_OBJECT
private slots:
    void resourceFileListsEveryImage();
    void everyListedPathLoads_data();
    void everyListedPathLoads();
    void buttonImagesHaveTheAccentAndWhiteGlyphs();
};

void TestResources::resourceFileListsEveryImage() {
    QStringList listed = listedPaths();
    QVERIFY(!listed.isEmpty());
    listed.sort();
    QStringList expected = expectedImages().keys();
    expected.sort();
    QCOMPARE(listed, expected);
}

void TestResources::everyListedPathLoads_data() {
    QTest::addColumn<QString>("path");
    for (const QString& path : listedPaths()) {
        QTest::newRow(qPrintable(path)) << path;
    }
}

void TestResources::everyListedPathLoads() {
    QFETCH(QString, path);
    QVERIFY(QFile::exists(path));
    const QPixmap pixmap(path);
    QVERIFY(!pixmap.isNull());
    QVERIFY(expectedImages().contains(path));
    QCOMPARE(pixmap.size(), expectedImages().value(path));
    // Drawn, not blank: the centre row has opaque pixels.
    const QImage image = pixmap.toImage();
    bool opaque = false;
    for (int x = 0; x < image.width() && !opaque; ++x) {
        opaque = qAlpha(image.pixel(x, image.height() / 2)) == 255;
    }
    QVERIFY(opaque);
}

void TestResources::buttonImagesHaveTheAccentAndWhiteGlyphs() {
    const QImage play(":resources/play.png");
    QCOMPARE(QColor(play.pixel(6, 36)).name(), QString("#19a4ff"));
    QCOMPARE(QColor(play.pixel(36, 36)).name(), QString("#ffffff"));
    QCOMPARE(qAlpha(play.pixel(0, 0)), 0); // round: transparent corners
    const QImage stop(":resources/stop.png");
    QCOMPARE(QColor(stop.pixel(32, 32)).name(), QString("#ffffff"));
}

KV_TEST_MAIN(TestResources)
#include "tst_resources.moc"
