#include "KvTestMain.h"
#include "KvLocation.h"
#include "LocationTestUtil.h"

#include <QVector>
#include <QtTest>

#include <cmath>

using kvtest::Overload;
using kvtest::parseWith;
using kvtest::sameFields;
using kvtest::sentinelLocation;

namespace {

constexpr double kTolerance = 1e-9;

// The classic RMC example in its 13-part form (the mode field "A" closes it).
QByteArray const kRmc13 = "$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W,A";
// The same sentence without the mode field: only 12 parts.
QByteArray const kRmc12 = "$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W";
QByteArray const kFallback = "A,150326,101530,3110.1234,N,12130.5678,E,45.5,0.01,0.02,0.98;";
// The g-sensor line as cameras write it: two spaces before each value, ";" at the end.
QByteArray const kGsensorLine = "$GSENSOR,  0.12,  -0.03,  0.98;";

QByteArray withGsensor(QByteArray const& gsensorLine) {
    return kRmc13 + "\r\n" + gsensorLine;
}

void addOverloadRows() {
    QTest::addColumn<Overload>("overload");
    QTest::newRow("char*") << Overload::CString;
    QTest::newRow("QString") << Overload::QString;
}

void verifyRmcExample(KvLocation const& location) {
    QVERIFY(location.valid);
    KV_COMPARE_NEAR(location.latitude, 48.1173, kTolerance);
    KV_COMPARE_NEAR(location.longitude, 11.0 + 31.0 / 60.0, kTolerance);
    KV_COMPARE_NEAR(location.speed, 41.4848, kTolerance);
    QCOMPARE(location.hour, 12);
    QCOMPARE(location.minute, 35);
    QCOMPARE(location.second, 19);
    QCOMPARE(location.day, 23);
    QCOMPARE(location.month, 3);
    QCOMPARE(location.year, 94);
    QCOMPARE(location.gsensorX, 0.0);
    QCOMPARE(location.gsensorY, 0.0);
    QCOMPARE(location.gsensorZ, 0.0);
}

void verifyFallbackExample(KvLocation const& location) {
    QVERIFY(location.valid);
    QCOMPARE(location.day, 15);
    QCOMPARE(location.month, 3);
    QCOMPARE(location.year, 26);
    QCOMPARE(location.hour, 10);
    QCOMPARE(location.minute, 15);
    QCOMPARE(location.second, 30);
    KV_COMPARE_NEAR(location.latitude, 31.0 + 10.1234 / 60.0, kTolerance);
    KV_COMPARE_NEAR(location.longitude, 121.0 + 30.5678 / 60.0, kTolerance);
    QCOMPARE(location.speed, 45.5);
    QCOMPARE(location.gsensorX, 0.01);
    QCOMPARE(location.gsensorY, 0.02);
    QCOMPARE(location.gsensorZ, 0.98);
}

} // namespace

class TestLocation : public QObject {
    Q_OBJECT
private slots:
    // Record
    void defaultIsInvalid();
    void copyConstructorCopiesFieldsNotParent();
    void assignmentKeepsQObjectPart();
    void selfAssignment();
    void vectorOfLocations();
    void gsensorMagnitude();
    void clearKeepsFields();
    void sameSecond();
    void notSameSecond_data();
    void notSameSecond();
    void convertDDMM_data();
    void convertDDMM();

    // Sentence parser
    void rmcSentence_data();
    void rmcSentence();
    void twelvePartExampleAsWritten_data();
    void twelvePartExampleAsWritten();
    void voidSentenceStillYieldsRecord_data();
    void voidSentenceStillYieldsRecord();
    void emptyHemisphereGivesZero_data();
    void emptyHemisphereGivesZero();
    void lowerCaseSouthWestInSentence();
    void sentenceTime_data();
    void sentenceTime();
    void sentenceEmptyOrBadDate();
    void sentenceEmptySpeed();
    void sentenceNameNotExamined();
    void gsensorLine_data();
    void gsensorLine();
    void gsensorAtIndexZeroIgnored();
    void spacePairsBecomeSeparators();

