#include "KvCNumericLocale.h"
#include "KvConfigure.h"
#include "KvLog.h"
#include "KvTestMain.h"

#include <QtTest>

#include <clocale>
#include <cstdio>
#include <thread>

// Numbers the player writes or reads as text (log lines, settings) come out the same on a
// comma-decimal desktop. Each test runs with the whole C library locale set to a German one, as
// the application constructor leaves it on such a desktop before main() puts LC_NUMERIC back:
// so the helpers are checked on their own, not through main()'s reset.
class TestNumericLocale : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();
    void commaLocaleIsReallyInstalled();
    void scopeWritesAndReadsDecimalPoint();
    void scopeRestoresTheThreadsLocale();
    void scopeOnlyTouchesItsThread();
    void logLinesKeepTheDecimalPoint();
    void resetKeepsTheOtherCategories();
    void settingsReadBackUnderEveryLocale_data();
    void settingsReadBackUnderEveryLocale();
    void missingLocaleLeavesNumbersAlone();

private:
    QTemporaryDir _dir;
};

namespace {
const char* const CommaLocale = "de_DE.UTF-8";

QByteArray format(double value) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%lf", value);
    return QByteArray(buffer);
}
} // namespace

void TestNumericLocale::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(_dir.isValid());
}

void TestNumericLocale::init() {
    QVERIFY2(std::setlocale(LC_ALL, CommaLocale) != nullptr,
             "the de_DE.UTF-8 locale is missing: scripts/install-deps generates it");
}

void TestNumericLocale::cleanupTestCase() {
    std::setlocale(LC_ALL, "C");
    QFile::remove(KvConfigure::filePath());
}

void TestNumericLocale::commaLocaleIsReallyInstalled() {
    // Without the helper, the C library follows the desktop: this is what the player must avoid.
    QCOMPARE(format(47.628422), QByteArray("47,628422"));
}

void TestNumericLocale::scopeWritesAndReadsDecimalPoint() {
    KvCNumericLocale const numeric;
    QCOMPARE(format(47.628422), QByteArray("47.628422"));
    double value = 0.0;
    QCOMPARE(std::sscanf("3110.1234", "%lf", &value), 1);
    QCOMPARE(value, 3110.1234);
    QCOMPARE(std::strtod("45.5", nullptr), 45.5);
}

void TestNumericLocale::scopeRestoresTheThreadsLocale() {
    {
        KvCNumericLocale const numeric;
        KvCNumericLocale const nested;
        QCOMPARE(format(1.5), QByteArray("1.500000"));
    }
    QCOMPARE(format(1.5), QByteArray("1,500000"));
}

void TestNumericLocale::scopeOnlyTouchesItsThread() {
    KvCNumericLocale const numeric;
    QByteArray other;
    std::thread worker([&other] { other = format(2.5); });
    worker.join();
    QCOMPARE(other, QByteArray("2,500000"));
    QCOMPARE(format(2.5), QByteArray("2.500000"));
}

void TestNumericLocale::logLinesKeepTheDecimalPoint() {
    const QString path = _dir.filePath("numbers.log");
    QVERIFY(startKvLogFile(QFile::encodeName(path).constData()));
    enableKvLog(1);
    KvLog("seek %lf\n", 12.5);
    enableKvLog(0);
    stopKvLogFile();
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("seek 12.500000\n"));
    // The caller's locale is back once the line is written.
    QCOMPARE(format(12.5), QByteArray("12,500000"));
}

void TestNumericLocale::resetKeepsTheOtherCategories() {
    kvUseCNumericLocale();
    QCOMPARE(QByteArray(std::setlocale(LC_NUMERIC, nullptr)), QByteArray("C"));
    QCOMPARE(QByteArray(std::setlocale(LC_MESSAGES, nullptr)), QByteArray(CommaLocale));
    QCOMPARE(QByteArray(std::setlocale(LC_CTYPE, nullptr)), QByteArray(CommaLocale));
    QCOMPARE(format(0.25), QByteArray("0.250000"));
}

void TestNumericLocale::settingsReadBackUnderEveryLocale_data() {
    QTest::addColumn<QByteArray>("writeLocale");
    QTest::addColumn<QByteArray>("readLocale");
    QTest::newRow("de writes, C reads") << QByteArray(CommaLocale) << QByteArray("C");
    QTest::newRow("C writes, de reads") << QByteArray("C") << QByteArray(CommaLocale);
    QTest::newRow("fr writes, tr reads") << QByteArray("fr_FR.UTF-8") << QByteArray("tr_TR.UTF-8");
}

void TestNumericLocale::settingsReadBackUnderEveryLocale() {
    QFETCH(QByteArray, writeLocale);
    QFETCH(QByteArray, readLocale);
    QVERIFY(std::setlocale(LC_ALL, writeLocale.constData()) != nullptr);
    {
        KvConfigure configure;
        configure.setInt(QStringLiteral("Speed"), 1);
        configure.setInt(QStringLiteral("Map"), -2);
        configure.setString(QStringLiteral("Language"), QStringLiteral("italian"));
    }
    QVERIFY(std::setlocale(LC_ALL, readLocale.constData()) != nullptr);
    KvConfigure configure;
    QCOMPARE(configure.getInt(QStringLiteral("Speed"), 0), 1);
    QCOMPARE(configure.getInt(QStringLiteral("Map"), 0), -2);
    QCOMPARE(configure.getString(QStringLiteral("Language"), QString()), QStringLiteral("italian"));
}

void TestNumericLocale::missingLocaleLeavesNumbersAlone() {
    // A desktop that names a locale this system lacks runs in the C locale.
    QVERIFY(std::setlocale(LC_ALL, "xx_YY.UTF-8") == nullptr);
    std::setlocale(LC_ALL, "C");
    KvCNumericLocale const numeric;
    QCOMPARE(format(3.75), QByteArray("3.750000"));
}

KV_TEST_GUILESS_MAIN(TestNumericLocale)
#include "tst_numericlocale.moc"
