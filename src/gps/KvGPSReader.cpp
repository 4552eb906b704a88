#include "KvGPSReader.h"

#include "Kv70maiGPSReader.h"
#include "KvBoxBytes.h"
#include "KvFileUtils.h"
#include "KvLogCategories.h"
#include "KvNovatekGPSReader.h"
#include "KvSidecarGPSReader.h"
#include "KvThinkwareGPSReader.h"
#include "StreamReader.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <QFile>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

namespace {

// ASS dialogue events as FFmpeg's decoders write them carry eight fields before the text.
constexpr int kAssFieldsBeforeText = 8;

// Every top-level box opens with a big-endian 32-bit size (header included) and a 4-character
// type.
constexpr int kBoxHeaderSize = 8;
constexpr int kBoxTypeSize = 4;
constexpr char kGpsBoxType[] = "gps0";
// The "gps0" payload is a packed array of records of this size.
constexpr int kRecordSize = 32;
// Little-endian fields of a record.
constexpr int kRecordLatitude = 0;
constexpr int kRecordLongitude = 8;
constexpr int kRecordSpeed = 20; // unsigned 16-bit, km/h
constexpr int kRecordDay = 22;
constexpr int kRecordMonth = 23;
constexpr int kRecordYear = 24;
constexpr int kRecordHour = 25;
constexpr int kRecordMinute = 26;
constexpr int kRecordSecond = 27;

constexpr double kMaxLatitude = 90.0;
constexpr double kMaxLongitude = 180.0;

struct PacketDeleter {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
using PacketPtr = std::unique_ptr<AVPacket, PacketDeleter>;

// A stream reader that can ask its demuxer to skip every stream but the subtitle stream. Only
// subtitle packets are decoded, so reading the pictures and sound of a long clip from disk would
// be wasted work: with the other streams discarded the demuxer seeks over their payload.
class SubtitleTrackReader : public StreamReader {
public:
    void discardAllButSubtitles() {
        if (formatContext == nullptr) {
            return;
        }
        for (unsigned int i = 0; i < formatContext->nb_streams; ++i) {
            AVStream* stream = formatContext->streams[i];
            if (stream != subtitleStream) {
                stream->discard = AVDISCARD_ALL;
            }
        }
    }
};

// Closes the reader however the read ends (the owner's stopReading() comes before destruction).
struct ReaderCloser {
    void operator()(SubtitleTrackReader* reader) const {
        reader->stopReading();
        delete reader;
    }
};
using ReaderPtr = std::unique_ptr<SubtitleTrackReader, ReaderCloser>;

// Opens the clip and returns the reader when it has a subtitle stream, else null.
ReaderPtr openSubtitleTrack(char const* path) {
    ReaderPtr reader(new SubtitleTrackReader);
    if (reader->startReading(path, nullptr) != 0 || reader->getSubtitleStream() == nullptr ||
        reader->getSubtitleCodecContext() == nullptr) {
        return nullptr;
    }
    return reader;
}

// Decodes each subtitle packet of the clip and hands every decoded rectangle to onRect; packets
// of other streams are read and released.
template <typename OnRect> void forEachSubtitleRect(SubtitleTrackReader& reader, OnRect onRect) {
    PacketPtr packet(av_packet_alloc());
    if (!packet) {
        return;
    }
    AVCodecContext* decoder = reader.getSubtitleCodecContext();
    while (reader.readFrame(packet.get()) >= 0) {
        if (reader.isSubtitlePacket(packet.get())) {
            AVSubtitle subtitle;
            int gotSubtitle = 0;
            if (avcodec_decode_subtitle2(decoder, &subtitle, &gotSubtitle, packet.get()) >= 0 &&
                gotSubtitle != 0) {
                for (unsigned int i = 0; i < subtitle.num_rects; ++i) {
                    onRect(subtitle.rects[i]);
                }
                avsubtitle_free(&subtitle);
            }
        }
        av_packet_unref(packet.get());
    }
    av_packet_unref(packet.get());
}

uint16_t littleEndian16(unsigned char const* bytes) {
    return static_cast<uint16_t>(bytes[0] | (bytes[1] << 8));
}

// One 32-byte record of the "gps0" box as a fix. The axes are not recorded there and read 0.
KvLocation locationFromRecord(unsigned char* record) {
    KvLocation location;
    location.clear();
    location.valid = true;
    double const rawLatitude = hex2double(record + kRecordLatitude);
    double const rawLongitude = hex2double(record + kRecordLongitude);
    qCDebug(kvGps, "latitude = %lf, longitude = %lf", rawLatitude, rawLongitude);
    qCDebug(kvGps, "%s", "");
    location.latitude = KvLocation::convertGPSDDMM(rawLatitude);
    location.longitude = KvLocation::convertGPSDDMM(rawLongitude);
    location.speed = littleEndian16(record + kRecordSpeed);
    location.day = record[kRecordDay];
    location.month = record[kRecordMonth];
    location.year = record[kRecordYear];
    location.hour = record[kRecordHour];
    location.minute = record[kRecordMinute];
    location.second = record[kRecordSecond];
    location.gsensorX = 0.0;
    location.gsensorY = 0.0;
    location.gsensorZ = 0.0;
    // Written as four comparisons on purpose: a NaN position passes them and stays valid.
    if (location.latitude > kMaxLatitude || location.latitude < -kMaxLatitude ||
        location.longitude > kMaxLongitude || location.longitude < -kMaxLongitude) {
        location.valid = false;
    }
    return location;
}

// Walks the top-level boxes from the start of the file until the "gps0" box; returns its
// payload size (which may run past the end of the file) with the file positioned at the payload,
// or -1 when the walk ends without one.
//
// The walk ends at a box whose size is 8 or less: an empty box, a 64-bit size (size field 1)
// and a "to end of file" box (size 0) all end it, deliberately, as does a size of 2 GiB or more
// (negative as a signed 32-bit number). The offset is a signed 32-bit sum, so the walk covers the
// first 2 GiB of a file; a box that would take it further ends it too. (Letting the sum wrap
// negative would make the seek fail and the walk read "headers" from inside the box it meant to
// skip, which a crafted file can turn into an endless circle.) A failed seek otherwise does not
// end the walk: the next header read decides.
qint64 findGpsBox(QFile& file) {
    int32_t offset = 0;
    for (;;) {
        unsigned char header[kBoxHeaderSize] = {0};
        // A header cut short by the end of the file cannot open a "gps0" box with a payload.
        if (file.read(reinterpret_cast<char*>(header), kBoxHeaderSize) < kBoxHeaderSize) {
            return -1;
        }
        int32_t const size = hex2int(header);
        if (size <= kBoxHeaderSize) {
            return -1;
        }
        char const* type = reinterpret_cast<char const*>(header + kBoxTypeSize);
        QByteArray const typeText(type, kBoxTypeSize);
        qCDebug(kvGps, "data = %s", typeText.constData());
        if (std::strncmp(type, kGpsBoxType, kBoxTypeSize) == 0) {
            return size - kBoxHeaderSize;
        }
        int64_t const next = int64_t(offset) + size;
        if (next > std::numeric_limits<int32_t>::max()) {
            return -1;
        }
        offset = static_cast<int32_t>(next);
        bool const seeked = file.seek(offset);
        qCDebug(kvGps, "seek %d = %s", offset, seeked ? "true" : "false");
    }
}

} // namespace

QByteArray subtitleTextFromAss(char const* ass, char const* plainText) {
    if (ass == nullptr) {
        return plainText != nullptr ? QByteArray(plainText) : QByteArray();
    }
    // FFmpeg's decoders put the read order, layer, style, speaker, margins and effect before the
    // text. Only the text is the camera's; the "$GPRMC" search would skip the fields anyway, but
    // the fallback line must start the text to be read at all.
    char const* text = ass;
    for (int field = 0; field < kAssFieldsBeforeText; ++field) {
        char const* comma = std::strchr(text, ',');
        if (comma == nullptr) {
            text = ass;
            break;
        }
        text = comma + 1;
    }
    // The mov_text decoder (and the others that produce ASS) turn the camera's CR LF between the
    // "$GPRMC" sentence and the "$GSENSOR" line into the ASS hard break "\N" (dropping the CR).
    // Left as it is, "$GSENSOR" would never stand alone between commas and the axes would read
    // 0; turned back into CR LF, the sentence parser sees the two lines as the camera wrote them.
    QByteArray result(text);
    result.replace("\\N", "\r\n");
    return result;
}

bool readGPSFromVideo(QVector<KvLocation>& locations, QString const& path) {
    return readGPSFromVideo(locations, path, true);
}

bool readGPSFromVideo(QVector<KvLocation>& locations, QString const& path,
                      bool discardOtherStreams) {
    locations.clear();
    if (!KvFileUtils::fileExists(path)) {
        return false;
    }
    QByteArray const path8 = path.toUtf8();
    ReaderPtr reader = openSubtitleTrack(path8.constData());
    if (!reader) {
        return false;
    }
    if (discardOtherStreams) {
        reader->discardAllButSubtitles();
    }
    forEachSubtitleRect(*reader, [&locations](AVSubtitleRect const* rect) {
        QByteArray const text = subtitleTextFromAss(rect->ass, rect->text);
        if (text.isNull()) {
            return;
        }
        KvLocation location;
        if (KvLocation::locationFromText(text.constData(), &location) < 0) {
            return;
        }
        // Cameras write several sentences per second; the first of each second is kept.
        if (!locations.isEmpty() && KvLocation::isSameSecond(locations.last(), location)) {
            return;
        }
        locations.append(location);
    });
    return !locations.isEmpty();
}

bool readGPSFromAITVideo(QVector<KvLocation>& locations, QString const& path) {
    locations.clear();
    if (!KvFileUtils::fileExists(path)) {
        return false;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    qint64 const payloadSize = findGpsBox(file);
    if (payloadSize < 0) {
        return false;
    }
    // The size field may claim more than the file holds: only what is there is read, so a
    // damaged box neither allocates its claimed size nor yields records made of nothing.
    qint64 const available = std::max<qint64>(0, file.size() - file.pos());
    std::vector<unsigned char> payload(size_t(std::min(payloadSize, available)));
    qint64 const read =
        payload.empty() ? 0 : file.read(reinterpret_cast<char*>(payload.data()), payload.size());
    file.close();
    locations.clear();
    // Whole records only: a payload shorter than one record (31 bytes, say) yields nothing, and
    // a partial record at the end is skipped.
    for (qint64 offset = 0; offset + kRecordSize <= read; offset += kRecordSize) {
        locations.append(locationFromRecord(payload.data() + offset));
    }
    return !locations.isEmpty();
}

QVector<KvGpsLayout> const& gpsLayouts() {
    // In the order they are tried. The first two are tried for every clip before any of the
    // others, so a clip that has a track in one of them keeps giving the same track whatever
    // else a recording holds (tst_gpsformatorder pins the whole order). A new layout joins
    // with one line in the group it belongs to.
    static QVector<KvGpsLayout> const layouts = {
        {"subtitle", KvGpsLayout::Primary,
         [](QVector<KvLocation>& locations, QString const& path) {
             return readGPSFromVideo(locations, path);
         }},
        {"gps0", KvGpsLayout::Primary, readGPSFromAITVideo},
        {"novatek", KvGpsLayout::OtherRecorders, readGPSFromNovatekVideo},
        {"70mai", KvGpsLayout::OtherRecorders, readGPSFrom70maiVideo},
        {"thinkware", KvGpsLayout::OtherRecorders, readGPSFromThinkwareVideo},
        {"sidecar", KvGpsLayout::OtherRecorders, readGPSFromSidecar},
    };
    return layouts;
}

bool readGPSTrack(QVector<KvLocation>& locations, QStringList const& paths, QString* layout) {
    locations.clear();
    for (KvGpsLayout::Group group : {KvGpsLayout::Primary, KvGpsLayout::OtherRecorders}) {
        for (QString const& path : paths) {
            for (KvGpsLayout const& candidate : gpsLayouts()) {
                if (candidate.group == group && candidate.read(locations, path)) {
                    if (layout != nullptr) {
                        *layout = QString::fromLatin1(candidate.name);
                    }
                    return true;
                }
            }
        }
    }
    return false;
}

int readVideoSubtitle(char const* videoPath, char const* outputPath) {
    constexpr int kAlwaysFails = -1;
    if (outputPath == nullptr) {
        return kAlwaysFails;
    }
    ReaderPtr reader = openSubtitleTrack(videoPath);
    if (!reader) {
        return kAlwaysFails;
    }
    FILE* output = std::fopen(outputPath, "w+");
    if (output == nullptr) {
        return kAlwaysFails;
    }
    forEachSubtitleRect(*reader, [output](AVSubtitleRect const* rect) {
        char const* text = rect->ass != nullptr ? rect->ass : rect->text;
        if (text != nullptr) {
            std::fwrite(text, 1, std::strlen(text), output);
        }
    });
    std::fclose(output);
    return kAlwaysFails;
}
