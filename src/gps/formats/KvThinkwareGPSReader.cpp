#include "KvThinkwareGPSReader.h"

#include "KvFileUtils.h"
#include "KvNmeaSentence.h"
#include "KvTrackLimits.h"
#include "StreamReader.h"

#include <QByteArray>

#include <cstring>
#include <memory>

namespace {

constexpr char kGSensorPrefix[] = "gsensori,";
// gsensori,<range>,<scale>,X,Y,Z
constexpr int kGSensorFields = 6;
// Cues looked at before a track without any Thinkware record is given up.
constexpr int kCuesToRecognise = 64;
// A mov_text/tx3g sample opens with the text length as a big-endian 16-bit number.
constexpr int kLengthPrefix = 2;

bool startsWith(char const* begin, char const* end, char const* prefix) {
    size_t const length = std::strlen(prefix);
    return size_t(end - begin) >= length && std::memcmp(begin, prefix, length) == 0;
}

// "xxRMC," with any talker.
bool isRmc(char const* begin, char const* end) {
    while (begin < end && (*begin == ' ' || *begin == '\r' || *begin == '\n')) {
        ++begin;
    }
    return end - begin > 6 && std::memcmp(begin + 2, "RMC,", 4) == 0;
}

bool readGSensor(char const* begin, char const* end, double* axes) {
    char const* fields[kGSensorFields + 1] = {};
    int count = 0;
    fields[count++] = begin;
    for (char const* c = begin; c < end && count <= kGSensorFields; ++c) {
        if (*c == ',') {
            fields[count++] = c + 1;
        }
    }
    if (count != kGSensorFields) {
        return false;
    }
    // X, Y and Z are the last three fields.
    return KvNmeaSentence::parseNumber(fields[3], fields[4] - 1, &axes[0]) &&
           KvNmeaSentence::parseNumber(fields[4], fields[5] - 1, &axes[1]) &&
           KvNmeaSentence::parseNumber(fields[5], end, &axes[2]);
}

// The text of a cue packet: without the length prefix when there is one.
void cueText(unsigned char const* data, int size, char const** text, qint64* length) {
    *text = reinterpret_cast<char const*>(data);
    *length = size;
    if (size >= kLengthPrefix) {
        int const prefixed = (data[0] << 8) | data[1];
        if (prefixed <= size - kLengthPrefix) {
            *text += kLengthPrefix;
            *length = prefixed;
        }
    }
}

// A stream reader that skips every stream but the subtitle stream (only its cues are read).
class CueReader : public StreamReader {
public:
    void discardAllButSubtitles() {
        for (unsigned int i = 0; formatContext != nullptr && i < formatContext->nb_streams; ++i) {
            if (formatContext->streams[i] != subtitleStream) {
                formatContext->streams[i]->discard = AVDISCARD_ALL;
            }
        }
    }
};

struct CueReaderCloser {
    void operator()(CueReader* reader) const {
        reader->stopReading();
        delete reader;
    }
};

struct PacketFree {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

} // namespace

int locationFromThinkwareCue(char const* text, qint64 size, KvLocation* location) {
    if (text == nullptr || size <= 0) {
        return -1;
    }
    char const* const end = text + size;
    double axes[3] = {0.0, 0.0, 0.0};
    double cueAxes[3] = {0.0, 0.0, 0.0};
    KvLocation fix;
    bool haveFix = false;
    for (char const* record = text; record < end;) {
        char const* semicolon =
            static_cast<char const*>(std::memchr(record, ';', size_t(end - record)));
        char const* recordEnd = semicolon != nullptr ? semicolon : end;
        if (startsWith(record, recordEnd, kGSensorPrefix) &&
            readGSensor(record, recordEnd, cueAxes)) {
            std::memcpy(axes, cueAxes, sizeof(axes));
        } else if (!haveFix && isRmc(record, recordEnd)) {
            bool hasTime = false;
            haveFix = KvNmeaSentence(record, recordEnd).toLocation(&fix, &hasTime);
        }
        record = recordEnd + 1;
    }
    if (!haveFix) {
        return -1;
    }
    fix.gsensorX = axes[0];
    fix.gsensorY = axes[1];
    fix.gsensorZ = axes[2];
    *location = fix;
    return 0;
}

namespace {

bool looksLikeThinkware(char const* text, qint64 size) {
    QByteArray const cue = QByteArray::fromRawData(text, int(size));
    return cue.contains(kGSensorPrefix) || cue.contains("RMC,");
}

} // namespace

bool readGPSFromThinkwareVideo(QVector<KvLocation>& locations, QString const& path) {
    locations.clear();
    if (!KvFileUtils::fileExists(path)) {
        return false;
    }
    std::unique_ptr<CueReader, CueReaderCloser> reader(new CueReader);
    std::unique_ptr<AVPacket, PacketFree> packet(av_packet_alloc());
    if (!packet || reader->startReading(path.toUtf8().constData(), nullptr) != 0 ||
        reader->getSubtitleStream() == nullptr) {
        return false;
    }
    reader->discardAllButSubtitles();
    int cues = 0;
    bool recognised = false;
    while (locations.size() < kMaxTrackFixes && reader->readFrame(packet.get()) >= 0) {
        if (reader->isSubtitlePacket(packet.get()) && packet->data != nullptr) {
            char const* text = nullptr;
            qint64 length = 0;
            cueText(packet->data, packet->size, &text, &length);
            recognised = recognised || looksLikeThinkware(text, length);
            KvLocation fix;
            if (locationFromThinkwareCue(text, length, &fix) == 0 &&
                (locations.isEmpty() || !KvLocation::isSameSecond(locations.last(), fix))) {
                locations.append(fix);
            }
            ++cues;
        }
        av_packet_unref(packet.get());
        if (!recognised && cues >= kCuesToRecognise) {
            break;
        }
    }
    return !locations.isEmpty();
}
