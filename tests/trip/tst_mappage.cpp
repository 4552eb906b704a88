// What the map pages do with the widget's calls, read back through their getState() function,
// with the real QtWebEngine under Xvfb and no network (tiles fail, the map still draws).

#include "KvFileUtils.h"
#include "KvTestMain.h"
#include "MapTestUtil.h"

#include <QDesktopServices>
#include <QDir>
#include <QImage>
#include <QStandardPaths>
#include <QtTest>

#include <cmath>
#include <limits>

using kvtest::drive;
using kvtest::evaluate;
using kvtest::fix;
using kvtest::pageState;
using kvtest::RecordingMapWidget;

namespace {

constexpr int kViewWidth = 640;
constexpr int kViewHeight = 480;
// The line's colour in the pages (#e8412c), and how far a drawn pixel may be from it
// (anti-aliasing blends the edges with the background).
QColor const kLineColor(0xe8, 0x41, 0x2c);
constexpr int kColorTolerance = 40;
// Radius around a track point searched for the line's colour, in pixels.
constexpr int kSearchRadius = 3;

// A shown and sized map widget on one page, loaded and ready.
struct ShownMap {
    RecordingMapWidget widget;
    QWebEngineView* view = nullptr;

    explicit ShownMap(_KvMapType type) {
        widget.resize(kViewWidth, kViewHeight);
        widget.show();
        widget.loadMap(type);
        view = widget.currentView;
    }
    bool waitUntilLoaded() { return kvtest::waitForPage(view); }
    QVariantMap state() { return pageState(view); }
};

bool nearColor(QColor const& a, QColor const& b) {
    return std::abs(a.red() - b.red()) + std::abs(a.green() - b.green()) +
               std::abs(a.blue() - b.blue()) <=
           kColorTolerance;
}

bool lineColorNear(QImage const& image, QPoint const& centre) {
    for (int dy = -kSearchRadius; dy <= kSearchRadius; ++dy) {
        for (int dx = -kSearchRadius; dx <= kSearchRadius; ++dx) {
            QPoint const p = centre + QPoint(dx, dy);
            if (image.rect().contains(p) && nearColor(image.pixelColor(p), kLineColor)) {
                return true;
            }
        }
    }
    return false;
}

int countLineColor(QImage const& image) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            count += nearColor(image.pixelColor(x, y), kLineColor) ? 1 : 0;
        }
    }
    return count;
}

double number(QVariantMap const& map, char const* key) {
    return map.value(QString::fromLatin1(key)).toDouble();
}

// Catches the URLs the application hands to the desktop's browser.
class UrlCatcher : public QObject {
    Q_OBJECT
public:
    QList<QUrl> urls;
public slots:
    void open(QUrl const& url) { urls.append(url); }
};

// The whole track lies in the view.
bool trackInView(QVariantMap const& state) {
    QVariantMap const bounds = state.value("bounds").toMap();
    QVariantMap const view = state.value("view").toMap();
    if (bounds.isEmpty() || view.isEmpty()) {
        return false;
    }
    return number(view, "south") <= number(bounds, "south") &&
           number(view, "north") >= number(bounds, "north") &&
           number(view, "west") <= number(bounds, "west") &&
           number(view, "east") >= number(bounds, "east");
}

} // namespace

class TestMapPage : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void pages_data();
    void trackOf180PointsGivesA180PointLine_data();
    void trackOf180PointsGivesA180PointLine();
    void playPutsTheMarkerOnItsPoint_data();
    void playPutsTheMarkerOnItsPoint();
    void trackSentBeforeThePageLoadedArrivesWhole_data();
    void trackSentBeforeThePageLoadedArrivesWhole();
    void grabShowsTheLineWithoutNetwork_data();
    void grabShowsTheLineWithoutNetwork();
    void markerStaysInViewWithoutUndoingTheZoom();
    void trackDrawnWhileHiddenIsFittedWhenShown();
    void newSizeFitsAgainUntilTheUserMovesTheMap();
    void clearForgetsTheTrack();
    void showAddressShowsOnePlace();
    void baiduGridPutsBeijingOnItsTile();
    void googlePageOffersOsmAndAGcj02RoadMap();
    void offlinePiecesAreThere_data();
    void offlinePiecesAreThere();
    void chosenBaseLayerIsRemembered();
    void clickedLinkOpensInTheBrowser();
    void noScriptFromTheNetwork_data();
    void noScriptFromTheNetwork();
    void switchingMapsDoesNotRedraw();
    void badPositions_data();
    void badPositions();
    void singleFix();
    void trackAcrossTheAntimeridian();
    void failedCallDoesNotStopLaterCalls();
    void hundredThousandFixes();
    void missingPageLeavesTheWidgetUsable();
    void cleanupTestCase();
};

