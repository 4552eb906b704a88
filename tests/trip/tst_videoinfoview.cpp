// The trip panel: its figures read back from the read-outs and labels as a person sees them, in
// km/h and in mph, its time texts, and the slider that seeks only when the user lets it go.

#include "KvConfigure.h"
#include "KvLanguage.h"
#include "KvSlider.h"
#include "KvTestMain.h"
#include "QMeter.h"
#include "VideoInfoView.h"

#include <QFile>
#include <QLCDNumber>
#include <QLabel>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QStyle>
#include <QStyleOptionSlider>
#include <QtTest>

#include <clocale>
#include <cmath>
#include <limits>

namespace {

constexpr double kMilesPerKm = 0.6213712;
constexpr double kPi = 3.141592653589793;
constexpr int kPanelWidth = 320;
constexpr int kPanelHeight = 640;

// The view with its protected helpers reachable.
class OpenVideoInfoView : public VideoInfoView {
public:
    using VideoInfoView::_distanceFormLocation;
    using VideoInfoView::_getTimeFormat;
    using VideoInfoView::_rad;
};

KvLocation fix(double latitude, double longitude, double speed, bool valid = true) {
    KvLocation location;
    location.valid = valid;
    location.latitude = latitude;
    location.longitude = longitude;
    location.speed = speed;
    return location;
}

// Speeds 10, 50, 30 with the middle fix invalid.
QVector<KvLocation> threeFixes() {
    return {fix(31.0, 121.0, 10.0), fix(31.1, 121.1, 50.0, false), fix(31.2, 121.2, 30.0)};
}

void setSpeedUnit(int unit) {
    KvConfigure().setInt(QStringLiteral("Speed"), unit);
}

QLCDNumber* number(QWidget& view, char const* name) {
    auto* lcd = view.findChild<QLCDNumber*>(QString::fromLatin1(name));
    Q_ASSERT(lcd != nullptr);
    return lcd;
}

QLabel* label(QWidget& view, char const* name) {
    auto* found = view.findChild<QLabel*>(QString::fromLatin1(name));
    Q_ASSERT(found != nullptr);
    return found;
}

KvSlider* slider(QWidget& view) {
    return view.findChild<KvSlider*>(QStringLiteral("timeSlider"));
}

QMeter* meter(QWidget& view) {
    return view.findChild<QMeter*>(QStringLiteral("speedMeter"));
}

void sendMouse(QWidget* widget, QEvent::Type type, int x, Qt::MouseButtons buttons) {
    QPoint const pos(x, widget->height() / 2);
    Qt::MouseButton const button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, pos, widget->mapToGlobal(pos), button, buttons, Qt::NoModifier);
    QApplication::sendEvent(widget, &event);
}

// The x of the slider's handle centre for its current value.
int handleX(KvSlider* s) {
    QStyleOptionSlider option;
    option.initFrom(s);
    option.orientation = s->orientation();
    option.minimum = s->minimum();
    option.maximum = s->maximum();
    option.sliderPosition = s->sliderPosition();
    option.sliderValue = s->value();
    option.subControls = QStyle::SC_SliderHandle | QStyle::SC_SliderGroove;
    return s->style()
        ->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, s)
        .center()
        .x();
}

struct ShownView {
    OpenVideoInfoView view;
    ShownView() {
        view.resize(kPanelWidth, kPanelHeight);
        view.show();
    }
};

} // namespace

class TestVideoInfoView : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void constructionDefaults();
    void captions_data();
    void captions();
    void distanceOfOneDegreeOnTheEquator();
    void distanceNeedsTwoValidFixes();
    void statisticsCountInvalidSpeeds();
    void statisticsInMiles();
    void emptyTrackShowsZeros();
    void reloadSettingsSwitchesUnits();
    void timeFormat_data();
    void timeFormat();
    void updateTimeShowsTheProportionalFix();
    void updateTimeAtTheEndShowsTheLastFix();
    void invalidFixShowsZerosAndKeepsTheGauge();
    void negativeTimesChangeNothing();
    void zeroLengthAndNonsenseTimes();
    void clearResetsEverything();
    void heldSliderIsLeftAlone();
    void dragSeeksOnlyOnRelease();
    void secondDragSeeksToo();
    void clickOnTheLineSeeksOnRelease();
    void badFixes();
    void hundredThousandFixes();
    void layoutKeepsChildrenInside();
    void cleanupTestCase();
};

