#include "KvMapWidget.h"

#include "GPSPoint.h"
#include "KvCNumericLocale.h"
#include "KvFileUtils.h"
#include "KvLogCategories.h"
#include "KvVersion.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QResizeEvent>
#include <QUrl>
#include <QWebEnginePage>
#include <QWebEngineProfile>
#include <QWebEngineSettings>
#include <QWebEngineView>

#include <cstdio>

namespace {

// Every script call is formatted into a buffer of this size; six decimals keep the longest
// coordinates far below it.
constexpr int kScriptBufferSize = 64;
// Track indices are kept within this bound before the start offset is taken off, so that a
// nonsense play position cannot overflow the index arithmetic.
constexpr double kIndexLimit = 1e9;
// The page that clears the track: held scripts sent before it can be forgotten.
char const* const kClearScript = "initGpsInfo();";
// The web profile's storage name: a named profile keeps its cookies, local storage and HTTP
// cache on disk, so map tiles are not fetched again on every start.
char const* const kProfileName = "map";
// Folder of the profile's HTTP cache inside the application's cache folder.
char const* const kHttpCacheFolder = "map";
// The background the views show before their page has painted: the pages' own background.
QColor const kPageBackground(0xe9, 0xe6, 0xdf);

// The web profile both pages of every map widget share. One process-wide profile, because two
// profiles on one storage folder would fight over the disk cache; created by the first map
// widget and deleted when the last one goes, after its pages (a profile must outlive its pages).
QWebEngineProfile* sharedProfile = nullptr; // GUI thread only
int sharedProfileUsers = 0;                 // GUI thread only

// The tile servers' usage policies ask an application to name itself: "<name>/<version>".
QString mapUserAgent() {
    QString name = QCoreApplication::applicationName();
    if (name.isEmpty()) {
        name = QStringLiteral("dashcam-player");
    }
    QString version = QString::fromLatin1(KV_VERSION_TEXT);
    if (version.startsWith(QLatin1String("V "))) {
        version.remove(0, 2);
    }
    return QStringLiteral("%1/%2").arg(name, version);
}

QWebEngineProfile* acquireProfile() {
    if (sharedProfile == nullptr) {
        sharedProfile = new QWebEngineProfile(QString::fromLatin1(kProfileName));
        sharedProfile->setHttpCacheType(QWebEngineProfile::DiskHttpCache);
        sharedProfile->setCachePath(QStringLiteral("%1/%2").arg(
            KvFileUtils().getCacheRoot(), QString::fromLatin1(kHttpCacheFolder)));
        sharedProfile->setHttpUserAgent(mapUserAgent());
    }
    ++sharedProfileUsers;
    return sharedProfile;
}

void releaseProfile() {
    if (--sharedProfileUsers == 0) {
        delete sharedProfile;
        sharedProfile = nullptr;
    }
}

// A map page that stays on its map: a link the user clicks (the tile attribution, for example)
// opens in the desktop's browser instead of replacing the map.
class KvMapPage : public QWebEnginePage {
public:
    KvMapPage(QWebEngineProfile* profile, QObject* parent) : QWebEnginePage(profile, parent) {}

protected:
    bool acceptNavigationRequest(QUrl const& url, NavigationType type, bool isMainFrame) override {
        if (type == NavigationTypeLinkClicked) {
            QDesktopServices::openUrl(url);
            return false;
        }
        return QWebEnginePage::acceptNavigationRequest(url, type, isMainFrame);
    }
};

// Truncates toward zero like a C cast, with NaN as 0 and huge values held at the limit.
int truncatedIndex(double value) {
    if (!(value == value)) {
        return 0;
    }
    if (value > kIndexLimit) {
        return int(kIndexLimit);
    }
    if (value < -kIndexLimit) {
        return -int(kIndexLimit);
    }
    return int(value);
}

} // namespace