    // Fallback line
    void fallbackLine_data();
    void fallbackLine();
    void fallbackWithoutTerminator();
    void fallbackLowerCase();
    void fallbackHourWithoutModulo();
    void fallbackTooFewConversions_data();
    void fallbackTooFewConversions();
    void fallbackVoidOverwritesValidityDateAndTime_data();
    void fallbackVoidOverwritesValidityDateAndTime();

    // Entry points
    void twelvePartsFallBackOnWholeText();
    void cStringDropsTextBeforeSentence();
    void qStringReadsAnyTextPositionally();
    void nullAndEmptyText();
};

void TestLocation::defaultIsInvalid() {
    KvLocation location;
    QVERIFY(!location.valid);
    QVERIFY(location.parent() == nullptr);
}

void TestLocation::copyConstructorCopiesFieldsNotParent() {
    QObject owner;
    KvLocation* original = new KvLocation(sentinelLocation());
    original->setParent(&owner);
    original->setObjectName(QStringLiteral("original"));

    KvLocation const copy(*original);
    QVERIFY(sameFields(copy, sentinelLocation()));
    QVERIFY(copy.parent() == nullptr);
    QVERIFY(copy.objectName().isEmpty());
}

void TestLocation::assignmentKeepsQObjectPart() {
    QObject owner;
    KvLocation* target = new KvLocation;
    target->setParent(&owner);
    target->setObjectName(QStringLiteral("target"));

    KvLocation const source = sentinelLocation();
    KvLocation& result = (*target = source);
    QCOMPARE(&result, target);
    QVERIFY(sameFields(*target, source));
    QCOMPARE(target->parent(), &owner);
    QCOMPARE(target->objectName(), QStringLiteral("target"));
}

void TestLocation::selfAssignment() {
    KvLocation location = sentinelLocation();
    KvLocation& alias = location;
    location = alias;
    QVERIFY(sameFields(location, sentinelLocation()));
}

void TestLocation::vectorOfLocations() {
    QVector<KvLocation> track;
    for (int i = 0; i < 100; ++i) {
        KvLocation fix = sentinelLocation();
        fix.second = i;
        track.append(fix);
    }
    QVector<KvLocation> const copy = track;
    track.clear();
    QCOMPARE(copy.size(), 100);
    for (int i = 0; i < copy.size(); ++i) {
        QCOMPARE(copy.at(i).second, i);
        QCOMPARE(copy.at(i).latitude, 1.25);
    }
}

void TestLocation::gsensorMagnitude() {
    KvLocation location;
    location.gsensorX = 3.0;
    location.gsensorY = -4.0;
    location.gsensorZ = 12.0;
    QCOMPARE(location.getGsensor(), 13.0);
}

void TestLocation::clearKeepsFields() {
    KvLocation location = sentinelLocation();
    location.clear();
    QVERIFY(!location.valid);
    KvLocation expected = sentinelLocation();
    expected.valid = false;
    QVERIFY(sameFields(location, expected));
}

void TestLocation::sameSecond() {
    KvLocation a = sentinelLocation();
    KvLocation b = sentinelLocation();
    b.latitude = -40.0;
    b.longitude = 170.0;
    b.speed = 99.0;
    b.valid = false;
    b.gsensorZ = 1.0;
    QVERIFY(KvLocation::isSameSecond(a, b));
}

void TestLocation::notSameSecond_data() {
    QTest::addColumn<int>("field");
    QTest::newRow("day") << 0;
    QTest::newRow("month") << 1;
    QTest::newRow("year") << 2;
    QTest::newRow("hour") << 3;
    QTest::newRow("minute") << 4;
    QTest::newRow("second") << 5;
}

void TestLocation::notSameSecond() {
    QFETCH(int, field);
    KvLocation const a = sentinelLocation();
    KvLocation b = sentinelLocation();
    int32_t* const fields[] = {&b.day, &b.month, &b.year, &b.hour, &b.minute, &b.second};
    *fields[field] += 1;
    QVERIFY(!KvLocation::isSameSecond(a, b));
}

