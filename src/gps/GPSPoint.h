#pragma once

// A latitude and longitude pair for datum conversion. Cameras record WGS-84; inside mainland
// China the Google page expects GCJ-02 and the Baidu page BD-09.
class GPSPoint {
public:
    GPSPoint() = default;
    GPSPoint(double lat, double lng) : lat(lat), lng(lng) {}
    virtual ~GPSPoint() = default;

    GPSPoint(GPSPoint const&) = default;
    GPSPoint& operator=(GPSPoint const&) = default;

    double lat = 0.0; // decimal degrees
    double lng = 0.0; // decimal degrees
};

// WGS-84 to GCJ-02; points outside the China box are returned unchanged.
GPSPoint wgs84ToGcj02(GPSPoint point);
// One-step inverse of wgs84ToGcj02 (no iteration): well under a metre off inside China.
GPSPoint gcj02ToWGS84(GPSPoint point);
GPSPoint gcj02ToBd09(GPSPoint point);
GPSPoint Bd09Togcj02(GPSPoint point);
