// What the map widget sends to its pages: the script calls, byte for byte, recorded where the
// widget sends them; the conversion table; the views it shows; the web profile it gives them.

#include "GPSPoint.h"
#include "KvFileUtils.h"
#include "KvTestMain.h"
#include "MapTestUtil.h"

#include <QStandardPaths>
#include <QWebEngineProfile>
#include <QWebEngineSettings>
#include <QtTest>

#include <clocale>
#include <cmath>
#include <limits>

using kvtest::addAddress;
using kvtest::fix;
using kvtest::RecordingMapWidget;

namespace {

QPointF gcj(double latitude, double longitude) {
    GPSPoint const point = wgs84ToGcj02(GPSPoint(latitude, longitude));
    return QPointF(point.lat, point.lng);
}

QPointF bd(double latitude, double longitude) {
    GPSPoint const point = gcj02ToBd09(wgs84ToGcj02(GPSPoint(latitude, longitude)));
    return QPointF(point.lat, point.lng);
}

// Five fixes in Shanghai; the second and third are invalid and hold a far-away position that
// must not be drawn.
QVector<KvLocation> trackWithGap() {
    return {fix(31.2304, 121.4737), fix(10.0, 10.0, 0.0, false), fix(11.0, 11.0, 0.0, false),
            fix(31.2310, 121.4745), fix(31.2316, 121.4752)};
}

// Restores the C library's numeric locale when a test changed it.
class NumericLocaleGuard {
public:
    NumericLocaleGuard() : _saved(std::setlocale(LC_NUMERIC, nullptr)) {}
    ~NumericLocaleGuard() { std::setlocale(LC_NUMERIC, _saved.constData()); }

private:
    QByteArray _saved;
};

} // namespace

class TestMapWidget : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void initialState();
    void pagePaths();
    void loadMapShowsOneView_data();
    void loadMapShowsOneView();
    void resizeLaysOutBothViews();
    void scriptsBeforeLoadMapAreDropped();
    void drawLineSendsOneCallPerPoint();
    void gapsTakeThePositionBeforeThem_data();
    void gapsTakeThePositionBeforeThem();
    void invalidFixesBeforeTheFirstValidOne();
    void allInvalidSendsOnlyTheClear();
    void emptyTrackSendsOnlyTheClear();
    void correctionTable_data();
    void correctionTable();
    void convertLocationTreatsUnknownMapsAsBaidu();
    void correctionOffSendsTheSameNumbersToBothPages();
    void setCorrectionTakesEffectAtTheNextDrawLine();
    void updatePlayIsProportional();
    void updatePlayBeforeDrawLineStartsAtMinusOne();
    void updatePlayGuardsItsArguments();
    void otherCalls();
    void numbersKeepTheirDecimalPointUnderAGermanLocale();
    void hugeCoordinateIsCutToTheBuffer();
    void profileIsPersistentAndNamesTheApplication();
    void cleanupTestCase();
};

void TestMapWidget::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
}

void TestMapWidget::initialState() {
    RecordingMapWidget widget;
    QVERIFY(widget.currentView == nullptr);
    QVERIFY(widget.baiduView != nullptr);
    QVERIFY(widget.googleView != nullptr);
    QVERIFY(widget.baiduView->parent() == &widget);
    QVERIFY(widget.googleView->parent() == &widget);
    QCOMPARE(int(widget.mapType), 0);
    QCOMPARE(widget.startIndex, -1);
    QCOMPARE(widget.getCurrentLineLength(), 0);
    QCOMPARE(widget.correction, 1);
    QVERIFY(widget.locations.isEmpty());
    // Plug-ins off, JavaScript on and allowed to open windows.
    for (QWebEngineView* view : {widget.baiduView, widget.googleView}) {
        QWebEngineSettings* settings = view->settings();
        QVERIFY(!settings->testAttribute(QWebEngineSettings::PluginsEnabled));
        QVERIFY(settings->testAttribute(QWebEngineSettings::JavascriptEnabled));
        QVERIFY(settings->testAttribute(QWebEngineSettings::JavascriptCanOpenWindows));
    }
    QCOMPARE(widget.baiduView->url(), QUrl::fromLocalFile(KvMapWidget::baiduPagePath()));
    QCOMPARE(widget.googleView->url(), QUrl::fromLocalFile(KvMapWidget::googlePagePath()));
}

