#pragma once

// Helpers of the tests of the other recorders' GPS layouts: a known track with gaps, a change
// of hemisphere (south and west), a date change at midnight UTC and invalid fixes, and small
// writers that lay it out in each recorder's layout as the readers document them.

#include "GPSTestUtil.h"
#include "KvLocation.h"
#include "ToolProcess.h"

#include <QByteArray>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QVector>
#include <QtTest>

#include <cmath>
#include <cstdint>
#include <cstring>

namespace kvtest {

// The public samples of real camera layouts, beside the project (the main checkout lies next
// to "shared", a worktree one level further down); empty when absent.
inline QString realdataDir() {
    for (char const* relative : {"/../shared/realdata", "/../../shared/realdata"}) {
        QString const dir = QDir::cleanPath(QStringLiteral(KV_SOURCE_DIR) + relative);
        if (QFileInfo(dir).isDir()) {
            return dir;
        }
    }
    return QString();
}

// One fix of the known track, in the units the layouts write.
struct TrackFix {
    bool valid = true;
    int latitudeMilliMinutes = 0;  // signed: south negative
    int longitudeMilliMinutes = 0; // signed: west negative
    int speedTenths = 0;           // tenths of the layout's speed unit
    QDateTime time;                // UTC
};

// 120 fixes from 2025-12-31 23:58:30 UTC, one a second with two gaps (5 s after the 40th
// fix, 3 s after the 80th), crossing midnight and the new year; the latitude crosses the
// equator to the south and the longitude the prime meridian to the west; every 23rd fix
// (from the 8th) is invalid.
inline QVector<TrackFix> knownTrack() {
    constexpr int kFixes = 120;
    QDateTime const start(QDate(2025, 12, 31), QTime(23, 58, 30), Qt::UTC);
    QVector<TrackFix> track;
    for (int i = 0; i < kFixes; ++i) {
        TrackFix fix;
        fix.valid = i % 23 != 7;
        fix.latitudeMilliMinutes = 2 * 60000 + 600 - i * 2013;  // 2 deg 0.6' N to 2 deg S
        fix.longitudeMilliMinutes = 1 * 60000 + 300 - i * 1007; // 1 deg E to 1 deg W
        fix.speedTenths = (i * 37) % 1200;
        fix.time = start.addSecs(i + (i >= 40 ? 5 : 0) + (i >= 80 ? 3 : 0));
        track.append(fix);
    }
    return track;
}

inline double degreesOf(int milliMinutes) {
    return milliMinutes / 60000.0;
}

// ddmm.mmm of a coordinate's magnitude as the layouts write it.
inline int ddmmMilli(int milliMinutes) {
    int const magnitude = std::abs(milliMinutes);
    return (magnitude / 60000) * 100000 + magnitude % 60000;
}

inline QString ddmmText(int milliMinutes, int degreeDigits) {
    int const value = ddmmMilli(milliMinutes);
    return QString::asprintf("%0*d.%03d", degreeDigits + 2, value / 1000, value % 1000);
}

// The fix a reader should give for a known fix: position (0 where the layout writes none for
// an invalid fix), speed in km/h, date and time.
inline KvLocation expectedFix(TrackFix const& fix, double kmhPerTenth, bool invalidHasPosition) {
    KvLocation location;
    location.valid = fix.valid;
    bool const positioned = fix.valid || invalidHasPosition;
    location.latitude = positioned ? degreesOf(fix.latitudeMilliMinutes) : 0.0;
    location.longitude = positioned ? degreesOf(fix.longitudeMilliMinutes) : 0.0;
    location.speed = fix.speedTenths * kmhPerTenth;
    location.day = fix.time.date().day();
    location.month = fix.time.date().month();
    location.year = fix.time.date().year() % 100;
    location.hour = fix.time.time().hour();
    location.minute = fix.time.time().minute();
    location.second = fix.time.time().second();
    location.gsensorX = location.gsensorY = location.gsensorZ = 0.0;
    return location;
}

inline void compareFix(KvLocation const& actual, KvLocation const& expected, int index,
                       double speedTolerance = 1e-9) {
    constexpr double kDegreeTolerance = 1e-7; // 1 cm; float layouts round finer than this
    QString const where = QStringLiteral("fix %1").arg(index);
    QVERIFY2(actual.valid == expected.valid, qPrintable(where + " valid"));
    QVERIFY2(std::fabs(actual.latitude - expected.latitude) <= kDegreeTolerance,
             qPrintable(where + QString(" latitude %1 vs %2")
                                    .arg(actual.latitude, 0, 'f', 9)
                                    .arg(expected.latitude, 0, 'f', 9)));
    QVERIFY2(std::fabs(actual.longitude - expected.longitude) <= kDegreeTolerance,
             qPrintable(where + QString(" longitude %1 vs %2")
                                    .arg(actual.longitude, 0, 'f', 9)
                                    .arg(expected.longitude, 0, 'f', 9)));
    QVERIFY2(std::fabs(actual.speed - expected.speed) <= speedTolerance,
             qPrintable(where + QString(" speed %1 vs %2").arg(actual.speed).arg(expected.speed)));
    QVERIFY2(actual.day == expected.day && actual.month == expected.month &&
                 actual.year == expected.year,
             qPrintable(where + " date"));
    QVERIFY2(actual.hour == expected.hour && actual.minute == expected.minute &&
                 actual.second == expected.second,
             qPrintable(
                 where +
                 QString(" time %1:%2:%3").arg(actual.hour).arg(actual.minute).arg(actual.second)));
    QVERIFY2(actual.gsensorX == expected.gsensorX && actual.gsensorY == expected.gsensorY &&
                 actual.gsensorZ == expected.gsensorZ,
             qPrintable(where + " axes"));
}

inline QByteArray littleEndian32(uint32_t value) {
    QByteArray bytes(4, '\0');
    for (int i = 0; i < 4; ++i) {
        bytes[i] = char(value >> (8 * i));
    }
    return bytes;
}

inline QByteArray littleEndianFloat(float value) {
    uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return littleEndian32(bits);
}

inline QByteArray mp4Box(char const* type, QByteArray const& payload) {
    return bigEndian32(uint32_t(8 + payload.size())) + QByteArray(type, 4) + payload;
}

// --- Novatek "freeGPS " blocks --------------------------------------------------------------

constexpr int kNovatekBlockSize = 256;

// Knots as the float layouts write them: tenths.
inline float novatekKnots(TrackFix const& fix) {
    return float(fix.speedTenths / 10.0);
}

// ddmm.mmmm as a float, and what the reader makes of that float.
inline float novatekDdmm(int milliMinutes) {
    return float(ddmmMilli(milliMinutes) / 1000.0);
}
inline double novatekDegrees(int milliMinutes) {
    double const raw = double(novatekDdmm(milliMinutes));
    double const whole = std::floor(raw / 100.0);
    double const value = whole + (raw - whole * 100.0) / 60.0;
    return milliMinutes < 0 ? -value : value;
}

// A block of the float layout (status after the time, date at the end); an invalid fix is
// written with status "V" and a zero position.
inline QByteArray novatekFloatBlock(TrackFix const& fix) {
    QByteArray record;
    QTime const t = fix.time.time();
    QDate const d = fix.time.date();
    record += littleEndian32(t.hour()) + littleEndian32(t.minute()) + littleEndian32(t.second());
    record += littleEndian32(fix.valid ? 'A' : 'V');
    record += littleEndianFloat(fix.valid ? novatekDdmm(fix.latitudeMilliMinutes) : 0.0f);
    record += littleEndian32(fix.latitudeMilliMinutes < 0 ? 'S' : 'N');
    record += littleEndianFloat(fix.valid ? novatekDdmm(fix.longitudeMilliMinutes) : 0.0f);
    record += littleEndian32(fix.longitudeMilliMinutes < 0 ? 'W' : 'E');
    record += littleEndianFloat(novatekKnots(fix)) + littleEndianFloat(90.0f);
    record += littleEndian32(d.year()) + littleEndian32(d.month()) + littleEndian32(d.day());
    QByteArray payload = QByteArray("GPS ") + QByteArray(36, '\0') + record;
    payload.append(QByteArray(kNovatekBlockSize - 8 - payload.size(), '\0'));
    return mp4Box("free", payload);
}

// A block of the date-first layout (date, then the letters, then the floats).
inline QByteArray novatekDateFirstBlock(TrackFix const& fix) {
    QByteArray record;
    QTime const t = fix.time.time();
    QDate const d = fix.time.date();
    record += littleEndian32(t.hour()) + littleEndian32(t.minute()) + littleEndian32(t.second());
    record += littleEndian32(d.year() % 100) + littleEndian32(d.month()) + littleEndian32(d.day());
    record += char(fix.valid ? 'A' : 'V');
    record += char(fix.latitudeMilliMinutes < 0 ? 'S' : 'N');
    record += char(fix.longitudeMilliMinutes < 0 ? 'W' : 'E');
    record += '\0';
    record += littleEndianFloat(fix.valid ? novatekDdmm(fix.latitudeMilliMinutes) : 0.0f);
    record += littleEndianFloat(fix.valid ? novatekDdmm(fix.longitudeMilliMinutes) : 0.0f);
    record += littleEndianFloat(novatekKnots(fix)) + littleEndianFloat(180.0f);
    QByteArray payload = QByteArray("GPS ") + QByteArray(36, '\0') + record;
    payload.append(QByteArray(kNovatekBlockSize - 8 - payload.size(), '\0'));
    return mp4Box("skip", payload);
}

inline KvLocation novatekExpected(TrackFix const& fix) {
    KvLocation location = expectedFix(fix, 0.1852, false);
    location.speed = double(novatekKnots(fix)) * 1.852;
    if (fix.valid) {
        location.latitude = novatekDegrees(fix.latitudeMilliMinutes);
        location.longitude = novatekDegrees(fix.longitudeMilliMinutes);
    }
    return location;
}

// A clip the way Novatek recorders lay it out: ftyp, mdat holding the blocks between stretches
// of "picture" bytes, moov with an mvhd and the "gps " index of the blocks.
inline QByteArray novatekIndexedClip(QVector<QByteArray> const& blocks) {
    QByteArray const ftyp = mp4Box("ftyp", QByteArray("qt  \0\0\0\0", 8));
    QByteArray mdatPayload;
    QByteArray index = bigEndian32(0) + bigEndian32(uint32_t(blocks.size()));
    for (QByteArray const& block : blocks) {
        mdatPayload += QByteArray(300, char(0x5A)); // stands for a picture
        index += bigEndian32(uint32_t(ftyp.size() + 8 + mdatPayload.size()));
        index += bigEndian32(uint32_t(block.size()));
        mdatPayload += block;
    }
    QByteArray const moov =
        mp4Box("moov", mp4Box("mvhd", QByteArray(100, '\0')) + mp4Box("gps ", index));
    return ftyp + mp4Box("mdat", mdatPayload) + moov;
}

// --- 70mai "GPS " box -----------------------------------------------------------------------

inline QByteArray seventyMaiRecord(TrackFix const& fix, uint32_t second) {
    QByteArray record =
        littleEndian32(fix.valid ? 1 : 0) + littleEndian32(1) + littleEndian32(second);
    if (!fix.valid) {
        return record + QByteArray(36 - record.size(), '\0');
    }
    record += littleEndian32(uint32_t(fix.speedTenths * 100)); // metres per hour
    record += char(fix.latitudeMilliMinutes < 0 ? 'S' : 'N');
    record += littleEndian32(uint32_t(ddmmMilli(fix.latitudeMilliMinutes)));
    record += char(fix.longitudeMilliMinutes < 0 ? 'W' : 'E');
    record += littleEndian32(uint32_t(ddmmMilli(fix.longitudeMilliMinutes)));
    return record + QByteArray(10, '\0');
}

// --- NMEA text ------------------------------------------------------------------------------

inline QByteArray withChecksum(QByteArray const& body) {
    unsigned char sum = 0;
    for (char c : body) {
        sum ^= static_cast<unsigned char>(c);
    }
    return "$" + body + "*" + QByteArray::number(sum, 16).rightJustified(2, '0').toUpper();
}

// The RMC body (without "$" and checksum) of a known fix; invalid fixes have status "V" and no
// position.
inline QByteArray rmcBody(TrackFix const& fix, char const* talker = "GP") {
    QTime const t = fix.time.time();
    QDate const d = fix.time.date();
    QString body = QString::asprintf("%sRMC,%02d%02d%02d.00,%c,", talker, t.hour(), t.minute(),
                                     t.second(), fix.valid ? 'A' : 'V');
    if (fix.valid) {
        body += ddmmText(fix.latitudeMilliMinutes, 2) +
                (fix.latitudeMilliMinutes < 0 ? ",S," : ",N,") +
                ddmmText(fix.longitudeMilliMinutes, 3) +
                (fix.longitudeMilliMinutes < 0 ? ",W," : ",E,");
    } else {
        body += QStringLiteral(",,,,");
    }
    body += QString::asprintf("%d.%d,84.4,%02d%02d%02d,,,A", fix.speedTenths / 10,
                              fix.speedTenths % 10, d.day(), d.month(), d.year() % 100);
    return body.toLatin1();
}

// --- clips made with the ffmpeg command line -------------------------------------------------

// An MP4 with one mov_text subtitle track holding the given cues, one per second from 0 s
// (a null cue leaves its second empty); false when ffmpeg failed.
inline bool writeSubtitleClip(QString const& path, QVector<QByteArray> const& cues,
                              bool withVideo) {
    QString const srtPath = path + QStringLiteral(".srt");
    QByteArray srt;
    int number = 1;
    for (int i = 0; i < cues.size(); ++i) {
        if (cues.at(i).isNull()) {
            continue;
        }
        srt += QByteArray::number(number++) + "\n";
        srt += QString::asprintf("00:%02d:%02d,000 --> 00:%02d:%02d,900\n", i / 60, i % 60, i / 60,
                                 i % 60)
                   .toLatin1();
        srt += cues.at(i) + "\n\n";
    }
    if (!writeFile(srtPath, srt)) {
        return false;
    }
    QStringList args = {"-nostdin", "-v", "error", "-y"};
    if (withVideo) {
        args << "-f"
             << "lavfi"
             << "-i" << QString("color=c=gray:size=64x48:rate=5:duration=%1").arg(cues.size());
    }
    args << "-i" << srtPath;
    if (withVideo) {
        args << "-map"
             << "0:v"
             << "-map"
             << "1:s"
             << "-c:v"
             << "mpeg4";
    }
    args << "-c:s"
         << "mov_text" << path;
    QProcess ffmpeg;
    startTool(ffmpeg, QStringLiteral("ffmpeg"), args);
    bool const ok = ffmpeg.waitForFinished(120000) && ffmpeg.exitCode() == 0;
    QFile::remove(srtPath);
    return ok;
}

} // namespace kvtest