KvMapWidget::KvMapWidget(QWidget* parent) : QWidget(parent) {
    acquireProfile();
    baiduView = _createView();
    googleView = _createView();
    setupWebView(baiduView, baiduPagePath());
    setupWebView(googleView, googlePagePath());
    baiduView->hide();
    googleView->hide();
}

KvMapWidget::~KvMapWidget() {
    // The pages go before the profile they were made with.
    delete baiduView;
    delete googleView;
    releaseProfile();
}

QString KvMapWidget::baiduPagePath() {
    return QStringLiteral("%1/Map/baiduMap.html").arg(QCoreApplication::applicationDirPath());
}

QString KvMapWidget::googlePagePath() {
    return QStringLiteral("%1/Map/googleMap.html").arg(QCoreApplication::applicationDirPath());
}

QWebEngineView* KvMapWidget::_createView() {
    auto* view = new QWebEngineView(this);
    auto* page = new KvMapPage(sharedProfile, view);
    page->setBackgroundColor(kPageBackground);
    view->setPage(page);
    // The browser's menu (back, reload, view source) has nothing to offer on a map, and a reload
    // would lose the track.
    view->setContextMenuPolicy(Qt::NoContextMenu);
    connect(view, &QWebEngineView::loadStarted, this, [this, view]() { _onLoadStarted(view); });
    connect(view, &QWebEngineView::loadFinished, this,
            [this, view](bool ok) { _onLoadFinished(view, ok); });
    connect(page, &QWebEnginePage::renderProcessTerminated, view,
            [view](QWebEnginePage::RenderProcessTerminationStatus status, int code) {
                if (status == QWebEnginePage::NormalTerminationStatus) {
                    return;
                }
                // The page and its track are gone; a fresh page at least takes the next track.
                qCDebug(kvTrip, "map page renderer ended (%d, %d), reloading", int(status), code);
                view->reload();
            });
    return view;
}

void KvMapWidget::setupWebView(QWebEngineView* view, QString const& path) {
    QWebEngineSettings* settings = view->settings();
    settings->setAttribute(QWebEngineSettings::PluginsEnabled, false);
    settings->setAttribute(QWebEngineSettings::JavascriptEnabled, true);
    settings->setAttribute(QWebEngineSettings::JavascriptCanOpenWindows, true);
    _stateOf(view) = PageState();
    view->setUrl(QUrl::fromLocalFile(path));
}

void KvMapWidget::loadMap(_KvMapType type) {
    mapType = type;
    if (type == KvMapGoogle) {
        currentView = googleView;
        baiduView->hide();
        googleView->show();
    } else {
        baiduView->show();
        googleView->hide();
        currentView = baiduView;
    }
    resize(size());
    baiduView->setGeometry(0, 0, width(), height());
    googleView->setGeometry(0, 0, width(), height());
}

void KvMapWidget::setCorrection(int correction) {
    this->correction = correction;
}

void KvMapWidget::correctionLocation(KvLocation& location) {
    if (correction == 0) {
        return;
    }
    GPSPoint point(location.latitude, location.longitude);
    if (mapType == KvMapBaidu) {
        point = gcj02ToBd09(wgs84ToGcj02(point));
    } else if (mapType == KvMapGoogle) {
        point = wgs84ToGcj02(point);
    } else {
        return;
    }
    location.latitude = point.lat;
    location.longitude = point.lng;
}

void KvMapWidget::_convertLocation(KvLocation const* location, double& latitude,
                                   double& longitude) {
    latitude = location->latitude;
    longitude = location->longitude;
    if (correction == 0) {
        return;
    }
    GPSPoint point = wgs84ToGcj02(GPSPoint(latitude, longitude));
    if (mapType != KvMapGoogle) {
        point = gcj02ToBd09(point);
    }
    latitude = point.lat;
    longitude = point.lng;
}