void TestVideoInfoView::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    KvLanguage::setRoot(QStringLiteral(KV_SOURCE_DIR "/data/language"));
    KvLanguage::installLanguage(QStringLiteral("english"));
}

void TestVideoInfoView::init() {
    setSpeedUnit(0);
}

void TestVideoInfoView::constructionDefaults() {
    setSpeedUnit(1);
    ShownView shown;
    VideoInfoView& view = shown.view;
    QCOMPARE(meter(view)->maxValue(), 240.0);
    QCOMPARE(meter(view)->units(), QStringLiteral("MPH"));
    QCOMPARE(number(view, "latitudeNumber")->digitCount(), 10);
    QCOMPARE(number(view, "longitudeNumber")->digitCount(), 10);
    QCOMPARE(number(view, "speedNumber")->digitCount(), 4);
    QCOMPARE(number(view, "maxSpeedNumber")->digitCount(), 4);
    QCOMPARE(number(view, "averageSpeedNumber")->digitCount(), 4);
    QCOMPARE(number(view, "distanceNumber")->digitCount(), 5);
    QCOMPARE(number(view, "speedNumber")->palette().color(QPalette::WindowText),
             QColor(0, 150, 214));
    QCOMPARE(slider(view)->orientation(), Qt::Horizontal);
    QCOMPARE(label(view, "currentTimeLabel")->alignment(), Qt::AlignCenter);
    QCOMPARE(label(view, "totalTimeLabel")->alignment(), Qt::AlignCenter);
    QCOMPARE(label(view, "currentTimeLabel")->text(), QStringLiteral("00:00"));

    setSpeedUnit(0);
    VideoInfoView metric;
    QCOMPARE(meter(metric)->units(), QStringLiteral("KM/H"));
}

void TestVideoInfoView::captions_data() {
    QTest::addColumn<int>("unit");
    QTest::addColumn<QString>("distance");
    QTest::newRow("mph") << 1 << "Total distance (mile)";
    QTest::newRow("km/h") << 0 << "Total distance (Km)";
    QTest::newRow("any other value is km/h") << 7 << "Total distance (Km)";
}

void TestVideoInfoView::captions() {
    QFETCH(int, unit);
    QFETCH(QString, distance);
    setSpeedUnit(unit);
    VideoInfoView view;
    QCOMPARE(label(view, "latitudeTitle")->text(), QStringLiteral("Latitude"));
    QCOMPARE(label(view, "longitudeTitle")->text(), QStringLiteral("Longitude"));
    QCOMPARE(label(view, "speedTitle")->text(), QStringLiteral("Current speed"));
    QCOMPARE(label(view, "maxSpeedTitle")->text(), QStringLiteral("Max speed"));
    QCOMPARE(label(view, "averageSpeedTitle")->text(), QStringLiteral("Average speed"));
    QCOMPARE(label(view, "distanceTitle")->text(), distance);

    // Another language is applied by reloadLanguage, not by the table change alone.
    KvLanguage::installLanguage(QStringLiteral("german"));
    QString const german = KvLanguage::kvtr(QStringLiteral("max_speed"));
    QVERIFY(german != QStringLiteral("Max speed"));
    QCOMPARE(label(view, "maxSpeedTitle")->text(), QStringLiteral("Max speed"));
    view.reloadLanguage();
    QCOMPARE(label(view, "maxSpeedTitle")->text(), german);
    QVERIFY(label(view, "distanceTitle")->text().startsWith(KvLanguage::kvtr("total_distance")));
    KvLanguage::installLanguage(QStringLiteral("english"));
}

void TestVideoInfoView::distanceOfOneDegreeOnTheEquator() {
    OpenVideoInfoView view;
    double const expected = 12742.786 * std::asin(std::sin(kPi / 360.0));
    double const distance = view._distanceFormLocation(fix(0, 0, 0), fix(0, 1, 0));
    QVERIFY(std::abs(distance - expected) < 1e-9);
    QVERIFY(std::abs(distance - 111.2) < 0.05);
    QCOMPARE(view._rad(180.0), kPi);
    // The read-out shows it too.
    view.setLocations({fix(0, 0, 0), fix(0, 1, 0)});
    QVERIFY(std::abs(number(view, "distanceNumber")->value() - expected) < 1e-9);
}

