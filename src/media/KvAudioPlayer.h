#pragma once

#include <QAudioFormat>

#include <atomic>

class QAudioOutput;
class QIODevice;

// Plays interleaved audio blocks on the default output device through QAudioOutput in push
// mode. Started and stopped on the GUI thread; write() is called by the player core's audio
// thread.
class KvAudioPlayer {
public:
    KvAudioPlayer();
    KvAudioPlayer(const KvAudioPlayer&) = delete;
    KvAudioPlayer& operator=(const KvAudioPlayer&) = delete;
    ~KvAudioPlayer();

    // Opens the default device with the format (sampleFormat an FFmpeg AVSampleFormat code); a
    // device that refuses it gets its nearest format instead.
    void start(int sampleRate, int sampleFormat, int channels);
    void stop();
    void setVolume(float volume);
    float getVolume() const;
    // Writes all of data, in pieces of at most one device period. A muted player (volume at most
    // 0.01) discards the data and returns length at once, without pacing against the device.
    // Otherwise returns 0 (also when length < 1).
    int write(const unsigned char* data, int length);

    // The QAudioFormat for an FFmpeg sample format code; an unknown code leaves sample size and
    // type unset.
    static QAudioFormat audioFormat(int sampleRate, int sampleFormat, int channels);
    // The format the device was opened with (after any fallback); invalid when not started.
    QAudioFormat format() const;
    // Microseconds of audio the device has played so far; 0 when not started.
    qint64 processedUSecs() const;

protected:
    QAudioOutput* output = nullptr; // owned; GUI thread creates and destroys it
    QIODevice* device = nullptr;    // from output->start(); written by the audio thread
    std::atomic<float> volume{1.0f};
};
