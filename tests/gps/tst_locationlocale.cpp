#include "KvLocation.h"
#include "KvTestMain.h"

#include <QtTest>

#include <clocale>

// The GPS text reads the same fixes on every desktop. Each row installs a whole C library
// locale, as the application constructor does from the environment, without main()'s reset of
// LC_NUMERIC: the parser itself must not depend on it.
class TestLocationLocale : public QObject {
    Q_OBJECT
private slots:
    void cleanupTestCase();
    void fallbackLine_data();
    void fallbackLine();
    void sentenceWithGsensor_data();
    void sentenceWithGsensor();
};

namespace {
const char* const FallbackLine = "A,150326,101530,3110.1234,N,12130.5678,E,45.5,0.01,0.02,0.98;";
// An RMC sentence and the camera's g-sensor line (two spaces before each value, ";" at the end).
const char* const Sentence = "$GPRMC,101530,A,3110.1234,N,12130.5678,E,24.57,90.0,150326,,,A"
                             "\r\n$GSENSOR,  0.125,  -0.5,  0.98;";

void addLocales() {
    QTest::addColumn<QByteArray>("locale");
    // A locale this system lacks leaves the C library in "C".
    for (const char* name : {"C", "de_DE.UTF-8", "fr_FR.UTF-8", "tr_TR.UTF-8", "xx_YY.UTF-8"}) {
        QTest::newRow(name) << QByteArray(name);
    }
}

void installLocale(const QByteArray& locale) {
    std::setlocale(LC_ALL, "C");
    const bool installed = std::setlocale(LC_ALL, locale.constData()) != nullptr;
    QVERIFY2(installed || locale.startsWith("xx_"),
             "locale missing: scripts/install-deps generates de_DE, fr_FR and tr_TR");
}
} // namespace

void TestLocationLocale::cleanupTestCase() {
    std::setlocale(LC_ALL, "C");
    std::setlocale(LC_NUMERIC, "C");
}

void TestLocationLocale::fallbackLine_data() {
    addLocales();
}

void TestLocationLocale::fallbackLine() {
    QFETCH(QByteArray, locale);
    installLocale(locale);
    KvLocation location;
    QCOMPARE(KvLocation::locationFromText(FallbackLine, &location), 0);
    QVERIFY(location.valid);
    QVERIFY(qAbs(location.latitude - 31.168723) < 1e-6);
    QVERIFY(qAbs(location.longitude - 121.509463) < 1e-6);
    QCOMPARE(location.speed, 45.5);
    QCOMPARE(location.gsensorX, 0.01);
    QCOMPARE(location.gsensorY, 0.02);
    QCOMPARE(location.gsensorZ, 0.98);
    QCOMPARE(location.hour, 10);
    QCOMPARE(location.minute, 15);
    QCOMPARE(location.second, 30);
}

void TestLocationLocale::sentenceWithGsensor_data() {
    addLocales();
}

void TestLocationLocale::sentenceWithGsensor() {
    QFETCH(QByteArray, locale);
    installLocale(locale);
    KvLocation fromChars;
    QCOMPARE(KvLocation::locationFromText(Sentence, &fromChars), 0);
    KvLocation fromString;
    QCOMPARE(KvLocation::locationFromText(QString::fromLatin1(Sentence), &fromString), 0);
    for (const KvLocation* location : {&fromChars, &fromString}) {
        QVERIFY(location->valid);
        QVERIFY(qAbs(location->latitude - 31.168723) < 1e-6);
        QVERIFY(qAbs(location->longitude - 121.509463) < 1e-6);
        QVERIFY(qAbs(location->speed - 24.57 * 1.852) < 1e-9);
        QCOMPARE(location->gsensorX, 0.125);
        QCOMPARE(location->gsensorY, -0.5);
        QCOMPARE(location->gsensorZ, 0.98);
    }
}

KV_TEST_GUILESS_MAIN(TestLocationLocale)
#include "tst_locationlocale.moc"