void TestMapWidget::pagePaths() {
    QString const dir = QCoreApplication::applicationDirPath();
    QCOMPARE(KvMapWidget::baiduPagePath(), dir + "/Map/baiduMap.html");
    QCOMPARE(KvMapWidget::googlePagePath(), dir + "/Map/googleMap.html");
    // The build puts the pages and Leaflet beside the executables that load them.
    QVERIFY(QFile::exists(KvMapWidget::baiduPagePath()));
    QVERIFY(QFile::exists(KvMapWidget::googlePagePath()));
    QVERIFY(QFile::exists(dir + "/Map/leaflet/leaflet.js"));
    QVERIFY(QFile::exists(dir + "/Map/leaflet/leaflet.css"));
}

void TestMapWidget::loadMapShowsOneView_data() {
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("google");
    QTest::newRow("Baidu (1)") << 1 << false;
    QTest::newRow("Google (2)") << 2 << true;
    QTest::newRow("0 shows Baidu") << 0 << false;
    QTest::newRow("3 shows Baidu") << 3 << false;
}

void TestMapWidget::loadMapShowsOneView() {
    QFETCH(int, type);
    QFETCH(bool, google);
    RecordingMapWidget widget;
    widget.resize(400, 300);
    widget.show();
    widget.loadMap(_KvMapType(type));
    QCOMPARE(int(widget.mapType), type);
    QCOMPARE(widget.currentView, google ? widget.googleView : widget.baiduView);
    QCOMPARE(widget.googleView->isVisible(), google);
    QCOMPARE(widget.baiduView->isVisible(), !google);
    QCOMPARE(widget.currentView->geometry(), QRect(0, 0, 400, 300));
    // Switching does not reload the pages or send anything.
    QVERIFY(widget.scripts.isEmpty());
}

void TestMapWidget::resizeLaysOutBothViews() {
    RecordingMapWidget widget;
    widget.loadMap(KvMapGoogle);
    widget.resize(333, 222);
    widget.show();
    QCOMPARE(widget.googleView->geometry(), QRect(0, 0, 333, 222));
    QCOMPARE(widget.baiduView->geometry(), QRect(0, 0, 333, 222));
    widget.resize(640, 480);
    QCOMPARE(widget.googleView->geometry(), QRect(0, 0, 640, 480));
    QCOMPARE(widget.baiduView->geometry(), QRect(0, 0, 640, 480));
}

void TestMapWidget::scriptsBeforeLoadMapAreDropped() {
    RecordingMapWidget widget;
    widget.resize(400, 300);
    widget.show();
    widget.drawLine(kvtest::drive(10));
    widget.loadMap(KvMapGoogle);
    QVERIFY(kvtest::waitForPage(widget.googleView));
    QVariantMap const state = kvtest::pageState(widget.googleView);
    QCOMPARE(state.value("points").toInt(), 0);
    QCOMPARE(state.value("markerIndex").toInt(), -1);
    // The widget still knows the track it was given.
    QCOMPARE(widget.getCurrentLineLength(), 10);
}

void TestMapWidget::drawLineSendsOneCallPerPoint() {
    RecordingMapWidget widget;
    widget.setCorrection(0);
    widget.loadMap(KvMapGoogle);
    QVector<KvLocation> const track = kvtest::drive(180);
    widget.drawLine(track);
    QCOMPARE(widget.scripts.size(), 1 + 180 + 2);
    QCOMPARE(widget.scripts.first(), QStringLiteral("initGpsInfo();"));
    for (int i = 0; i < 180; ++i) {
        QCOMPARE(widget.scripts.at(1 + i), addAddress(track[i].latitude, track[i].longitude));
    }
    QCOMPARE(widget.scripts.at(181), QStringLiteral("showPolyline();"));
    QCOMPARE(widget.scripts.at(182), QStringLiteral("play(0)"));
    QCOMPARE(widget.getCurrentLineLength(), 180);
    QCOMPARE(widget.startIndex, 0);
    QCOMPARE(widget.locations.size(), 180);
}

void TestMapWidget::gapsTakeThePositionBeforeThem_data() {
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("correction");
    QTest::newRow("Google, correction on") << int(KvMapGoogle) << 1;
    QTest::newRow("Baidu, correction on") << int(KvMapBaidu) << 1;
    QTest::newRow("Google, correction off") << int(KvMapGoogle) << 0;
}

