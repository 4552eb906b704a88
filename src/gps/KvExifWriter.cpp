#include "KvExifWriter.h"

#include <QFile>
#include <QSaveFile>

#include <libexif/exif-data.h>
#include <libexif/exif-utils.h>

#include <cmath>
#include <memory>

namespace {
// Cameras write the year with two digits.
constexpr int CenturyOffset = 2000;
// Seconds of arc are written in thousandths: about 3 cm on the ground.
constexpr ExifLong ArcSecondDenominator = 1000;
constexpr ExifLong SpeedDenominator = 100;
// A JPEG segment's length field counts itself and is 16 bits wide.
constexpr int MaxSegmentPayload = 0xffff - 2;
constexpr unsigned char Marker = 0xff;
constexpr unsigned char StartOfImage = 0xd8;
constexpr unsigned char App0 = 0xe0;
constexpr unsigned char App1 = 0xe1;
const ExifByteOrder ByteOrder = EXIF_BYTE_ORDER_INTEL;

struct ExifDataDeleter {
    void operator()(ExifData* data) const { exif_data_unref(data); }
};
using ExifDataPtr = std::unique_ptr<ExifData, ExifDataDeleter>;

// A new entry of the given shape in the GPS directory; its data is zeroed.
// GPS tags are plain numbers in libexif (macros, not ExifTag enumerators).
unsigned char* addEntry(ExifData* data, int tag, ExifFormat format, unsigned components) {
    ExifMem* mem = exif_mem_new_default();
    ExifEntry* entry = exif_entry_new_mem(mem);
    const unsigned size = exif_format_get_size(format) * components;
    entry->data = static_cast<unsigned char*>(exif_mem_alloc(mem, size));
    entry->size = size;
    entry->tag = static_cast<ExifTag>(tag);
    entry->format = format;
    entry->components = components;
    exif_content_add_entry(data->ifd[EXIF_IFD_GPS], entry);
    unsigned char* const bytes = entry->data;
    exif_entry_unref(entry);
    exif_mem_unref(mem);
    return bytes;
}

void setAscii(ExifData* data, int tag, const QByteArray& text) {
    // ASCII entries count their terminating zero.
    unsigned char* bytes = addEntry(data, tag, EXIF_FORMAT_ASCII, text.size() + 1);
    std::copy(text.begin(), text.end(), bytes);
}

void setRationals(ExifData* data, int tag, std::initializer_list<ExifRational> values) {
    unsigned char* bytes = addEntry(data, tag, EXIF_FORMAT_RATIONAL, values.size());
    const int step = exif_format_get_size(EXIF_FORMAT_RATIONAL);
    for (const ExifRational& value : values) {
        exif_set_rational(bytes, ByteOrder, value);
        bytes += step;
    }
}

// Degrees, minutes and seconds of an angle's magnitude.
void setAngle(ExifData* data, int tag, double degrees) {
    const double magnitude = std::fabs(degrees);
    const ExifLong whole = static_cast<ExifLong>(magnitude);
    const double minutes = (magnitude - whole) * 60.0;
    const ExifLong wholeMinutes = static_cast<ExifLong>(minutes);
    const ExifLong seconds =
        static_cast<ExifLong>(std::lround((minutes - wholeMinutes) * 60.0 * ArcSecondDenominator));
    setRationals(data, tag, {{whole, 1}, {wholeMinutes, 1}, {seconds, ArcSecondDenominator}});
}

bool placeable(const KvLocation& fix) {
    return fix.valid && std::isfinite(fix.latitude) && std::isfinite(fix.longitude) &&
           std::fabs(fix.latitude) <= 90.0 && std::fabs(fix.longitude) <= 180.0;
}

void setTime(ExifData* data, const KvLocation& fix) {
    const bool dated = fix.year >= 0 && fix.year <= 99 && fix.month >= 1 && fix.month <= 12 &&
                       fix.day >= 1 && fix.day <= 31;
    const bool timed = fix.hour >= 0 && fix.hour < 24 && fix.minute >= 0 && fix.minute < 60 &&
                       fix.second >= 0 && fix.second < 61;
    if (timed) {
        setRationals(data, EXIF_TAG_GPS_TIME_STAMP,
                     {{static_cast<ExifLong>(fix.hour), 1},
                      {static_cast<ExifLong>(fix.minute), 1},
                      {static_cast<ExifLong>(fix.second), 1}});
    }
    if (dated) {
        setAscii(data, EXIF_TAG_GPS_DATE_STAMP,
                 QByteArray::number(CenturyOffset + fix.year) + ':' +
                     QByteArray::number(fix.month).rightJustified(2, '0') + ':' +
                     QByteArray::number(fix.day).rightJustified(2, '0'));
    }
}

void setGpsTags(ExifData* data, const KvLocation& fix) {
    unsigned char* version = addEntry(data, EXIF_TAG_GPS_VERSION_ID, EXIF_FORMAT_BYTE, 4);
    version[0] = 2;
    version[1] = 3;
    setAscii(data, EXIF_TAG_GPS_LATITUDE_REF, fix.latitude < 0.0 ? "S" : "N");
    setAngle(data, EXIF_TAG_GPS_LATITUDE, fix.latitude);
    setAscii(data, EXIF_TAG_GPS_LONGITUDE_REF, fix.longitude < 0.0 ? "W" : "E");
    setAngle(data, EXIF_TAG_GPS_LONGITUDE, fix.longitude);
    setTime(data, fix);
    if (std::isfinite(fix.speed) && fix.speed >= 0.0 && fix.speed < 1e6) {
        setAscii(data, EXIF_TAG_GPS_SPEED_REF, "K");
        setRationals(
            data, EXIF_TAG_GPS_SPEED,
            {{static_cast<ExifLong>(std::lround(fix.speed * SpeedDenominator)), SpeedDenominator}});
    }
    setAscii(data, EXIF_TAG_GPS_MAP_DATUM, "WGS-84");
}

// Where the EXIF segment goes: after the start of image and a JFIF segment; -1 if not a JPEG.
int insertionPoint(const QByteArray& jpeg) {
    const auto byteAt = [&jpeg](int i) { return static_cast<unsigned char>(jpeg.at(i)); };
    if (jpeg.size() < 4 || byteAt(0) != Marker || byteAt(1) != StartOfImage) {
        return -1;
    }
    int position = 2;
    if (byteAt(2) == Marker && byteAt(3) == App0 && jpeg.size() >= 6) {
        position += 2 + (byteAt(4) << 8 | byteAt(5));
    }
    return position <= jpeg.size() ? position : -1;
}

// The length of an APP1 "Exif" segment at `position`, or 0 when there is none.
int existingExifLength(const QByteArray& jpeg, int position) {
    if (position + 10 > jpeg.size()) {
        return 0;
    }
    const auto byteAt = [&jpeg](int i) { return static_cast<unsigned char>(jpeg.at(i)); };
    if (byteAt(position) != Marker || byteAt(position + 1) != App1 ||
        jpeg.mid(position + 4, 6) != QByteArray("Exif\0\0", 6)) {
        return 0;
    }
    const int length = 2 + (byteAt(position + 2) << 8 | byteAt(position + 3));
    return position + length <= jpeg.size() ? length : 0;
}
} // namespace

