#include "KvGpsMath.h"
#include "KvTestMain.h"

#include <QtTest>

#include <climits>
#include <cmath>
#include <limits>

// The shared GPS arithmetic: the unit factors as the readers and the trip panel have always used
// them, ddmm.mmmm to degrees (plain and checked), the trip panel's distance, and the fix that
// belongs to a play position at the edges of the track and for positions that are not numbers.
class TestGpsMath : public QObject {
    Q_OBJECT
private slots:
    void unitFactorsKeepTheirValues();
    void truncationFollowsACCast();
    void ddmmToDegreesTruncatesTowardZero_data();
    void ddmmToDegreesTruncatesTowardZero();
    void ddmmToDegreesOfNonNumbers();
    void ddmmInRangeRejectsWhatIsNoCoordinate_data();
    void ddmmInRangeRejectsWhatIsNoCoordinate();
    void distanceOfOneDegreeOnTheEquator();
    void distanceOfInvalidOrNonNumberFixes();
    void distanceOfAntipodesIsHalfTheCircumference();
    void fixAtMapsPositionsProportionally();
    void fixAtHoldsTheLastFixAtAndPastTheEnd();
    void fixAtRefusesWhatCannotBePlaced();

private:
    static QVector<KvLocation> _track(int count);
};

namespace {
constexpr double kTolerance = 1e-9;
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

KvLocation fix(double latitude, double longitude, bool valid = true) {
    KvLocation location;
    location.valid = valid;
    location.latitude = latitude;
    location.longitude = longitude;
    return location;
}
} // namespace

QVector<KvLocation> TestGpsMath::_track(int count) {
    QVector<KvLocation> track;
    for (int i = 0; i < count; ++i) {
        KvLocation location = fix(i, 0.0);
        location.second = i; // tells the fixes apart
        track.append(location);
    }
    return track;
}

void TestGpsMath::unitFactorsKeepTheirValues() {
    QCOMPARE(KvKmhPerKnot, 1.852);
    QCOMPARE(KvMilesPerKm, 0.6213712);
    QCOMPARE(KvEarthDiameterKm, 12742.786);
    QCOMPARE(KvPi, 3.141592653589793);
    // 24.3 knots, as the test clips' sentences write it.
    QCOMPARE(24.3 * KvKmhPerKnot, 45.0036);
    // 50 km/h in the trip panel's miles.
    QCOMPARE(50.0 * KvMilesPerKm, 31.06856);
}

void TestGpsMath::truncationFollowsACCast() {
    QCOMPARE(truncateToInt32(235959.999), 235959);
    QCOMPARE(truncateToInt32(-3110.9), -3110);
    QCOMPARE(truncateToInt32(2147483647.5), INT_MAX);
    QCOMPARE(truncateToInt32(-2147483648.5), INT_MIN);
    QCOMPARE(truncateToInt32(2147483648.0), INT_MIN);
    QCOMPARE(truncateToInt32(1e300), INT_MIN);
    QCOMPARE(truncateToInt32(kNan), INT_MIN);
    QCOMPARE(truncateToInt32(-kInf), INT_MIN);
}

void TestGpsMath::ddmmToDegreesTruncatesTowardZero_data() {
    QTest::addColumn<double>("ddmm");
    QTest::addColumn<double>("degrees");
    QTest::newRow("Munich latitude") << 4807.038 << 48.0 + 7.038 / 60.0;
    QTest::newRow("longitude with three degree digits") << 12130.5678 << 121.0 + 30.5678 / 60.0;
    QTest::newRow("south stays negative") << -3110.5 << -31.175;
    QTest::newRow("zero") << 0.0 << 0.0;
    QTest::newRow("minutes only") << 59.999 << 59.999 / 60.0;
    QTest::newRow("negative minutes only") << -30.0 << -0.5;
    // Not a coordinate, read the same way: 61 minutes are one degree and one minute.
    QTest::newRow("61 minutes") << 4861.0 << 48.0 + 61.0 / 60.0;
}

void TestGpsMath::ddmmToDegreesTruncatesTowardZero() {
    QFETCH(double, ddmm);
    QFETCH(double, degrees);
    QVERIFY2(std::fabs(ddmmToDegrees(ddmm) - degrees) < kTolerance,
             qPrintable(QString::number(ddmmToDegrees(ddmm), 'g', 17)));
    QCOMPARE(ddmmToDegrees(ddmm), KvLocation::convertGPSDDMM(ddmm));
}

void TestGpsMath::ddmmToDegreesOfNonNumbers() {
    QVERIFY(std::isnan(ddmmToDegrees(kNan)));
    QVERIFY(!std::isfinite(ddmmToDegrees(kInf)));
    QVERIFY(std::isfinite(ddmmToDegrees(1e300)));
    QCOMPARE(ddmmToDegrees(2147483647.0), 21474836.0 + 47.0 / 60.0);
    QCOMPARE(ddmmToDegrees(-2147483648.0), -21474836.0 - 48.0 / 60.0);
}

void TestGpsMath::ddmmInRangeRejectsWhatIsNoCoordinate_data() {
    QTest::addColumn<double>("ddmm");
    QTest::addColumn<double>("maxDegrees");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<double>("degrees");
    QTest::newRow("latitude") << 4807.038 << 90.0 << true << 48.0 + 7.038 / 60.0;
    QTest::newRow("zero") << 0.0 << 90.0 << true << 0.0;
    QTest::newRow("the pole") << 9000.0 << 90.0 << true << 90.0;
    QTest::newRow("past the pole") << 9000.001 << 90.0 << false << 0.0;
    QTest::newRow("180 degrees east") << 18000.0 << 180.0 << true << 180.0;
    QTest::newRow("just under 60 minutes") << 4759.9999 << 90.0 << true << 47.0 + 59.9999 / 60.0;
    QTest::newRow("60 minutes") << 4760.0 << 90.0 << false << 0.0;
    QTest::newRow("negative") << -3110.5 << 90.0 << false << 0.0;
    QTest::newRow("NaN") << kNan << 90.0 << false << 0.0;
    QTest::newRow("infinite") << kInf << 180.0 << false << 0.0;
    QTest::newRow("huge") << 1e300 << 180.0 << false << 0.0;
}