void TestLocation::convertDDMM_data() {
    QTest::addColumn<double>("value");
    QTest::addColumn<double>("expected");
    QTest::newRow("ddmm") << 4807.038 << 48.1173;
    QTest::newRow("dddmm") << 12130.5678 << 121.0 + 30.5678 / 60.0;
    QTest::newRow("south stays negative") << -3110.5 << -31.175;
    QTest::newRow("under a degree") << 59.4 << 0.99;
    QTest::newRow("negative minutes only") << -30.0 << -0.5;
    QTest::newRow("zero") << 0.0 << 0.0;
}

void TestLocation::convertDDMM() {
    QFETCH(double, value);
    QFETCH(double, expected);
    KV_COMPARE_NEAR(KvLocation::convertGPSDDMM(value), expected, kTolerance);
}

void TestLocation::rmcSentence_data() {
    addOverloadRows();
}

void TestLocation::rmcSentence() {
    QFETCH(Overload, overload);
    KvLocation location = sentinelLocation();
    QCOMPARE(parseWith(overload, kRmc13, &location), 0);
    verifyRmcExample(location);
}

void TestLocation::twelvePartExampleAsWritten_data() {
    addOverloadRows();
}

void TestLocation::twelvePartExampleAsWritten() {
    // Twelve parts are too few for the sentence parser, and the fallback cannot read a sentence.
    QFETCH(Overload, overload);
    KvLocation location = sentinelLocation();
    QCOMPARE(parseWith(overload, kRmc12, &location), -1);
    QVERIFY(sameFields(location, sentinelLocation()));
}

void TestLocation::voidSentenceStillYieldsRecord_data() {
    addOverloadRows();
}

void TestLocation::voidSentenceStillYieldsRecord() {
    QFETCH(Overload, overload);
    QByteArray text = kRmc13;
    text.replace(",A,4807", ",V,4807");
    KvLocation location = sentinelLocation();
    QCOMPARE(parseWith(overload, text, &location), 0);
    QVERIFY(!location.valid);
    KvLocation expected;
    QCOMPARE(KvLocation::locationFromText(kRmc13.constData(), &expected), 0);
    expected.valid = false;
    QVERIFY(sameFields(location, expected));
}

void TestLocation::emptyHemisphereGivesZero_data() {
    addOverloadRows();
}

void TestLocation::emptyHemisphereGivesZero() {
    QFETCH(Overload, overload);
    QByteArray const text = "$GPRMC,123519,A,4807.038,,01131.000,,022.4,084.4,230394,003.1,W,A";
    KvLocation location = sentinelLocation();
    QCOMPARE(parseWith(overload, text, &location), 0);
    QCOMPARE(location.latitude, 0.0);
    QVERIFY(!std::signbit(location.latitude));
    QCOMPARE(location.longitude, 0.0);
    QVERIFY(!std::signbit(location.longitude));
    QVERIFY(location.valid);
}

void TestLocation::lowerCaseSouthWestInSentence() {
    QByteArray const text = "$GPRMC,123519,a,4807.038,s,01131.000,w,022.4,084.4,230394,003.1,W,A";
    KvLocation location;
    QCOMPARE(KvLocation::locationFromText(text.constData(), &location), 0);
    QVERIFY(location.valid);
    KV_COMPARE_NEAR(location.latitude, -48.1173, kTolerance);
    KV_COMPARE_NEAR(location.longitude, -(11.0 + 31.0 / 60.0), kTolerance);
}

void TestLocation::sentenceTime_data() {
    QTest::addColumn<QByteArray>("time");
    QTest::addColumn<int>("hour");
    QTest::addColumn<int>("minute");
    QTest::addColumn<int>("second");
    QTest::newRow("fraction truncated") << QByteArray("235959.999") << 23 << 59 << 59;
    QTest::newRow("midnight") << QByteArray("000000.000") << 0 << 0 << 0;
    // Unlike the fallback line, the sentence keeps the hour below 100.
    QTest::newRow("seven digits") << QByteArray("1234567") << 23 << 45 << 67;
    QTest::newRow("empty") << QByteArray() << 0 << 0 << 0;
    QTest::newRow("not a number") << QByteArray("noon") << 0 << 0 << 0;
}

void TestLocation::sentenceTime() {
    QFETCH(QByteArray, time);
    QFETCH(int, hour);
    QFETCH(int, minute);
    QFETCH(int, second);
    QByteArray const text =
        "$GPRMC," + time + ",A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W,A";
    KvLocation location = sentinelLocation();
    QCOMPARE(KvLocation::locationFromText(text.constData(), &location), 0);
    QCOMPARE(location.hour, hour);
    QCOMPARE(location.minute, minute);
    QCOMPARE(location.second, second);
}