void TestMapPage::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    // The pages keep the user's choice of map layer in the web profile's storage (here the test
    // folder): every run starts without one.
    QDir(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + "/QtWebEngine/map")
        .removeRecursively();
}

void TestMapPage::pages_data() {
    QTest::addColumn<int>("type");
    QTest::newRow("google") << int(KvMapGoogle);
    QTest::newRow("baidu") << int(KvMapBaidu);
}

void TestMapPage::trackOf180PointsGivesA180PointLine_data() {
    pages_data();
}

void TestMapPage::trackOf180PointsGivesA180PointLine() {
    QFETCH(int, type);
    ShownMap map{_KvMapType(type)};
    QVERIFY(map.waitUntilLoaded());
    map.widget.drawLine(drive(180, 39.9, 116.4));
    QCOMPARE(map.widget.scripts.filter(QRegularExpression("^addAddress\\(")).size(), 180);
    QVariantMap const state = map.state();
    QCOMPARE(state.value("page").toString(), type == KvMapGoogle ? "google" : "baidu");
    QCOMPARE(state.value("points").toInt(), 180);
    QCOMPARE(state.value("linePoints").toInt(), 180);
    QVERIFY(state.value("lineShown").toBool());
    QCOMPARE(state.value("markerIndex").toInt(), 0);
    QCOMPARE(state.value("errors").toInt(), 0);
    // The view is fitted to the track.
    QVERIFY(trackInView(state));
    QVERIFY2(state.value("zoom").toInt() >= 12, "fitted, not the world view");
}

void TestMapPage::playPutsTheMarkerOnItsPoint_data() {
    pages_data();
}

void TestMapPage::playPutsTheMarkerOnItsPoint() {
    QFETCH(int, type);
    ShownMap map{_KvMapType(type)};
    QVERIFY(map.waitUntilLoaded());
    map.widget.drawLine(drive(180));
    map.widget.playLineIndex(50);
    QVariantMap state = map.state();
    QCOMPARE(state.value("markerIndex").toInt(), 50);
    // The marker stands where point 50 was sent, as the page read it.
    KvLocation const& point = map.widget.locations.at(50);
    QVariantMap const marker = state.value("marker").toMap();
    QCOMPARE(QString::number(number(marker, "lat"), 'f', 6),
             QString::number(point.latitude, 'f', 6));
    QCOMPARE(QString::number(number(marker, "lng"), 'f', 6),
             QString::number(point.longitude, 'f', 6));

    // updatePlay maps the play position onto the track: half way is point 90.
    map.widget.updatePlay(90.0, 180.0);
    QCOMPARE(map.state().value("markerIndex").toInt(), 90);
    // An index past the end holds the marker on the last point; a negative one on the first.
    map.widget.playLineIndex(5000);
    QCOMPARE(map.state().value("markerIndex").toInt(), 179);
    map.widget.playLineIndex(-4);
    QCOMPARE(map.state().value("markerIndex").toInt(), 0);
    QCOMPARE(map.state().value("errors").toInt(), 0);
}

void TestMapPage::trackSentBeforeThePageLoadedArrivesWhole_data() {
    pages_data();
}

void TestMapPage::trackSentBeforeThePageLoadedArrivesWhole() {
    QFETCH(int, type);
    // Right after start-up: the widget is made and a recording opened before the pages loaded.
    ShownMap map{_KvMapType(type)};
    // No event has been handled since the widget was made, so the page cannot have loaded yet.
    map.widget.drawLine(drive(180));
    map.widget.playLineIndex(42);
    QVERIFY(map.waitUntilLoaded());
    QTRY_COMPARE_WITH_TIMEOUT(map.state().value("markerIndex").toInt(), 42, kvtest::kPageTimeoutMs);
    QVariantMap const state = map.state();
    QCOMPARE(state.value("points").toInt(), 180);
    QCOMPARE(state.value("linePoints").toInt(), 180);
}

void TestMapPage::grabShowsTheLineWithoutNetwork_data() {
    pages_data();
}