void TestVideoInfoView::distanceNeedsTwoValidFixes() {
    OpenVideoInfoView view;
    QCOMPARE(view._distanceFormLocation(fix(0, 0, 0, false), fix(0, 1, 0)), 0.0);
    QCOMPARE(view._distanceFormLocation(fix(0, 0, 0), fix(0, 1, 0, false)), 0.0);
    // Antipodes: rounding may not push the formula past a half circumference.
    double const half = view._distanceFormLocation(fix(0, 0, 0), fix(0, 180, 0));
    QVERIFY(std::abs(half - 12742.786 * kPi / 2) < 1e-6);
}

void TestVideoInfoView::statisticsCountInvalidSpeeds() {
    VideoInfoView view;
    view.setLocations(threeFixes());
    QCOMPARE(number(view, "maxSpeedNumber")->value(), 50.0);
    QCOMPARE(number(view, "averageSpeedNumber")->value(), 30.0);
    QCOMPARE(number(view, "distanceNumber")->value(), 0.0);
}

void TestVideoInfoView::statisticsInMiles() {
    setSpeedUnit(1);
    VideoInfoView view;
    view.setLocations(threeFixes());
    QVERIFY(std::abs(number(view, "maxSpeedNumber")->value() - 31.06856) < 1e-9);
    QVERIFY(std::abs(number(view, "averageSpeedNumber")->value() - 18.641136) < 1e-9);
    QCOMPARE(number(view, "distanceNumber")->value(), 0.0);
    view.setLocations({fix(0, 0, 0), fix(0, 1, 0)});
    double const km = 12742.786 * std::asin(std::sin(kPi / 360.0));
    QVERIFY(std::abs(number(view, "distanceNumber")->value() - km * kMilesPerKm) < 1e-9);
}

void TestVideoInfoView::emptyTrackShowsZeros() {
    VideoInfoView view;
    view.setLocations(threeFixes());
    view.setLocations(QVector<KvLocation>());
    QCOMPARE(number(view, "maxSpeedNumber")->value(), 0.0);
    QCOMPARE(number(view, "averageSpeedNumber")->value(), 0.0);
    QCOMPARE(number(view, "distanceNumber")->value(), 0.0);
    // Without a track the position read-outs are left as they are.
    view.updateTime(10.0, 60.0);
    QCOMPARE(number(view, "latitudeNumber")->value(), 0.0);
}

void TestVideoInfoView::reloadSettingsSwitchesUnits() {
    VideoInfoView view;
    view.setLocations(threeFixes());
    view.updateTime(0.0, 3.0);
    QCOMPARE(number(view, "speedNumber")->value(), 10.0);
    setSpeedUnit(1);
    view.reloadSettings();
    QCOMPARE(meter(view)->units(), QStringLiteral("MPH"));
    QCOMPARE(label(view, "distanceTitle")->text(), QStringLiteral("Total distance (mile)"));
    QVERIFY(std::abs(number(view, "maxSpeedNumber")->value() - 31.06856) < 1e-9);
    // The current fix changes at the next updateTime.
    QCOMPARE(number(view, "speedNumber")->value(), 10.0);
    view.updateTime(0.0, 3.0);
    QVERIFY(std::abs(number(view, "speedNumber")->value() - 6.213712) < 1e-9);
    setSpeedUnit(0);
    view.reloadSettings();
    QCOMPARE(meter(view)->units(), QStringLiteral("KM/H"));
    QCOMPARE(label(view, "distanceTitle")->text(), QStringLiteral("Total distance (Km)"));
    QCOMPARE(number(view, "maxSpeedNumber")->value(), 50.0);
}

void TestVideoInfoView::timeFormat_data() {
    QTest::addColumn<double>("seconds");
    QTest::addColumn<QString>("text");
    QTest::newRow("0") << 0.0 << "00:00";
    QTest::newRow("59.4") << 59.4 << "00:59";
    QTest::newRow("59.5 rounds up") << 59.5 << "01:00";
    QTest::newRow("3599.4") << 3599.4 << "59:59";
    QTest::newRow("3599.5 is an hour") << 3599.5 << "01:00:00";
    QTest::newRow("3600") << 3600.0 << "01:00:00";
    QTest::newRow("10 hours 2 min 3 s") << 36123.0 << "10:02:03";
    QTest::newRow("100 hours") << 360000.0 << "100:00:00";
    QTest::newRow("negative") << -5.0 << "00:00";
    QTest::newRow("NaN") << std::numeric_limits<double>::quiet_NaN() << "00:00";
    QTest::newRow("infinite") << std::numeric_limits<double>::infinity() << "00:00";
    QTest::newRow("huge") << 1e300 << "596523:03:20";
}

