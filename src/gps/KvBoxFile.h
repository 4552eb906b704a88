#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

// One box of an MP4/MOV file: where its header starts, its size (header included, clipped to
// the end of its parent or of the file) and its four-character type.
struct KvBox {
    qint64 offset = 0;
    qint64 size = 0;
    int headerSize = 8;
    char type[4] = {0, 0, 0, 0};

    qint64 payloadOffset() const { return offset + headerSize; }
    qint64 payloadSize() const { return size - headerSize; }
    qint64 end() const { return offset + size; }
    bool isType(char const* fourCC) const;
};

// Reads box headers and pieces of payload of one file for the GPS box readers, touching only
// the bytes asked for: the file is opened unbuffered, so walking the headers of a 1 GB clip
// reads a few hundred bytes, not the buffer-fulls around each header.
//
// Every read is clipped to the file: a box whose size runs past its parent or the end of the
// file is cut there (a recording cut short by a full card still gives what it holds). Walks
// visit at most kMaxBoxesPerWalk boxes, so crafted sizes cannot make one go on for long.
// Used on one thread at a time (the GUI thread, before playback starts).
class KvBoxFile {
public:
    explicit KvBoxFile(QString const& path);

    bool isOpen() const { return _file.isOpen(); }
    qint64 size() const { return _size; }
    // Bytes passed through read calls so far, for the benchmark.
    qint64 bytesRead() const { return _bytesRead; }

    // The box whose header starts at offset, inside a parent ending at end. False when the
    // header is cut short or the size is smaller than the header. A size of 0 runs to end; a
    // size of 1 takes the 64-bit size that follows the type.
    bool boxAt(qint64 offset, qint64 end, KvBox* box);
    // The first box of the given type among the boxes from begin to end (one level only).
    bool findBox(qint64 begin, qint64 end, char const* fourCC, KvBox* box);
    // Calls visit(box) for each box from begin to end, in order, until it returns false.
    template <typename Visit> void forEachBox(qint64 begin, qint64 end, Visit visit);

    // Up to length bytes from offset, clipped to the file and to kMaxReadBytes; empty when the
    // offset is outside the file.
    QByteArray read(qint64 offset, qint64 length);

    // Boxes visited per walk at most: a clip has a handful of top-level boxes, a recorder that
    // writes one free box per second of GPS has a few thousand.
    static constexpr int kMaxBoxesPerWalk = 1 << 20;
    // Largest single read: the biggest payload a GPS reader takes in one piece.
    static constexpr qint64 kMaxReadBytes = 16 * 1024 * 1024;

private:
    QFile _file;
    qint64 _size = 0;
    qint64 _bytesRead = 0;
};

template <typename Visit> void KvBoxFile::forEachBox(qint64 begin, qint64 end, Visit visit) {
    KvBox box;
    qint64 offset = begin;
    for (int visited = 0; visited < kMaxBoxesPerWalk && boxAt(offset, end, &box); ++visited) {
        if (!visit(box)) {
            return;
        }
        offset = box.end();
    }
}
