#include "KvGpsMath.h"
#include "KvSpeedGraph.h"
#include "KvTestMain.h"

#include <QSignalSpy>
#include <QtTest>

#include <cmath>

// The speed and g-force graph: the speed line where the known speeds are, gaps at invalid
// fixes, the cursor at the playing position, seeks from a click or a drag, and a repaint that
// only moves the cursor.
class TestSpeedGraph : public QObject {
    Q_OBJECT
private slots:
    void speedLineAtKnownSpeeds();
    void milesPerHourRescales();
    void invalidFixesLeaveGaps();
    void cursorFollowsThePosition();
    void clickAtAQuarterSeeksToAQuarter();
    void dragSeeksOnRelease();
    void nothingToSeekWithoutARecording();
    void oneHourTrackRepaintsOnlyTheCursor();
};

namespace {
constexpr int GraphWidth = 600;
constexpr int GraphHeight = 120;

// 60 fixes, 0 to 59 km/h, then 40 fixes at 100 km/h.
QVector<KvLocation> ramp() {
    QVector<KvLocation> track;
    for (int i = 0; i < 100; ++i) {
        KvLocation fix;
        fix.valid = true;
        fix.speed = i < 60 ? i : 100.0;
        fix.gsensorZ = 1.0;
        track.append(fix);
    }
    return track;
}

bool isNear(QColor a, QColor b) {
    return qAbs(a.red() - b.red()) < 40 && qAbs(a.green() - b.green()) < 40 &&
           qAbs(a.blue() - b.blue()) < 40;
}

// The speed line's colour within two pixels of (x, y).
bool speedLineNear(const QImage& image, double x, double y) {
    for (int dx = -2; dx <= 2; ++dx) {
        for (int dy = -2; dy <= 2; ++dy) {
            const QPoint p(qRound(x) + dx, qRound(y) + dy);
            if (image.rect().contains(p) && isNear(image.pixelColor(p), KvSpeedGraph::SpeedColor)) {
                return true;
            }
        }
    }
    return false;
}

double centreOf(const KvSpeedGraph& graph, int index, int count) {
    return graph.xOfIndex(index) + 0.5 * graph.width() / count;
}

} // namespace

void TestSpeedGraph::speedLineAtKnownSpeeds() {
    KvSpeedGraph graph;
    graph.resize(GraphWidth, GraphHeight);
    graph.setSpeedUnit(0);
    graph.setLocations(ramp());
    // The first round tick above 100 km/h.
    QCOMPARE(graph.speedScale(), 125.0);
    const QImage image = graph.grab().toImage();
    for (int index : {10, 30, 50, 80, 95}) {
        const double speed = index < 60 ? index : 100.0;
        QVERIFY2(speedLineNear(image, centreOf(graph, index, 100), graph.yOfSpeed(speed)),
                 qPrintable(QString("speed %1 at fix %2").arg(speed).arg(index)));
    }
    // Nothing of the speed line at the top where no speed reaches.
    QVERIFY(!speedLineNear(image, centreOf(graph, 10, 100), graph.yOfSpeed(100.0)));
}

void TestSpeedGraph::milesPerHourRescales() {
    KvSpeedGraph graph;
    graph.resize(GraphWidth, GraphHeight);
    graph.setLocations(ramp());
    graph.setSpeedUnit(1);
    // 100 km/h is 62.1 mph: the scale's first round tick above it.
    QCOMPARE(graph.speedScale(), 80.0);
    const QImage image = graph.grab().toImage();
    QVERIFY(speedLineNear(image, centreOf(graph, 80, 100), graph.yOfSpeed(100.0 * KvMilesPerKm)));
}

void TestSpeedGraph::invalidFixesLeaveGaps() {
    QVector<KvLocation> track = ramp();
    for (int i = 20; i < 40; ++i) {
        track[i].valid = false;
    }
    KvSpeedGraph graph;
    graph.resize(GraphWidth, GraphHeight);
    graph.setSpeedUnit(0);
    graph.setLocations(track);
    const QImage image = graph.grab().toImage();
    QVERIFY(speedLineNear(image, centreOf(graph, 15, 100), graph.yOfSpeed(15)));
    QVERIFY(speedLineNear(image, centreOf(graph, 45, 100), graph.yOfSpeed(45)));
    // In the gap, no speed colour anywhere in the column of the lines.
    const int x = qRound(centreOf(graph, 30, 100));
    const QRectF plot = graph.plotRect();
    for (int y = int(plot.top()); y < int(plot.bottom()); ++y) {
        QVERIFY2(!isNear(image.pixelColor(x, y), KvSpeedGraph::SpeedColor),
                 qPrintable(QString("y %1").arg(y)));
    }
}

void TestSpeedGraph::cursorFollowsThePosition() {
    KvSpeedGraph graph;
    graph.resize(GraphWidth, GraphHeight);
    graph.setLocations(ramp());
    graph.setPosition(50.0, 100.0);
    QImage image = graph.grab().toImage();
    const QRectF plot = graph.plotRect();
    const int half = qRound(plot.left() + plot.width() / 2);
    const int threeQuarters = qRound(plot.left() + plot.width() * 3 / 4);
    const int y = int(plot.top()) + 5;
    QCOMPARE(graph.xOfTime(50.0), plot.left() + plot.width() / 2);
    QVERIFY(isNear(image.pixelColor(half, y), KvSpeedGraph::CursorColor));
    graph.setPosition(75.0, 100.0);
    image = graph.grab().toImage();
    QVERIFY(isNear(image.pixelColor(threeQuarters, y), KvSpeedGraph::CursorColor));
    QVERIFY(!isNear(image.pixelColor(half, y), KvSpeedGraph::CursorColor));
}

