#include "KvLocation.h"
#include "KvTestMain.h"
#include "LocationTestUtil.h"

#include <QRandomGenerator>
#include <QtTest>

#include <climits>
#include <cmath>

using kvtest::Overload;
using kvtest::parseWith;
using kvtest::sameFields;
using kvtest::sentinelLocation;

namespace {

constexpr int kLongTextBytes = 100 * 1024;

QByteArray const kRmcTail = ",123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W,A";

QByteArray sentenceWithFields(int fields) {
    QByteArray text = "$GPRMC";
    QByteArray const values[] = {"123519", "A",     "4807.038", "N",     "01131.000", "E",
                                 "022.4",  "084.4", "230394",   "003.1", "W",         "A"};
    for (int i = 1; i < fields; ++i) {
        text += ',';
        text += i <= 12 ? values[i - 1] : QByteArray::number(i);
    }
    return text;
}

// Both overloads, and for the QString one both ways a caller may have decoded the bytes.
QVector<int> parseAllWays(QByteArray const& text) {
    KvLocation location;
    QVector<int> results;
    results << KvLocation::locationFromText(text.constData(), &location);
    results << KvLocation::locationFromText(QString::fromUtf8(text.constData(), text.size()),
                                            &location);
    results << KvLocation::locationFromText(QString::fromLatin1(text.constData(), text.size()),
                                            &location);
    return results;
}

bool allResultsValid(QVector<int> const& results) {
    for (int result : results) {
        if (result != 0 && result != -1) {
            return false;
        }
    }
    return true;
}

} // namespace

class TestLocationBadInput : public QObject {
    Q_OBJECT
private slots:
    void fieldCounts_data();
    void fieldCounts();
    void longTexts_data();
    void longTexts();
    void randomBytes();
    void randomSentenceLikeTexts();
    void hugeAndNonFiniteSentenceNumbers();
    void hugeAndNonFiniteFallbackNumbers();
    void convertNonFinite();
    void nonAsciiText();
    void embeddedNul();
};

void TestLocationBadInput::fieldCounts_data() {
    QTest::addColumn<int>("fields");
    QTest::addColumn<int>("expected");
    QTest::newRow("12") << 12 << -1;
    QTest::newRow("13") << 13 << 0;
    QTest::newRow("40") << 40 << 0;
}

void TestLocationBadInput::fieldCounts() {
    QFETCH(int, fields);
    QFETCH(int, expected);
    QByteArray const text = sentenceWithFields(fields);
    QCOMPARE(text.count(',') + 1, fields);
    for (Overload overload : {Overload::CString, Overload::QString}) {
        KvLocation location = sentinelLocation();
        QCOMPARE(parseWith(overload, text, &location), expected);
        if (expected == 0) {
            // Extra fields are ignored: the record is that of the 13-part sentence.
            KvLocation reference;
            QCOMPARE(parseWith(overload, sentenceWithFields(13), &reference), 0);
            QVERIFY(sameFields(location, reference));
            QCOMPARE(location.day, 23);
        } else {
            QVERIFY(sameFields(location, sentinelLocation()));
        }
    }
}