void TestMapPage::grabShowsTheLineWithoutNetwork() {
    QFETCH(int, type);
    ShownMap map{_KvMapType(type)};
    QVERIFY(map.waitUntilLoaded());
    QImage const before = map.view->grab().toImage();
    QCOMPARE(countLineColor(before), 0);
    map.widget.drawLine(drive(180, 31.23, 121.47));
    QVariantMap const state = map.state();
    QCOMPARE(state.value("linePoints").toInt(), 180);
    // Points along the track, away from the marker at point 0.
    QList<QPoint> points;
    for (int index : {60, 100, 140, 179}) {
        QVariantMap const pixel = evaluate(map.view, QString("pointPixel(%1)").arg(index)).toMap();
        points.append(QPoint(qRound(number(pixel, "x")), qRound(number(pixel, "y"))));
        QVERIFY(QRect(0, 0, kViewWidth, kViewHeight).contains(points.last()));
    }
    // Painting reaches the screen a frame or two after the calls ran.
    QTRY_VERIFY_WITH_TIMEOUT(
        [&]() {
            QImage const image = map.view->grab().toImage();
            for (QPoint const& point : points) {
                if (!lineColorNear(image, point)) {
                    return false;
                }
            }
            return true;
        }(),
        kvtest::kPageTimeoutMs);
    // The background away from the track is not the line's colour.
    QImage const image = map.view->grab().toImage();
    QVERIFY(countLineColor(image) < kViewWidth * kViewHeight / 20);
}

void TestMapPage::markerStaysInViewWithoutUndoingTheZoom() {
    ShownMap map{KvMapGoogle};
    QVERIFY(map.waitUntilLoaded());
    map.widget.drawLine(drive(600, 48.0, 11.0, 0.001));
    int const fitted = map.state().value("zoom").toInt();
    // The user zooms in on the start of the track.
    evaluate(map.view, "kvMap.setView(kvMap.getCenter(), kvMap.getZoom() + 3, {animate: false}); "
                       "kvMap.panTo([48.0, 11.0], {animate: false}); true");
    QCOMPARE(map.state().value("zoom").toInt(), fitted + 3);
    for (int index : {0, 150, 300, 450, 599}) {
        map.widget.playLineIndex(index);
        QVariantMap const state = map.state();
        QCOMPARE(state.value("markerIndex").toInt(), index);
        QCOMPARE(state.value("zoom").toInt(), fitted + 3);
        QVariantMap const marker = state.value("marker").toMap();
        QVariantMap const view = state.value("view").toMap();
        QVERIFY2(number(marker, "lat") >= number(view, "south") &&
                     number(marker, "lat") <= number(view, "north") &&
                     number(marker, "lng") >= number(view, "west") &&
                     number(marker, "lng") <= number(view, "east"),
                 qPrintable(QString("marker %1 left the view").arg(index)));
    }
}

void TestMapPage::trackDrawnWhileHiddenIsFittedWhenShown() {
    RecordingMapWidget widget;
    widget.resize(kViewWidth, kViewHeight);
    widget.loadMap(KvMapGoogle);
    widget.drawLine(drive(180, 39.9, 116.4));
    QVERIFY(kvtest::waitForPage(widget.googleView));
    QCOMPARE(pageState(widget.googleView).value("points").toInt(), 180);
    widget.show();
    QTRY_VERIFY_WITH_TIMEOUT(trackInView(pageState(widget.googleView)), kvtest::kPageTimeoutMs);
    QVERIFY(pageState(widget.googleView).value("zoom").toInt() >= 12);
}

