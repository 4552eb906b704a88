#include "KvTestMain.h"
#include "GPSPoint.h"

#include <QVector>
#include <QtTest>

#include <algorithm>

#include <cmath>

namespace {

constexpr double kEarthRadiusMetres = 6371008.8;
constexpr double kDegToRad = 3.141592653589793 / 180.0;

// Great-circle distance, good to well under a millimetre at the distances measured here.
double distanceMetres(GPSPoint const& a, GPSPoint const& b) {
    double const dLat = (b.lat - a.lat) * kDegToRad;
    double const dLng = (b.lng - a.lng) * kDegToRad;
    double const h = std::sin(dLat / 2) * std::sin(dLat / 2) +
                     std::cos(a.lat * kDegToRad) * std::cos(b.lat * kDegToRad) *
                         std::sin(dLng / 2) * std::sin(dLng / 2);
    return 2.0 * kEarthRadiusMetres * std::asin(std::sqrt(h));
}

bool samePoint(GPSPoint const& a, GPSPoint const& b) {
    return a.lat == b.lat && a.lng == b.lng;
}

} // namespace

class TestGPSPoint : public QObject {
    Q_OBJECT
private slots:
    void constructors();
    void beijingMovesSomeHundredMetres();
    void parisUnchanged();
    void chinaBoxBounds_data();
    void chinaBoxBounds();
    void nanCountsAsInside();
    void roundTripErrorAcrossChina();
    void roundTripOutsideChinaIsExact();
    void bd09RoundTripCloseButNotExact();
    void bd09AtOrigin();
    void bd09Reference();
};

void TestGPSPoint::constructors() {
    GPSPoint const origin;
    QCOMPARE(origin.lat, 0.0);
    QCOMPARE(origin.lng, 0.0);
    GPSPoint const point(39.9, 116.4);
    QCOMPARE(point.lat, 39.9);
    QCOMPARE(point.lng, 116.4);
}

void TestGPSPoint::beijingMovesSomeHundredMetres() {
    GPSPoint const wgs(39.9, 116.4);
    GPSPoint const gcj = wgs84ToGcj02(wgs);
    double const moved = distanceMetres(wgs, gcj);
    QVERIFY2(moved > 300.0 && moved < 900.0, qPrintable(QString::number(moved)));
    // Reference values of the published formula with the listed constants.
    QVERIFY(std::fabs(gcj.lat - 39.901403529849404) < 1e-12);
    QVERIFY(std::fabs(gcj.lng - 116.40624278491117) < 1e-12);
}

void TestGPSPoint::parisUnchanged() {
    GPSPoint const paris(48.85, 2.35);
    QVERIFY(samePoint(wgs84ToGcj02(paris), paris));
    QVERIFY(samePoint(gcj02ToWGS84(paris), paris));
}

void TestGPSPoint::chinaBoxBounds_data() {
    QTest::addColumn<double>("lat");
    QTest::addColumn<double>("lng");
    QTest::addColumn<bool>("converted");
    QTest::newRow("west bound") << 30.0 << 72.004 << true;
    QTest::newRow("just west") << 30.0 << 72.0039 << false;
    QTest::newRow("east bound") << 30.0 << 137.8347 << true;
    QTest::newRow("just east") << 30.0 << 137.8348 << false;
    QTest::newRow("south bound") << 0.8293 << 110.0 << true;
    QTest::newRow("just south") << 0.8292 << 110.0 << false;
    QTest::newRow("north bound") << 55.8271 << 110.0 << true;
    QTest::newRow("just north") << 55.8272 << 110.0 << false;
}

void TestGPSPoint::chinaBoxBounds() {
    QFETCH(double, lat);
    QFETCH(double, lng);
    QFETCH(bool, converted);
    GPSPoint const point(lat, lng);
    GPSPoint const gcj = wgs84ToGcj02(point);
    QCOMPARE(!samePoint(gcj, point), converted);
    if (converted) {
        QVERIFY(distanceMetres(point, gcj) > 1.0);
    }
}

