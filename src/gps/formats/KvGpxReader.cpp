#include "KvGpxReader.h"

#include "KvLogCategories.h"
#include "KvTrackLimits.h"

#include <QDateTime>
#include <QFile>
#include <QXmlStreamReader>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kMaxLatitude = 90.0;
constexpr double kMaxLongitude = 180.0;
constexpr double kKmhPerMetrePerSecond = 3.6;
// Speeds above this (m/s, 1,000 km/h) are damaged values.
constexpr double kMaxMetresPerSecond = 1000.0 / 3.6;

// Hands the XML reader at most a given number of bytes of its source, so that no document,
// however large or however its text is laid out, makes the reader hold more than that.
class CappedDevice : public QIODevice {
public:
    CappedDevice(QIODevice* source, qint64 cap) : _source(source), _left(cap) {
        open(QIODevice::ReadOnly);
    }
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char* data, qint64 maxSize) override {
        qint64 const read = _source->read(data, std::min(maxSize, _left));
        if (read > 0) {
            _left -= read;
        }
        return _left == 0 && read <= 0 ? -1 : read;
    }
    qint64 writeData(char const*, qint64) override { return -1; }

private:
    QIODevice* _source; // the open file, owned by the caller
    qint64 _left;
};

struct Point {
    KvLocation fix;
    bool hasTime = false;
};

void readTime(QString const& text, Point* point) {
    QDateTime const time = QDateTime::fromString(text.trimmed(), Qt::ISODateWithMs).toUTC();
    if (!time.isValid()) {
        return;
    }
    point->fix.year = time.date().year() % 100;
    point->fix.month = time.date().month();
    point->fix.day = time.date().day();
    point->fix.hour = time.time().hour();
    point->fix.minute = time.time().minute();
    point->fix.second = time.time().second();
    point->hasTime = true;
}

// Reads the children of a point up to its end tag.
void readPointChildren(QXmlStreamReader& xml, Point* point) {
    int depth = 1;
    while (depth > 0 && !xml.atEnd()) {
        QXmlStreamReader::TokenType const token = xml.readNext();
        if (token == QXmlStreamReader::EndElement) {
            --depth;
        } else if (token == QXmlStreamReader::StartElement) {
            QStringRef const name = xml.name();
            if (name == QLatin1String("time")) {
                readTime(xml.readElementText(QXmlStreamReader::SkipChildElements), point);
            } else if (name == QLatin1String("speed")) {
                bool ok = false;
                double const speed = xml.readElementText(QXmlStreamReader::SkipChildElements)
                                         .trimmed()
                                         .toDouble(&ok);
                if (ok && std::isfinite(speed) && speed >= 0.0 && speed <= kMaxMetresPerSecond) {
                    point->fix.speed = speed * kKmhPerMetrePerSecond;
                }
            } else if (name == QLatin1String("fix")) {
                QString const fix = xml.readElementText(QXmlStreamReader::SkipChildElements);
                point->fix.valid = fix.trimmed() != QLatin1String("none");
            } else {
                ++depth;
            }
        }
    }
}

// A point from its start tag; false when its position is missing or out of range.
bool readPoint(QXmlStreamReader& xml, Point* point) {
    bool latOk = false;
    bool lonOk = false;
    double const latitude = xml.attributes().value(QLatin1String("lat")).toDouble(&latOk);
    double const longitude = xml.attributes().value(QLatin1String("lon")).toDouble(&lonOk);
    point->fix.valid = true;
    point->fix.speed = 0.0;
    point->fix.gsensorX = point->fix.gsensorY = point->fix.gsensorZ = 0.0;
    point->fix.day = point->fix.month = point->fix.year = 0;
    point->fix.hour = point->fix.minute = point->fix.second = 0;
    readPointChildren(xml, point);
    if (!latOk || !lonOk || !(std::fabs(latitude) <= kMaxLatitude) ||
        !(std::fabs(longitude) <= kMaxLongitude)) {
        return false;
    }
    point->fix.latitude = latitude;
    point->fix.longitude = longitude;
    return true;
}

void readPoints(QXmlStreamReader& xml, QVector<KvLocation>& locations) {
    while (!xml.atEnd() && locations.size() < kMaxTrackFixes &&
           xml.characterOffset() < kMaxSidecarBytes) {
        QXmlStreamReader::TokenType const token = xml.readNext();
        if (token == QXmlStreamReader::DTD) {
            qCDebug(kvGps, "gpx: a document type declaration is not read");
            locations.clear();
            return;
        }
        if (token != QXmlStreamReader::StartElement ||
            (xml.name() != QLatin1String("trkpt") && xml.name() != QLatin1String("rtept"))) {
            continue;
        }
        Point point;
        // A point the document breaks off inside is not taken.
        if (!readPoint(xml, &point) || xml.hasError()) {
            continue;
        }
        if (point.hasTime && !locations.isEmpty() &&
            KvLocation::isSameSecond(locations.last(), point.fix)) {
            continue;
        }
        locations.append(point.fix);
    }
}

} // namespace

bool readGPSFromGpxText(QVector<KvLocation>& locations, QByteArray const& xml) {
    locations.clear();
    QXmlStreamReader reader(xml);
    readPoints(reader, locations);
    return !locations.isEmpty();
}

bool readGPSFromGpxFile(QVector<KvLocation>& locations, QString const& path) {
    locations.clear();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    // Streamed from the file: only the reader's buffer is held, and at most the first
    // kMaxSidecarBytes of the file are read.
    CappedDevice capped(&file, kMaxSidecarBytes);
    QXmlStreamReader reader(&capped);
    readPoints(reader, locations);
    return !locations.isEmpty();
}
