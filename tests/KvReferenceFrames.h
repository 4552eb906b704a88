#pragma once

// The pictures of a clip as the ffmpeg command-line tool decodes them, to tell which picture a
// view shows by its pixels: the player and the tool decode with the same FFmpeg, so a picture
// the player shows is byte for byte one of these.

#include "KvFfmpegRun.h"
#include "KvYUV420P.h"

#include <QByteArray>
#include <QString>
#include <QVector>

#include <cstring>

namespace kvtest {

// Every picture of one clip's video stream in display order, planar 4:2:0 without row padding.
class KvReferenceFrames {
public:
    // Decodes clip (width x height pictures); an empty string when it worked.
    QString load(const QString& clip, int width, int height) {
        _width = width;
        _height = height;
        _frames.clear();
        QByteArray raw;
        const QString error = runFfmpeg(
            {"-i", clip, "-map", "0:v:0", "-f", "rawvideo", "-pix_fmt", "yuv420p", "-"}, &raw);
        if (!error.isEmpty()) {
            return error;
        }
        const int size = frameSize();
        if (size <= 0 || raw.size() % size != 0) {
            return QString("%1 bytes are not whole %2x%3 pictures")
                .arg(raw.size())
                .arg(width)
                .arg(height);
        }
        for (int offset = 0; offset < raw.size(); offset += size) {
            _frames.append(raw.mid(offset, size));
        }
        return QString();
    }

    int count() const { return _frames.size(); }
    int frameSize() const { return _width * _height * 3 / 2; }

    // The number of the picture whose pixels picture has, in display order from 0; -1 when it
    // is none of them (or of another size).
    int indexOf(const KvYUV420P* picture) const {
        if (picture == nullptr || picture->width != _width || picture->height != _height) {
            return -1;
        }
        const QByteArray pixels = planesOf(picture);
        return _frames.indexOf(pixels);
    }

    // Whether no two pictures are alike, so that indexOf() names exactly one.
    bool allDistinct() const {
        for (int i = 1; i < _frames.size(); ++i) {
            if (_frames.at(i) == _frames.at(i - 1) || _frames.indexOf(_frames.at(i)) != i) {
                return false;
            }
        }
        return true;
    }

private:
    QByteArray planesOf(const KvYUV420P* picture) const {
        const int luma = _width * _height;
        QByteArray pixels(frameSize(), '\0');
        std::memcpy(pixels.data(), picture->y, luma);
        std::memcpy(pixels.data() + luma, picture->u, luma / 4);
        std::memcpy(pixels.data() + luma + luma / 4, picture->v, luma / 4);
        return pixels;
    }

    int _width = 0;
    int _height = 0;
    QVector<QByteArray> _frames;
};

} // namespace kvtest
