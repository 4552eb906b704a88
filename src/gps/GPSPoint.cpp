#include "GPSPoint.h"

#include "KvGpsMath.h"

#include <cmath>

namespace {

// Krasovsky 1940 ellipsoid, on which the GCJ-02 offsets are defined.
constexpr double kSemiMajorAxis = 6378245.0;
constexpr double kEccentricitySquared = 0.006693421622965943;
// kSemiMajorAxis * (1 - kEccentricitySquared), kept as the published precomputed number.
constexpr double kSemiMajorAxisTimesOneMinusEe = 6335552.717000426;

// BD-09 is GCJ-02 shifted and slightly rotated and scaled around the origin.
constexpr double kBd09LngOffset = 0.0065;
constexpr double kBd09LatOffset = 0.006;
constexpr double kBd09RadiusFactor = 0.00002;
constexpr double kBd09AngleFactor = 0.000003;
constexpr double kBd09AngleScale = KvPi * 3000.0 / 180.0;

// The rough box of mainland China; the offsets apply only inside it (bounds included).
constexpr double kChinaMinLng = 72.004;
constexpr double kChinaMaxLng = 137.8347;
constexpr double kChinaMinLat = 0.8293;
constexpr double kChinaMaxLat = 55.8271;

// The GCJ-02 offsets are computed around this point.
constexpr double kOriginLng = 105.0;
constexpr double kOriginLat = 35.0;

bool outOfChina(GPSPoint const& point) {
    // Negated comparisons: the bounds and NaN count as inside.
    return point.lng < kChinaMinLng || point.lng > kChinaMaxLng || point.lat < kChinaMinLat ||
           point.lat > kChinaMaxLat;
}

// The periodic terms shared by both offsets.
double waveX(double x) {
    return (20.0 * std::sin(6.0 * x * KvPi) + 20.0 * std::sin(2.0 * x * KvPi)) * 2.0 / 3.0;
}

double transformLat(double x, double y) {
    double result =
        -100.0 + 2.0 * x + 3.0 * y + 0.2 * y * y + 0.1 * x * y + 0.2 * std::sqrt(std::fabs(x));
    result += waveX(x);
    result += (20.0 * std::sin(y * KvPi) + 40.0 * std::sin(y / 3.0 * KvPi)) * 2.0 / 3.0;
    result += (160.0 * std::sin(y / 12.0 * KvPi) + 320.0 * std::sin(y * KvPi / 30.0)) * 2.0 / 3.0;
    return result;
}

double transformLng(double x, double y) {
    double result = 300.0 + x + 2.0 * y + 0.1 * x * x + 0.1 * x * y + 0.1 * std::sqrt(std::fabs(x));
    result += waveX(x);
    result += (20.0 * std::sin(x * KvPi) + 40.0 * std::sin(x / 3.0 * KvPi)) * 2.0 / 3.0;
    result += (150.0 * std::sin(x / 12.0 * KvPi) + 300.0 * std::sin(x / 30.0 * KvPi)) * 2.0 / 3.0;
    return result;
}

} // namespace

GPSPoint wgs84ToGcj02(GPSPoint point) {
    if (outOfChina(point)) {
        return point;
    }
    double const x = point.lng - kOriginLng;
    double const y = point.lat - kOriginLat;
    double dLat = transformLat(x, y);
    double dLng = transformLng(x, y);
    double const radLat = point.lat / 180.0 * KvPi;
    double const sinLat = std::sin(radLat);
    double const magic = 1.0 - kEccentricitySquared * sinLat * sinLat;
    double const sqrtMagic = std::sqrt(magic);
    dLat = (dLat * 180.0) / ((kSemiMajorAxisTimesOneMinusEe / (magic * sqrtMagic)) * KvPi);
    dLng = (dLng * 180.0) / (kSemiMajorAxis / sqrtMagic * std::cos(radLat) * KvPi);
    return GPSPoint(point.lat + dLat, point.lng + dLng);
}

GPSPoint gcj02ToWGS84(GPSPoint point) {
    GPSPoint const shifted = wgs84ToGcj02(point);
    // The offset varies slowly, so subtracting the offset at the GCJ-02 point is close enough.
    return GPSPoint(point.lat - (shifted.lat - point.lat), point.lng - (shifted.lng - point.lng));
}

GPSPoint gcj02ToBd09(GPSPoint point) {
    double const x = point.lng;
    double const y = point.lat;
    double const z = std::sqrt(x * x + y * y) + kBd09RadiusFactor * std::sin(y * kBd09AngleScale);
    double const theta = std::atan2(y, x) + kBd09AngleFactor * std::cos(x * kBd09AngleScale);
    return GPSPoint(z * std::sin(theta) + kBd09LatOffset, z * std::cos(theta) + kBd09LngOffset);
}

GPSPoint Bd09Togcj02(GPSPoint point) {
    double const x = point.lng - kBd09LngOffset;
    double const y = point.lat - kBd09LatOffset;
    double const z = std::sqrt(x * x + y * y) - kBd09RadiusFactor * std::sin(y * kBd09AngleScale);
    double const theta = std::atan2(y, x) - kBd09AngleFactor * std::cos(x * kBd09AngleScale);
    return GPSPoint(z * std::sin(theta), z * std::cos(theta));
}
