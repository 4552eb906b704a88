#include "KvTestMain.h"
#include "KvDriveUtils.h"
#include "KvFileUtils.h"

#include <QtTest>

class TestFileUtils : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void rootsAreCreatedInTheirLocations();
    void singleDriveKeepsStillImagesInDataFolder();
    void mkdirIfNecessary();
    void fileTests();
    void deleteDirEmptiesTreeButKeepsFolders();
    void deleteDirOnFileRemovesIt();
    void deleteDirOnMissingPathDoesNothing();
    void isSDCardJoinsWithoutSeparator();
    void isSDCardAcceptsFrontFolder();
    void isSDCardRejectsFiles();
    void driveTypeIsUnknown();

private:
    void _makeFile(const QString& path);
    QTemporaryDir _work;
};

void TestFileUtils::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName("dashcam-player-test");
    QCoreApplication::setApplicationName("tst_fileutils");
    QVERIFY(_work.isValid());
}

void TestFileUtils::cleanupTestCase() {
    QDir(KvFileUtils::getRoot()).removeRecursively();
    QDir(KvFileUtils::getTempRoot()).removeRecursively();
}

void TestFileUtils::_makeFile(const QString& path) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("x");
}

void TestFileUtils::rootsAreCreatedInTheirLocations() {
    const QString data = QStandardPaths::writableLocation(QStandardPaths::DataLocation);
    const QString temp = QStandardPaths::writableLocation(QStandardPaths::TempLocation);
    QDir(data).removeRecursively();

    KvFileUtils utils;
    QCOMPARE(KvFileUtils::getRoot(), data);
    QVERIFY(QDir(data).exists());
    QVERIFY(KvFileUtils::getTempRoot().startsWith(temp + "/"));

    const QString cache = utils.getCacheRoot();
    QCOMPARE(cache, KvFileUtils::getTempRoot() + "/cache");
    QVERIFY(!cache.startsWith(data));
    QCOMPARE(utils.getConfigureRoot(), data + "/configure");
    QCOMPARE(utils.getPlayListRoot(), data + "/playlist");
    QCOMPARE(utils.getDatabaseRoot(), data + "/database");
    for (const QString& dir :
         {cache, data + "/configure", data + "/playlist", data + "/database"}) {
        QVERIFY2(QDir(dir).exists(), qPrintable(dir));
    }
}

void TestFileUtils::singleDriveKeepsStillImagesInDataFolder() {
    if (QDir::drives().size() >= 2) {
        QSKIP("this system has several drive roots");
    }
    KvFileUtils utils;
    const QString expected = KvFileUtils::getRoot() + "/CAPTURE";
    QDir(expected).removeRecursively();
    QCOMPARE(KvFileUtils::getDefaultCapturePath(), expected);
    QVERIFY(QDir(expected).exists());
    QCOMPARE(KvFileUtils::getDefaultFavoritePath(), expected);
    QCOMPARE(utils.getCapturePath(), expected);
    QCOMPARE(utils.getFavoritePath(), expected);
}

void TestFileUtils::mkdirIfNecessary() {
    KvFileUtils utils;
    const QString path = _work.filePath("新しい フォルダ/sub");
    QVERIFY(utils.mkdirIfNecessary(path));
    QVERIFY(QDir(path).exists());
    QVERIFY(!utils.mkdirIfNecessary(path));
    _makeFile(_work.filePath("plain"));
    QVERIFY(!utils.mkdirIfNecessary(_work.filePath("plain/below")));
}

void TestFileUtils::fileTests() {
    const QString file = _work.filePath("é clip.mp4");
    _makeFile(file);
    QVERIFY(KvFileUtils::fileExists(file));
    QVERIFY(KvFileUtils::fileExists(_work.path()));
    QVERIFY(KvFileUtils::dirExists(_work.path()));
    QVERIFY(!KvFileUtils::dirExists(file));
    QVERIFY(KvFileUtils::deleteFile(file));
    QVERIFY(!KvFileUtils::fileExists(file));
    QVERIFY(!KvFileUtils::deleteFile(file));
}

void TestFileUtils::deleteDirEmptiesTreeButKeepsFolders() {
    const QString top = _work.filePath("tree");
    QVERIFY(QDir().mkpath(top + "/a/b"));
    QVERIFY(QDir().mkpath(top + "/c"));
    _makeFile(top + "/top.txt");
    _makeFile(top + "/.hidden");
    _makeFile(top + "/a/one.mp4");
    _makeFile(top + "/a/b/two.mp4");

    QVERIFY(!KvFileUtils::deleteDir(top));

    QVERIFY(QDir(top + "/a/b").exists());
    QVERIFY(QDir(top + "/c").exists());
    QDirIterator it(top, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    QVERIFY2(!it.hasNext(), "a file survived deleteDir");
}

void TestFileUtils::deleteDirOnFileRemovesIt() {
    const QString file = _work.filePath("single.mp4");
    _makeFile(file);
    QVERIFY(!KvFileUtils::deleteDir(file));
    QVERIFY(!QFile::exists(file));
}

void TestFileUtils::deleteDirOnMissingPathDoesNothing() {
    const QString sibling = _work.filePath("keep.txt");
    _makeFile(sibling);
    QVERIFY(!KvFileUtils::deleteDir(_work.filePath("missing")));
    QVERIFY(QFile::exists(sibling));
}

void TestFileUtils::isSDCardJoinsWithoutSeparator() {
    const QString card = _work.filePath("SDX");
    QVERIFY(QDir().mkpath(card + "/DCIM"));
    QVERIFY(!KvFileUtils::isSDCard(QFileInfo(card)));
    QVERIFY(KvFileUtils::isSDCard(QFileInfo(card + "/")));
    // Without the separator the name is joined as is, so a sibling "SDXDCIM" answers.
    QVERIFY(QDir().mkpath(card + "DCIM"));
    QVERIFY(KvFileUtils::isSDCard(QFileInfo(card)));
}

void TestFileUtils::isSDCardAcceptsFrontFolder() {
    const QString card = _work.filePath("卡 2");
    QVERIFY(QDir().mkpath(card + "/FRONT"));
    QVERIFY(KvFileUtils::isSDCard(QFileInfo(card + "/")));
    const QString plain = _work.filePath("plain-folder");
    QVERIFY(QDir().mkpath(plain + "/MOVIE"));
    QVERIFY(!KvFileUtils::isSDCard(QFileInfo(plain + "/")));
}

void TestFileUtils::isSDCardRejectsFiles() {
    const QString file = _work.filePath("notacard");
    _makeFile(file);
    QVERIFY(QDir().mkpath(file + "DCIM"));
    QVERIFY(!KvFileUtils::isSDCard(QFileInfo(file)));
    QVERIFY(!KvFileUtils::isSDCard(QFileInfo(_work.filePath("missing/"))));
}

void TestFileUtils::driveTypeIsUnknown() {
    QCOMPARE(KvDriveUtils::getDriveType(QFileInfo("/")), -1);
    QCOMPARE(KvDriveUtils::getDriveType(QFileInfo(_work.path())), -1);
}

KV_TEST_GUILESS_MAIN(TestFileUtils)
#include "tst_fileutils.moc"
