// The other recorders' GPS layouts read from the public samples of real camera layouts in
// ../shared/realdata (see its README.txt). Skipped, with a message, where that folder is absent.
#include "GPSFormatTestUtil.h"
#include "Kv70maiGPSReader.h"
#include "KvGPSReader.h"
#include "KvNovatekGPSReader.h"
#include "KvTestMain.h"
#include "KvThinkwareGPSReader.h"
#include "LocationTestUtil.h"

#include <QtTest>

#include <cmath>

using namespace kvtest;

class TestGPSFormatSamples : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void novatekIndexedBlock();
    void novatekScrambledBlockIsNotRead();
    void kenwoodBox();
    void seventyMaiBox();
    void seventyMaiBoxCutShort();
    void seventyMaiBoxMutated();
    void thinkwareTextTrack();
    void otherTextTracksAreNotThinkware();
    void gps0SamplesKeepTheirTrack();

private:
    QString _sample(QString const& name) const { return _root + QLatin1Char('/') + name; }
    QString _root;
};

namespace {
constexpr double kDegrees = 1e-6;
constexpr double kSpeed = 1e-6;
} // namespace

void TestGPSFormatSamples::initTestCase() {
    _root = realdataDir();
    if (_root.isEmpty()) {
        QSKIP("the public camera samples (shared/realdata beside the project) are not here");
    }
}

// moov/"gps " lists one "free" block of the float layout.
void TestGPSFormatSamples::novatekIndexedBlock() {
    QVector<KvLocation> locations;
    QVERIFY(readGPSFromNovatekVideo(locations,
                                    _sample("findit-studio+exifast/QuickTime_moov_gps.mov")));
    QCOMPARE(locations.size(), 1);
    KvLocation const& fix = locations.first();
    QVERIFY(fix.valid);
    KV_COMPARE_NEAR(fix.latitude, 47.628418, kDegrees);
    KV_COMPARE_NEAR(fix.longitude, -122.165023, kDegrees);
    KV_COMPARE_NEAR(fix.speed, 0.0, kSpeed);
    QCOMPARE(fix.hour, 14);
    QCOMPARE(fix.minute, 30);
    QCOMPARE(fix.second, 45);
    QCOMPARE(fix.day, 15);
    QCOMPARE(fix.month, 7);
    QCOMPARE(fix.year, 24);
    // Nothing earlier in the order claims the file, so the recording's track is this one.
    QVERIFY(readGPSTrack(locations, {_sample("findit-studio+exifast/QuickTime_moov_gps.mov")}));
    QCOMPARE(locations.size(), 1);
}

// Rexing firmware scrambles the coordinates of the date-first layout; such blocks are not read
// (and this one lies inside mdat without an index).
void TestGPSFormatSamples::novatekScrambledBlockIsNotRead() {
    QVector<KvLocation> locations;
    QVERIFY(!readGPSFromNovatekVideo(
        locations, _sample("findit-studio+exifast/QuickTime_frea_rexing17b.mov")));
    QVERIFY(locations.isEmpty());
}

// Kenwood writes the 70mai box: two records, north-west and south-east.
void TestGPSFormatSamples::kenwoodBox() {
    QVector<KvLocation> locations;
    QVERIFY(readGPSFrom70maiVideo(locations,
                                  _sample("findit-studio+exifast/QuickTime_gps_kenwood.mov")));
    QCOMPARE(locations.size(), 2);
    KvLocation const& first = locations.at(0);
    QVERIFY(first.valid);
    KV_COMPARE_NEAR(first.latitude, 47.628417, kDegrees);
    KV_COMPARE_NEAR(first.longitude, -122.165017, kDegrees);
    KV_COMPARE_NEAR(first.speed, 50.0, kSpeed);
    // No stamp in the name: second 100 of the clip.
    QCOMPARE(first.day, 0);
    QCOMPARE(first.minute, 1);
    QCOMPARE(first.second, 40);
    KvLocation const& second = locations.at(1);
    KV_COMPARE_NEAR(second.latitude, -33.752, kDegrees);
    KV_COMPARE_NEAR(second.longitude, 151.205667, kDegrees);
    KV_COMPARE_NEAR(second.speed, 60.0, kSpeed);
    QCOMPARE(second.second, 41);
}

void TestGPSFormatSamples::seventyMaiBox() {
    QVector<KvLocation> locations;
    // 120 records, of which the last 59 are the unused, zeroed end of the box.
    QVERIFY(readGPSFrom70maiVideo(locations, _sample("mzdun+dashcam-gps/box.mp4")));
    QCOMPARE(locations.size(), 61);
    KvLocation const& first = locations.first();
    QVERIFY(first.valid);
    KV_COMPARE_NEAR(first.latitude, 52.190583, kDegrees);
    KV_COMPARE_NEAR(first.longitude, 20.789483, kDegrees);
    KV_COMPARE_NEAR(first.speed, 105.33, kSpeed);
    QCOMPARE(first.hour * 3600 + first.minute * 60 + first.second, 0);
    QCOMPARE(locations.last().hour * 3600 + locations.last().minute * 60 + locations.last().second,
             60);
    for (KvLocation const& fix : locations) {
        QVERIFY(fix.latitude > 52.0 && fix.latitude < 52.3);
        QVERIFY(fix.longitude > 20.7 && fix.longitude < 20.9);
    }
}

