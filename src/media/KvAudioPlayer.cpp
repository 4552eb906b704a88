#include "KvAudioPlayer.h"

#include "KvLogCategories.h"
#include "KvThread.h"

#include <QAudioDeviceInfo>
#include <QAudioOutput>
#include <QThread>

#include <algorithm>

namespace {

// A muted player (the rear camera) discards audio instead of writing it.
constexpr float kMuteVolume = 0.01f;
// Sleep of the write loop while the device has no room or no period yet.
constexpr unsigned long kWritePollMs = 1;

// FFmpeg AVSampleFormat codes, packed and planar twins.
enum SampleFormatCode {
    kU8 = 0,
    kS16 = 1,
    kS32 = 2,
    kFlt = 3,
    kDbl = 4,
    kU8P = 5,
    kS16P = 6,
    kS32P = 7,
    kFltP = 8,
    kDblP = 9,
    kS64 = 10,
};

// True when the calling thread is a worker that has been asked to stop: a write then gives up
// instead of waiting for a device that may never take the rest.
bool callerStopped() {
    const auto* thread = qobject_cast<const KvThread*>(QThread::currentThread());
    return thread != nullptr && thread->isStopped();
}

} // namespace

KvAudioPlayer::KvAudioPlayer() = default;

KvAudioPlayer::~KvAudioPlayer() {
    stop();
}

QAudioFormat KvAudioPlayer::audioFormat(int sampleRate, int sampleFormat, int channels) {
    QAudioFormat format;
    switch (sampleFormat) {
    case kU8:
    case kU8P:
        format.setSampleSize(8);
        format.setSampleType(QAudioFormat::UnSignedInt);
        break;
    case kS16:
    case kS16P:
        format.setSampleSize(16);
        format.setSampleType(QAudioFormat::SignedInt);
        break;
    case kS32:
    case kS32P:
        format.setSampleSize(32);
        format.setSampleType(QAudioFormat::SignedInt);
        break;
    case kFlt:
    case kFltP:
        format.setSampleSize(32);
        format.setSampleType(QAudioFormat::Float);
        break;
    case kDbl:
    case kDblP:
        format.setSampleSize(64);
        format.setSampleType(QAudioFormat::Float);
        break;
    case kS64:
        format.setSampleSize(64);
        format.setSampleType(QAudioFormat::SignedInt);
        break;
    default:
        break;
    }
    format.setSampleRate(sampleRate);
    format.setChannelCount(channels);
    format.setCodec("audio/pcm");
    format.setByteOrder(QAudioFormat::LittleEndian);
    return format;
}

int KvAudioPlayer::sampleFormatOf(const QAudioFormat& format) {
    switch (format.sampleType()) {
    case QAudioFormat::SignedInt:
        return format.sampleSize() == 32 ? kS32 : format.sampleSize() == 64 ? kS64 : kS16;
    case QAudioFormat::UnSignedInt:
        return kU8;
    default:
        return format.sampleSize() == 32 ? kFlt : kDbl;
    }
}

void KvAudioPlayer::start(int sampleRate, int sampleFormat, int channels) {
    stop();
    prepare(sampleRate, sampleFormat, channels);
    open();
}

void KvAudioPlayer::stop() {
    close();
}

void KvAudioPlayer::prepare(int sampleRate, int sampleFormat, int channels) {
    QAudioFormat format = audioFormat(sampleRate, sampleFormat, channels);
    const QAudioDeviceInfo info = QAudioDeviceInfo::defaultOutputDevice();
    if (!info.isFormatSupported(format)) {
        qCDebug(kvMedia, "format not support, reformat");
        format = info.nearestFormat(format);
    }
    _format = format;
    _prepared = true;
}

void KvAudioPlayer::open() {
    if (!_prepared || output != nullptr) {
        return;
    }
    output = new QAudioOutput(_format);
    _appliedVolume = volume.load();
    output->setVolume(_appliedVolume);
    device = output->start();
}

void KvAudioPlayer::close() {
    _processedUSecs.store(0);
    if (output != nullptr) {
        output->stop();
        delete output;
        output = nullptr;
    }
    device = nullptr;
}

void KvAudioPlayer::setVolume(float value) {
    // Applied to the output by its own thread, before its next write.
    volume.store(value);
}

float KvAudioPlayer::getVolume() const {
    return volume.load();
}

QAudioFormat KvAudioPlayer::format() const {
    return _format;
}

qint64 KvAudioPlayer::processedUSecs() const {
    return _processedUSecs.load();
}

void KvAudioPlayer::_applyVolume() {
    const float wanted = volume.load();
    if (wanted != _appliedVolume) {
        _appliedVolume = wanted;
        output->setVolume(wanted);
    }
}

void KvAudioPlayer::_noteProcessed() {
    _processedUSecs.store(output->processedUSecs());
}

int KvAudioPlayer::write(const unsigned char* data, int length) {
    if (volume.load() <= kMuteVolume) {
        return length;
    }
    if (length < 1 || device == nullptr) {
        return 0;
    }
    _applyVolume();
    int offset = 0;
    while (offset < length) {
        const int period = output->periodSize();
        // Only what the device has room for: at a volume below 1 Qt's PulseAudio output asks
        // the server for a write buffer of that size, and asking for none fails and, with a
        // volume changing meanwhile, left the server connection's lock broken.
        const int room = static_cast<int>(std::min<qint64>(output->bytesFree(), period));
        if (period <= 0 || room <= 0) {
            QThread::msleep(kWritePollMs);
        } else {
            const qint64 accepted = device->write(reinterpret_cast<const char*>(data) + offset,
                                                  std::min(length - offset, room));
            if (accepted < 0) {
                break; // the device failed; the rest of the block is lost
            }
            offset += static_cast<int>(accepted);
            if (accepted == 0) {
                // The device's buffer is full: it drains in real time, so wait a little rather
                // than spin on a core the decoders need.
                QThread::msleep(kWritePollMs);
            }
        }
        if (offset < length && callerStopped()) {
            break;
        }
    }
    _noteProcessed();
    return 0;
}