void TestGpsMath::ddmmInRangeRejectsWhatIsNoCoordinate() {
    QFETCH(double, ddmm);
    QFETCH(double, maxDegrees);
    QFETCH(bool, accepted);
    QFETCH(double, degrees);
    double const untouched = -999.0;
    double result = untouched;
    QCOMPARE(ddmmToDegreesInRange(ddmm, maxDegrees, &result), accepted);
    if (accepted) {
        QVERIFY(std::fabs(result - degrees) < kTolerance);
        QCOMPARE(result, ddmmToDegrees(ddmm));
    } else {
        QCOMPARE(result, untouched);
    }
}

void TestGpsMath::distanceOfOneDegreeOnTheEquator() {
    double const expected = 12742.786 * std::asin(std::sin(3.141592653589793 / 360.0));
    QCOMPARE(distanceKm(fix(0, 0), fix(0, 1)), expected);
    QVERIFY(std::fabs(expected - 111.2) < 0.05);
    // Symmetric, and zero between a fix and itself.
    QCOMPARE(distanceKm(fix(0, 1), fix(0, 0)), expected);
    QCOMPARE(distanceKm(fix(48.1, 11.5), fix(48.1, 11.5)), 0.0);
    QCOMPARE(degreesToRadians(180.0), KvPi);
    QCOMPARE(degreesToRadians(-90.0), -KvPi / 2.0);
}

void TestGpsMath::distanceOfInvalidOrNonNumberFixes() {
    QCOMPARE(distanceKm(fix(0, 0, false), fix(0, 1)), 0.0);
    QCOMPARE(distanceKm(fix(0, 0), fix(0, 1, false)), 0.0);
    QCOMPARE(distanceKm(fix(kNan, 0), fix(0, 1)), 0.0);
    QCOMPARE(distanceKm(fix(0, 0), fix(0, kInf)), 0.0);
}

void TestGpsMath::distanceOfAntipodesIsHalfTheCircumference() {
    double const half = distanceKm(fix(0, 0), fix(0, 180));
    QCOMPARE(half, 12742.786 * 3.141592653589793 / 2.0);
    QCOMPARE(distanceKm(fix(90, 0), fix(-90, 0)), half);
}

void TestGpsMath::fixAtMapsPositionsProportionally() {
    QVector<KvLocation> const track = _track(100);
    QCOMPARE(fixAt(track, 0.0, 60.0), &track.at(0));
    QCOMPARE(fixAt(track, 30.0, 60.0), &track.at(50));
    QCOMPARE(fixAt(track, 0.59, 60.0), &track.at(0));
    QCOMPARE(fixAt(track, 0.6, 60.0), &track.at(1));
    QCOMPARE(fixAt(track, 59.9, 60.0), &track.at(99));
    // Fewer fixes than seconds: each fix stands for several seconds.
    QVector<KvLocation> const three = _track(3);
    QCOMPARE(fixAt(three, 19.9, 60.0), &three.at(0));
    QCOMPARE(fixAt(three, 20.0, 60.0), &three.at(1));
    QCOMPARE(fixAt(three, 45.0, 60.0), &three.at(2));
    // The pointer is into the track itself: nothing was copied.
    QCOMPARE(fixAt(track, 30.0, 60.0)->second, 50);
}

void TestGpsMath::fixAtHoldsTheLastFixAtAndPastTheEnd() {
    QVector<KvLocation> const track = _track(100);
    QCOMPARE(fixAt(track, 60.0, 60.0), &track.at(99));
    QCOMPARE(fixAt(track, 61.0, 60.0), &track.at(99));
    QCOMPARE(fixAt(track, 1e300, 60.0), &track.at(99));
    QCOMPARE(fixAt(track, kInf, 60.0), &track.at(99));
    QCOMPARE(fixAt(track, kInf, kInf), &track.at(99));
    QVector<KvLocation> const one = _track(1);
    QCOMPARE(fixAt(one, 0.0, 1e-9), &one.at(0));
    QCOMPARE(fixAt(one, 5.0, 1.0), &one.at(0));
}

void TestGpsMath::fixAtRefusesWhatCannotBePlaced() {
    QVector<KvLocation> const track = _track(10);
    QVERIFY(fixAt(QVector<KvLocation>(), 1.0, 60.0) == nullptr);
    QVERIFY(fixAt(track, 1.0, 0.0) == nullptr);
    QVERIFY(fixAt(track, 1.0, -60.0) == nullptr);
    QVERIFY(fixAt(track, 1.0, kNan) == nullptr);
    QVERIFY(fixAt(track, -0.001, 60.0) == nullptr);
    QVERIFY(fixAt(track, -kInf, 60.0) == nullptr);
    QVERIFY(fixAt(track, kNan, 60.0) == nullptr);
    // Zero is a position: the first fix.
    QCOMPARE(fixAt(track, -0.0, 60.0), &track.at(0));
}

KV_TEST_GUILESS_MAIN(TestGpsMath)
#include "tst_gpsmath.moc"