void TestGPSPoint::nanCountsAsInside() {
    // Inside the box the offsets are computed, and a NaN latitude spreads to the longitude;
    // outside it the longitude would come back as given.
    GPSPoint const gcj = wgs84ToGcj02(GPSPoint(std::nan(""), 110.0));
    QVERIFY(std::isnan(gcj.lat));
    QVERIFY(std::isnan(gcj.lng));
}

void TestGPSPoint::roundTripErrorAcrossChina() {
    // The inverse takes one step back by the offset found at the GCJ-02 point instead of the
    // WGS-84 one, so its error is the offset (some hundred metres) times the offset's slope.
    // The fast terms (period 1/3 degree of longitude) make that under a metre at the median but
    // up to about 5 m where the offset is large and a degree of longitude short (north-east).
    QVector<double> errors;
    for (double lat = 0.8293; lat <= 55.8271; lat += 0.37) {
        for (double lng = 72.004; lng <= 137.8347; lng += 0.41) {
            GPSPoint const p(lat, lng);
            errors.append(distanceMetres(p, gcj02ToWGS84(wgs84ToGcj02(p))));
        }
    }
    std::sort(errors.begin(), errors.end());
    double const median = errors.at(errors.size() / 2);
    double const worst = errors.last();
    qDebug("round trip over %d points: median %.3f m, worst %.3f m", int(errors.size()), median,
           worst);
    QVERIFY(errors.size() > 20000);
    QVERIFY2(median < 1.0, qPrintable(QString::number(median)));
    QVERIFY2(worst < 6.0, qPrintable(QString::number(worst)));
    // One step, no iteration: the error is there everywhere off the grid of exact points.
    QVERIFY(errors.at(errors.size() / 10) > 0.0);

    // Beijing sits where the slope is small.
    GPSPoint const beijing(39.9, 116.4);
    QVERIFY(distanceMetres(beijing, gcj02ToWGS84(wgs84ToGcj02(beijing))) < 0.1);
}

void TestGPSPoint::roundTripOutsideChinaIsExact() {
    GPSPoint const points[] = {{48.85, 2.35}, {-33.87, 151.21}, {40.71, -74.0}, {60.0, 110.0}};
    for (GPSPoint const& p : points) {
        QVERIFY(samePoint(gcj02ToWGS84(wgs84ToGcj02(p)), p));
    }
}

void TestGPSPoint::bd09RoundTripCloseButNotExact() {
    int inexact = 0;
    double worst = 0.0;
    for (double lat = 1.0; lat < 55.0; lat += 1.3) {
        for (double lng = 73.0; lng < 137.0; lng += 1.7) {
            GPSPoint const p(lat, lng);
            GPSPoint const back = Bd09Togcj02(gcj02ToBd09(p));
            worst = std::max(worst, distanceMetres(p, back));
            inexact += samePoint(back, p) ? 0 : 1;
        }
    }
    qDebug("BD-09 round trip: worst %.3f m", worst);
    QVERIFY(inexact > 0);
    QVERIFY2(worst < 20.0, qPrintable(QString::number(worst)));

    GPSPoint const beijing(39.9, 116.4);
    GPSPoint const bd = gcj02ToBd09(beijing);
    QVERIFY(distanceMetres(beijing, bd) > 500.0);
    QVERIFY(!samePoint(Bd09Togcj02(bd), beijing));
}

void TestGPSPoint::bd09AtOrigin() {
    GPSPoint const bd = gcj02ToBd09(GPSPoint(0.0, 0.0));
    QCOMPARE(bd.lat, 0.006);
    QCOMPARE(bd.lng, 0.0065);
    QVERIFY(bd.lat == 0.006 && bd.lng == 0.0065);
}

void TestGPSPoint::bd09Reference() {
    GPSPoint const bd = gcj02ToBd09(wgs84ToGcj02(GPSPoint(39.9, 116.4)));
    QVERIFY(std::fabs(bd.lat - 39.90773378164862) < 1e-12);
    QVERIFY(std::fabs(bd.lng - 116.41262802928223) < 1e-12);
}

KV_TEST_GUILESS_MAIN(TestGPSPoint)
#include "tst_gpspoint.moc"
