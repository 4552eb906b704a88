#include "KvTrackExporter.h"

#include "KvVersion.h"

#include <QFileInfo>
#include <QLocale>
#include <QSaveFile>

#include <algorithm>
#include <cmath>

namespace {
// Cameras write the year with two digits.
constexpr int CenturyOffset = 2000;
// Metres per second in one km/h: GPX extensions carry speeds in metres per second.
constexpr double MetresPerSecondPerKmh = 1000.0 / 3600.0;
const char* const GpxNamespace = "http://www.topografix.com/GPX/1/1";
const char* const GpxSchemaLocation =
    "http://www.topografix.com/GPX/1/1 http://www.topografix.com/GPX/1/1/gpx.xsd";
const char* const TrackPointExtensionNamespace =
    "http://www.garmin.com/xmlschemas/TrackPointExtension/v2";
const char* const KmlNamespace = "http://www.opengis.net/kml/2.2";
const char* const CsvHeader = "time,latitude,longitude,speed_kmh,gsensor_x,gsensor_y,gsensor_z\n";

// The shortest text that reads back as the same double, with a decimal point.
QString number(double value) {
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

// A value that may be missing (NaN from a damaged record): an empty CSV field.
QString field(double value) {
    return std::isfinite(value) ? number(value) : QString();
}

// "2026-11-23T08:15:00Z", for a fix whose date and time are known to be valid. Formatted by
// hand: a 10-hour track has 36,000 of them.
QString isoTime(const KvLocation& fix) {
    return QString::asprintf("%04d-%02d-%02dT%02d:%02d:%02dZ", CenturyOffset + fix.year, fix.month,
                             fix.day, fix.hour, fix.minute, fix.second);
}

bool hasValidTime(const KvLocation& fix) {
    return fix.year >= 0 && fix.year <= 99 &&
           QDate::isValid(CenturyOffset + fix.year, fix.month, fix.day) &&
           QTime::isValid(fix.hour, fix.minute, fix.second);
}

bool inRange(double value, double limit) {
    return std::isfinite(value) && value >= -limit && value <= limit;
}

// Shortest decimal text of a double, as bytes.
QByteArray bytes(double value) {
    return number(value).toLatin1();
}

QByteArray escaped(const QString& text) {
    return text.toHtmlEscaped().toUtf8();
}

void appendGpxPoint(QByteArray& out, const KvLocation& fix) {
    // GPX counts longitudes in [-180, 180): the antimeridian is written as -180.
    const double longitude = fix.longitude == 180.0 ? -180.0 : fix.longitude;
    out += "      <trkpt lat=\"" + bytes(fix.latitude) + "\" lon=\"" + bytes(longitude) + "\">\n";
    out += "        <time>" + isoTime(fix).toLatin1() + "</time>\n";
    if (std::isfinite(fix.speed)) {
        out += "        <extensions><gpxtpx:TrackPointExtension><gpxtpx:speed>" +
               bytes(fix.speed * MetresPerSecondPerKmh) +
               "</gpxtpx:speed></gpxtpx:TrackPointExtension></extensions>\n";
    }
    out += "      </trkpt>\n";
}

void appendKmlPoint(QByteArray& out, const KvLocation& fix) {
    out += "      <Placemark><TimeStamp><when>" + isoTime(fix).toLatin1() + "</when></TimeStamp>";
    out += "<ExtendedData><Data name=\"speed_kmh\"><value>" + field(fix.speed).toLatin1() +
           "</value></Data></ExtendedData>";
    out += "<Point><coordinates>" + bytes(fix.longitude) + ',' + bytes(fix.latitude) +
           "</coordinates></Point></Placemark>\n";
}
} // namespace

KvTrackExporter::Format KvTrackExporter::formatFor(const QString& path,
                                                   const QString& selectedFilter) {
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == QLatin1String("gpx")) {
        return Gpx;
    }
    if (suffix == QLatin1String("kml")) {
        return Kml;
    }
    if (suffix == QLatin1String("csv")) {
        return Csv;
    }
    if (selectedFilter.contains(QLatin1String("*.kml"), Qt::CaseInsensitive)) {
        return Kml;
    }
    if (selectedFilter.contains(QLatin1String("*.csv"), Qt::CaseInsensitive)) {
        return Csv;
    }
    return Gpx;
}

QString KvTrackExporter::fileFilters() {
    return QStringLiteral("GPX (*.gpx);;KML (*.kml);;CSV (*.csv)");
}

QDateTime KvTrackExporter::fixTime(const KvLocation& fix) {
    if (!hasValidTime(fix)) {
        return QDateTime();
    }
    return QDateTime(QDate(CenturyOffset + fix.year, fix.month, fix.day),
                     QTime(fix.hour, fix.minute, fix.second), Qt::UTC);
}

