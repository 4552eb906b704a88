#include "KvConfigure.h"
#include "KvLanguage.h"
#include "KvSpeedGraph.h"
#include "KvTestMain.h"
#include "VideoInfoView.h"

#include <QtTest>

#include <cmath>
#include <limits>

// What makes the speed and g-force graph readable: a legend with a patch of each line's colour,
// the speed with the unit chosen in Settings and the g-force range, in every language; a speed
// scale of round numbers and a time scale a clock reads, labelled where a person can see them.
class TestSpeedGraphLegend : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void speedTicksAreRound_data();
    void speedTicksAreRound();
    void timeTicksReadAsAClock_data();
    void timeTicksReadAsAClock();
    void timeTextAsThePanelWritesIt();
    void legendShowsEachLinesColour();
    void scalesAreLabelledBesideTheLines_data();
    void scalesAreLabelledBesideTheLines();
    void legendInEveryLanguage_data();
    void legendInEveryLanguage();
    void panelGivesTheGraphTheChosenUnit();
    void tooSmallForScalesDrawsOnlyTheLines();
};

namespace {
constexpr int GraphWidth = 600;
constexpr int GraphHeight = 140;

// `count` fixes one a second, rising to 37 km/h, with the car shaking about 1 g.
QVector<KvLocation> drive(int count) {
    QVector<KvLocation> track;
    for (int i = 0; i < count; ++i) {
        KvLocation fix;
        fix.valid = true;
        fix.speed = 37.0 * i / std::max(1, count - 1);
        fix.gsensorX = 0.5 * std::sin(i / 3.0);
        fix.gsensorY = -0.5 * std::cos(i / 5.0);
        fix.gsensorZ = 1.0;
        track.append(fix);
    }
    return track;
}

// Pixels of the graph's text in rect: bright, against its dark background and faint grid.
int textPixels(const QImage& image, const QRect& rect) {
    int count = 0;
    for (int y = rect.top(); y <= rect.bottom(); ++y) {
        for (int x = rect.left(); x <= rect.right(); ++x) {
            if (image.rect().contains(x, y) && qGray(image.pixel(x, y)) > 110) {
                ++count;
            }
        }
    }
    return count;
}

QStringList texts(const QVector<KvSpeedGraph::AxisLabel>& labels) {
    QStringList result;
    for (const KvSpeedGraph::AxisLabel& label : labels) {
        result.append(label.text);
    }
    return result;
}

const char* const Languages[] = {"english", "chinese",    "french", "german",
                                 "italian", "portuguese", "polish", "spanish"};
} // namespace

void TestSpeedGraphLegend::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    KvLanguage::setRoot(QStringLiteral(KV_SOURCE_DIR "/data/language"));
    KvLanguage::installLanguage(QStringLiteral("english"));
}

void TestSpeedGraphLegend::cleanupTestCase() {
    QFile::remove(KvConfigure::filePath());
    QStandardPaths::setTestModeEnabled(false);
}

void TestSpeedGraphLegend::speedTicksAreRound_data() {
    QTest::addColumn<double>("highest");
    QTest::addColumn<QVector<double>>("ticks");
    QTest::newRow("standstill") << 0.0 << QVector<double>{0, 2, 4, 6, 8, 10};
    QTest::newRow("37 km/h") << 37.0 << QVector<double>{0, 10, 20, 30, 40};
    QTest::newRow("130 km/h") << 130.0 << QVector<double>{0, 50, 100, 150};
    QTest::newRow("100 km/h") << 100.0 << QVector<double>{0, 25, 50, 75, 100, 125};
    QTest::newRow("62 mph") << 62.1 << QVector<double>{0, 20, 40, 60, 80};
    QTest::newRow("9.9 km/h") << 9.9 << QVector<double>{0, 2, 4, 6, 8, 10};
    QTest::newRow("negative") << -4.0 << QVector<double>{0, 2, 4, 6, 8, 10};
    QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN()
                                  << QVector<double>{0, 2, 4, 6, 8, 10};
    QTest::newRow("damaged record")
        << 1e300 << QVector<double>{0, 250000, 500000, 750000, 1000000, 1250000};
}

void TestSpeedGraphLegend::speedTicksAreRound() {
    QFETCH(double, highest);
    QFETCH(QVector<double>, ticks);
    QCOMPARE(KvSpeedGraph::speedTicks(highest), ticks);
}