void TestMapWidget::gapsTakeThePositionBeforeThem() {
    QFETCH(int, type);
    QFETCH(int, correction);
    RecordingMapWidget widget;
    widget.loadMap(_KvMapType(type));
    widget.setCorrection(correction);
    QVector<KvLocation> const track = trackWithGap();
    widget.drawLine(track);
    QCOMPARE(widget.scripts.size(), 1 + 5 + 2);

    auto convert = [&](double latitude, double longitude) {
        if (correction == 0) {
            return QPointF(latitude, longitude);
        }
        return type == KvMapGoogle ? gcj(latitude, longitude) : bd(latitude, longitude);
    };
    QPointF const first = convert(track[0].latitude, track[0].longitude);
    // The copies of the first fix are converted once more: deliberately twice-corrected.
    QPointF const copied = convert(first.x(), first.y());
    QCOMPARE(widget.scripts.at(1), addAddress(first.x(), first.y()));
    QCOMPARE(widget.scripts.at(2), addAddress(copied.x(), copied.y()));
    QCOMPARE(widget.scripts.at(3), addAddress(copied.x(), copied.y()));
    for (int i = 3; i < 5; ++i) {
        QPointF const own = convert(track[i].latitude, track[i].longitude);
        QCOMPARE(widget.scripts.at(1 + i), addAddress(own.x(), own.y()));
    }
    if (correction != 0) {
        QVERIFY(copied != first); // the double correction does move them
    }
    // The widget keeps the track as drawn.
    QVERIFY(widget.locations.at(1).valid);
    QCOMPARE(widget.locations.at(1).latitude, copied.x());
}

void TestMapWidget::invalidFixesBeforeTheFirstValidOne() {
    RecordingMapWidget widget;
    widget.loadMap(KvMapGoogle);
    widget.drawLine({fix(1.0, 2.0, 0.0, false), fix(1.0, 2.0, 0.0, false), fix(31.2304, 121.4737),
                     fix(31.2310, 121.4745)});
    // They take the first valid fix as it was read, and are converted once, like it.
    QPointF const first = gcj(31.2304, 121.4737);
    QCOMPARE(widget.scripts.at(1), addAddress(first.x(), first.y()));
    QCOMPARE(widget.scripts.at(2), addAddress(first.x(), first.y()));
    QCOMPARE(widget.scripts.at(3), addAddress(first.x(), first.y()));
}

void TestMapWidget::allInvalidSendsOnlyTheClear() {
    RecordingMapWidget widget;
    widget.loadMap(KvMapGoogle);
    widget.drawLine(kvtest::drive(5));
    widget.scripts.clear();
    QVector<KvLocation> track = kvtest::drive(20);
    for (KvLocation& location : track) {
        location.valid = false;
    }
    widget.drawLine(track);
    QCOMPARE(widget.scripts, QStringList{QStringLiteral("initGpsInfo();")});
    QVERIFY(widget.locations.isEmpty());
    QCOMPARE(widget.startIndex, 0);
}

void TestMapWidget::emptyTrackSendsOnlyTheClear() {
    RecordingMapWidget widget;
    widget.loadMap(KvMapBaidu);
    widget.drawLine(QVector<KvLocation>());
    QCOMPARE(widget.scripts, QStringList{QStringLiteral("initGpsInfo();")});
    QCOMPARE(widget.startIndex, 0);
}

void TestMapWidget::correctionTable_data() {
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("correction");
    QTest::addColumn<QPointF>("expected");
    double const lat = 39.9;
    double const lng = 116.4;
    QTest::newRow("off, Baidu") << 1 << 0 << QPointF(lat, lng);
    QTest::newRow("off, Google") << 2 << 0 << QPointF(lat, lng);
    QTest::newRow("on, Baidu") << 1 << 1 << bd(lat, lng);
    QTest::newRow("on, Google") << 2 << 1 << gcj(lat, lng);
    QTest::newRow("on, 0") << 0 << 1 << QPointF(lat, lng);
    QTest::newRow("on, 3") << 3 << 1 << QPointF(lat, lng);
    QTest::newRow("any non-zero is on") << 2 << -7 << gcj(lat, lng);
}