bool KvTrackExporter::isExportable(const KvLocation& fix) {
    return fix.valid && inRange(fix.latitude, 90.0) && inRange(fix.longitude, 180.0) &&
           hasValidTime(fix);
}

QVector<KvLocation> KvTrackExporter::mergeTracks(const QVector<QVector<KvLocation>>& tracks) {
    struct Timed {
        qint64 seconds;
        const KvLocation* fix;
    };
    std::vector<Timed> timed;
    for (const QVector<KvLocation>& track : tracks) {
        for (const KvLocation& fix : track) {
            if (isExportable(fix)) {
                // Days since 2000 and seconds of the day: a sortable instant without a QDateTime.
                const qint64 day =
                    QDate(CenturyOffset + fix.year, fix.month, fix.day).toJulianDay();
                timed.push_back(
                    {day * 86400 + fix.hour * 3600 + fix.minute * 60 + fix.second, &fix});
            }
        }
    }
    std::stable_sort(timed.begin(), timed.end(),
                     [](const Timed& a, const Timed& b) { return a.seconds < b.seconds; });
    QVector<KvLocation> merged;
    merged.reserve(static_cast<int>(timed.size()));
    for (const Timed& entry : timed) {
        merged.append(*entry.fix);
    }
    return merged;
}

// Both XML forms are written by hand rather than through QXmlStreamWriter, which spends most of
// a long track's time encoding its many small pieces; only the name needs escaping.
QByteArray KvTrackExporter::toGpx(const QVector<KvLocation>& fixes, const QString& name) {
    QByteArray out;
    out.reserve(200 * fixes.size() + 1024);
    out += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    out += QByteArray("<gpx xmlns=\"") + GpxNamespace +
           "\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xmlns:gpxtpx=\"" +
           TrackPointExtensionNamespace + "\" version=\"1.1\" creator=\"dashcam-player " +
           KV_VERSION_TEXT + "\" xsi:schemaLocation=\"" + GpxSchemaLocation + "\">\n";
    out += "  <trk>\n    <name>" + escaped(name) + "</name>\n    <trkseg>\n";
    for (const KvLocation& fix : fixes) {
        appendGpxPoint(out, fix);
    }
    out += "    </trkseg>\n  </trk>\n</gpx>\n";
    return out;
}

QByteArray KvTrackExporter::toKml(const QVector<KvLocation>& fixes, const QString& name) {
    QByteArray out;
    out.reserve(250 * fixes.size() + 1024);
    out += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    out += QByteArray("<kml xmlns=\"") + KmlNamespace + "\">\n<Document>\n";
    out += "  <name>" + escaped(name) + "</name>\n";
    out += "  <Placemark>\n    <name>" + escaped(name) + "</name>\n    <LineString><coordinates>\n";
    for (const KvLocation& fix : fixes) {
        out += bytes(fix.longitude) + ',' + bytes(fix.latitude) + '\n';
    }
    out += "    </coordinates></LineString>\n  </Placemark>\n  <Folder>\n    <name>fixes</name>\n";
    for (const KvLocation& fix : fixes) {
        appendKmlPoint(out, fix);
    }
    out += "  </Folder>\n</Document>\n</kml>\n";
    return out;
}

QByteArray KvTrackExporter::toCsv(const QVector<KvLocation>& fixes) {
    QByteArray out(CsvHeader);
    for (const KvLocation& fix : fixes) {
        const QString line = isoTime(fix) + QLatin1Char(',') + number(fix.latitude) +
                             QLatin1Char(',') + number(fix.longitude) + QLatin1Char(',') +
                             field(fix.speed) + QLatin1Char(',') + field(fix.gsensorX) +
                             QLatin1Char(',') + field(fix.gsensorY) + QLatin1Char(',') +
                             field(fix.gsensorZ) + QLatin1Char('\n');
        out += line.toLatin1();
    }
    return out;
}

bool KvTrackExporter::exportTrack(const QVector<KvLocation>& fixes, const QString& path,
                                  Format format, const QString& name, QString* error) {
    QString reason;
    QVector<KvLocation> exportable;
    for (const KvLocation& fix : fixes) {
        if (isExportable(fix)) {
            exportable.append(fix);
        }
    }
    if (exportable.isEmpty()) {
        reason = QStringLiteral("no GPS fix to export");
    } else {
        const QByteArray data = format == Kml   ? toKml(exportable, name)
                                : format == Csv ? toCsv(exportable)
                                                : toGpx(exportable, name);
        QSaveFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit()) {
            reason = file.errorString();
        }
    }
    if (error) {
        *error = reason;
    }
    return reason.isEmpty();
}
