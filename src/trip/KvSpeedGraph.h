#pragma once

#include "KvLocation.h"
#include "KvWidget.h"

#include <QPixmap>
#include <QRect>
#include <QRectF>
#include <QStringList>
#include <QVector>

class QFontMetrics;

// Speed over the whole recording (in the chosen unit) with the three g-sensor axes as thinner
// lines, and a cursor at the playing position. Fix i of n stands for the time i / n of the
// recording, as the trip panel and the map map the position to the track. A click, or the end
// of a drag, on the graph asks for a seek to the time under the pointer; the cursor follows the
// pointer while it is held. Invalid fixes leave gaps in every line.
//
// A legend above the lines names them (speed with its unit, the g-force range and its three
// axes by colour), a speed scale runs down the left and a time scale along the bottom, so the
// lines can be read. When the widget is too small for them, the lines take the whole widget.
//
// The lines, scales and legend are drawn once into a cached picture when the track, the unit,
// the language, the recording's length or the size changes; a repaint only copies it and draws
// the cursor. GUI thread only.
class KvSpeedGraph : public KvWidget {
    Q_OBJECT
public:
    // The g-sensor lines span this many g either side of the middle line.
    static constexpr double GsensorRange = 2.0;
    // The speed scale never tops out below this, so a standstill shows flat.
    static constexpr double MinimumSpeedScale = 10.0;

    // A label of a scale, where it is drawn.
    struct AxisLabel {
        QRect rect;
        QString text;
    };

    explicit KvSpeedGraph(QWidget* parent = nullptr);

    void setLocations(const QVector<KvLocation>& locations);
    // 1 = miles per hour, anything else km/h, as the "Speed" setting.
    void setSpeedUnit(int unit);
    void setPosition(double currentTime, double totalTime);
    void clear();
    // Takes the legend's texts from the installed language.
    void reloadLanguage();

    // The top of the speed scale, in the chosen unit: its highest tick.
    double speedScale() const { return _speedScale; }
    // Where the lines are drawn: the widget less the legend and the two scales.
    QRectF plotRect() const { return _plot; }
    // Where fix `index` and time `seconds` are drawn.
    double xOfIndex(int index) const;
    double xOfTime(double seconds) const;
    double yOfSpeed(double speedInUnit) const;
    double yOfGsensor(double g) const;

    // The legend's texts as shown: the speed with its unit, then the g-force with its range.
    QStringList legendTexts() const { return _legendTexts; }
    // The legend's patch of series' colour (0 speed, 1 to 3 the g-sensor axes X, Y, Z); empty
    // when the legend is not shown.
    QRect legendSwatch(int series) const;
    // The labels of the speed scale (bottom up) and of the time scale (left to right) as drawn.
    QVector<AxisLabel> speedLabels() const { return _speedLabels; }
    QVector<AxisLabel> timeLabels() const { return _timeLabels; }

    // The ticks of a speed scale for a highest speed: 0 and up in a step of 1, 2, 2.5 or 5 times
    // a power of ten (2.5 only from 25 up, so labels stay whole numbers), at most five steps; the
    // last tick is above the highest speed and at least MinimumSpeedScale.
    static QVector<double> speedTicks(double highest);
    // The ticks of a time scale for a recording of `duration` seconds with room for at most
    // maxSteps steps: 0 and up in a step a clock reads easily (seconds, minutes, hours), up to
    // the duration. Empty when the duration is unknown.
    static QVector<double> timeTicks(double duration, int maxSteps);
    // A time tick's label, as the trip panel writes play times: "mm:ss", or "hh:mm:ss" from one
    // hour up.
    static QString timeText(double seconds);

    static const QColor SpeedColor;
    static const QColor GsensorColors[3];
    static const QColor CursorColor;
    static const QColor TextColor;

signals:
    // A seek asked for by a click or a drag, in seconds.
    void videoTimeChanged(double seconds);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void _rebuild();
    void _layOut();
    void _layOutSpeedLabels(const QFontMetrics& metrics);
    void _layOutTimeLabels(const QFontMetrics& metrics);
    void _layOutLegend(const QFontMetrics& metrics);
    void _drawGrid(QPainter& painter) const;
    void _drawScales(QPainter& painter) const;
    void _drawLegend(QPainter& painter) const;
    void _drawSeries(QPainter& painter, int series) const;
    double _valueOf(const KvLocation& fix, int series) const;
    double _timeAtX(double x) const;
    double _clampedX(double x) const;

    QVector<KvLocation> _locations;
    int _speedUnit = 1;
    double _speedScale = MinimumSpeedScale;
    QVector<double> _speedTicks;
    double _currentTime = 0.0;
    double _totalTime = 0.0;
    // While the pointer is held: where the cursor is drawn instead of the playing position.
    bool _dragging = false;
    double _dragX = 0.0;

    // Laid out by _layOut for the size, the texts and the scales.
    bool _decorated = false; // legend and scales shown
    QRectF _plot;
    QStringList _legendTexts;
    // Per legend entry (speed, the g-force caption, X, Y, Z): its colour patch (empty for the
    // caption) and its text.
    QVector<QRect> _legendSwatches;
    QVector<AxisLabel> _legendLabels;
    QVector<AxisLabel> _speedLabels;
    QVector<AxisLabel> _timeLabels;
    QVector<double> _timeTicks;
    QPixmap _lines;
};
