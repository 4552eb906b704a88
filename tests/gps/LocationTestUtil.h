#pragma once

#include "KvLocation.h"

#include <QByteArray>
#include <QString>
#include <QtTest>

#include <cmath>

// Shared helpers of the location tests.

#define KV_COMPARE_NEAR(actual, expected, tolerance)                                               \
    QVERIFY2(std::fabs(double(actual) - double(expected)) <= (tolerance),                          \
             qPrintable(QStringLiteral("%1 = %2, expected %3")                                     \
                            .arg(QStringLiteral(#actual))                                          \
                            .arg(double(actual), 0, 'g', 17)                                       \
                            .arg(double(expected), 0, 'g', 17)))

namespace kvtest {

// Which locationFromText overload a data row exercises.
enum class Overload { CString, QString };

inline int parseWith(Overload overload, QByteArray const& text, KvLocation* location) {
    if (overload == Overload::CString) {
        return KvLocation::locationFromText(text.constData(), location);
    }
    return KvLocation::locationFromText(QString::fromUtf8(text), location);
}

// A record whose every field holds a value no parser produces from the test texts, so that a
// field a parser must not touch can be checked.
inline KvLocation sentinelLocation() {
    KvLocation location;
    location.valid = true;
    location.latitude = 1.25;
    location.longitude = 2.5;
    location.speed = 3.75;
    location.gsensorX = 4.5;
    location.gsensorY = 5.25;
    location.gsensorZ = 6.75;
    location.day = 7;
    location.month = 8;
    location.year = 9;
    location.hour = 10;
    location.minute = 11;
    location.second = 12;
    return location;
}

inline bool sameFields(KvLocation const& a, KvLocation const& b) {
    return a.valid == b.valid && a.latitude == b.latitude && a.longitude == b.longitude &&
           a.speed == b.speed && a.gsensorX == b.gsensorX && a.gsensorY == b.gsensorY &&
           a.gsensorZ == b.gsensorZ && a.day == b.day && a.month == b.month && a.year == b.year &&
           a.hour == b.hour && a.minute == b.minute && a.second == b.second;
}

} // namespace kvtest

Q_DECLARE_METATYPE(kvtest::Overload)