void TestSpeedGraph::clickAtAQuarterSeeksToAQuarter() {
    KvSpeedGraph graph;
    graph.resize(GraphWidth, GraphHeight);
    graph.setLocations(ramp());
    graph.setPosition(0.0, 80.0);
    QSignalSpy seeks(&graph, &KvSpeedGraph::videoTimeChanged);
    const QRectF plot = graph.plotRect();
    const int x = qRound(plot.left() + plot.width() / 4);
    QTest::mouseClick(&graph, Qt::LeftButton, Qt::NoModifier, QPoint(x, 60));
    QCOMPARE(seeks.size(), 1);
    // A quarter of 80 s, to the pixel.
    QVERIFY(qAbs(seeks.at(0).at(0).toDouble() - 20.0) <= 80.0 / plot.width());
}

void TestSpeedGraph::dragSeeksOnRelease() {
    KvSpeedGraph graph;
    graph.resize(GraphWidth, GraphHeight);
    graph.setLocations(ramp());
    graph.setPosition(0.0, 60.0);
    graph.show();
    QVERIFY(QTest::qWaitForWindowExposed(&graph));
    QSignalSpy seeks(&graph, &KvSpeedGraph::videoTimeChanged);
    const QRectF plot = graph.plotRect();
    const int y = int(plot.top()) + 5;
    QTest::mousePress(&graph, Qt::LeftButton, Qt::NoModifier, QPoint(60, 50));
    QMouseEvent move(QEvent::MouseMove, QPointF(400, 50), Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    QApplication::sendEvent(&graph, &move);
    QCOMPARE(seeks.size(), 0);
    QVERIFY(isNear(graph.grab().toImage().pixelColor(400, y), KvSpeedGraph::CursorColor));
    QTest::mouseRelease(&graph, Qt::LeftButton, Qt::NoModifier, QPoint(450, 50));
    QCOMPARE(seeks.size(), 1);
    QVERIFY(qAbs(seeks.at(0).at(0).toDouble() - 60.0 * (450 - plot.left()) / plot.width()) < 1e-9);
}

void TestSpeedGraph::nothingToSeekWithoutARecording() {
    KvSpeedGraph graph;
    graph.resize(GraphWidth, GraphHeight);
    QSignalSpy seeks(&graph, &KvSpeedGraph::videoTimeChanged);
    QTest::mouseClick(&graph, Qt::LeftButton, Qt::NoModifier, QPoint(100, 60));
    QCOMPARE(seeks.size(), 0);
    graph.setLocations(ramp());
    graph.clear();
    QCOMPARE(graph.speedScale(), 10.0);
    QVERIFY(!graph.grab().isNull());
}

// A repaint copies the cached lines and draws the cursor over them: frames of a one-hour track
// at two positions differ only around the two cursors. How long a repaint takes is measured by
// bench/run-map (kv_bench_map).
void TestSpeedGraph::oneHourTrackRepaintsOnlyTheCursor() {
    QVector<KvLocation> track;
    for (int i = 0; i < 3600; ++i) {
        KvLocation fix;
        fix.valid = i % 300 != 0;
        fix.speed = 50.0 + 30.0 * std::sin(i / 60.0);
        fix.gsensorX = 0.3 * std::sin(i / 7.0);
        fix.gsensorY = 0.2 * std::cos(i / 11.0);
        fix.gsensorZ = 1.0;
        track.append(fix);
    }
    KvSpeedGraph graph;
    graph.resize(1000, 140);
    graph.setLocations(track);
    graph.show();
    QVERIFY(QTest::qWaitForWindowExposed(&graph));
    graph.setPosition(900.0, 3600.0);
    const QImage quarter = graph.grab().toImage();
    graph.setPosition(2700.0, 3600.0);
    const QImage threeQuarters = graph.grab().toImage();
    QCOMPARE(quarter.size(), threeQuarters.size());
    const int first = qRound(graph.xOfTime(900.0));
    const int second = qRound(graph.xOfTime(2700.0));
    const int top = int(graph.plotRect().top()) + 5;
    QVERIFY(isNear(quarter.pixelColor(first, top), KvSpeedGraph::CursorColor));
    QVERIFY(isNear(threeQuarters.pixelColor(second, top), KvSpeedGraph::CursorColor));
    int differing = 0;
    for (int y = 0; y < quarter.height(); ++y) {
        for (int x = 0; x < quarter.width(); ++x) {
            const bool nearACursor = qAbs(x - first) <= 3 || qAbs(x - second) <= 3;
            if (!nearACursor && quarter.pixel(x, y) != threeQuarters.pixel(x, y)) {
                ++differing;
            }
        }
    }
    QCOMPARE(differing, 0);
}

KV_TEST_MAIN(TestSpeedGraph)
#include "tst_speedgraph.moc"
