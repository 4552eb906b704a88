#pragma once

class KvYUV420P;

// Where the player core's video thread delivers its pictures. The video view implements it; the
// player core only knows this interface, so the media library does not depend on the view
// library that builds on it.
class KvVideoSink {
public:
    virtual ~KvVideoSink() = default;
    // Takes ownership of the picture. Called from the video thread (or the GUI thread when
    // stepping), so an implementation hands the picture to its own thread safely.
    virtual void updateYUV420Async(KvYUV420P* picture) = 0;
};