void KvMapWidget::drawLine(QVector<KvLocation> const& locations) {
    clearMap();
    this->locations.clear();
    startIndex = 0;
    this->locations.append(locations);
    if (this->locations.isEmpty()) {
        return;
    }
    int lastValid = -1;
    for (int i = 0; i < this->locations.size(); ++i) {
        if (this->locations.at(i).valid) {
            lastValid = i;
            break;
        }
    }
    if (lastValid < 0) {
        this->locations.clear(); // not a single valid fix: nothing to draw
        return;
    }
    for (int i = 0; i < this->locations.size(); ++i) {
        KvLocation& location = this->locations[i];
        if (!location.valid) {
            // Copied from a fix that may already be corrected; it is corrected again below.
            location = this->locations.at(lastValid);
        } else {
            lastValid = i;
        }
        correctionLocation(location);
        _sendScript("addAddress(%lf,%lf);", location.latitude, location.longitude);
    }
    _runJSMethod(QStringLiteral("showPolyline();"));
    playLineIndex(0);
    lineLength = this->locations.size();
    startIndex = 0;
}

void KvMapWidget::showLocation(KvLocation const& location) {
    _sendScript("showAddress(%lf,%lf);", location.latitude, location.longitude);
}

void KvMapWidget::clearMap() {
    _runJSMethod(QString::fromLatin1(kClearScript));
}

void KvMapWidget::playLineIndex(int index) {
    char script[kScriptBufferSize];
    snprintf(script, sizeof script, "play(%d)", index);
    _runJSMethod(QString::fromLatin1(script));
}

void KvMapWidget::updatePlay(double currentTime, double totalTime) {
    if (!(totalTime > 0.0)) {
        playLineIndex(0); // no length to map the position onto
        return;
    }
    int const index = truncatedIndex(double(lineLength) * currentTime / totalTime);
    if (startIndex <= index) {
        playLineIndex(index - startIndex);
    } else {
        playLineIndex(0);
    }
}

int KvMapWidget::getCurrentLineLength() {
    return lineLength;
}

void KvMapWidget::updateMap() {
    _runJSMethod(QStringLiteral("update();"));
}

void KvMapWidget::retranslateUi() {}

void KvMapWidget::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    baiduView->setGeometry(0, 0, width(), height());
    googleView->setGeometry(0, 0, width(), height());
}

void KvMapWidget::_sendScript(char const* format, double latitude, double longitude) {
    char script[kScriptBufferSize];
    {
        // The pages read a decimal point whatever the desktop's locale is.
        KvCNumericLocale const cNumbers;
        snprintf(script, sizeof script, format, latitude, longitude);
    }
    _runJSMethod(QString::fromLatin1(script));
}

void KvMapWidget::_runJSMethod(QString const& script) {
    if (currentView == nullptr) {
        return;
    }
    PageState& state = _stateOf(currentView);
    switch (state.load) {
    case PageState::Ready:
        currentView->page()->runJavaScript(script);
        break;
    case PageState::Loading:
        if (script == QLatin1String(kClearScript)) {
            state.pending.clear(); // the page would clear whatever came before
        }
        state.pending.append(script);
        break;
    case PageState::Failed:
        break; // no page to run it in
    }
}

KvMapWidget::PageState& KvMapWidget::_stateOf(QWebEngineView* view) {
    return view == baiduView ? _baiduState : _googleState;
}

void KvMapWidget::_onLoadStarted(QWebEngineView* view) {
    _stateOf(view).load = PageState::Loading;
}

void KvMapWidget::_onLoadFinished(QWebEngineView* view, bool ok) {
    PageState& state = _stateOf(view);
    QStringList const pending = state.pending;
    state.pending.clear();
    if (!ok) {
        state.load = PageState::Failed;
        qCDebug(kvTrip, "map page did not load: %s", qUtf8Printable(view->url().toString()));
        return;
    }
    state.load = PageState::Ready;
    for (QString const& script : pending) {
        view->page()->runJavaScript(script);
    }
}