void TestLocationBadInput::longTexts_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("cString");
    QTest::addColumn<int>("qString");
    QTest::newRow("no separators") << QByteArray(kLongTextBytes, 'x') << -1 << -1;
    // Enough parts for the QString overload, which reads them positionally as empty fields.
    QTest::newRow("only commas") << QByteArray(kLongTextBytes, ',') << -1 << 0;
    QTest::newRow("only spaces") << QByteArray(kLongTextBytes, ' ') << -1 << 0;
    QTest::newRow("CR LF pairs") << QByteArray("\r\n").repeated(kLongTextBytes / 2) << -1 << 0;
    QTest::newRow("sentence with a long tail")
        << QByteArray("$GPRMC" + kRmcTail + QByteArray(",1").repeated(kLongTextBytes / 2)) << 0
        << 0;
    QTest::newRow("long g-sensor line")
        << QByteArray("$GPRMC" + kRmcTail + "\r\n$GSENSOR" +
                      QByteArray(",  1.5").repeated(kLongTextBytes / 6))
        << 0 << 0;
    QTest::newRow("sentence after long junk")
        << QByteArray(QByteArray(kLongTextBytes, 'j') + "$GPRMC" + kRmcTail) << 0 << 0;
    QTest::newRow("fallback line then junk")
        << QByteArray("A,150326,101530,3110.1234,N,12130.5678,E,45.5,0.01,0.02,0.98;" +
                      QByteArray(kLongTextBytes, '9'))
        << 0 << 0;
    QTest::newRow("huge number") << QByteArray("A,150326," + QByteArray(kLongTextBytes, '7')) << -1
                                 << -1;
}

void TestLocationBadInput::longTexts() {
    QFETCH(QByteArray, text);
    QFETCH(int, cString);
    QFETCH(int, qString);
    KvLocation location;
    QCOMPARE(KvLocation::locationFromText(text.constData(), &location), cString);
    QCOMPARE(KvLocation::locationFromText(QString::fromLatin1(text), &location), qString);
}

void TestLocationBadInput::randomBytes() {
    QRandomGenerator random(20261122);
    for (int round = 0; round < 2000; ++round) {
        QByteArray text(int(random.bounded(600)), Qt::Uninitialized);
        for (char& byte : text) {
            byte = char(random.bounded(256));
        }
        QVERIFY(allResultsValid(parseAllWays(text)));
    }
}

void TestLocationBadInput::randomSentenceLikeTexts() {
    // Texts made of the pieces the parsers look for reach their deeper branches.
    QByteArray const pieces[] = {"$GPRMC", "$GSENSOR", ",",          ",",      ",", "  ",    "\r\n",
                                 ";",      "A",        "V",          "S",      "w", "1e309", "nan",
                                 "-",      "4807.038", "235959.999", "230394", "0", "."};
    int const pieceCount = int(sizeof(pieces) / sizeof(pieces[0]));
    QRandomGenerator random(7);
    int parsed = 0;
    for (int round = 0; round < 5000; ++round) {
        QByteArray text;
        int const length = int(random.bounded(60));
        for (int i = 0; i < length; ++i) {
            text += pieces[random.bounded(pieceCount)];
        }
        QVector<int> const results = parseAllWays(text);
        QVERIFY(allResultsValid(results));
        parsed += results.count(0);
    }
    QVERIFY(parsed > 0);
}

void TestLocationBadInput::hugeAndNonFiniteSentenceNumbers() {
    QByteArray const text = "$GPRMC,1e300,A,1e308,N,-inf,W,1e308,084.4,99999999999,003.1,W,A"
                            "\r\n$GSENSOR,  nan,  1e999,  -1e999;";
    KvLocation location;
    QCOMPARE(KvLocation::locationFromText(text.constData(), &location), 0);
    // A time that does not fit 32 bits reads as INT_MIN, whose digits give this nonsense time.
    QCOMPARE(location.hour, (INT_MIN / 10000) % 100);
    QCOMPARE(location.minute, (INT_MIN / 100) % 100);
    QCOMPARE(location.second, INT_MIN % 100);
    QVERIFY(std::isfinite(location.latitude));
    QVERIFY(location.latitude > 90.0);
    QVERIFY(std::isinf(location.speed));
    // toInt overflows to 0.
    QCOMPARE(location.day, 0);
    QCOMPARE(location.year, 0);
    QVERIFY(location.valid);
}

