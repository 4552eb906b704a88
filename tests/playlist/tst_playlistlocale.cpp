#include "KvCameraPairing.h"
#include "KvTestMain.h"
#include "KvVideoInfo.h"

#include <QtTest>

#include <clocale>

// The extension and pairing comparisons do not change with the desktop's case rules (Turkish folds
// "I" to a dotless "ı"). Each row installs a whole C library locale, as the application
// constructor does, without main()'s reset of LC_NUMERIC. (Entry files across locales:
// tests/recording/tst_recordinglocale.)
class TestPlaylistLocale : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
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

void TestPlaylistLocale::extensionsUnderTurkish() {
    installLocale("tr_TR.UTF-8");
    for (const char* name :
         {"clip.mp4", "CLIP.MP4", "clip.MOV", "CLIP.AVI", "clip.avi", "Clip.Mov"}) {
        QVERIFY2(KvCameraPairing::isSupportsFile(QString::fromLatin1(name)), name);
    }
    QVERIFY(!KvCameraPairing::isSupportsFile(QStringLiteral("CLIP.MKV")));
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
        QCOMPARE(KvCameraPairing::convertFile(path, &info), 0);
        QCOMPARE(info.videos.size(), 2);
        QCOMPARE(info.videos[0].path, front);
        QCOMPARE(info.videos[1].path, rear);
    }
}

KV_TEST_GUILESS_MAIN(TestPlaylistLocale)
#include "tst_playlistlocale.moc"
