#include "KvCameraPairing.h"
#include "KvTestMain.h"
#include "KvVideoInfo.h"

#include <QtTest>

// The rules that turn a clip file into a playlist entry, on files made in a temporary folder.
class TestCameraPairing : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void cameraFolders();
    void partnerPaths();
    void partnerOfMissingFileIsEmpty();
    void backslashPathsSplitAtEitherSeparator();
    void convertFrontRearAndSingle();
    void supportedAndScannedExtensions();
    void specialDirectories_data();
    void specialDirectories();

private:
    QString _touch(const QString& relative);

    QTemporaryDir* _dir = nullptr;
};

void TestCameraPairing::init() {
    _dir = new QTemporaryDir();
    QVERIFY(_dir->isValid());
}

void TestCameraPairing::cleanup() {
    delete _dir;
    _dir = nullptr;
}

QString TestCameraPairing::_touch(const QString& relative) {
    const QString path = _dir->filePath(relative);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write("not really a clip");
    return path;
}

void TestCameraPairing::cameraFolders() {
    QVERIFY(KvCameraPairing::isFrontVideo("/card/DCIM/F/a.MP4"));
    QVERIFY(KvCameraPairing::isFrontVideo("/card/DCIM/MOVIEF/a.MP4"));
    QVERIFY(!KvCameraPairing::isFrontVideo("/card/DCIM/f/a.MP4"));
    QVERIFY(KvCameraPairing::isRearVideo("/card/DCIM/R/a.MP4"));
    QVERIFY(!KvCameraPairing::isRearVideo("/card/DCIM/F/a.MP4"));
    QVERIFY(!KvCameraPairing::isFrontVideo("/card/DCIM/a_F.MP4"));
    QVERIFY(!KvCameraPairing::isFrontVideo("clipF.MP4"));
}

void TestCameraPairing::partnerPaths() {
    const QString root = _dir->path();
    const QString front = _touch("DCIM/F/20190101_120000F.MP4");
    QCOMPARE(KvCameraPairing::findOtherVideo(front), root + "/DCIM/R/20190101_120000R.MP4");
    const QString rear = _touch("DCIM/R/20190101_120000R.MP4");
    QCOMPARE(KvCameraPairing::findOtherVideo(rear), root + "/DCIM/F/20190101_120000F.MP4");
    // A name without the camera letter keeps its base name.
    const QString plain = _touch("DCIM/F/FILE0001.MP4");
    QCOMPARE(KvCameraPairing::findOtherVideo(plain), root + "/DCIM/R/FILE0001.MP4");
    // The partner folder is named exactly R, whatever the camera folder's full name.
    const QString movie = _touch("DCIM/MOVIEF/A.MP4");
    QCOMPARE(KvCameraPairing::findOtherVideo(movie), root + "/DCIM/R/A.MP4");
    const QString single = _touch("DCIM/MOVIE/A.MP4");
    QCOMPARE(KvCameraPairing::findOtherVideo(single), QString());
}

void TestCameraPairing::partnerOfMissingFileIsEmpty() {
    QCOMPARE(KvCameraPairing::findOtherVideo(_dir->filePath("DCIM/F/gone_001F.MP4")), QString());
}

void TestCameraPairing::backslashPathsSplitAtEitherSeparator() {
    // The folder part ends at the last '/' or '\', the file name starts after the last '/'.
    const QString path = _touch("card/DCIM\\F\\clip_001F.MP4");
    QVERIFY(KvCameraPairing::isFrontVideo(path));
    QCOMPARE(KvCameraPairing::findOtherVideo(path),
             _dir->filePath("card/DCIM/R/DCIM\\F\\clip_001R.MP4"));
    KvVideoInfo info;
    QCOMPARE(KvCameraPairing::convertFile("D:\\DCIM\\F\\a_001F.MP4", &info), 0);
    QCOMPARE(info.name, QString("D:\\DCIM\\F\\a_001F.MP4"));
    QCOMPARE(info.videos.size(), 1);
}

