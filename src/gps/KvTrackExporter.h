#pragma once

#include "KvLocation.h"

#include <QDateTime>
#include <QString>
#include <QVector>

// Writes recordings' GPS tracks to files that map apps, insurers and the police can open: GPX 1.1
// (a track of points with their time and, in Garmin's track-point extension, their speed), KML 2.2
// (the line and one time-stamped point per fix) or CSV (one fix per line with the g-sensor axes).
//
// Only fixes that can be placed are written: valid, with a finite position inside the globe's
// range and a complete date and time. Several recordings are merged in time order. Times are UTC
// with a "Z"; every number is written with a decimal point whatever the desktop's locale. A file
// is written through a temporary file and replaces the old one only when complete, so a failed
// export never leaves a half file in place of a good one. GUI thread or any single thread.
class KvTrackExporter {
public:
    enum Format { Gpx, Kml, Csv };

    // The format for a save-dialog answer: the file's extension when it names one of the three
    // (case-insensitive), else the chosen filter ("... (*.kml)"), else GPX.
    static Format formatFor(const QString& path, const QString& selectedFilter = QString());
    // The save dialog's filters, GPX first.
    static QString fileFilters();

    // A fix that can be placed on a map at a known instant.
    static bool isExportable(const KvLocation& fix);
    // The fix's UTC date and time; invalid when its date or time is incomplete or impossible.
    static QDateTime fixTime(const KvLocation& fix);
    // The exportable fixes of all tracks, in time order (a stable sort: fixes of one instant keep
    // their order).
    static QVector<KvLocation> mergeTracks(const QVector<QVector<KvLocation>>& tracks);

    // Writes the fixes (already merged) in the given format. False, with a short reason in
    // *error when given, when there is nothing to write or the file cannot be written; the
    // destination is then left as it was.
    static bool exportTrack(const QVector<KvLocation>& fixes, const QString& path, Format format,
                            const QString& name, QString* error = nullptr);

    static QByteArray toGpx(const QVector<KvLocation>& fixes, const QString& name);
    static QByteArray toKml(const QVector<KvLocation>& fixes, const QString& name);
    static QByteArray toCsv(const QVector<KvLocation>& fixes);
};