void TestMapWidget::correctionTable() {
    QFETCH(int, type);
    QFETCH(int, correction);
    QFETCH(QPointF, expected);
    RecordingMapWidget widget;
    widget.loadMap(_KvMapType(type));
    widget.setCorrection(correction);
    KvLocation location = fix(39.9, 116.4);
    location.speed = 55.0;
    widget.correctionLocation(location);
    QCOMPARE(location.latitude, expected.x());
    QCOMPARE(location.longitude, expected.y());
    QCOMPARE(location.speed, 55.0);
    QVERIFY(location.valid);
}

void TestMapWidget::convertLocationTreatsUnknownMapsAsBaidu() {
    RecordingMapWidget widget;
    KvLocation const location = fix(39.9, 116.4);
    double latitude = 0.0;
    double longitude = 0.0;
    for (int type : {0, 1, 3}) {
        widget.loadMap(_KvMapType(type));
        widget._convertLocation(&location, latitude, longitude);
        QCOMPARE(QPointF(latitude, longitude), bd(39.9, 116.4));
    }
    widget.loadMap(KvMapGoogle);
    widget._convertLocation(&location, latitude, longitude);
    QCOMPARE(QPointF(latitude, longitude), gcj(39.9, 116.4));
    widget.setCorrection(0);
    widget.loadMap(_KvMapType(3));
    widget._convertLocation(&location, latitude, longitude);
    QCOMPARE(QPointF(latitude, longitude), QPointF(39.9, 116.4));
}

void TestMapWidget::correctionOffSendsTheSameNumbersToBothPages() {
    RecordingMapWidget google;
    RecordingMapWidget baidu;
    google.loadMap(KvMapGoogle);
    baidu.loadMap(KvMapBaidu);
    google.setCorrection(0);
    baidu.setCorrection(0);
    QVector<KvLocation> const track = trackWithGap() + kvtest::drive(30, 39.9, 116.4);
    google.drawLine(track);
    baidu.drawLine(track);
    QCOMPARE(google.scripts.size(), 1 + track.size() + 2);
    QCOMPARE(google.scripts, baidu.scripts);
}

void TestMapWidget::setCorrectionTakesEffectAtTheNextDrawLine() {
    RecordingMapWidget widget;
    widget.loadMap(KvMapGoogle);
    QVector<KvLocation> const track = {fix(39.9, 116.4)};
    widget.drawLine(track);
    widget.setCorrection(0);
    QPointF const corrected = gcj(39.9, 116.4);
    QCOMPARE(widget.scripts.at(1), addAddress(corrected.x(), corrected.y()));
    QCOMPARE(widget.locations.at(0).latitude, corrected.x()); // not converted back
    widget.scripts.clear();
    widget.drawLine(track);
    QCOMPARE(widget.scripts.at(1), addAddress(39.9, 116.4));
}

void TestMapWidget::updatePlayIsProportional() {
    RecordingMapWidget widget;
    widget.loadMap(KvMapGoogle);
    widget.drawLine(kvtest::drive(100));
    QCOMPARE(widget.getCurrentLineLength(), 100);
    widget.scripts.clear();
    widget.updatePlay(30.0, 60.0);
    widget.updatePlay(59.9, 60.0);
    widget.updatePlay(0.0, 60.0);
    widget.updatePlay(60.0, 60.0); // one past the last point; the page holds the marker at the end
    QCOMPARE(widget.scripts, (QStringList{"play(50)", "play(99)", "play(0)", "play(100)"}));
}

void TestMapWidget::updatePlayBeforeDrawLineStartsAtMinusOne() {
    RecordingMapWidget widget;
    widget.loadMap(KvMapBaidu);
    QCOMPARE(widget.startIndex, -1);
    widget.updatePlay(0.0, 60.0);
    widget.updatePlay(10.0, 60.0);
    QCOMPARE(widget.scripts, (QStringList{"play(1)", "play(1)"}));
}