void TestCameraPairing::convertFrontRearAndSingle() {
    const QString front = _touch("DCIM/F/2026_001F.MP4");
    KvVideoInfo info;
    QCOMPARE(KvCameraPairing::convertFile(front, &info), 0);
    QCOMPARE(info.videos.size(), 1);
    QCOMPARE(info.name, QString("2026_001F.MP4"));

    const QString rear = _touch("DCIM/R/2026_001R.MP4");
    KvCameraPairing::convertFile(front, &info);
    QCOMPARE(info.videos.size(), 2);
    QCOMPARE(info.videos.at(0).path, front);
    QCOMPARE(info.videos.at(1).path, rear);

    // Picking the rear clip: the front clip still comes first, the name is the rear clip's.
    KvCameraPairing::convertFile(rear, &info);
    QCOMPARE(info.videos.size(), 2);
    QCOMPARE(info.videos.at(0).path, front);
    QCOMPARE(info.videos.at(1).path, rear);
    QCOMPARE(info.name, QString("2026_001R.MP4"));

    const QString lonelyRear = _touch("DCIM/R/2026_002R.MP4");
    KvCameraPairing::convertFile(lonelyRear, &info);
    QCOMPARE(info.videos.size(), 1);
    QCOMPARE(info.videos.at(0).path, lonelyRear);

    const QString single = _touch(QString::fromUtf8("行车 记录/clip 1.mov"));
    KvCameraPairing::convertFile(single, &info);
    QCOMPARE(info.videos.size(), 1);
    QCOMPARE(info.name, QString::fromUtf8("clip 1.mov"));

    // A clip that does not exist is still an entry of one clip.
    QCOMPARE(KvCameraPairing::convertFile(_dir->filePath("DCIM/F/none_001F.MP4"), &info), 0);
    QCOMPARE(info.videos.size(), 1);
}

void TestCameraPairing::supportedAndScannedExtensions() {
    QVERIFY(KvCameraPairing::isSupportsFile("/x/CLIP.Mp4"));
    QVERIFY(KvCameraPairing::isSupportsFile("/x/clip.AVI"));
    QVERIFY(KvCameraPairing::isSupportsFile("/x/clip.mov"));
    QVERIFY(!KvCameraPairing::isSupportsFile("/x/clip.mkv"));
    QVERIFY(!KvCameraPairing::isSupportsFile("/x/clip.mp4.jpg"));
    QVERIFY(!KvCameraPairing::isScannedFile("CLIP.Mp4"));
    QVERIFY(KvCameraPairing::isScannedFile("CLIP.MP4"));
    QVERIFY(KvCameraPairing::isScannedFile("clip.mov"));
    QVERIFY(KvCameraPairing::isScannedFile("clip.AVI"));
    QVERIFY(!KvCameraPairing::isScannedFile("clip.Avi"));
    QVERIFY(!KvCameraPairing::isScannedFile("clip.mkv"));
}

void TestCameraPairing::specialDirectories_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("special");
    QTest::newRow("dot") << "." << true;
    QTest::newRow("dot dot") << ".." << true;
    QTest::newRow("trailing dot") << "old." << true;
    QTest::newRow("recycle bin") << "$RECYCLE.BIN" << true;
    QTest::newRow("dollar only") << "$" << true;
    QTest::newRow("camera folder") << "F" << false;
    QTest::newRow("hidden folder") << ".thumbs" << false;
    QTest::newRow("dollar inside") << "a$b" << false;
    QTest::newRow("dot inside") << "DCIM.1" << false;
}

void TestCameraPairing::specialDirectories() {
    QFETCH(QString, name);
    QFETCH(bool, special);
    QCOMPARE(KvCameraPairing::isSpecialDirectory(QFileInfo(_dir->filePath(name))), special);
}

KV_TEST_GUILESS_MAIN(TestCameraPairing)
#include "tst_camerapairing.moc"