void TestLocationBadInput::hugeAndNonFiniteFallbackNumbers() {
    QByteArray const text = "A,150326,1e300,nan,N,inf,W,1e999,nan,-inf,1e-999;";
    KvLocation location;
    QCOMPARE(KvLocation::locationFromText(text.constData(), &location), 0);
    QCOMPARE(location.hour, INT_MIN / 10000);
    QCOMPARE(location.minute, (INT_MIN / 100) % 100);
    QCOMPARE(location.second, INT_MIN % 100);
    QVERIFY(std::isnan(location.latitude));
    QVERIFY(std::isinf(location.longitude));
    QVERIFY(std::isinf(location.speed));
    QVERIFY(std::isnan(location.gsensorX));
    QVERIFY(std::isinf(location.gsensorY));
    QCOMPARE(location.gsensorZ, 0.0);
}

void TestLocationBadInput::convertNonFinite() {
    QVERIFY(std::isnan(KvLocation::convertGPSDDMM(std::nan(""))));
    QVERIFY(std::isfinite(KvLocation::convertGPSDDMM(1e300)));
    QVERIFY(std::isfinite(KvLocation::convertGPSDDMM(-1e300)));
    QVERIFY(!std::isfinite(KvLocation::convertGPSDDMM(INFINITY)));
    // The last values that still fit 32 bits convert as usual.
    QCOMPARE(KvLocation::convertGPSDDMM(2147483647.0), 21474836.0 + 47.0 / 60.0);
    QCOMPARE(KvLocation::convertGPSDDMM(-2147483648.0), -21474836.0 - 48.0 / 60.0);
}

void TestLocationBadInput::nonAsciiText() {
    QString const fallback =
        QStringLiteral("A,150326,101530,3110.1234,N,12130.5678,E,45.5,0.01,0.02,0.98;");
    QString const chinese = QStringLiteral("行车记录仪");
    KvLocation location;
    QCOMPARE(KvLocation::locationFromText(fallback + chinese, &location), 0);
    QCOMPARE(location.day, 15);
    location = sentinelLocation();
    QCOMPARE(KvLocation::locationFromText(chinese + fallback, &location), -1);
    QVERIFY(sameFields(location, sentinelLocation()));

    // Non-numeric fields read as zero.
    QString const sentence =
        QStringLiteral("$GPRMC,时间,A,纬度,N,经度,E,速度,084.4,日期,003.1,W,A");
    QCOMPARE(KvLocation::locationFromText(sentence, &location), 0);
    QVERIFY(location.valid);
    QCOMPARE(location.latitude, 0.0);
    QCOMPARE(location.speed, 0.0);
    QCOMPARE(location.day, 0);
    QCOMPARE(location.hour, 0);

    // Latin-1 bytes in the char* overload.
    QByteArray const latin1 = "\xb0\xff$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,\xe9,230394,,,";
    QCOMPARE(KvLocation::locationFromText(latin1.constData(), &location), 0);
    QCOMPARE(location.minute, 35);
}

void TestLocationBadInput::embeddedNul() {
    // The char* overload ends at the first NUL; a QString keeps it as a character.
    QByteArray text = "$GPRMC" + kRmcTail;
    text[20] = '\0';
    KvLocation location = sentinelLocation();
    QCOMPARE(KvLocation::locationFromText(text.constData(), &location), -1);
    QVERIFY(sameFields(location, sentinelLocation()));
    QCOMPARE(
        KvLocation::locationFromText(QString::fromLatin1(text.constData(), text.size()), &location),
        0);
    QCOMPARE(location.latitude, 0.0);
    QCOMPARE(location.day, 23);

    QByteArray fallback = "A,150326,101530,3110.1234,N,12130.5678,E,45.5,0.01,0.02,0.98;";
    fallback[10] = '\0';
    location = sentinelLocation();
    QCOMPARE(KvLocation::locationFromText(
                 QString::fromLatin1(fallback.constData(), fallback.size()), &location),
             -1);
    QVERIFY(sameFields(location, sentinelLocation()));
}

KV_TEST_GUILESS_MAIN(TestLocationBadInput)
#include "tst_locationbadinput.moc"