void TestLocation::sentenceEmptyOrBadDate() {
    KvLocation location = sentinelLocation();
    QByteArray const empty = "$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,,003.1,W,A";
    QCOMPARE(KvLocation::locationFromText(empty.constData(), &location), 0);
    QCOMPARE(location.day, 0);
    QCOMPARE(location.month, 0);
    QCOMPARE(location.year, 0);

    location = sentinelLocation();
    QByteArray const bad = "$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,23.03,003.1,W,A";
    QCOMPARE(KvLocation::locationFromText(bad.constData(), &location), 0);
    QCOMPARE(location.day, 0);
    QCOMPARE(location.month, 0);
    QCOMPARE(location.year, 0);
}

void TestLocation::sentenceEmptySpeed() {
    KvLocation location = sentinelLocation();
    QByteArray const text = "$GPRMC,123519,A,4807.038,N,01131.000,E,,084.4,230394,003.1,W,A";
    QCOMPARE(KvLocation::locationFromText(text.constData(), &location), 0);
    QCOMPARE(location.speed, 0.0);
}

void TestLocation::sentenceNameNotExamined() {
    // Any talker id reads the same through the QString overload; the char* overload looks for
    // "$GPRMC" and finds none.
    QByteArray text = kRmc13;
    text.replace("$GPRMC", "$GNRMC");
    KvLocation location;
    QCOMPARE(KvLocation::locationFromText(QString::fromLatin1(text), &location), 0);
    verifyRmcExample(location);
    KvLocation untouched = sentinelLocation();
    QCOMPARE(KvLocation::locationFromText(text.constData(), &untouched), -1);
    QVERIFY(sameFields(untouched, sentinelLocation()));
}

void TestLocation::gsensorLine_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<double>("x");
    QTest::addColumn<double>("y");
    QTest::addColumn<double>("z");
    QTest::newRow("camera line after CR LF") << withGsensor(kGsensorLine) << 0.12 << -0.03 << 0.98;
    // Only CR LF joins the lines: after a bare LF the name is not a part of its own.
    QTest::newRow("bare LF") << QByteArray(kRmc13 + "\n" + kGsensorLine) << 0.0 << 0.0 << 0.0;
    QTest::newRow("only five parts after the name")
        << withGsensor("$GSENSOR,  0.12,  -0.03, 0.98;") << 0.0 << 0.0 << 0.0;
    QTest::newRow("empty X forces Y to zero")
        << withGsensor("$GSENSOR,,,,-0.03,,0.98;") << 0.0 << 0.0 << 0.98;
    QTest::newRow("empty Y field") << withGsensor("$GSENSOR,,0.12,,,,0.98;") << 0.12 << 0.0 << 0.98;
    // The last character of Z is taken for the terminator even when there is none.
    QTest::newRow("no terminator")
        << withGsensor("$GSENSOR,  0.12,  -0.03,  0.98") << 0.12 << -0.03 << 0.9;
    QTest::newRow("terminator only")
        << withGsensor("$GSENSOR,  0.12,  -0.03,  ;") << 0.12 << -0.03 << 0.0;
    QTest::newRow("name is case-sensitive")
        << withGsensor("$gsensor,  0.12,  -0.03,  0.98;") << 0.0 << 0.0 << 0.0;
    QTest::newRow("name must be a whole part")
        << withGsensor("$GSENSORD,  0.12,  -0.03,  0.98;") << 0.0 << 0.0 << 0.0;
    QTest::newRow("first of two lines counts")
        << QByteArray(withGsensor(kGsensorLine) + "\r\n$GSENSOR,  1.0,  2.0,  3.0;") << 0.12
        << -0.03 << 0.98;
}

