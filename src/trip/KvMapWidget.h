#pragma once

#include "KvConfigure.h"
#include "KvLocation.h"

#include <QString>
#include <QStringList>
#include <QVector>
#include <QWidget>

class QResizeEvent;
class QWebEngineProfile;
class QWebEngineView;

// Shows a clip's GPS track on one of two local web map pages ("Map/baiduMap.html" and
// "Map/googleMap.html" beside the executable) and moves a marker along it while the clip plays.
// Both pages are loaded at construction; only the selected one is shown. The widget drives the
// pages with short script calls ("initGpsInfo();", "addAddress(lat,lng);", "showPolyline();",
// "play(index)", "showAddress(lat,lng);", "update();") and never waits for their results.
//
// A script sent to a page that is still loading would run in the blank document and be lost, so
// each view holds its scripts until its page has loaded and then sends them in order. Before the
// first loadMap no view is current and scripts are dropped.
//
// GUI thread only.
class KvMapWidget : public QWidget {
    Q_OBJECT
public:
    explicit KvMapWidget(QWidget* parent = nullptr);
    ~KvMapWidget() override;

    // Plug-ins off, JavaScript on (and allowed to open windows), then loads the local page.
    void setupWebView(QWebEngineView* view, QString const& path);
    // KvMapGoogle shows the Google page; every other value shows the Baidu page. The pages are
    // not reloaded and the track is not redrawn.
    void loadMap(_KvMapType type);
    // Non-zero converts fixes to the shown page's datum; takes effect at the next drawLine.
    void setCorrection(int correction);
    // Converts the fix's position in place for the selected map: none with correction off or an
    // unknown map type, GCJ-02 for Google, BD-09 for Baidu.
    void correctionLocation(KvLocation& location);
    // Sends the track: every fix one "addAddress" call, invalid fixes holding the position of
    // the valid fix before them (or of the first valid fix), then the line and the marker at 0.
    // A track without a single valid fix only clears the page.
    void drawLine(QVector<KvLocation> const& locations);
    // Shows one position as it is, uncorrected.
    void showLocation(KvLocation const& location);
    void clearMap();
    void playLineIndex(int index);
    // Moves the marker to the track point proportional to the play position.
    void updatePlay(double currentTime, double totalTime);
    int getCurrentLineLength();
    void updateMap();
    // Nothing on the map is translated.
    void retranslateUi();

    // The file name of each page, relative to the executable's folder.
    static QString baiduPagePath();
    static QString googlePagePath();

protected:
    void resizeEvent(QResizeEvent* event) override;

    // The same conversion as correctionLocation into two outputs, except that any map type
    // other than Google counts as Baidu here.
    void _convertLocation(KvLocation const* location, double& latitude, double& longitude);
    // Sends one script to the current view (held while its page loads, dropped when no view is
    // current). Virtual so that tests can watch every call the pages receive.
    virtual void _runJSMethod(QString const& script);

    QWebEngineView* currentView = nullptr;
    QWebEngineView* baiduView = nullptr;  // child of this widget
    QWebEngineView* googleView = nullptr; // child of this widget
    _KvMapType mapType = _KvMapType(0);   // no map selected until loadMap
    int startIndex = -1;                  // track point of time 0; 0 once a track is drawn
    int lineLength = 0;                   // points sent by the last drawLine
    int correction = 1;
    QVector<KvLocation> locations; // the track as drawn: gaps filled, positions corrected

private:
    // The load state of one view's page and the scripts held for it.
    struct PageState {
        enum Load { Loading, Ready, Failed };
        Load load = Loading;
        QStringList pending; // scripts waiting for the page, in the order they were sent
    };

    QWebEngineView* _createView();
    PageState& _stateOf(QWebEngineView* view);
    void _onLoadStarted(QWebEngineView* view);
    void _onLoadFinished(QWebEngineView* view, bool ok);
    void _sendScript(char const* format, double latitude, double longitude);

    PageState _baiduState;
    PageState _googleState;
};