void TestMapPage::newSizeFitsAgainUntilTheUserMovesTheMap() {
    ShownMap map{KvMapBaidu};
    QVERIFY(map.waitUntilLoaded());
    map.widget.drawLine(drive(300, 39.9, 116.4, 0.0005));
    QVERIFY(trackInView(map.state()));
    int const large = map.state().value("zoom").toInt();
    map.widget.resize(kViewWidth / 3, kViewHeight / 3);
    QTRY_VERIFY_WITH_TIMEOUT(map.state().value("size").toMap().value("x").toInt() == kViewWidth / 3,
                             kvtest::kPageTimeoutMs);
    QTRY_VERIFY_WITH_TIMEOUT(trackInView(map.state()), kvtest::kPageTimeoutMs);
    QVERIFY(map.state().value("zoom").toInt() < large);
    // The user zooms in: from then on a new size keeps the user's zoom.
    evaluate(map.view, "kvMap.getContainer().dispatchEvent(new MouseEvent('mousedown')); "
                       "kvMap.setZoom(kvMap.getZoom() + 2, {animate: false}); true");
    QVERIFY(!map.state().value("autoFit").toBool());
    int const zoomed = map.state().value("zoom").toInt();
    map.widget.resize(kViewWidth, kViewHeight);
    QTRY_VERIFY_WITH_TIMEOUT(map.state().value("size").toMap().value("x").toInt() == kViewWidth,
                             kvtest::kPageTimeoutMs);
    QCOMPARE(map.state().value("zoom").toInt(), zoomed);
    // A new track is fitted again.
    map.widget.drawLine(drive(300, 39.9, 116.4, 0.0005));
    QVERIFY(trackInView(map.state()));
    QCOMPARE(map.state().value("zoom").toInt(), large);
}

void TestMapPage::clearForgetsTheTrack() {
    ShownMap map{KvMapGoogle};
    QVERIFY(map.waitUntilLoaded());
    map.widget.drawLine(drive(30));
    map.widget.clearMap();
    QVariantMap const state = map.state();
    QCOMPARE(state.value("points").toInt(), 0);
    QCOMPARE(state.value("linePoints").toInt(), 0);
    QCOMPARE(state.value("markerIndex").toInt(), -1);
    QVERIFY(state.value("marker").isNull());
    // play with no track shows nothing.
    map.widget.playLineIndex(3);
    QCOMPARE(map.state().value("markerIndex").toInt(), -1);
    // A second track replaces the first entirely.
    map.widget.drawLine(drive(10));
    map.widget.drawLine(drive(20));
    QCOMPARE(map.state().value("points").toInt(), 20);
    QCOMPARE(map.state().value("linePoints").toInt(), 20);
}

void TestMapPage::showAddressShowsOnePlace() {
    ShownMap map{KvMapBaidu};
    QVERIFY(map.waitUntilLoaded());
    map.widget.showLocation(fix(39.915, 116.404));
    QVariantMap const state = map.state();
    QVariantMap const address = state.value("address").toMap();
    QCOMPARE(number(address, "lat"), 39.915);
    QCOMPARE(number(address, "lng"), 116.404);
    QVERIFY(state.value("zoom").toInt() >= 16);
}

void TestMapPage::baiduGridPutsBeijingOnItsTile() {
    ShownMap map{KvMapBaidu};
    QVERIFY(map.waitUntilLoaded());
    // Tiananmen in BD-09 lies on Baidu's tile 790/294 at zoom 12.
    QVariantMap const tile = evaluate(map.view, "tileAt(39.915, 116.404, 12)").toMap();
    QCOMPARE(tile.value("x").toString(), QStringLiteral("790"));
    QCOMPARE(tile.value("y").toString(), QStringLiteral("294"));
    QVERIFY2(tile.value("url").toString().contains("x=790&y=294&z=12"),
             qPrintable(tile.value("url").toString()));
    // Zoom 18 is the grid's unscaled level: one pixel per Baidu metre.
    QVariantMap const fine = evaluate(map.view, "tileAt(39.915, 116.404, 18)").toMap();
    QCOMPARE(fine.value("x").toString(), QStringLiteral("50617"));
    QCOMPARE(fine.value("y").toString(), QStringLiteral("18851"));
    // West and south of the origin the indices are written with "M".
    QVariantMap const west = evaluate(map.view, "tileAt(-33.9, -70.6, 5)").toMap();
    QVERIFY(west.value("x").toString().startsWith("M"));
    QVERIFY(west.value("y").toString().startsWith("M"));
    QCOMPARE(map.state().value("baseLayer").toString(), QStringLiteral("Baidu"));
}

void TestMapPage::googlePageOffersOsmAndAGcj02RoadMap() {
    ShownMap map{KvMapGoogle};
    QVERIFY(map.waitUntilLoaded());
    QTRY_COMPARE_WITH_TIMEOUT(map.state().value("baseLayer").toString(),
                              QStringLiteral("OpenStreetMap"), kvtest::kPageTimeoutMs);
    QStringList const layers = map.state().value("baseLayers").toStringList();
    QCOMPARE(layers.size(), 2);
    QVERIFY(layers.at(1).contains("GCJ-02"));
    QString const attribution =
        evaluate(map.view, "document.querySelector('.leaflet-control-attribution').innerHTML")
            .toString();
    QVERIFY2(attribution.contains("https://www.openstreetmap.org/copyright") &&
                 attribution.contains("OpenStreetMap</a> contributors"),
             qPrintable(attribution));
    QCOMPARE(
        evaluate(map.view, "document.querySelectorAll('.leaflet-control-layers').length").toInt(),
        1);
}