void TestVideoInfoView::timeFormat() {
    QFETCH(double, seconds);
    QFETCH(QString, text);
    OpenVideoInfoView view;
    QCOMPARE(view._getTimeFormat(seconds), text);
}

void TestVideoInfoView::updateTimeShowsTheProportionalFix() {
    ShownView shown;
    VideoInfoView& view = shown.view;
    QVector<KvLocation> track;
    for (int i = 0; i < 60; ++i) {
        track.append(fix(31.0 + i * 0.001, 121.0 + i * 0.002, double(i)));
    }
    view.setLocations(track);
    view.updateTime(30.0, 60.0);
    QCOMPARE(label(view, "currentTimeLabel")->text(), QStringLiteral("00:30"));
    QCOMPARE(label(view, "totalTimeLabel")->text(), QStringLiteral("01:00"));
    QCOMPARE(slider(view)->value(), 500);
    QCOMPARE(number(view, "latitudeNumber")->value(), track[30].latitude);
    QCOMPARE(number(view, "longitudeNumber")->value(), track[30].longitude);
    QCOMPARE(number(view, "speedNumber")->value(), 30.0);
    QCOMPARE(meter(view)->value(), 30.0);
    view.updateTime(59.9, 60.0);
    QCOMPARE(number(view, "speedNumber")->value(), 59.0);
    QCOMPARE(slider(view)->value(), 998);
}

void TestVideoInfoView::updateTimeAtTheEndShowsTheLastFix() {
    VideoInfoView view;
    view.setLocations(threeFixes());
    view.updateTime(60.0, 60.0); // index 3 of 3: one past the end
    QCOMPARE(number(view, "speedNumber")->value(), 30.0);
    view.updateTime(600.0, 60.0); // past the end
    QCOMPARE(number(view, "speedNumber")->value(), 30.0);
    QCOMPARE(slider(view)->value(), slider(view)->maximum());
}

void TestVideoInfoView::invalidFixShowsZerosAndKeepsTheGauge() {
    VideoInfoView view;
    view.setLocations(threeFixes());
    view.updateTime(0.0, 3.0);
    QCOMPARE(meter(view)->value(), 10.0);
    view.updateTime(1.0, 3.0); // the invalid middle fix
    QCOMPARE(number(view, "latitudeNumber")->value(), 0.0);
    QCOMPARE(number(view, "longitudeNumber")->value(), 0.0);
    QCOMPARE(number(view, "speedNumber")->value(), 0.0);
    QCOMPARE(meter(view)->value(), 10.0);
}

void TestVideoInfoView::negativeTimesChangeNothing() {
    VideoInfoView view;
    view.setLocations(threeFixes());
    view.updateTime(20.0, 60.0);
    int const value = slider(view)->value();
    view.updateTime(-1.0, 60.0);
    view.updateTime(10.0, -60.0);
    QCOMPARE(label(view, "currentTimeLabel")->text(), QStringLiteral("00:20"));
    QCOMPARE(label(view, "totalTimeLabel")->text(), QStringLiteral("01:00"));
    QCOMPARE(slider(view)->value(), value);
    QCOMPARE(number(view, "speedNumber")->value(), 0.0); // the invalid middle fix at 20 of 60 s
}

void TestVideoInfoView::zeroLengthAndNonsenseTimes() {
    VideoInfoView view;
    view.setLocations(threeFixes());
    view.updateTime(0.0, 3.0);
    double const nan = std::numeric_limits<double>::quiet_NaN();
    double const inf = std::numeric_limits<double>::infinity();
    view.updateTime(5.0, 0.0); // no length: times shown, nothing mapped
    QCOMPARE(label(view, "currentTimeLabel")->text(), QStringLiteral("00:05"));
    QCOMPARE(number(view, "speedNumber")->value(), 10.0);
    view.updateTime(nan, 60.0);
    view.updateTime(10.0, nan);
    QCOMPARE(label(view, "currentTimeLabel")->text(), QStringLiteral("00:05"));
    view.updateTime(inf, 60.0);
    QCOMPARE(slider(view)->value(), slider(view)->maximum());
    QCOMPARE(number(view, "speedNumber")->value(), 30.0);
    view.updateTime(1.0, inf);
    QCOMPARE(slider(view)->value(), 0);
}

