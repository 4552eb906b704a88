// KvAudioQueue (conversion into fixed-size blocks) and KvAudioPlayer (the default output device,
// the PulseAudio null sink in CI).

#include "KvAudioData.h"
#include "KvAudioPlayer.h"
#include "KvAudioQueue.h"
#include "KvTestMain.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
#include <libavutil/samplefmt.h>
}

#include <QAudioDeviceInfo>
#include <QAudioOutput>
#include <QElapsedTimer>
#include <QThread>
#include <QtTest>

#include <atomic>
#include <cmath>
#include <memory>
#include <vector>

namespace {

struct FrameDeleter {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
using FramePtr = std::unique_ptr<AVFrame, FrameDeleter>;

// A frame of interleaved S16 stereo samples of a 440 Hz tone.
FramePtr s16StereoFrame(int samples, int rate, int offset = 0) {
    FramePtr frame(av_frame_alloc());
    frame->format = AV_SAMPLE_FMT_S16;
    frame->sample_rate = rate;
    frame->nb_samples = samples;
    av_channel_layout_default(&frame->ch_layout, 2);
    av_frame_get_buffer(frame.get(), 0);
    auto* data = reinterpret_cast<int16_t*>(frame->data[0]);
    for (int i = 0; i < samples; ++i) {
        const auto value = int16_t(8000 * std::sin(2 * M_PI * 440 * (offset + i) / rate));
        data[2 * i] = value;
        data[2 * i + 1] = value;
    }
    return frame;
}

// Block bytes of 1024 samples per channel, S16 stereo.
constexpr int kS16StereoBlock = 1024 * 2 * 2;

std::vector<std::unique_ptr<KvAudioData>> drain(KvAudioQueue* queue) {
    std::vector<std::unique_ptr<KvAudioData>> blocks;
    while (KvAudioData* block = queue->popAudioData()) {
        blocks.emplace_back(block);
    }
    return blocks;
}

bool haveDevice() {
    return !QAudioDeviceInfo::defaultOutputDevice().isNull();
}

// An audio player whose device output the test may look at.
class OutputProbe : public KvAudioPlayer {
public:
    QAudioOutput* outputObject() const { return output; }
};

// What the thread that owns the output saw, handed to the test thread through atomics.
struct OwnerReport {
    std::atomic<QThread*> owner{nullptr};
    std::atomic<QThread*> outputThread{nullptr};
    std::atomic<bool> openedAfterPrepare{false};
    std::atomic<double> firstVolume{-1};
    std::atomic<double> secondVolume{-1};
    std::atomic<bool> closedToNull{false};
    std::atomic<bool> firstWritten{false};
    std::atomic<bool> volumeChanged{false};
    std::atomic<bool> done{false};
};

// Longest the owning thread waits for the test thread to change the volume.
constexpr int kVolumeChangeWaitMs = 5000;

} // namespace

class TestAudioQueue : public QObject {
    Q_OBJECT
private slots:
    void resamplesIntoBlocksOfTheFloatDevice();
    void shortFrameQueuesNothingUntilABlockIsFull();
    void blocksOfOneCallShareItsTime();
    void sourceInDeviceFormatStaysSilent();
    void zeroLayoutStandsForFrontLeft();
    void resamplingKeepsTheRate();
    void planarOutputFillsBothPlanes();
    void clearDropsBufferedSamples();
    void frameOfAnotherShapeIsDropped();
    void popOnEmptyQueueIsNull();

