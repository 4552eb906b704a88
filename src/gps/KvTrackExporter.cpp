#include "KvTrackExporter.h"

#include "KvVersion.h"

#include <QFileInfo>
#include <QLocale>
#include <QRegularExpression>
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
// The recording comes last, so the columns of the fix keep the places they have always had.
const char* const CsvHeader =
    "time,latitude,longitude,speed_kmh,gsensor_x,gsensor_y,gsensor_z,recording\n";
constexpr qint64 SecondsPerDay = 86400;

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

// A sortable instant of a fix whose date and time are valid, without building a QDateTime: days
// since the calendar's epoch and seconds of the day.
qint64 instant(const KvLocation& fix) {
    const qint64 day = QDate(CenturyOffset + fix.year, fix.month, fix.day).toJulianDay();
    return day * SecondsPerDay + fix.hour * 3600 + fix.minute * 60 + fix.second;
}

int fixCount(const QVector<KvTrackExporter::Recording>& recordings) {
    int count = 0;
    for (const KvTrackExporter::Recording& recording : recordings) {
        count += recording.fixes.size();
    }
    return count;
}

// A CSV field as RFC 4180 writes it: quoted, with its quotes doubled, when it holds a comma, a
// quote or a line break.
QString csvField(const QString& text) {
    if (!text.contains(QRegularExpression(QStringLiteral("[,\"\r\n]")))) {
        return text;
    }
    QString quoted = text;
    quoted.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
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
                timed.push_back({instant(fix), &fix});
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

QVector<KvTrackExporter::Recording>
KvTrackExporter::orderRecordings(const QVector<Recording>& recordings) {
    QVector<Recording> ordered;
    for (const Recording& recording : recordings) {
        QVector<KvLocation> fixes = mergeTracks({recording.fixes});
        if (!fixes.isEmpty()) {
            ordered.append({recording.name, std::move(fixes)});
        }
    }
    std::stable_sort(ordered.begin(), ordered.end(), [](const Recording& a, const Recording& b) {
        return instant(a.fixes.first()) < instant(b.fixes.first());
    });
    return ordered;
}

// Both XML forms are written by hand rather than through QXmlStreamWriter, which spends most of
// a long track's time encoding its many small pieces; only the names need escaping.
QByteArray KvTrackExporter::toGpx(const QVector<Recording>& recordings) {
    QByteArray out;
    out.reserve(200 * fixCount(recordings) + 1024);
    out += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    out += QByteArray("<gpx xmlns=\"") + GpxNamespace +
           "\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xmlns:gpxtpx=\"" +
           TrackPointExtensionNamespace + "\" version=\"1.1\" creator=\"dashcam-player " +
           KV_VERSION_TEXT + "\" xsi:schemaLocation=\"" + GpxSchemaLocation + "\">\n";
    for (const Recording& recording : recordings) {
        out += "  <trk>\n    <name>" + escaped(recording.name) + "</name>\n    <trkseg>\n";
        for (const KvLocation& fix : recording.fixes) {
            appendGpxPoint(out, fix);
        }
        out += "    </trkseg>\n  </trk>\n";
    }
    out += "</gpx>\n";
    return out;
}

QByteArray KvTrackExporter::toKml(const QVector<Recording>& recordings, const QString& title) {
    QByteArray out;
    out.reserve(250 * fixCount(recordings) + 1024);
    out += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    out += QByteArray("<kml xmlns=\"") + KmlNamespace + "\">\n<Document>\n";
    out += "  <name>" + escaped(title) + "</name>\n";
    for (const Recording& recording : recordings) {
        out += "  <Placemark>\n    <name>" + escaped(recording.name) +
               "</name>\n    <LineString><coordinates>\n";
        for (const KvLocation& fix : recording.fixes) {
            out += bytes(fix.longitude) + ',' + bytes(fix.latitude) + '\n';
        }
        out += "    </coordinates></LineString>\n  </Placemark>\n";
    }
    // A lone recording's points are simply "fixes"; with several, each recording's points are a
    // folder named after it, so a reader can tell them apart in the places list.
    for (const Recording& recording : recordings) {
        const QByteArray folder =
            recordings.size() == 1 ? QByteArray("fixes") : escaped(recording.name);
        out += "  <Folder>\n    <name>" + folder + "</name>\n";
        for (const KvLocation& fix : recording.fixes) {
            appendKmlPoint(out, fix);
        }
        out += "  </Folder>\n";
    }
    out += "</Document>\n</kml>\n";
    return out;
}

QByteArray KvTrackExporter::toCsv(const QVector<Recording>& recordings) {
    QByteArray out(CsvHeader);
    for (const Recording& recording : recordings) {
        const QString name = csvField(recording.name);
        for (const KvLocation& fix : recording.fixes) {
            const QString line = isoTime(fix) + QLatin1Char(',') + number(fix.latitude) +
                                 QLatin1Char(',') + number(fix.longitude) + QLatin1Char(',') +
                                 field(fix.speed) + QLatin1Char(',') + field(fix.gsensorX) +
                                 QLatin1Char(',') + field(fix.gsensorY) + QLatin1Char(',') +
                                 field(fix.gsensorZ) + QLatin1Char(',') + name + QLatin1Char('\n');
            out += line.toUtf8();
        }
    }
    return out;
}

bool KvTrackExporter::exportTrack(const QVector<KvLocation>& fixes, const QString& path,
                                  Format format, const QString& name, QString* error) {
    return exportRecordings(orderRecordings({{name, fixes}}), path, format, name, error);
}

bool KvTrackExporter::exportRecordings(const QVector<Recording>& recordings, const QString& path,
                                       Format format, const QString& title, QString* error) {
    QString reason;
    QVector<Recording> exportable;
    for (const Recording& recording : recordings) {
        Recording placeable{recording.name, {}};
        for (const KvLocation& fix : recording.fixes) {
            if (isExportable(fix)) {
                placeable.fixes.append(fix);
            }
        }
        if (!placeable.fixes.isEmpty()) {
            exportable.append(std::move(placeable));
        }
    }
    if (exportable.isEmpty()) {
        reason = QStringLiteral("no GPS fix to export");
    } else {
        const QByteArray data = format == Kml   ? toKml(exportable, title)
                                : format == Csv ? toCsv(exportable)
                                                : toGpx(exportable);
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
