#pragma once

#include "KvLocation.h"

// One line of NMEA text as cameras write it into sidecar files and subtitle cues, read without
// copying: an optional "[milliseconds since 1970]" prefix, an optional "$", the sentence name
// (talker and type, "GPRMC", "GNGGA", ...), comma-separated fields and an optional "*hh"
// checksum. The camera's own "GSENSOR"/"GSENSORD" lines ("$GSENSOR,x,y,z") are read too.
//
// Numbers are read without the locale (a decimal point always), and every field is checked
// for range: a sentence with a value that cannot be a fix (minutes of 60 or more, a month of
// 13, a latitude beyond 90 degrees) is not read at all rather than read wrong.
//
// The line must outlive the sentence. Reentrant, no state beyond the object.
class KvNmeaSentence {
public:
    enum Type { Other, Rmc, Gga, GSensor };

    KvNmeaSentence(char const* begin, char const* end);

    Type type() const { return _type; }
    // A "*hh" checksum was written after the fields.
    bool hasChecksum() const { return _hasChecksum; }
    // The written checksum equals the XOR of the characters between "$" and "*" (false when
    // none was written). Callers accept sentences whose checksum does not match: sidecars are
    // often edited by hand and the fields still read.
    bool checksumMatches() const { return _hasChecksum && _checksum == _computedChecksum; }

    // An RMC or GGA sentence as a fix: position, speed (km/h; GGA has none), time, the date of
    // an RMC sentence (GGA has none: 0), valid for RMC status "A" or a GGA fix quality above 0
    // with both coordinates present. False when the sentence is of another type or a field is
    // out of range. *hasTime says whether the time field was filled. The axes are set to 0.
    bool toLocation(KvLocation* location, bool* hasTime) const;
    // A G-sensor line's three axes, as the camera wrote them. False for other sentences.
    bool toGSensor(double* x, double* y, double* z) const;

    // Locale-free number of a field (spaces around it and a trailing ";" ignored); false when
    // the text is not one whole finite number.
    static bool parseNumber(char const* begin, char const* end, double* value);

private:
    // An RMC sentence has 12 or 13 fields, a GGA 15; anything past this is not read.
    static constexpr int kMaxFields = 20;

    void _splitFields(char const* begin, char const* end);
    bool _readRmc(KvLocation* location, bool* hasTime) const;
    bool _readGga(KvLocation* location, bool* hasTime) const;
    bool _field(int index, char const** begin, char const** end) const;
    bool _fieldNumber(int index, double* value) const;
    bool _fieldIsEmpty(int index) const;
    char _fieldLetter(int index) const;
    bool _readTime(int index, KvLocation* location, bool* hasTime) const;
    bool _readCoordinate(int numberIndex, char positive, char negative, double maxDegrees,
                         double* degrees, bool* present) const;

    Type _type = Other;
    char const* _fieldBegin[kMaxFields] = {};
    char const* _fieldEnd[kMaxFields] = {};
    int _fieldCount = 0;
    bool _hasChecksum = false;
    unsigned char _checksum = 0;
    unsigned char _computedChecksum = 0;
};