void TestLocation::gsensorLine() {
    QFETCH(QByteArray, text);
    QFETCH(double, x);
    QFETCH(double, y);
    QFETCH(double, z);
    for (Overload overload : {Overload::CString, Overload::QString}) {
        KvLocation location = sentinelLocation();
        QCOMPARE(parseWith(overload, text, &location), 0);
        QCOMPARE(location.gsensorX, x);
        QCOMPARE(location.gsensorY, y);
        QCOMPARE(location.gsensorZ, z);
        // The g-sensor line never disturbs the sentence's own fields.
        KV_COMPARE_NEAR(location.latitude, 48.1173, kTolerance);
        QCOMPARE(location.year, 94);
    }
}

void TestLocation::gsensorAtIndexZeroIgnored() {
    // Only reachable through the QString overload: the char* one always starts at "$GPRMC".
    // The first "$GSENSOR" part is the one that counts, so the later line is not read either.
    QByteArray text = withGsensor(kGsensorLine);
    text.replace(0, 6, "$GSENSOR");
    KvLocation location = sentinelLocation();
    QCOMPARE(KvLocation::locationFromText(QString::fromLatin1(text), &location), 0);
    QCOMPARE(location.gsensorX, 0.0);
    QCOMPARE(location.gsensorY, 0.0);
    QCOMPARE(location.gsensorZ, 0.0);
    KV_COMPARE_NEAR(location.latitude, 48.1173, kTolerance);
}

void TestLocation::spacePairsBecomeSeparators() {
    // Three spaces leave ", " (the value keeps one leading space, which reads fine).
    KvLocation three;
    QCOMPARE(KvLocation::locationFromText(
                 withGsensor("$GSENSOR,   0.12,   -0.03,   0.98;").constData(), &three),
             0);
    QCOMPARE(three.gsensorX, 0.12);
    QCOMPARE(three.gsensorY, -0.03);
    QCOMPARE(three.gsensorZ, 0.98);

    // Four spaces leave ",,", which shifts every value one part to the right: X lands on an
    // empty part, and Z reads the Y value less its last character.
    KvLocation four;
    QCOMPARE(KvLocation::locationFromText(
                 withGsensor("$GSENSOR,    0.12,    -0.03,    0.98;").constData(), &four),
             0);
    QCOMPARE(four.gsensorX, 0.0);
    QCOMPARE(four.gsensorY, 0.0);
    QCOMPARE(four.gsensorZ, 0.0);
    QVERIFY(std::signbit(four.gsensorZ));

    // Space pairs also split the sentence itself.
    KvLocation sentence;
    QByteArray const spaced =
        "$GPRMC  123519,A  4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W,A";
    QCOMPARE(KvLocation::locationFromText(spaced.constData(), &sentence), 0);
    verifyRmcExample(sentence);
}

void TestLocation::fallbackLine_data() {
    addOverloadRows();
}

void TestLocation::fallbackLine() {
    QFETCH(Overload, overload);
    KvLocation location = sentinelLocation();
    QCOMPARE(parseWith(overload, kFallback, &location), 0);
    verifyFallbackExample(location);
}

void TestLocation::fallbackWithoutTerminator() {
    QByteArray text = kFallback;
    text.chop(1);
    KvLocation location;
    QCOMPARE(KvLocation::locationFromText(text.constData(), &location), 0);
    verifyFallbackExample(location);
}

void TestLocation::fallbackLowerCase() {
    QByteArray const text = "a,150326,101530.5,3110.1234,s,12130.5678,w,45.5,0.01,0.02,0.98;";
    for (Overload overload : {Overload::CString, Overload::QString}) {
        KvLocation location;
        QCOMPARE(parseWith(overload, text, &location), 0);
        QVERIFY(location.valid);
        KV_COMPARE_NEAR(location.latitude, -(31.0 + 10.1234 / 60.0), kTolerance);
        KV_COMPARE_NEAR(location.longitude, -(121.0 + 30.5678 / 60.0), kTolerance);
        QCOMPARE(location.second, 30);
    }
    QByteArray const upper = "A,150326,101530,3110.1234,S,12130.5678,W,45.5,0.01,0.02,0.98;";
    KvLocation location;
    QCOMPARE(KvLocation::locationFromText(upper.constData(), &location), 0);
    QVERIFY(location.latitude < 0.0);
    QVERIFY(location.longitude < 0.0);
}

