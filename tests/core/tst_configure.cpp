#include "KvTestMain.h"
#include "KvConfigure.h"
#include "KvFileUtils.h"
#include "KvLanguage.h"

#include <QtTest>

class TestConfigure : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();
    void firstStartWritesDefaultsAndInstallsEnglish();
    void presentKeysAreNeverOverwritten();
    void unknownLanguageFallsBackToKeys();
    void getIntFallsBackWhenNotAnInteger();
    void typedAccessors();
    void valueVisibleToLaterObject();
    void emptyFileIsLikeFirstStart();
    void garbageFileDoesNotCrash();
    void unreadableFileGivesDefaults();

private:
    static QSettings* _rawSettings();
    static void _writeRaw(const QByteArray& content);
};

void TestConfigure::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName("dashcam-player-test");
    QCoreApplication::setApplicationName("tst_configure");
}

void TestConfigure::init() {
    const QString path = KvConfigure::filePath();
    QFile::remove(path);
    QDir(path).removeRecursively();
}

void TestConfigure::cleanupTestCase() {
    QDir(KvFileUtils::getRoot()).removeRecursively();
    QDir(KvFileUtils::getTempRoot()).removeRecursively();
}

QSettings* TestConfigure::_rawSettings() {
    return new QSettings(KvConfigure::filePath(), QSettings::IniFormat);
}

void TestConfigure::_writeRaw(const QByteArray& content) {
    QFile file(KvConfigure::filePath());
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(content);
}

void TestConfigure::firstStartWritesDefaultsAndInstallsEnglish() {
    QVERIFY(!QFile::exists(KvConfigure::filePath()));
    initConfigures();
    QVERIFY(QFile::exists(KvConfigure::filePath()));
    QVERIFY(KvConfigure::filePath().startsWith(
        QStandardPaths::writableLocation(QStandardPaths::DataLocation) + "/configure/"));

    QScopedPointer<QSettings> raw(_rawSettings());
    QCOMPARE(raw->value("Map").toInt(), 2);
    QCOMPARE(raw->value("Speed").toInt(), 1);
    QCOMPARE(raw->value("GPSCorrection").toInt(), 1);
    QCOMPARE(raw->value("Language").toString(), QString("english"));
    QVERIFY(!raw->contains("SelectFileIndexKey"));
    QCOMPARE(raw->allKeys().size(), 4);

    QCOMPARE(KvLanguage::root(), QCoreApplication::applicationDirPath() + "/language");
    QCOMPARE(KvLanguage::kvtr("fullscreen"), QString("Full screen"));
}

void TestConfigure::presentKeysAreNeverOverwritten() {
    _writeRaw("Speed=0\nMap=7\nGPSCorrection=abc\nLanguage=german\n");
    initConfigures();
    KvConfigure configure;
    QCOMPARE(configure.getInt("Speed", 5), 0);
    QCOMPARE(configure.getInt("Map", 2), 7);
    QCOMPARE(configure.getString("GPSCorrection", ""), QString("abc"));
    QCOMPARE(configure.getInt("GPSCorrection", 9), 9);
    QCOMPARE(configure.getString("Language", "english"), QString("german"));
    QCOMPARE(KvLanguage::kvtr("fullscreen"), QString("Vollbild"));
}

void TestConfigure::unknownLanguageFallsBackToKeys() {
    _writeRaw("Language=klingon\n");
    initConfigures();
    QCOMPARE(KvLanguage::kvtr("fullscreen"), QString("fullscreen"));
    QCOMPARE(KvLanguage::kvtr("exit"), QString("exit"));
    KvConfigure configure;
    QCOMPARE(configure.getString("Language", ""), QString("klingon"));
    QCOMPARE(configure.getInt("Map", 0), 2);
}

void TestConfigure::getIntFallsBackWhenNotAnInteger() {
    KvConfigure configure;
    QCOMPARE(configure.getInt("Map", 2), 2);
    configure.setString("Map", "google");
    QCOMPARE(configure.getInt("Map", 2), 2);
    configure.setString("Map", "1");
    QCOMPARE(configure.getInt("Map", 2), 1);
    configure.setString("Map", "");
    QVERIFY(configure.contains("Map"));
    QCOMPARE(configure.getInt("Map", 3), 3);
}

void TestConfigure::typedAccessors() {
    KvConfigure configure;
    QVERIFY(!configure.contains("SelectFileIndexKey"));
    QCOMPARE(configure.getInt("SelectFileIndexKey", 0), 0);
    configure.setInt("SelectFileIndexKey", 2);
    QVERIFY(configure.contains("SelectFileIndexKey"));
    QCOMPARE(configure.getInt("SelectFileIndexKey", 0), 2);

    QCOMPARE(configure.getString("Language", "english"), QString("english"));
    configure.setString("Language", QString::fromUtf8("中文"));
    QCOMPARE(configure.getString("Language", "english"), QString::fromUtf8("中文"));

    QCOMPARE(configure.getBool("flag", true), true);
    configure.setBool("flag", false);
    QCOMPARE(configure.getBool("flag", true), false);
}

void TestConfigure::valueVisibleToLaterObject() {
    {
        KvConfigure first;
        first.setInt("Speed", 0);
        KvConfigure second;
        QCOMPARE(second.getInt("Speed", 1), 0);
    }
    QScopedPointer<QSettings> raw(_rawSettings());
    QCOMPARE(raw->value("Speed").toInt(), 0);
}

void TestConfigure::emptyFileIsLikeFirstStart() {
    _writeRaw("");
    initConfigures();
    KvConfigure configure;
    QCOMPARE(configure.getInt("Map", 0), 2);
    QCOMPARE(configure.getInt("Speed", 0), 1);
    QCOMPARE(configure.getInt("GPSCorrection", 0), 1);
    QCOMPARE(configure.getString("Language", ""), QString("english"));
}

void TestConfigure::garbageFileDoesNotCrash() {
    QByteArray garbage;
    quint32 seed = 12345;
    for (int i = 0; i < 4096; ++i) {
        seed = seed * 1103515245u + 12345u;
        garbage.append(char(seed >> 24));
    }
    _writeRaw(garbage);
    initConfigures();
    KvConfigure configure;
    // Whatever the garbage parsed into, the four settings read as usable values.
    QVERIFY(configure.contains("Map"));
    QVERIFY(configure.contains("Language"));
    QCOMPARE(configure.getInt("Map", 2), 2);
    QCOMPARE(configure.getString("Language", "english"), QString("english"));
}

void TestConfigure::unreadableFileGivesDefaults() {
    // A folder in the settings file's place cannot be read or written.
    QVERIFY(QDir().mkpath(KvConfigure::filePath()));
    initConfigures();
    KvConfigure configure;
    QCOMPARE(configure.getInt("Speed", 1), 1);
    QCOMPARE(configure.getString("Language", "english"), QString("english"));
    QCOMPARE(KvLanguage::kvtr("fullscreen"), QString("Full screen"));
    QVERIFY(QFileInfo(KvConfigure::filePath()).isDir());
}

KV_TEST_GUILESS_MAIN(TestConfigure)
#include "tst_configure.moc"