void TestMapPage::offlinePiecesAreThere_data() {
    pages_data();
}

void TestMapPage::offlinePiecesAreThere() {
    QFETCH(int, type);
    ShownMap map{_KvMapType(type)};
    QVERIFY(map.waitUntilLoaded());
    map.widget.drawLine(drive(60));
    // The scale bar and the grid's canvas tiles, which need no network.
    QCOMPARE(
        evaluate(map.view, "document.querySelectorAll('.leaflet-control-scale').length").toInt(),
        1);
    QVERIFY(evaluate(map.view, "document.querySelectorAll('canvas.leaflet-tile').length").toInt() >
            0);
    QCOMPARE(map.state().value("pendingFit").toBool(), false);
}

void TestMapPage::chosenBaseLayerIsRemembered() {
    auto choose = [](QWebEngineView* view, int index) {
        evaluate(view, QString("document.querySelectorAll('.leaflet-control-layers-selector')[%1]"
                               ".click(); true")
                           .arg(index));
    };
    {
        ShownMap map{KvMapGoogle};
        QVERIFY(map.waitUntilLoaded());
        QTRY_COMPARE_WITH_TIMEOUT(map.state().value("baseLayer").toString(),
                                  QStringLiteral("OpenStreetMap"), kvtest::kPageTimeoutMs);
        choose(map.view, 1);
        QCOMPARE(map.state().value("baseLayer").toString(), QStringLiteral("Road map (GCJ-02)"));
    }
    // The next start shows the road map the user chose; choosing OpenStreetMap again sticks too.
    ShownMap map{KvMapGoogle};
    QVERIFY(map.waitUntilLoaded());
    QTRY_COMPARE_WITH_TIMEOUT(map.state().value("baseLayer").toString(),
                              QStringLiteral("Road map (GCJ-02)"), kvtest::kPageTimeoutMs);
    choose(map.view, 0);
    QCOMPARE(map.state().value("baseLayer").toString(), QStringLiteral("OpenStreetMap"));
    QCOMPARE(evaluate(map.view, "window.localStorage.getItem('kvBaseLayer')").toString(),
             QStringLiteral("OpenStreetMap"));
}

void TestMapPage::clickedLinkOpensInTheBrowser() {
    ShownMap map{KvMapGoogle};
    QVERIFY(map.waitUntilLoaded());
    map.widget.drawLine(drive(30));
    UrlCatcher catcher;
    QDesktopServices::setUrlHandler(QStringLiteral("https"), &catcher, "open");
    // The attribution's link to the tile licence.
    QTRY_VERIFY_WITH_TIMEOUT(
        evaluate(map.view, "document.querySelectorAll('.leaflet-control-attribution a').length")
                .toInt() >= 2,
        kvtest::kPageTimeoutMs);
    evaluate(map.view, "Array.prototype.filter.call("
                       "document.querySelectorAll('.leaflet-control-attribution a'), "
                       "function (a) { return a.href.indexOf('openstreetmap') >= 0; })[0].click(); "
                       "true");
    QTRY_COMPARE_WITH_TIMEOUT(catcher.urls.size(), 1, kvtest::kPageTimeoutMs);
    QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
    QCOMPARE(catcher.urls.first(), QUrl("https://www.openstreetmap.org/copyright"));
    // The map stays, with its track.
    QCOMPARE(map.view->url(), QUrl::fromLocalFile(KvMapWidget::googlePagePath()));
    QCOMPARE(map.state().value("points").toInt(), 30);
}

void TestMapPage::noScriptFromTheNetwork_data() {
    pages_data();
}

void TestMapPage::noScriptFromTheNetwork() {
    QFETCH(int, type);
    ShownMap map{_KvMapType(type)};
    QVERIFY(map.waitUntilLoaded());
    QStringList const sources =
        evaluate(map.view, "Array.prototype.map.call(document.querySelectorAll('script, link'), "
                           "function (e) { return e.src || e.href; })")
            .toStringList();
    QVERIFY(sources.size() >= 4);
    for (QString const& source : sources) {
        QVERIFY2(source.startsWith("file://"), qPrintable(source));
    }
    QVERIFY(evaluate(map.view, "typeof L === 'object' && L.version.indexOf('1.') === 0").toBool());
}

