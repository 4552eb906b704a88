#include "KvTestMain.h"
#include "KvVideoInfo.h"
#include "KvVideoItemWidget.h"
#include "KvVideoListWidget.h"

#include <QtTest>

#include <clocale>

// The playlist reads back on one desktop what it wrote on another: entry files keep their
// numbers with a decimal point, and the extension and pairing comparisons do not change with the
// desktop's case rules (Turkish folds "I" to a dotless "ı"). Each row installs a whole C library
// locale, as the application constructor does, without main()'s reset of LC_NUMERIC.
class TestPlaylistLocale : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void entryFileCrossesLocales_data();
    void entryFileCrossesLocales();
    void extensionsUnderTurkish();
    void pairingUnderEveryLocale_data();
    void pairingUnderEveryLocale();

private:
    QTemporaryDir _dir;
};

namespace {
void installLocale(const QByteArray& locale) {
    std::setlocale(LC_ALL, "C");
    QVERIFY2(std::setlocale(LC_ALL, locale.constData()) != nullptr,
             "locale missing: scripts/install-deps generates de_DE, fr_FR and tr_TR");
}

void touch(const QString& path) {
    QVERIFY(QDir().mkpath(QFileInfo(path).absolutePath()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("x");
}
} // namespace

void TestPlaylistLocale::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(_dir.isValid());
}

void TestPlaylistLocale::cleanupTestCase() {
    std::setlocale(LC_ALL, "C");
}

void TestPlaylistLocale::entryFileCrossesLocales_data() {
    QTest::addColumn<QByteArray>("writeLocale");
    QTest::addColumn<QByteArray>("readLocale");
    QTest::newRow("de writes, C reads") << QByteArray("de_DE.UTF-8") << QByteArray("C");
    QTest::newRow("C writes, de reads") << QByteArray("C") << QByteArray("de_DE.UTF-8");
    QTest::newRow("fr writes, tr reads") << QByteArray("fr_FR.UTF-8") << QByteArray("tr_TR.UTF-8");
}

void TestPlaylistLocale::entryFileCrossesLocales() {
    QFETCH(QByteArray, writeLocale);
    QFETCH(QByteArray, readLocale);
    KvVideoInfo written(_dir.filePath("DCIM/F/CLIP0001F.MP4"),
                        _dir.filePath("DCIM/R/CLIP0001R.MP4"));
    written.videos[0].fps = 29.97;
    written.videos[0].duration = 20.5;
    written.videos[0].size = 12345678.0;
    written.videos[0].width = 1920;
    written.videos[0].height = 1080;
    written.videos[1].fps = 25.0;
    written.videos[1].duration = 19.96;
    const QString path = _dir.filePath(written.indentifer() + ".xml");

    installLocale(writeLocale);
    QVERIFY(written.writeToFile(path));
    installLocale(readLocale);
    const KvVideoInfo read = KvVideoInfo::readFromFile(path);

    QCOMPARE(read.videos.size(), 2);
    QCOMPARE(read.videos[0].fps, 29.97);
    QCOMPARE(read.videos[0].duration, 20.5);
    // Sizes keep six significant digits, as "%g" writes them.
    QCOMPARE(read.videos[0].size, 12345700.0);
    QCOMPARE(read.videos[0].width, 1920);
    QCOMPARE(read.videos[1].fps, 25.0);
    QCOMPARE(read.videos[1].duration, 19.96);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    QVERIFY2(text.contains("29.97") && !text.contains("29,97"), text.constData());
}

void TestPlaylistLocale::extensionsUnderTurkish() {
    installLocale("tr_TR.UTF-8");
    for (const char* name :
         {"clip.mp4", "CLIP.MP4", "clip.MOV", "CLIP.AVI", "clip.avi", "Clip.Mov"}) {
        QVERIFY2(KvVideoListWidget::isSupportsFile(QString::fromLatin1(name)), name);
    }
    QVERIFY(!KvVideoListWidget::isSupportsFile(QStringLiteral("CLIP.MKV")));
}

void TestPlaylistLocale::pairingUnderEveryLocale_data() {
    QTest::addColumn<QByteArray>("locale");
    for (const char* name : {"C", "de_DE.UTF-8", "tr_TR.UTF-8"}) {
        QTest::newRow(name) << QByteArray(name);
    }
}

void TestPlaylistLocale::pairingUnderEveryLocale() {
    QFETCH(QByteArray, locale);
    const QString front = _dir.filePath("CARD/DCIM/F/FILE0001F.MP4");
    const QString rear = _dir.filePath("CARD/DCIM/R/FILE0001R.MP4");
    touch(front);
    touch(rear);
    installLocale(locale);
    for (const QString& path : {front, rear}) {
        KvVideoInfo info;
        QCOMPARE(KvVideoListWidget::convertFile(path, &info), 0);
        QCOMPARE(info.videos.size(), 2);
        QCOMPARE(info.videos[0].path, front);
        QCOMPARE(info.videos[1].path, rear);
    }
}

KV_TEST_MAIN(TestPlaylistLocale)
#include "tst_playlistlocale.moc"