void TestMapWidget::updatePlayGuardsItsArguments() {
    RecordingMapWidget widget;
    widget.loadMap(KvMapGoogle);
    widget.drawLine(kvtest::drive(100));
    widget.scripts.clear();
    double const nan = std::numeric_limits<double>::quiet_NaN();
    double const inf = std::numeric_limits<double>::infinity();
    widget.updatePlay(10.0, 0.0);  // no length: the start
    widget.updatePlay(10.0, -5.0); // nonsense length: the start
    widget.updatePlay(10.0, nan);
    widget.updatePlay(nan, 60.0);
    widget.updatePlay(inf, 60.0);
    widget.updatePlay(-inf, 60.0);
    widget.updatePlay(-10.0, 60.0); // before the start: index below startIndex
    QCOMPARE(widget.scripts.size(), 7);
    QCOMPARE(widget.scripts.mid(0, 4), (QStringList{"play(0)", "play(0)", "play(0)", "play(0)"}));
    QCOMPARE(widget.scripts.at(4), QStringLiteral("play(1000000000)"));
    QCOMPARE(widget.scripts.at(5), QStringLiteral("play(0)"));
    QCOMPARE(widget.scripts.at(6), QStringLiteral("play(0)"));
}

void TestMapWidget::otherCalls() {
    RecordingMapWidget widget;
    widget.loadMap(KvMapBaidu);
    widget.clearMap();
    widget.updateMap();
    widget.playLineIndex(7);
    widget.playLineIndex(-3);
    // showLocation sends the fix as it is, whatever the correction.
    widget.showLocation(fix(39.9, 116.4));
    widget.showLocation(fix(-33.8688, -151.2093));
    widget.retranslateUi();
    QCOMPARE(widget.scripts, (QStringList{"initGpsInfo();", "update();", "play(7)", "play(-3)",
                                          "showAddress(39.900000,116.400000);",
                                          "showAddress(-33.868800,-151.209300);"}));
}

void TestMapWidget::numbersKeepTheirDecimalPointUnderAGermanLocale() {
    NumericLocaleGuard const guard;
    if (std::setlocale(LC_NUMERIC, "de_DE.UTF-8") == nullptr) {
        QSKIP("the de_DE.UTF-8 locale is not installed here (CI has it)");
    }
    char buffer[32];
    snprintf(buffer, sizeof buffer, "%.1f", 1.5);
    QCOMPARE(QByteArray(buffer), QByteArray("1,5")); // the locale is really in force
    RecordingMapWidget widget;
    widget.setCorrection(0);
    widget.loadMap(KvMapGoogle);
    widget.drawLine({fix(47.628422, 122.165017)});
    widget.showLocation(fix(-1.25, 2.5));
    QCOMPARE(widget.scripts.at(1), QStringLiteral("addAddress(47.628422,122.165017);"));
    QCOMPARE(widget.scripts.last(), QStringLiteral("showAddress(-1.250000,2.500000);"));
}

void TestMapWidget::hugeCoordinateIsCutToTheBuffer() {
    RecordingMapWidget widget;
    widget.setCorrection(0);
    widget.loadMap(KvMapGoogle);
    widget.drawLine({fix(1e300, 1.0), fix(48.0, 11.0)});
    // A number too long for the 64-byte buffer is cut; the call is lost in the page, nothing else.
    QCOMPARE(widget.scripts.at(1).size(), 63);
    QVERIFY(widget.scripts.at(1).startsWith("addAddress(1000000"));
    QCOMPARE(widget.scripts.at(2), addAddress(48.0, 11.0));
}

void TestMapWidget::profileIsPersistentAndNamesTheApplication() {
    RecordingMapWidget widget;
    for (QWebEngineView* view : {widget.baiduView, widget.googleView}) {
        QWebEngineProfile* profile = view->page()->profile();
        QVERIFY(!profile->isOffTheRecord());
        QCOMPARE(profile->httpCacheType(), QWebEngineProfile::DiskHttpCache);
        QVERIFY2(profile->cachePath().startsWith(KvFileUtils().getCacheRoot()),
                 qPrintable(profile->cachePath()));
        QCOMPARE(profile->httpUserAgent(), QCoreApplication::applicationName() + "/" +
                                               QString::fromLatin1(PROJECT_VERSION_TEXT));
    }
    QCOMPARE(widget.baiduView->page()->profile(), widget.googleView->page()->profile());
}

void TestMapWidget::cleanupTestCase() {
    QStandardPaths::setTestModeEnabled(false);
}

KV_TEST_MAIN(TestMapWidget)
#include "tst_mapwidget.moc"