void TestMapPage::switchingMapsDoesNotRedraw() {
    ShownMap map{KvMapGoogle};
    QVERIFY(map.waitUntilLoaded());
    QVERIFY(kvtest::waitForPage(map.widget.baiduView));
    map.widget.drawLine(drive(30));
    map.widget.loadMap(KvMapBaidu);
    QCOMPARE(pageState(map.widget.baiduView).value("points").toInt(), 0);
    QCOMPARE(pageState(map.widget.googleView).value("points").toInt(), 30);
    map.widget.drawLine(drive(12));
    QCOMPARE(pageState(map.widget.baiduView).value("points").toInt(), 12);
    QCOMPARE(pageState(map.widget.googleView).value("points").toInt(), 30);
}

void TestMapPage::badPositions_data() {
    QTest::addColumn<int>("type");
    QTest::addColumn<double>("latitude");
    QTest::addColumn<double>("longitude");
    QTest::addColumn<bool>("drawn");
    double const nan = std::numeric_limits<double>::quiet_NaN();
    double const inf = std::numeric_limits<double>::infinity();
    for (int type : {int(KvMapGoogle), int(KvMapBaidu)}) {
        char const* page = type == KvMapGoogle ? "google" : "baidu";
        QTest::addRow("%s NaN", page) << type << nan << nan;
        QTest::addRow("%s NaN longitude", page) << type << 31.0 << -nan;
        QTest::addRow("%s infinite", page) << type << inf << -inf;
        QTest::addRow("%s latitude 91", page) << type << 91.0 << 121.0;
        QTest::addRow("%s longitude 1000", page) << type << 31.0 << 1000.0;
        QTest::addRow("%s (0, 0)", page) << type << 0.0 << 0.0;
    }
}

void TestMapPage::badPositions() {
    QFETCH(int, type);
    QFETCH(double, latitude);
    QFETCH(double, longitude);
    ShownMap map{_KvMapType(type)};
    QVERIFY(map.waitUntilLoaded());
    map.widget.setCorrection(0);
    // The bad fix is marked valid: it reaches the page as it is, between good ones.
    QVector<KvLocation> track = drive(20, 31.23, 121.47);
    track[10] = fix(latitude, longitude);
    map.widget.drawLine(track);
    map.widget.playLineIndex(10);
    QVariantMap state = map.state();
    QCOMPARE(state.value("errors").toInt(), 0);
    // Every call keeps its place, so the marker index still matches the player's.
    QCOMPARE(state.value("points").toInt(), 20);
    QCOMPARE(state.value("markerIndex").toInt(), 10);
    bool const usable = std::isfinite(latitude) && std::isfinite(longitude) &&
                        std::abs(latitude) <= 90 && std::abs(longitude) <= 180;
    QCOMPARE(state.value("linePoints").toInt(), usable ? 20 : 19);
    if (!usable) {
        // The marker holds on the point before.
        QVariantMap const marker = state.value("marker").toMap();
        QCOMPARE(QString::number(number(marker, "lat"), 'f', 6),
                 QString::number(track[9].latitude, 'f', 6));
    }
    // Later calls work as usual.
    map.widget.drawLine(drive(180));
    map.widget.playLineIndex(50);
    state = map.state();
    QCOMPARE(state.value("linePoints").toInt(), 180);
    QCOMPARE(state.value("markerIndex").toInt(), 50);
    QCOMPARE(state.value("errors").toInt(), 0);
}

void TestMapPage::singleFix() {
    for (_KvMapType type : {KvMapGoogle, KvMapBaidu}) {
        ShownMap map{type};
        QVERIFY(map.waitUntilLoaded());
        map.widget.drawLine({fix(39.915, 116.404)});
        QVariantMap const state = map.state();
        QCOMPARE(state.value("points").toInt(), 1);
        QCOMPARE(state.value("linePoints").toInt(), 1);
        QCOMPARE(state.value("markerIndex").toInt(), 0);
        QCOMPARE(state.value("zoom").toInt(), 16);
        QCOMPARE(state.value("errors").toInt(), 0);
        map.widget.updatePlay(30.0, 60.0); // index 0 of 1
        QCOMPARE(map.state().value("markerIndex").toInt(), 0);
    }
}

