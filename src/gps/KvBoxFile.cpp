#include "KvBoxFile.h"

#include <algorithm>
#include <cstring>

namespace {

// A box header: 32-bit big-endian size and the type; a 64-bit size follows when size is 1.
constexpr int kHeaderSize = 8;
constexpr int kLargeHeaderSize = 16;
constexpr quint32 kSizeToEnd = 0;
constexpr quint32 kSizeIsLarge = 1;

quint64 bigEndian(unsigned char const* bytes, int width) {
    quint64 value = 0;
    for (int i = 0; i < width; ++i) {
        value = (value << 8) | bytes[i];
    }
    return value;
}

} // namespace

bool KvBox::isType(char const* fourCC) const {
    return std::memcmp(type, fourCC, sizeof(type)) == 0;
}

KvBoxFile::KvBoxFile(QString const& path) : _file(path) {
    // Unbuffered: each read takes exactly the bytes asked for.
    if (_file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        _size = _file.size();
    }
}

bool KvBoxFile::boxAt(qint64 offset, qint64 end, KvBox* box) {
    end = std::min(end, _size);
    if (offset < 0 || end - offset < kHeaderSize) {
        return false;
    }
    QByteArray const header = read(offset, kLargeHeaderSize);
    if (header.size() < kHeaderSize) {
        return false;
    }
    auto const* bytes = reinterpret_cast<unsigned char const*>(header.constData());
    quint64 size = bigEndian(bytes, 4);
    box->headerSize = kHeaderSize;
    if (size == kSizeIsLarge) {
        if (header.size() < kLargeHeaderSize) {
            return false;
        }
        size = bigEndian(bytes + kHeaderSize, 8);
        box->headerSize = kLargeHeaderSize;
    } else if (size == kSizeToEnd) {
        size = quint64(end - offset);
    }
    if (size < quint64(box->headerSize)) {
        return false;
    }
    box->offset = offset;
    // Clipped to the parent: a 4 GB size in a small file ends at the file's end.
    box->size = qint64(std::min<quint64>(size, quint64(end - offset)));
    if (box->size < box->headerSize) {
        return false;
    }
    std::memcpy(box->type, bytes + 4, sizeof(box->type));
    return true;
}

bool KvBoxFile::findBox(qint64 begin, qint64 end, char const* fourCC, KvBox* box) {
    bool found = false;
    forEachBox(begin, end, [&](KvBox const& candidate) {
        if (candidate.isType(fourCC)) {
            *box = candidate;
            found = true;
            return false;
        }
        return true;
    });
    return found;
}

QByteArray KvBoxFile::read(qint64 offset, qint64 length) {
    if (!_file.isOpen() || offset < 0 || offset >= _size || length <= 0) {
        return QByteArray();
    }
    length = std::min({length, _size - offset, kMaxReadBytes});
    if (!_file.seek(offset)) {
        return QByteArray();
    }
    QByteArray bytes = _file.read(length);
    _bytesRead += bytes.size();
    return bytes;
}
