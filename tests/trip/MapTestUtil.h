#pragma once

// Helpers of the map tests: a map widget that records every script it sends, the page's state
// read through its getState() function, and tracks to draw.

#include "KvLocation.h"
#include "KvMapWidget.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QStringList>
#include <QTest>
#include <QVariant>
#include <QVariantMap>
#include <QVector>
#include <QWebEnginePage>
#include <QWebEngineView>

#include <memory>

// QtWebEngine shares OpenGL contexts with the widgets; Qt wants to know before the application
// object exists, as the player's main() tells it. A static object runs before the test main.
namespace kvtest {
inline bool const kShareContexts =
    (QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts), true);

// How long a page may take to load or to answer under a loaded machine, in milliseconds.
constexpr int kPageTimeoutMs = 30000;

// A map widget whose scripts are recorded where the widget sends them.
class RecordingMapWidget : public KvMapWidget {
public:
    using KvMapWidget::_convertLocation;
    using KvMapWidget::baiduView;
    using KvMapWidget::correction;
    using KvMapWidget::currentView;
    using KvMapWidget::googleView;
    using KvMapWidget::lineLength;
    using KvMapWidget::locations;
    using KvMapWidget::mapType;
    using KvMapWidget::startIndex;

    QStringList scripts;

protected:
    void _runJSMethod(QString const& script) override {
        scripts.append(script);
        KvMapWidget::_runJSMethod(script);
    }
};

// Runs a script in the page and waits for its result; an invalid QVariant after the timeout.
inline QVariant evaluate(QWebEngineView* view, QString const& script,
                         int timeoutMs = kPageTimeoutMs) {
    // Shared with the callback, which may come after this function gave up waiting.
    auto result = std::make_shared<QVariant>();
    auto done = std::make_shared<bool>(false);
    view->page()->runJavaScript(script, [result, done](QVariant const& value) {
        *result = value;
        *done = true;
    });
    QElapsedTimer timer;
    timer.start();
    while (!*done && timer.elapsed() < timeoutMs) {
        QTest::qWait(5);
    }
    return *result;
}

// The page's read-only summary: points, line points, marker index and position, bounds...
inline QVariantMap pageState(QWebEngineView* view) {
    return evaluate(view, QStringLiteral("getState()")).toMap();
}

// Waits until the page has loaded with its scripts (getState answers).
inline bool waitForPage(QWebEngineView* view, int timeoutMs = kPageTimeoutMs) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < timeoutMs) {
        if (evaluate(view,
                     QStringLiteral("typeof getState === 'function' && "
                                    "document.readyState === 'complete'"),
                     timeoutMs)
                .toBool()) {
            return true;
        }
        QTest::qWait(20);
    }
    return false;
}

// A valid fix.
inline KvLocation fix(double latitude, double longitude, double speed = 0.0, bool valid = true) {
    KvLocation location;
    location.valid = valid;
    location.latitude = latitude;
    location.longitude = longitude;
    location.speed = speed;
    return location;
}

// A drive of `count` fixes going north-east from a start point, one fix a second.
inline QVector<KvLocation> drive(int count, double latitude = 48.1173, double longitude = 11.5167,
                                 double step = 0.0002) {
    QVector<KvLocation> track;
    track.reserve(count);
    for (int i = 0; i < count; ++i) {
        track.append(fix(latitude + i * step, longitude + i * step * 1.5, 40.0 + i % 20));
    }
    return track;
}

// "addAddress(lat,lng);" as the widget writes it.
inline QString addAddress(double latitude, double longitude) {
    return QStringLiteral("addAddress(%1,%2);")
        .arg(QString::number(latitude, 'f', 6), QString::number(longitude, 'f', 6));
}

} // namespace kvtest