QByteArray KvExifWriter::exifBlock(const KvLocation& fix) {
    if (!placeable(fix)) {
        return QByteArray();
    }
    ExifDataPtr data(exif_data_new());
    if (!data) {
        return QByteArray();
    }
    exif_data_set_byte_order(data.get(), ByteOrder);
    exif_data_set_data_type(data.get(), EXIF_DATA_TYPE_COMPRESSED);
    setGpsTags(data.get(), fix);
    unsigned char* buffer = nullptr;
    unsigned int length = 0;
    exif_data_save_data(data.get(), &buffer, &length);
    const QByteArray block(reinterpret_cast<const char*>(buffer), static_cast<int>(length));
    free(buffer);
    return block;
}

QByteArray KvExifWriter::insertExif(const QByteArray& jpeg, const QByteArray& block) {
    const int position = insertionPoint(jpeg);
    if (position < 0 || block.isEmpty() || block.size() > MaxSegmentPayload) {
        return QByteArray();
    }
    const int length = block.size() + 2;
    QByteArray segment;
    segment.append(static_cast<char>(Marker)).append(static_cast<char>(App1));
    segment.append(static_cast<char>(length >> 8)).append(static_cast<char>(length & 0xff));
    segment.append(block);
    QByteArray out = jpeg;
    out.replace(position, existingExifLength(jpeg, position), segment);
    return out;
}

bool KvExifWriter::writeGpsTags(const QString& jpegPath, const KvLocation& fix) {
    const QByteArray block = exifBlock(fix);
    if (block.isEmpty()) {
        return false;
    }
    QFile in(jpegPath);
    if (!in.open(QIODevice::ReadOnly)) {
        return false;
    }
    const QByteArray tagged = insertExif(in.readAll(), block);
    in.close();
    if (tagged.isEmpty()) {
        return false;
    }
    QSaveFile out(jpegPath);
    return out.open(QIODevice::WriteOnly) && out.write(tagged) == tagged.size() && out.commit();
}