// The file ends inside the box: the records it holds are read, timed from the name's stamp.
void TestGPSFormatSamples::seventyMaiBoxCutShort() {
    QVector<KvLocation> locations;
    QVERIFY(readGPSFrom70maiVideo(locations,
                                  _sample("mzdun+dashcam-gps/NO20191130-120256-000122.MP4")));
    QCOMPARE(locations.size(), (3476 - 1275) / 36);
    KvLocation const& first = locations.first();
    KV_COMPARE_NEAR(first.latitude, 52.190583, kDegrees);
    KV_COMPARE_NEAR(first.longitude, 20.789483, kDegrees);
    KV_COMPARE_NEAR(first.speed, 105.33, kSpeed);
    QCOMPARE(first.day, 30);
    QCOMPARE(first.month, 11);
    QCOMPARE(first.year, 19);
    QCOMPARE(first.hour, 12);
    QCOMPARE(first.minute, 2);
    QCOMPARE(first.second, 56);
    QCOMPARE(locations.at(4).second, 0); // 12:03:00
    QCOMPARE(locations.at(4).minute, 3);
}

// A fuzzer-mutated copy: the readable records come out, nothing out of range.
void TestGPSFormatSamples::seventyMaiBoxMutated() {
    QVector<KvLocation> locations;
    QVERIFY(readGPSFrom70maiVideo(locations,
                                  _sample("mzdun+dashcam-gps/EV20191130-121256-000132.MP4")));
    QVERIFY(!locations.isEmpty());
    QVERIFY(locations.size() < (2324 - 1275) / 36);
    for (KvLocation const& fix : locations) {
        QVERIFY(fix.latitude > 52.0 && fix.latitude < 52.3);
        QVERIFY(fix.longitude > 20.7 && fix.longitude < 20.9);
        QVERIFY(fix.speed >= 0.0 && fix.speed < 200.0);
        QCOMPARE(fix.day, 30);
        QCOMPARE(fix.hour, 12);
    }
    KV_COMPARE_NEAR(locations.first().latitude, 52.190583, kDegrees);
}

// A QuickTime text track (cue without a length prefix) holding "gsensori" and "GNRMC" records.
void TestGPSFormatSamples::thinkwareTextTrack() {
    QString const clip = _sample("findit-studio+exifast/QuickTime_text_thinkware.mov");
    QVector<KvLocation> locations;
    QVERIFY(readGPSFromThinkwareVideo(locations, clip));
    QCOMPARE(locations.size(), 1);
    KvLocation const& fix = locations.first();
    QVERIFY(fix.valid);
    KV_COMPARE_NEAR(fix.latitude, 45 + 29.87489 / 60, 1e-9);
    KV_COMPARE_NEAR(fix.longitude, -(73 + 37.01215 / 60), 1e-9);
    KV_COMPARE_NEAR(fix.speed, 6.225 * 1.852, 1e-9);
    QCOMPARE(fix.hour, 16);
    QCOMPARE(fix.minute, 13);
    QCOMPARE(fix.second, 13);
    QCOMPARE(fix.day, 31);
    QCOMPARE(fix.month, 8);
    QCOMPARE(fix.year, 19);
    QCOMPARE(fix.gsensorX, -67.0);
    QCOMPARE(fix.gsensorY, -12.0);
    QCOMPARE(fix.gsensorZ, 100.0);
    QVERIFY(readGPSTrack(locations, {clip}));
    QCOMPARE(locations.size(), 1);
    QCOMPARE(locations.first().gsensorZ, 100.0);
}

void TestGPSFormatSamples::otherTextTracksAreNotThinkware() {
    QVector<KvLocation> locations;
    QVERIFY(!readGPSFromThinkwareVideo(
        locations, _sample("findit-studio+exifast/QuickTime_text_roadhawk.mov")));
    QVERIFY(!readGPSFromThinkwareVideo(
        locations, _sample("drewnoakes+metadata-extractor-images/with-gps.mp4")));
}

// The two "gps0" samples still give their track through the box reader, before any new one.
void TestGPSFormatSamples::gps0SamplesKeepTheirTrack() {
    QVector<KvLocation> locations;
    QVERIFY(readGPSTrack(locations, {_sample("findit-studio+exifast/QuickTime_gps0.mov")}));
    QCOMPARE(locations.size(), 2);
    KV_COMPARE_NEAR(locations.first().latitude, 47.628422, kDegrees);
    KV_COMPARE_NEAR(locations.first().longitude, 122.165017, kDegrees);
    QVERIFY(readGPSTrack(locations, {_sample("findit-studio+exifast/QuickTime_gps0_oor0.mov")}));
    QCOMPARE(locations.size(), 2);
    QVERIFY(!locations.first().valid);
}

KV_TEST_GUILESS_MAIN(TestGPSFormatSamples)
#include "tst_gpsformatsamples.moc"