void TestSpeedGraphLegend::timeTicksReadAsAClock_data() {
    QTest::addColumn<double>("duration");
    QTest::addColumn<int>("maxSteps");
    QTest::addColumn<QVector<double>>("ticks");
    QTest::newRow("60 s, room for 6") << 60.0 << 6 << QVector<double>{0, 10, 20, 30, 40, 50, 60};
    QTest::newRow("60 s, room for 3") << 60.0 << 3 << QVector<double>{0, 20, 40, 60};
    QTest::newRow("3 min, room for 6")
        << 180.0 << 6 << QVector<double>{0, 30, 60, 90, 120, 150, 180};
    QTest::newRow("3 min, room for 12")
        << 180.0 << 12 << QVector<double>{0, 15, 30, 45, 60, 75, 90, 105, 120, 135, 150, 165, 180};
    QTest::newRow("3 min 10 s, room for 4") << 190.0 << 4 << QVector<double>{0, 60, 120, 180};
    QTest::newRow("1 h, room for 4") << 3600.0 << 4 << QVector<double>{0, 900, 1800, 2700, 3600};
    QTest::newRow("no room") << 60.0 << 0 << QVector<double>{0, 60};
    QTest::newRow("unknown length") << 0.0 << 6 << QVector<double>{};
    QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN() << 6
                                  << QVector<double>{};
    QTest::newRow("three days, room for 2") << 259200.0 << 2 << QVector<double>{0, 172800};
}

void TestSpeedGraphLegend::timeTicksReadAsAClock() {
    QFETCH(double, duration);
    QFETCH(int, maxSteps);
    QFETCH(QVector<double>, ticks);
    QCOMPARE(KvSpeedGraph::timeTicks(duration, maxSteps), ticks);
}

void TestSpeedGraphLegend::timeTextAsThePanelWritesIt() {
    QCOMPARE(KvSpeedGraph::timeText(0), QStringLiteral("00:00"));
    QCOMPARE(KvSpeedGraph::timeText(90), QStringLiteral("01:30"));
    QCOMPARE(KvSpeedGraph::timeText(3599.4), QStringLiteral("59:59"));
    QCOMPARE(KvSpeedGraph::timeText(3600), QStringLiteral("01:00:00"));
}

void TestSpeedGraphLegend::legendShowsEachLinesColour() {
    KvSpeedGraph graph;
    graph.resize(GraphWidth, GraphHeight);
    graph.setSpeedUnit(0);
    graph.setLocations(drive(60));
    const QImage image = graph.grab().toImage();
    const QColor colours[] = {KvSpeedGraph::SpeedColor, KvSpeedGraph::GsensorColors[0],
                              KvSpeedGraph::GsensorColors[1], KvSpeedGraph::GsensorColors[2]};
    QRect previous;
    for (int series = 0; series < 4; ++series) {
        const QRect swatch = graph.legendSwatch(series);
        QVERIFY2(!swatch.isEmpty(), qPrintable(QString::number(series)));
        // Above the lines, in the widget, left to right, each in its line's colour.
        QVERIFY(graph.rect().contains(swatch));
        QVERIFY(swatch.bottom() < graph.plotRect().top());
        QVERIFY(previous.isNull() || swatch.left() > previous.right());
        QCOMPARE(image.pixelColor(swatch.center()), colours[series]);
        QCOMPARE(image.pixelColor(swatch.topLeft()), colours[series]);
        // Its name is written beside it.
        const QRect name(swatch.right() + 2, 0, 10, int(graph.plotRect().top()));
        QVERIFY2(textPixels(image, name) > 3, qPrintable(QString::number(series)));
        previous = swatch;
    }
    QCOMPARE(graph.legendTexts(), (QStringList{"Speed (km/h)", "G-force (±2 g)"}));
}

void TestSpeedGraphLegend::scalesAreLabelledBesideTheLines_data() {
    QTest::addColumn<double>("duration");
    QTest::addColumn<QString>("last");
    QTest::newRow("60 s") << 60.0 << "01:00";
    QTest::newRow("3 min") << 180.0 << "03:00";
}