    void formatMapping_data();
    void formatMapping();
    void mutedWriteSkipsTheDevice();
    void writesAtRealTime();
    void refusedFormatFallsBackToNearest();
    void outputBelongsToTheThreadThatOpensIt();
};

void TestAudioQueue::resamplesIntoBlocksOfTheFloatDevice() {
    KvAudioQueue queue(44100, AV_CH_LAYOUT_STEREO, 2, AV_SAMPLE_FMT_S16, 48000, AV_CH_LAYOUT_STEREO,
                       2, AV_SAMPLE_FMT_FLT);
    QVERIFY(queue.isResampling());
    QCOMPARE(queue.getBlockSize0(), 1024 * 4 * 2);
    for (int i = 0; i < 10; ++i) {
        queue.pushFrame(s16StereoFrame(1024, 44100, i * 1024).get(), i * 1024 / 44100.0);
    }
    const auto blocks = drain(&queue);
    // 10240 samples at 44.1 kHz are about 11145 at 48 kHz: 10 whole blocks (give or take the
    // resampler's delay).
    QVERIFY2(blocks.size() >= 9 && blocks.size() <= 11, qPrintable(QString::number(blocks.size())));
    for (const auto& block : blocks) {
        QCOMPARE(block->size0, 8192);
        QCOMPARE(block->size1, 0);
        QVERIFY(block->data1 == nullptr);
        QCOMPARE(block->format, int(AV_SAMPLE_FMT_S16));
    }
    // The converted tone is there: float samples well away from silence.
    const auto* samples = reinterpret_cast<const float*>(blocks[2]->data0);
    float peak = 0;
    for (int i = 0; i < 2048; ++i) {
        peak = std::max(peak, std::fabs(samples[i]));
    }
    QVERIFY2(peak > 0.2f && peak < 0.3f, qPrintable(QString::number(peak)));
}

void TestAudioQueue::shortFrameQueuesNothingUntilABlockIsFull() {
    KvAudioQueue queue(48000, AV_CH_LAYOUT_STEREO, 2, AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO,
                       2, AV_SAMPLE_FMT_S16);
    QVERIFY(queue.isResampling());
    QCOMPARE(queue.getBlockSize0(), kS16StereoBlock);
    queue.pushFrame(s16StereoFrame(300, 48000).get(), 0.0);
    QCOMPARE(queue.size(), int64_t(0));
    queue.pushFrame(s16StereoFrame(300, 48000, 300).get(), 0.1);
    QCOMPARE(queue.size(), int64_t(0));
    // 1500 input samples are about 1378 output samples: now one block is complete.
    queue.pushFrame(s16StereoFrame(900, 48000, 600).get(), 0.2);
    QCOMPARE(queue.size(), int64_t(1));
    std::unique_ptr<KvAudioData> block(queue.popAudioData());
    QCOMPARE(block->time, 0.2);
    QCOMPARE(block->size0, kS16StereoBlock);
}

void TestAudioQueue::blocksOfOneCallShareItsTime() {
    KvAudioQueue queue(48000, AV_CH_LAYOUT_STEREO, 2, AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO,
                       2, AV_SAMPLE_FMT_S16);
    queue.pushFrame(s16StereoFrame(4800, 48000).get(), 1.25);
    const auto blocks = drain(&queue);
    QVERIFY(blocks.size() >= 3);
    for (const auto& block : blocks) {
        QCOMPARE(block->time, 1.25);
    }
}

void TestAudioQueue::sourceInDeviceFormatStaysSilent() {
    KvAudioQueue queue(44100, AV_CH_LAYOUT_STEREO, 2, AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO,
                       2, AV_SAMPLE_FMT_S16);
    QVERIFY(!queue.isResampling());
    for (int i = 0; i < 8; ++i) {
        queue.pushFrame(s16StereoFrame(1024, 44100).get(), i);
    }
    QCOMPARE(queue.size(), int64_t(0));
    QVERIFY(queue.popAudioData() == nullptr);
}

void TestAudioQueue::zeroLayoutStandsForFrontLeft() {
    KvAudioQueue same(22050, 0, 1, AV_SAMPLE_FMT_S16, 22050, AV_CH_FRONT_LEFT, 1,
                      AV_SAMPLE_FMT_S16);
    QVERIFY(!same.isResampling());
    KvAudioQueue differs(22050, 0, 1, AV_SAMPLE_FMT_S16, 22050, AV_CH_LAYOUT_MONO, 1,
                         AV_SAMPLE_FMT_S16);
    QVERIFY(differs.isResampling());
}

void TestAudioQueue::resamplingKeepsTheRate() {
    // Two seconds at 48 kHz in AAC-sized frames become two seconds at 44.1 kHz.
    KvAudioQueue queue(48000, AV_CH_LAYOUT_STEREO, 2, AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO,
                       2, AV_SAMPLE_FMT_S16);
    const int frames = 2 * 48000 / 1024;
    for (int i = 0; i < frames; ++i) {
        queue.pushFrame(s16StereoFrame(1024, 48000, i * 1024).get(), i * 1024 / 48000.0);
    }
    const double expected = frames * 1024 * 44100.0 / 48000.0 / 1024.0;
    const double blocks = double(queue.size());
    QVERIFY2(std::fabs(blocks - expected) <= 0.02 * expected + 1,
             qPrintable(QString("%1 blocks, %2 expected").arg(blocks).arg(expected)));
}

void TestAudioQueue::planarOutputFillsBothPlanes() {
    KvAudioQueue queue(44100, AV_CH_LAYOUT_STEREO, 2, AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO,
                       2, AV_SAMPLE_FMT_FLTP);
    QCOMPARE(queue.getBlockSize0(), 1024 * 4);
    QCOMPARE(queue.getBlockSize1(), 1024 * 4);
    queue.pushFrame(s16StereoFrame(4096, 44100).get(), 0.5);
    const auto blocks = drain(&queue);
    QVERIFY(!blocks.empty());
    QCOMPARE(blocks[1]->size0, 4096);
    QCOMPARE(blocks[1]->size1, 4096);
    // Both channels carry the same tone.
    QCOMPARE(memcmp(blocks[1]->data0, blocks[1]->data1, 4096), 0);
}

void TestAudioQueue::clearDropsBufferedSamples() {
    KvAudioQueue queue(48000, AV_CH_LAYOUT_STEREO, 2, AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO,
                       2, AV_SAMPLE_FMT_S16);
    queue.pushFrame(s16StereoFrame(2600, 48000).get(), 0.0);
    QVERIFY(queue.size() >= 2);
    queue.clear();
    QCOMPARE(queue.size(), int64_t(0));
    // What stayed in the FIFO (under a block) went with the clear: 900 more samples (about 827
    // after conversion) do not complete a block.
    queue.pushFrame(s16StereoFrame(900, 48000).get(), 1.0);
    QCOMPARE(queue.size(), int64_t(0));
}

void TestAudioQueue::frameOfAnotherShapeIsDropped() {
    KvAudioQueue queue(48000, AV_CH_LAYOUT_MONO, 1, AV_SAMPLE_FMT_FLTP, 44100, AV_CH_LAYOUT_STEREO,
                       2, AV_SAMPLE_FMT_S16);
    // A stereo interleaved frame where mono planar was announced.
    queue.pushFrame(s16StereoFrame(4800, 48000).get(), 0.0);
    QCOMPARE(queue.size(), int64_t(0));
}

void TestAudioQueue::popOnEmptyQueueIsNull() {
    KvAudioQueue queue(48000, AV_CH_LAYOUT_STEREO, 2, AV_SAMPLE_FMT_FLTP, 44100,
                       AV_CH_LAYOUT_STEREO, 2, AV_SAMPLE_FMT_S16);
    QVERIFY(queue.popAudioData() == nullptr);
    QCOMPARE(queue.size(), int64_t(0));
}

void TestAudioQueue::formatMapping_data() {
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("type");
    QTest::newRow("u8") << 0 << 8 << int(QAudioFormat::UnSignedInt);
    QTest::newRow("s16") << 1 << 16 << int(QAudioFormat::SignedInt);
    QTest::newRow("s32") << 2 << 32 << int(QAudioFormat::SignedInt);
    QTest::newRow("flt") << 3 << 32 << int(QAudioFormat::Float);
    QTest::newRow("dbl") << 4 << 64 << int(QAudioFormat::Float);
    QTest::newRow("u8p") << 5 << 8 << int(QAudioFormat::UnSignedInt);
    QTest::newRow("s16p") << 6 << 16 << int(QAudioFormat::SignedInt);
    QTest::newRow("s32p") << 7 << 32 << int(QAudioFormat::SignedInt);
    QTest::newRow("fltp") << 8 << 32 << int(QAudioFormat::Float);
    QTest::newRow("dblp") << 9 << 64 << int(QAudioFormat::Float);
    QTest::newRow("s64") << 10 << 64 << int(QAudioFormat::SignedInt);
    QTest::newRow("unknown 11") << 11 << -1 << int(QAudioFormat::Unknown);
}

void TestAudioQueue::formatMapping() {
    QFETCH(int, code);
    QFETCH(int, size);
    QFETCH(int, type);
    const QAudioFormat format = KvAudioPlayer::audioFormat(44100, code, 2);
    QCOMPARE(format.sampleSize(), size);
    QCOMPARE(int(format.sampleType()), type);
    QCOMPARE(format.sampleRate(), 44100);
    QCOMPARE(format.channelCount(), 2);
    QCOMPARE(format.codec(), QString("audio/pcm"));
    QCOMPARE(format.byteOrder(), QAudioFormat::LittleEndian);
}

void TestAudioQueue::mutedWriteSkipsTheDevice() {
    if (!haveDevice()) {
        QSKIP("no audio output device");
    }
    KvAudioPlayer player;
    QCOMPARE(player.getVolume(), 1.0f);
    player.setVolume(0.0f);
    player.start(44100, AV_SAMPLE_FMT_S16, 2);
    std::vector<unsigned char> silence(kS16StereoBlock * 100, 0);
    QElapsedTimer timer;
    timer.start();
    // 2.3 s of audio, returned at once without touching the device.
    QCOMPARE(player.write(silence.data(), int(silence.size())), int(silence.size()));
    QVERIFY(timer.elapsed() < 100);
    QTest::qWait(300);
    QCOMPARE(player.processedUSecs(), qint64(0));
    player.stop();
}

void TestAudioQueue::writesAtRealTime() {
    if (!haveDevice()) {
        QSKIP("no audio output device");
    }
    KvAudioPlayer player;
    player.start(44100, AV_SAMPLE_FMT_S16, 2);
    QCOMPARE(player.format().sampleRate(), 44100);
    QCOMPARE(player.format().sampleSize(), 16);
    QCOMPARE(player.format().channelCount(), 2);
    // 4 s of a tone in blocks of 1024 samples, as the player core writes them.
    const int blocks = 4 * 44100 / 1024;
    const int blocksPerSecond = 44100 / 1024;
    QElapsedTimer timer;
    timer.start();
    qint64 oneSecondWrittenNs = 0;
    for (int i = 0; i < blocks; ++i) {
        FramePtr frame = s16StereoFrame(1024, 44100, i * 1024);
        QCOMPARE(player.write(frame->data[0], kS16StereoBlock), 0);
        if (i == blocksPerSecond) {
            oneSecondWrittenNs = timer.nsecsElapsed();
        }
    }
    const double audioSeconds = blocks * 1024 / 44100.0;
    const double lastSeconds = (blocks - blocksPerSecond - 1) * 1024 / 44100.0;
    const double writeSeconds = (timer.nsecsElapsed() - oneSecondWrittenNs) / 1e9;
    // Once the device's buffer is full (its start-up aside), it takes the audio at its own
    // real-time pace: the last three seconds take about three seconds to write.
    QVERIFY2(writeSeconds > 0.75 * lastSeconds && writeSeconds < 1.25 * lastSeconds,
             qPrintable(QString("wrote %1 s of audio in %2 s").arg(lastSeconds).arg(writeSeconds)));
    QTRY_VERIFY_WITH_TIMEOUT(player.processedUSecs() >= qint64(0.98 * audioSeconds * 1e6), 5000);
    player.stop();
}

void TestAudioQueue::refusedFormatFallsBackToNearest() {
    if (!haveDevice()) {
        QSKIP("no audio output device");
    }
    KvAudioPlayer player;
    QTest::ignoreMessage(QtDebugMsg, "format not support, reformat");
    player.start(44100, 11, 2);
    const QAudioFormat format = player.format();
    QVERIFY(format.isValid());
    QVERIFY(format.sampleSize() > 0);
    // Writing still works (and returns) with whatever the device chose.
    std::vector<unsigned char> silence(4096, 0);
    QCOMPARE(player.write(silence.data(), int(silence.size())), 0);
    player.stop();
    QCOMPARE(player.processedUSecs(), qint64(0));
}

void TestAudioQueue::outputBelongsToTheThreadThatOpensIt() {
    // As the player core uses it: the format is chosen on this thread, the output is opened,
    // written and closed on a worker, and the volume is changed from here while it plays.
    if (!haveDevice()) {
        QSKIP("no audio output device");
    }
    OutputProbe player;
    player.setVolume(0.5f);
    player.prepare(44100, AV_SAMPLE_FMT_S16, 2);
    QVERIFY(player.outputObject() == nullptr);
    QCOMPARE(player.format().sampleRate(), 44100);
    OwnerReport report;
    std::unique_ptr<QThread> worker(QThread::create([&player, &report] {
        player.open();
        QAudioOutput* output = player.outputObject();
        report.owner = QThread::currentThread();
        report.openedAfterPrepare = output != nullptr;
        if (output == nullptr) {
            report.done = true;
            return;
        }
        report.outputThread = output->thread();
        FramePtr frame = s16StereoFrame(1024, 44100);
        player.write(frame->data[0], kS16StereoBlock);
        report.firstVolume = output->volume();
        report.firstWritten = true;
        for (int waited = 0; !report.volumeChanged && waited < kVolumeChangeWaitMs; ++waited) {
            QThread::msleep(1);
        }
        player.write(frame->data[0], kS16StereoBlock);
        report.secondVolume = output->volume();
        player.close();
        report.closedToNull = player.outputObject() == nullptr;
        report.done = true;
    }));
    worker->start();
    QTRY_VERIFY(report.firstWritten || report.done);
    player.setVolume(0.25f);
    report.volumeChanged = true;
    QTRY_VERIFY(report.done);
    QVERIFY(worker->wait(5000));
    QVERIFY(report.openedAfterPrepare);
    QCOMPARE(report.outputThread.load(), report.owner.load());
    QVERIFY(report.owner.load() != QThread::currentThread());
    // A volume set from another thread reaches the output before the next write.
    QVERIFY(qFuzzyCompare(report.firstVolume.load(), 0.5));
    QVERIFY(qFuzzyCompare(report.secondVolume.load(), 0.25));
    QVERIFY(report.closedToNull);
    QVERIFY(player.outputObject() == nullptr);
    // What the closed output played is not counted any more.
    QCOMPARE(player.processedUSecs(), qint64(0));
}

KV_TEST_GUILESS_MAIN(TestAudioQueue)
#include "tst_audioqueue.moc"