void TestMapPage::trackAcrossTheAntimeridian() {
    ShownMap map{KvMapGoogle};
    QVERIFY(map.waitUntilLoaded());
    // A ferry from Fiji's east to west, crossing 180 degrees.
    QVector<KvLocation> track;
    for (int i = 0; i < 40; ++i) {
        double longitude = 179.8 + i * 0.01;
        if (longitude > 180.0) {
            longitude -= 360.0;
        }
        track.append(fix(-16.8, longitude));
    }
    map.widget.drawLine(track);
    QVariantMap const state = map.state();
    QCOMPARE(state.value("linePoints").toInt(), 40);
    QCOMPARE(state.value("errors").toInt(), 0);
    QVariantMap const bounds = state.value("bounds").toMap();
    // The line goes on across the antimeridian instead of back around the world.
    double const width = number(bounds, "east") - number(bounds, "west");
    QVERIFY2(width < 1.0, qPrintable(QString::number(width)));
    QVERIFY(state.value("zoom").toInt() >= 8);
    map.widget.playLineIndex(39);
    QVariantMap const marker = map.state().value("marker").toMap();
    QVERIFY(std::abs(number(marker, "lng") - 180.19) < 1e-6);
}

void TestMapPage::failedCallDoesNotStopLaterCalls() {
    ShownMap map{KvMapGoogle};
    QVERIFY(map.waitUntilLoaded());
    map.widget.drawLine(drive(30));
    // A cut call (a syntax error in the page), a call with nonsense arguments, then ordinary ones.
    map.view->page()->runJavaScript("addAddress(1000000000000000000000000000000000000000000000");
    map.view->page()->runJavaScript("play('x'); addAddress('a', {}); showAddress(null);");
    map.widget.playLineIndex(12);
    QVariantMap const state = map.state();
    QCOMPARE(state.value("markerIndex").toInt(), 12);
    QCOMPARE(state.value("linePoints").toInt(), 30);
    QCOMPARE(state.value("points").toInt(), 31); // the nonsense point keeps a place, undrawn
}

void TestMapPage::hundredThousandFixes() {
    ShownMap map{KvMapGoogle};
    QVERIFY(map.waitUntilLoaded());
    QVector<KvLocation> const track = drive(100000, 30.0, 100.0, 0.00001);
    map.widget.drawLine(track);
    QCOMPARE(map.widget.getCurrentLineLength(), 100000);
    QTRY_COMPARE_WITH_TIMEOUT(map.state().value("linePoints").toInt(), 100000, 120000);
    map.widget.updatePlay(1800.0, 3600.0);
    QVariantMap const state = map.state();
    QCOMPARE(state.value("markerIndex").toInt(), 50000);
    QCOMPARE(state.value("errors").toInt(), 0);
}

void TestMapPage::missingPageLeavesTheWidgetUsable() {
    RecordingMapWidget widget;
    widget.resize(kViewWidth, kViewHeight);
    widget.show();
    QSignalSpy failed(widget.googleView, &QWebEngineView::loadFinished);
    widget.setupWebView(widget.googleView, QDir::tempPath() + "/no-such-folder/googleMap.html");
    widget.loadMap(KvMapGoogle);
    widget.drawLine(drive(40));
    QTRY_VERIFY_WITH_TIMEOUT(!failed.isEmpty(), kvtest::kPageTimeoutMs);
    QCOMPARE(failed.last().at(0).toBool(), false);
    // Nothing is held for a page that is not there, and nothing breaks.
    widget.drawLine(drive(40));
    widget.updatePlay(3.0, 40.0);
    widget.updateMap();
    QCOMPARE(widget.getCurrentLineLength(), 40);

    // The page comes back: the widget works with it again.
    widget.setupWebView(widget.googleView, KvMapWidget::googlePagePath());
    QVERIFY(kvtest::waitForPage(widget.googleView));
    QTRY_VERIFY_WITH_TIMEOUT(failed.size() >= 2 && failed.last().at(0).toBool(),
                             kvtest::kPageTimeoutMs);
    widget.drawLine(drive(25));
    QCOMPARE(pageState(widget.googleView).value("linePoints").toInt(), 25);
}

void TestMapPage::cleanupTestCase() {
    QStandardPaths::setTestModeEnabled(false);
}

KV_TEST_MAIN(TestMapPage)
#include "tst_mappage.moc"