void TestVideoInfoView::clearResetsEverything() {
    ShownView shown;
    VideoInfoView& view = shown.view;
    view.setLocations(threeFixes());
    view.updateTime(0.5, 3.0);
    view.clear();
    for (char const* name : {"latitudeNumber", "longitudeNumber", "speedNumber", "maxSpeedNumber",
                             "averageSpeedNumber", "distanceNumber"}) {
        QCOMPARE(number(view, name)->value(), 0.0);
    }
    QCOMPARE(label(view, "currentTimeLabel")->text(), QStringLiteral("00:00"));
    QCOMPARE(label(view, "totalTimeLabel")->text(), QStringLiteral("00:00"));
    QCOMPARE(slider(view)->value(), 0);
    QCOMPARE(meter(view)->value(), 0.0);
    // The stored track is gone: a play position shows no fix.
    view.updateTime(1.0, 3.0);
    QCOMPARE(number(view, "speedNumber")->value(), 0.0);
    QCOMPARE(meter(view)->value(), 0.0);
}

void TestVideoInfoView::heldSliderIsLeftAlone() {
    ShownView shown;
    VideoInfoView& view = shown.view;
    view.setLocations(threeFixes());
    view.updateTime(30.0, 60.0);
    KvSlider* s = slider(view);
    QCOMPARE(s->value(), 500);
    sendMouse(s, QEvent::MouseButtonPress, handleX(s), Qt::LeftButton);
    QVERIFY(s->isSliderDown());
    view.updateTime(45.0, 60.0);
    QCOMPARE(s->value(), 500); // not moved under the user's hand
    QCOMPARE(label(view, "currentTimeLabel")->text(), QStringLiteral("00:45"));
    QCOMPARE(number(view, "speedNumber")->value(), 30.0);
    sendMouse(s, QEvent::MouseButtonRelease, handleX(s), Qt::NoButton);
    view.updateTime(15.0, 60.0);
    QCOMPARE(s->value(), 250);
}

void TestVideoInfoView::dragSeeksOnlyOnRelease() {
    ShownView shown;
    VideoInfoView& view = shown.view;
    view.updateTime(30.0, 60.0);
    KvSlider* s = slider(view);
    QSignalSpy seeks(&view, &VideoInfoView::videoTimeChanged);
    int const x = handleX(s);
    sendMouse(s, QEvent::MouseButtonPress, x, Qt::LeftButton);
    for (int dx = 4; dx <= 60; dx += 4) {
        sendMouse(s, QEvent::MouseMove, x + dx, Qt::LeftButton);
    }
    QVERIFY(s->value() > 500);
    QCOMPARE(seeks.count(), 0); // the player is not moved while dragging
    // The time texts follow the drag.
    double const dragged = 60.0 * s->value() / s->maximum();
    QCOMPARE(label(view, "currentTimeLabel")->text(),
             QString::asprintf("00:%02d", int(dragged + 0.5)));
    QTest::ignoreMessage(QtDebugMsg, "_onSliderReleased");
    sendMouse(s, QEvent::MouseButtonRelease, x + 60, Qt::NoButton);
    QCOMPARE(seeks.count(), 1);
    QCOMPARE(seeks.at(0).at(0).toDouble(), 60.0 * s->value() / 1000.0);
    // Playback moves the slider again.
    view.updateTime(12.0, 60.0);
    QCOMPARE(s->value(), 200);
}

void TestVideoInfoView::secondDragSeeksToo() {
    ShownView shown;
    VideoInfoView& view = shown.view;
    view.updateTime(30.0, 60.0);
    KvSlider* s = slider(view);
    QSignalSpy seeks(&view, &VideoInfoView::videoTimeChanged);
    for (int round = 0; round < 2; ++round) {
        int const x = handleX(s);
        sendMouse(s, QEvent::MouseButtonPress, x, Qt::LeftButton);
        sendMouse(s, QEvent::MouseMove, x + 20, Qt::LeftButton);
        int const held = s->value();
        view.updateTime(1.0, 60.0); // playback goes on while the user holds the slider
        QCOMPARE(s->value(), held);
        sendMouse(s, QEvent::MouseButtonRelease, x + 20, Qt::NoButton);
        QCOMPARE(seeks.count(), round + 1);
        view.updateTime(30.0, 60.0);
        QCOMPARE(s->value(), 500);
    }
}

void TestVideoInfoView::clickOnTheLineSeeksOnRelease() {
    ShownView shown;
    VideoInfoView& view = shown.view;
    view.updateTime(0.0, 100.0);
    KvSlider* s = slider(view);
    QSignalSpy seeks(&view, &VideoInfoView::videoTimeChanged);
    int const x = s->width() * 3 / 4;
    sendMouse(s, QEvent::MouseButtonPress, x, Qt::LeftButton);
    QCOMPARE(s->value(), 1000 * x / s->width()); // jumped
    QCOMPARE(seeks.count(), 0);
    sendMouse(s, QEvent::MouseButtonRelease, x, Qt::NoButton);
    QCOMPARE(seeks.count(), 1);
    QCOMPARE(seeks.at(0).at(0).toDouble(), 100.0 * s->value() / 1000.0);
}

