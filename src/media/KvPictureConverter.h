#pragma once

struct AVFrame;
struct SwsContext;
class KvYUV420P;

// Turns decoded frames into the planar YUV 4:2:0 pictures the views draw: a YUV 4:2:0 frame is
// copied as it is, any other format goes through one scaler kept for as long as the frames keep
// their size and format (a clip does), rather than a new one per picture. Owned by a player core
// and used by its decode thread only.
class KvPictureConverter {
public:
    KvPictureConverter() = default;
    KvPictureConverter(const KvPictureConverter&) = delete;
    KvPictureConverter& operator=(const KvPictureConverter&) = delete;
    ~KvPictureConverter();

    // A new picture of the frame (the caller owns it), or null for an empty frame or a format
    // the scaler cannot read.
    KvYUV420P* convert(const AVFrame* frame);
    // A copy of a picture, for a single-picture step that shows a cached picture while the cache
    // keeps its own.
    static KvYUV420P* copy(const KvYUV420P* picture);

private:
    SwsContext* _scaler = nullptr;
};
