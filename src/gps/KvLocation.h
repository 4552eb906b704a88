#pragma once

#include <QObject>
#include <QString>

#include <cstdint>

// One GPS fix as the cameras record it: position, ground speed, UTC date and time, the three
// g-sensor axes and a validity flag. A track is a QVector<KvLocation> in time order.
//
// The record is a QObject only by descent (no signals, slots or properties, no Q_OBJECT) and is
// used as a value: the copy operations copy the thirteen fields and never the QObject part, so a
// copy has no parent and assignment keeps the target's parent and object name.
class KvLocation : public QObject {
public:
    KvLocation();
    KvLocation(KvLocation const& other);
    KvLocation& operator=(KvLocation const& other);
    virtual ~KvLocation();

    // Magnitude of the g-sensor vector.
    double getGsensor() const;
    // Marks the fix invalid; position, speed, axes, date and time are kept.
    void clear();

    // Reads one subtitle text: the "$GPRMC" sentence (optionally followed by CR LF and a
    // "$GSENSOR" line) starting wherever "$GPRMC" first occurs, else the compact fallback line
    // read from the start of the whole text. 0 when a fix was taken, -1 otherwise.
    static int locationFromText(char const* text, KvLocation* location);
    // The same for a QString, except that the whole text is read positionally as an RMC
    // sentence (no search for "$GPRMC"), and the fallback reads its UTF-8 form.
    static int locationFromText(QString const& text, KvLocation* location);

    // NMEA ddmm.mmmm / dddmm.mmmm to decimal degrees; the sign of the input is kept.
    static double convertGPSDDMM(double value);
    // Same date and same whole second; position and speed play no part.
    static bool isSameSecond(KvLocation const& a, KvLocation const& b);

    bool valid = false;
    double latitude = 0.0;  // decimal degrees, north positive
    double longitude = 0.0; // decimal degrees, east positive
    double speed = 0.0;     // km/h
    double gsensorX = 0.0;  // in the unit the camera writes
    double gsensorY = 0.0;
    double gsensorZ = 0.0;
    int32_t day = 0;   // 0 when unknown
    int32_t month = 0; // 0 when unknown
    int32_t year = 0;  // two digits, 0 when unknown
    int32_t hour = 0;  // UTC as the camera writes it
    int32_t minute = 0;
    int32_t second = 0;

private:
    void _copyFields(KvLocation const& other);
};