void TestSpeedGraphLegend::scalesAreLabelledBesideTheLines() {
    QFETCH(double, duration);
    QFETCH(QString, last);
    KvSpeedGraph graph;
    graph.resize(GraphWidth, GraphHeight);
    graph.setSpeedUnit(0);
    graph.setLocations(drive(int(duration)));
    graph.setPosition(0.0, duration);
    const QImage image = graph.grab().toImage();
    const QRectF plot = graph.plotRect();
    QCOMPARE(texts(graph.speedLabels()), (QStringList{"0", "10", "20", "30", "40"}));
    const QStringList times = texts(graph.timeLabels());
    QVERIFY2(times.size() >= 4, qPrintable(times.join(' ')));
    QCOMPARE(times.first(), QStringLiteral("00:00"));
    QCOMPARE(times.last(), last);
    QVector<KvSpeedGraph::AxisLabel> labels = graph.speedLabels() + graph.timeLabels();
    for (int i = 0; i < labels.size(); ++i) {
        const QRect rect = labels.at(i).rect;
        // Outside the lines, inside the widget, apart from each other, and drawn.
        QVERIFY2(graph.rect().contains(rect), qPrintable(labels.at(i).text));
        QVERIFY2(!plot.intersects(rect), qPrintable(labels.at(i).text));
        for (int j = 0; j < i; ++j) {
            QVERIFY(!rect.intersects(labels.at(j).rect));
        }
        QVERIFY2(textPixels(image, rect) > 5, qPrintable(labels.at(i).text));
    }
    // The speed labels sit at their ticks: "40" at the top of the lines, "0" at their foot.
    QVERIFY(qAbs(graph.speedLabels().last().rect.center().y() - graph.yOfSpeed(40)) <= 1);
    QVERIFY(qAbs(graph.speedLabels().first().rect.center().y() - graph.yOfSpeed(0)) <= 1);
    QCOMPARE(graph.yOfSpeed(40), plot.top());
    // The time labels run left to right under the lines.
    for (int i = 1; i < graph.timeLabels().size(); ++i) {
        QVERIFY(graph.timeLabels().at(i).rect.left() > graph.timeLabels().at(i - 1).rect.right());
        QVERIFY(graph.timeLabels().at(i).rect.top() >= plot.bottom());
    }
}

void TestSpeedGraphLegend::legendInEveryLanguage_data() {
    QTest::addColumn<QString>("language");
    for (const char* language : Languages) {
        QTest::newRow(language) << QString::fromLatin1(language);
    }
}

void TestSpeedGraphLegend::legendInEveryLanguage() {
    QFETCH(QString, language);
    KvLanguage::installLanguage(language);
    KvSpeedGraph graph;
    graph.resize(GraphWidth, GraphHeight);
    for (int unit : {0, 1}) {
        graph.setSpeedUnit(unit);
        const QStringList legend = graph.legendTexts();
        QCOMPARE(legend.size(), 2);
        const QString unitText = KvLanguage::kvtr(unit == 1 ? "MPH" : "KM/H");
        QVERIFY2(legend[0].contains(unitText), qPrintable(legend[0]));
        QVERIFY(!legend[0].contains(QLatin1String("graph_speed")));
        QVERIFY(!legend[0].contains(QLatin1String("%1")));
        QVERIFY(legend[0].size() > unitText.size() + 2);
        QVERIFY2(legend[1].contains(QLatin1String("2 g")), qPrintable(legend[1]));
        QVERIFY(!legend[1].contains(QLatin1String("graph_gforce")));
        QVERIFY(legend[1].size() > 8);
    }
    // English words are not left in the other languages.
    if (language != QLatin1String("english")) {
        QVERIFY(!graph.legendTexts()[0].startsWith(QLatin1String("Speed")));
        QVERIFY(!graph.legendTexts()[1].startsWith(QLatin1String("G-force")));
    }
    // A language chosen while the graph is shown reaches its legend.
    KvLanguage::installLanguage(QStringLiteral("english"));
    graph.reloadLanguage();
    QCOMPARE(graph.legendTexts().first(), QStringLiteral("Speed (mph)"));
}

void TestSpeedGraphLegend::panelGivesTheGraphTheChosenUnit() {
    KvConfigure().setInt(QStringLiteral("Speed"), 1);
    VideoInfoView view;
    auto* graph = view.findChild<KvSpeedGraph*>(QStringLiteral("speedGraph"));
    QVERIFY(graph);
    QCOMPARE(graph->legendTexts().first(), QStringLiteral("Speed (mph)"));
    KvConfigure().setInt(QStringLiteral("Speed"), 0);
    view.reloadSettings();
    QCOMPARE(graph->legendTexts().first(), QStringLiteral("Speed (km/h)"));
    KvLanguage::installLanguage(QStringLiteral("german"));
    view.reloadLanguage();
    QCOMPARE(graph->legendTexts().first(), QStringLiteral("Geschwindigkeit (km/h)"));
    KvLanguage::installLanguage(QStringLiteral("english"));
}

void TestSpeedGraphLegend::tooSmallForScalesDrawsOnlyTheLines() {
    KvSpeedGraph graph;
    graph.resize(120, 40);
    graph.setLocations(drive(30));
    graph.setPosition(0.0, 30.0);
    QCOMPARE(graph.plotRect(), QRectF(graph.rect()));
    QVERIFY(graph.legendSwatch(0).isEmpty());
    QVERIFY(graph.speedLabels().isEmpty());
    QVERIFY(graph.timeLabels().isEmpty());
    QVERIFY(!graph.grab().isNull());
    graph.resize(0, 0);
    QVERIFY(graph.grab().isNull() || graph.grab().size().isEmpty());
}

KV_TEST_MAIN(TestSpeedGraphLegend)
#include "tst_speedgraphlegend.moc"