void TestLocation::fallbackHourWithoutModulo() {
    QByteArray const text = "A,150326,1234567,3110.1234,N,12130.5678,E,45.5,0.01,0.02,0.98;";
    KvLocation location;
    QCOMPARE(KvLocation::locationFromText(text.constData(), &location), 0);
    QCOMPARE(location.hour, 123);
    QCOMPARE(location.minute, 45);
    QCOMPARE(location.second, 67);
}

void TestLocation::fallbackTooFewConversions_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("no Z") << QByteArray("A,150326,101530,3110.1234,N,12130.5678,E,45.5,0.01,0.02;");
    QTest::newRow("bad speed") << QByteArray(
        "A,150326,101530,3110.1234,N,12130.5678,E,fast,0.01,0.02,0.98;");
    QTest::newRow("void and short") << QByteArray("V,150326,101530,3110.1234,N");
    QTest::newRow("one character") << QByteArray("A");
}

void TestLocation::fallbackTooFewConversions() {
    QFETCH(QByteArray, text);
    for (Overload overload : {Overload::CString, Overload::QString}) {
        KvLocation location = sentinelLocation();
        QCOMPARE(parseWith(overload, text, &location), -1);
        QVERIFY(sameFields(location, sentinelLocation()));
    }
}

void TestLocation::fallbackVoidOverwritesValidityDateAndTime_data() {
    addOverloadRows();
}

void TestLocation::fallbackVoidOverwritesValidityDateAndTime() {
    QFETCH(Overload, overload);
    QByteArray text = kFallback;
    text[0] = 'V';
    KvLocation location = sentinelLocation();
    QCOMPARE(parseWith(overload, text, &location), -1);

    KvLocation expected = sentinelLocation();
    expected.valid = false;
    expected.day = 15;
    expected.month = 3;
    expected.year = 26;
    expected.hour = 10;
    expected.minute = 15;
    expected.second = 30;
    QVERIFY(sameFields(location, expected));
}

void TestLocation::twelvePartsFallBackOnWholeText() {
    // The sentence after "$GPRMC" is too short, so the fallback reads the whole text from its
    // start, where a complete fallback line stands.
    QByteArray const text = kFallback + "$GPRMC,123519,A";
    KvLocation location = sentinelLocation();
    QCOMPARE(KvLocation::locationFromText(text.constData(), &location), 0);
    verifyFallbackExample(location);
}

void TestLocation::cStringDropsTextBeforeSentence() {
    // The form a subtitle decoder hands over: its own fields, then the sentence.
    QByteArray const text = "0,0,Default,,0,0,0,," + kRmc13;
    KvLocation location = sentinelLocation();
    QCOMPARE(KvLocation::locationFromText(text.constData(), &location), 0);
    verifyRmcExample(location);
}

void TestLocation::qStringReadsAnyTextPositionally() {
    // The QString overload does not look for "$GPRMC": the decoder's fields are read as RMC
    // fields, so this gives a void fix at midnight with date "123519".
    QString const text = QStringLiteral("0,0,Default,,0,0,0,,") + QString::fromLatin1(kRmc13);
    KvLocation location = sentinelLocation();
    QCOMPARE(KvLocation::locationFromText(text, &location), 0);
    QVERIFY(!location.valid);
    QCOMPARE(location.hour, 0);
    QCOMPARE(location.minute, 0);
    QCOMPARE(location.second, 0);
    QCOMPARE(location.latitude, 0.0);
    QCOMPARE(location.longitude, 0.0);
    QCOMPARE(location.speed, 0.0);
    QCOMPARE(location.day, 12);
    QCOMPARE(location.month, 35);
    QCOMPARE(location.year, 19);
}

void TestLocation::nullAndEmptyText() {
    KvLocation location = sentinelLocation();
    QCOMPARE(KvLocation::locationFromText(static_cast<char const*>(nullptr), &location), -1);
    QCOMPARE(KvLocation::locationFromText("", &location), -1);
    QCOMPARE(KvLocation::locationFromText(QString(), &location), -1);
    QCOMPARE(KvLocation::locationFromText(QStringLiteral(""), &location), -1);
    QVERIFY(sameFields(location, sentinelLocation()));
}

KV_TEST_GUILESS_MAIN(TestLocation)
#include "tst_location.moc"
