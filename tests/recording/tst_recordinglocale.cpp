#include "KvTestMain.h"
#include "KvVideoInfo.h"

#include <QtTest>

#include <clocale>

// The player reads back on one desktop the entry files it wrote on another: their numbers keep a
// decimal point whatever the C library's locale. Each row installs a whole C library locale, as
// the application constructor does, without main()'s reset of LC_NUMERIC.
class TestRecordingLocale : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void entryFileCrossesLocales_data();
    void entryFileCrossesLocales();

private:
    QTemporaryDir _dir;
};

namespace {
void installLocale(const QByteArray& locale) {
    std::setlocale(LC_ALL, "C");
    QVERIFY2(std::setlocale(LC_ALL, locale.constData()) != nullptr,
             "locale missing: scripts/install-deps generates de_DE, fr_FR and tr_TR");
}
} // namespace

void TestRecordingLocale::initTestCase() {
    QVERIFY(_dir.isValid());
}

void TestRecordingLocale::cleanupTestCase() {
    std::setlocale(LC_ALL, "C");
}

void TestRecordingLocale::entryFileCrossesLocales_data() {
    QTest::addColumn<QByteArray>("writeLocale");
    QTest::addColumn<QByteArray>("readLocale");
    QTest::newRow("de writes, C reads") << QByteArray("de_DE.UTF-8") << QByteArray("C");
    QTest::newRow("C writes, de reads") << QByteArray("C") << QByteArray("de_DE.UTF-8");
    QTest::newRow("fr writes, tr reads") << QByteArray("fr_FR.UTF-8") << QByteArray("tr_TR.UTF-8");
}

void TestRecordingLocale::entryFileCrossesLocales() {
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

KV_TEST_GUILESS_MAIN(TestRecordingLocale)
#include "tst_recordinglocale.moc"
