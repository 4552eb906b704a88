#pragma once

#include <QAudioFormat>

#include <atomic>

class QAudioOutput;
class QIODevice;

// Plays interleaved audio blocks on the default output device through QAudioOutput in push
// mode. The QAudioOutput is a Qt object like any other: it is created, written, polled and
// destroyed on one thread only, the one that opens it. The player core chooses the format when it
// starts (prepare, GUI thread, before its audio thread exists) and its audio thread opens the
// output when it begins, writes to it, and closes it when it ends (at a pause or a stop).
// A program with one thread calls start() and stop(), which do both steps.
//
// What other threads may call: setVolume()/getVolume() (an atomic the owning thread applies
// before its next write), format() (fixed before the output opens) and processedUSecs() (an
// atomic the owning thread refreshes after each write).
class KvAudioPlayer {
public:
    KvAudioPlayer();
    KvAudioPlayer(const KvAudioPlayer&) = delete;
    KvAudioPlayer& operator=(const KvAudioPlayer&) = delete;
    // Closes the output; call it on the thread that opened it, or after that thread closed it.
    ~KvAudioPlayer();

    // prepare() then open(), on the calling thread.
    void start(int sampleRate, int sampleFormat, int channels);
    // close(); kept under its old name for single-threaded users.
    void stop();
    // Chooses the device format for the stream (sampleFormat an FFmpeg AVSampleFormat code); a
    // device that refuses it gets its nearest format instead. Opens nothing. Call it before the
    // thread that will open the output starts.
    void prepare(int sampleRate, int sampleFormat, int channels);
    // Opens the default device with the prepared format on the calling thread, which from then
    // on owns the output until close(). Nothing happens before prepare() or when already open.
    void open();
    // Stops and destroys the output; on the thread that opened it.
    void close();

    void setVolume(float volume);
    float getVolume() const;
    // Writes all of data, in pieces of at most one device period. A muted player (volume at most
    // 0.01) discards the data and returns length at once, without pacing against the device.
    // Otherwise returns 0 (also when length < 1). On the thread that opened the output.
    int write(const unsigned char* data, int length);

    // The QAudioFormat for an FFmpeg sample format code; an unknown code leaves sample size and
    // type unset.
    static QAudioFormat audioFormat(int sampleRate, int sampleFormat, int channels);
    // The FFmpeg sample format code closest to a device format.
    static int sampleFormatOf(const QAudioFormat& format);
    // The format the device is opened with (after any fallback); invalid before prepare().
    QAudioFormat format() const;
    // Microseconds of audio the open output has played so far; 0 while it is closed.
    qint64 processedUSecs() const;

protected:
    void _applyVolume();
    void _noteProcessed();

    // Owned by the thread that opened it (see open()); null while closed.
    QAudioOutput* output = nullptr;
    QIODevice* device = nullptr; // from output->start(); same thread as output
    std::atomic<float> volume{1.0f};

private:
    // Written by prepare() before the owning thread starts; read-only afterwards.
    QAudioFormat _format;
    bool _prepared = false;
    // The volume last applied to output; owning thread only.
    float _appliedVolume = -1.0f;
    // Played time of the open output; written by the owning thread, read by any.
    std::atomic<qint64> _processedUSecs{0};
};
