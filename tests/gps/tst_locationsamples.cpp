// GPS text as real cameras write it (short excerpts from public sample files; coordinates in
// them were anonymised to round values).
#include "KvTestMain.h"
#include "KvLocation.h"
#include "LocationTestUtil.h"

#include <QtTest>

using kvtest::sameFields;
using kvtest::sentinelLocation;

namespace {

constexpr double kTolerance = 1e-9;

// A camera that writes an RMC sentence and a g-sensor line per second (LF line ends, no padding
// and no terminator in the g-sensor line).
char const kPlainPair[] =
    "$GPRMC,053011.000,A,3400.0000,S,15100.0000,E,28.68,323.73,290113,,,A*47\n"
    "$GSENSOR,0,0,976";

// A camera that writes a block of sentences per second, the RMC sentence last.
char const kSentenceBlock[] =
    "$GPGGA,044858.000,2300.0000,S,15000.0000,E,1,12,0.7,13.9,M,48.6,M,,0000*70\n"
    "$GPGSA,A,3,,,,,,,,,,,,,1.6,0.7,1.4*38\n"
    "$GSENSORD,0.310,0.060,-0.120\n"
    "$GPRMC,044859.000,A,2300.0000,S,15000.0000,E,0.00,0.00,250626,,,A*73";

// A camera that prefixes each sentence with a millisecond timestamp.
char const kTimestamped[] =
    "[1784358211371]$GPRMC,060329.000,A,5200.0000,N,0.0000,W,048.0,145.2,180726,,,A*7A";

// A camera that writes the RMC sentence without its "$", inside its own record.
char const kDollarless[] =
    "gsensori,4,512,-133,038,-08;GPRMC,041646.00,A,5000.00000,N,3000.00000,E,14.101,16.87,020626,"
    ",,A*54\n;CAR,0,0,0,0.0,0,0,0,0,0,0,0,0";

} // namespace

class TestLocationSamples : public QObject {
    Q_OBJECT
private slots:
    void sentenceWithUnpaddedGsensorLine();
    void unpaddedGsensorLineAfterCrLf();
    void sentenceBlock();
    void timestampPrefix();
    void sentenceWithoutDollar();
};

void TestLocationSamples::sentenceWithUnpaddedGsensorLine() {
    KvLocation location = sentinelLocation();
    QCOMPARE(KvLocation::locationFromText(kPlainPair, &location), 0);
    QVERIFY(location.valid);
    QCOMPARE(location.latitude, -34.0);
    QCOMPARE(location.longitude, 151.0);
    KV_COMPARE_NEAR(location.speed, 28.68 * 1.852, kTolerance);
    QCOMPARE(location.hour, 5);
    QCOMPARE(location.minute, 30);
    QCOMPARE(location.second, 11);
    QCOMPARE(location.day, 29);
    QCOMPARE(location.month, 1);
    QCOMPARE(location.year, 13);
    // This layout ("$GSENSOR,x,y,z" after a bare LF) is not the padded one the parser reads.
    QCOMPARE(location.gsensorX, 0.0);
    QCOMPARE(location.gsensorY, 0.0);
    QCOMPARE(location.gsensorZ, 0.0);
}

void TestLocationSamples::unpaddedGsensorLineAfterCrLf() {
    // Even joined by CR LF, three values leave too few parts after the name.
    QByteArray text(kPlainPair);
    text.replace('\n', "\r\n");
    KvLocation location = sentinelLocation();
    QCOMPARE(KvLocation::locationFromText(text.constData(), &location), 0);
    QCOMPARE(location.gsensorX, 0.0);
    QCOMPARE(location.gsensorY, 0.0);
    QCOMPARE(location.gsensorZ, 0.0);
    QCOMPARE(location.second, 11);
}

void TestLocationSamples::sentenceBlock() {
    // The char* overload starts at "$GPRMC" and reads the last line of the block.
    KvLocation location = sentinelLocation();
    QCOMPARE(KvLocation::locationFromText(kSentenceBlock, &location), 0);
    QVERIFY(location.valid);
    QCOMPARE(location.latitude, -23.0);
    QCOMPARE(location.longitude, 150.0);
    QCOMPARE(location.speed, 0.0);
    QCOMPARE(location.hour, 4);
    QCOMPARE(location.minute, 48);
    QCOMPARE(location.second, 59);
    QCOMPARE(location.day, 25);
    QCOMPARE(location.month, 6);
    QCOMPARE(location.year, 26);

    // The QString overload reads the first line positionally: the GGA sentence's fields land
    // in the wrong places (its latitude is taken for the status, its fix quality for a
    // hemisphere, its satellite count for knots).
    KvLocation positional = sentinelLocation();
    QCOMPARE(KvLocation::locationFromText(QString::fromLatin1(kSentenceBlock), &positional), 0);
    QVERIFY(!positional.valid);
    QCOMPARE(positional.second, 58);
    KV_COMPARE_NEAR(positional.speed, 12 * 1.852, kTolerance);
    QCOMPARE(positional.day, 0);
}

void TestLocationSamples::timestampPrefix() {
    for (KvLocation location : {sentinelLocation(), KvLocation()}) {
        QCOMPARE(KvLocation::locationFromText(kTimestamped, &location), 0);
        QVERIFY(location.valid);
        QCOMPARE(location.latitude, 52.0);
        QCOMPARE(location.longitude, 0.0);
        KV_COMPARE_NEAR(location.speed, 48.0 * 1.852, kTolerance);
        QCOMPARE(location.hour, 6);
        QCOMPARE(location.minute, 3);
        QCOMPARE(location.second, 29);
        QCOMPARE(location.day, 18);
        QCOMPARE(location.month, 7);
        QCOMPARE(location.year, 26);
    }
    // The prefix sits in the sentence name's part, which is not examined.
    KvLocation location;
    KvLocation reference;
    QCOMPARE(KvLocation::locationFromText(QString::fromLatin1(kTimestamped), &location), 0);
    QCOMPARE(KvLocation::locationFromText(kTimestamped, &reference), 0);
    QVERIFY(sameFields(location, reference));
}

void TestLocationSamples::sentenceWithoutDollar() {
    // The char* overload (the one the clip readers use) finds no "$GPRMC" and the fallback
    // cannot read the record: no fix.
    KvLocation location = sentinelLocation();
    QCOMPARE(KvLocation::locationFromText(kDollarless, &location), -1);
    QVERIFY(sameFields(location, sentinelLocation()));

    // The QString overload reads the record positionally and "succeeds" with a void fix.
    QCOMPARE(KvLocation::locationFromText(QString::fromLatin1(kDollarless), &location), 0);
    QVERIFY(!location.valid);
    QCOMPARE(location.second, 4);
    KV_COMPARE_NEAR(location.latitude, -1.55, kTolerance);
}

KV_TEST_GUILESS_MAIN(TestLocationSamples)
#include "tst_locationsamples.moc"
