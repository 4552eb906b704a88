#include "KvSidecarGPSReader.h"

#include "KvGpxReader.h"
#include "KvLogCategories.h"
#include "KvNmeaSentence.h"
#include "KvTrackLimits.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstring>

namespace {

// NMEA text sidecar extensions, then GPX ones.
char const* const kNmeaSuffixes[] = {".nmea", ".NMEA", ".gps", ".GPS"};
char const* const kGpxSuffixes[] = {".gpx", ".GPX"};

// The fixes of one sentence type and the G-sensor readings that belong to them.
class SentenceTrack {
public:
    void addFix(KvLocation const& fix, bool hasTime);
    // The fix just before gets the axes when it has none yet, else the next fix does.
    void addAxes(double const* axes);
    QVector<KvLocation> fixes;

private:
    bool _lastHasAxes = false;
    bool _pending = false; // axes read before the fix they belong to
    double _pendingAxes[3] = {0.0, 0.0, 0.0};
};

void SentenceTrack::addFix(KvLocation const& fix, bool hasTime) {
    if (fixes.size() >= kMaxTrackFixes ||
        (hasTime && !fixes.isEmpty() && KvLocation::isSameSecond(fixes.last(), fix))) {
        return;
    }
    fixes.append(fix);
    _lastHasAxes = _pending;
    if (_pending) {
        fixes.last().gsensorX = _pendingAxes[0];
        fixes.last().gsensorY = _pendingAxes[1];
        fixes.last().gsensorZ = _pendingAxes[2];
        _pending = false;
    }
}

void SentenceTrack::addAxes(double const* axes) {
    if (!fixes.isEmpty() && !_lastHasAxes && !_pending) {
        fixes.last().gsensorX = axes[0];
        fixes.last().gsensorY = axes[1];
        fixes.last().gsensorZ = axes[2];
        _lastHasAxes = true;
        return;
    }
    std::copy(axes, axes + 3, _pendingAxes);
    _pending = true;
}

// Builds the track line by line; see the header for the rules.
class NmeaTrack {
public:
    void addLine(char const* begin, char const* end);
    // The RMC track, else the GGA one.
    QVector<KvLocation> take() { return _rmc.fixes.isEmpty() ? _gga.fixes : _rmc.fixes; }
    int badChecksums() const { return _badChecksums; }

private:
    SentenceTrack _rmc;
    SentenceTrack _gga;
    int _badChecksums = 0;
};

void NmeaTrack::addLine(char const* begin, char const* end) {
    KvNmeaSentence const sentence(begin, end);
    if (sentence.type() == KvNmeaSentence::Other) {
        return;
    }
    if (sentence.hasChecksum() && !sentence.checksumMatches()) {
        ++_badChecksums;
    }
    double axes[3];
    if (sentence.toGSensor(&axes[0], &axes[1], &axes[2])) {
        _rmc.addAxes(axes);
        _gga.addAxes(axes);
        return;
    }
    KvLocation fix;
    bool hasTime = false;
    if (sentence.toLocation(&fix, &hasTime)) {
        (sentence.type() == KvNmeaSentence::Rmc ? _rmc : _gga).addFix(fix, hasTime);
    }
}

void addLines(NmeaTrack& track, char const* text, qint64 size) {
    char const* const end = text + size;
    for (char const* line = text; line < end;) {
        char const* newline = static_cast<char const*>(std::memchr(line, '\n', size_t(end - line)));
        char const* lineEnd = newline != nullptr ? newline : end;
        // A bare CR ends a line too (some loggers write old Mac line ends).
        char const* cr = static_cast<char const*>(std::memchr(line, '\r', size_t(lineEnd - line)));
        if (cr != nullptr && cr + 1 < lineEnd) {
            lineEnd = cr;
        }
        track.addLine(line, lineEnd);
        line = lineEnd + 1;
    }
}

} // namespace

QStringList sidecarPaths(QString const& videoPath) {
    QFileInfo const info(videoPath);
    QString const base = info.path() + QLatin1Char('/') + info.completeBaseName();
    QStringList paths;
    for (char const* suffix : kNmeaSuffixes) {
        paths << base + QLatin1String(suffix);
    }
    for (char const* suffix : kGpxSuffixes) {
        paths << base + QLatin1String(suffix);
    }
    return paths;
}

bool readGPSFromNmeaText(QVector<KvLocation>& locations, char const* text, qint64 size) {
    locations.clear();
    if (text == nullptr || size <= 0) {
        return false;
    }
    NmeaTrack track;
    addLines(track, text, size);
    locations = track.take();
    if (track.badChecksums() > 0) {
        qCDebug(kvGps, "nmea: %d sentences kept with a checksum that does not match",
                track.badChecksums());
    }
    return !locations.isEmpty();
}

bool readGPSFromNmeaFile(QVector<KvLocation>& locations, QString const& path) {
    locations.clear();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    QByteArray const text = file.read(kMaxSidecarBytes);
    return readGPSFromNmeaText(locations, text.constData(), text.size());
}

bool readGPSFromSidecar(QVector<KvLocation>& locations, QString const& videoPath) {
    locations.clear();
    for (QString const& path : sidecarPaths(videoPath)) {
        if (!QFileInfo(path).isFile()) {
            continue;
        }
        bool const gpx = path.endsWith(QLatin1String(".gpx"), Qt::CaseInsensitive);
        if (gpx ? readGPSFromGpxFile(locations, path) : readGPSFromNmeaFile(locations, path)) {
            return true;
        }
    }
    return false;
}