void TestVideoInfoView::badFixes() {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    double const inf = std::numeric_limits<double>::infinity();
    VideoInfoView view;
    // All invalid: speeds still count, distance does not.
    view.setLocations({fix(1, 1, 20, false), fix(2, 2, 40, false)});
    QCOMPARE(number(view, "maxSpeedNumber")->value(), 40.0);
    QCOMPARE(number(view, "averageSpeedNumber")->value(), 30.0);
    QCOMPARE(number(view, "distanceNumber")->value(), 0.0);
    // Positions and speeds that are not numbers add nothing instead of spoiling the figures.
    view.setLocations({fix(31, 121, 20), fix(nan, nan, nan), fix(inf, -inf, inf), fix(0, 0, 40),
                       fix(0, 0, 10), fix(95, 500, 30)});
    QCOMPARE(number(view, "maxSpeedNumber")->value(), 40.0);
    QCOMPARE(number(view, "averageSpeedNumber")->value(), 100.0 / 6.0);
    QVERIFY(std::isfinite(number(view, "distanceNumber")->value()));
    for (int second = 0; second <= 6; ++second) {
        view.updateTime(second, 6.0);
        QVERIFY(std::isfinite(number(view, "speedNumber")->value()));
    }
    // A single fix.
    view.setLocations({fix(31, 121, 33)});
    QCOMPARE(number(view, "maxSpeedNumber")->value(), 33.0);
    QCOMPARE(number(view, "averageSpeedNumber")->value(), 33.0);
    QCOMPARE(number(view, "distanceNumber")->value(), 0.0);
    view.updateTime(59.0, 60.0);
    QCOMPARE(number(view, "speedNumber")->value(), 33.0);
    // Across the antimeridian the distance is the short way.
    view.setLocations({fix(-16.8, 179.95, 10), fix(-16.8, -179.95, 10)});
    QVERIFY(number(view, "distanceNumber")->value() < 20.0);
    // A speed beyond the gauge's scale is held at its end.
    view.setLocations({fix(31, 121, 1000)});
    view.updateTime(0.0, 1.0);
    QCOMPARE(meter(view)->value(), 240.0);
    QCOMPARE(number(view, "speedNumber")->value(), 1000.0);
}

void TestVideoInfoView::hundredThousandFixes() {
    VideoInfoView view;
    QVector<KvLocation> track;
    track.reserve(100000);
    for (int i = 0; i < 100000; ++i) {
        track.append(fix(30.0 + i * 1e-5, 100.0, 36.0));
    }
    // How long this takes is measured by bench/run-map (kv_bench_map).
    view.setLocations(track);
    QCOMPARE(number(view, "averageSpeedNumber")->value(), 36.0);
    QVERIFY(std::abs(number(view, "distanceNumber")->value() - 111.2) < 1.0);
    view.updateTime(3599.0, 3600.0);
    QCOMPARE(number(view, "speedNumber")->value(), 36.0);
}

void TestVideoInfoView::layoutKeepsChildrenInside() {
    ShownView shown;
    VideoInfoView& view = shown.view;
    for (QSize size : {QSize(kPanelWidth, kPanelHeight), QSize(200, 300), QSize(0, 0)}) {
        view.resize(size);
        QRect const area = view.rect();
        for (QWidget* child : view.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
            if (size.isEmpty()) {
                continue; // nothing to check; only that it does not fail
            }
            QVERIFY2(area.contains(child->geometry()) || child->geometry().isEmpty(),
                     qPrintable(child->objectName()));
        }
    }
    view.resize(kPanelWidth, kPanelHeight);
    QVERIFY(meter(view)->width() >= 80);
    QVERIFY(slider(view)->width() > 100);
    QVERIFY(label(view, "currentTimeLabel")->x() < slider(view)->x());
    QVERIFY(label(view, "totalTimeLabel")->x() > slider(view)->x());
}

void TestVideoInfoView::cleanupTestCase() {
    QFile::remove(KvConfigure::filePath());
    QStandardPaths::setTestModeEnabled(false);
}

KV_TEST_MAIN(TestVideoInfoView)
#include "tst_videoinfoview.moc"
