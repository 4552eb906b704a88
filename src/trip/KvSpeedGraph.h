#pragma once

#include "KvLocation.h"
#include "KvWidget.h"

#include <QPixmap>
#include <QVector>

// Speed over the whole recording (in the chosen unit) with the three g-sensor axes as thinner
// lines, and a cursor at the playing position. Fix i of n stands for the time i / n of the
// recording, as the trip panel and the map map the position to the track. A click, or the end
// of a drag, on the graph asks for a seek to the time under the pointer; the cursor follows the
// pointer while it is held. Invalid fixes leave gaps in every line.
//
// The lines are drawn once into a cached picture when the track, the unit or the size changes;
// a repaint only copies it and draws the cursor. GUI thread only.
class KvSpeedGraph : public KvWidget {
    Q_OBJECT
public:
    // The g-sensor lines span this many g either side of the middle line.
    static constexpr double GsensorRange = 2.0;

    explicit KvSpeedGraph(QWidget* parent = nullptr);

    void setLocations(const QVector<KvLocation>& locations);
    // 1 = miles per hour, anything else km/h, as the "Speed" setting.
    void setSpeedUnit(int unit);
    void setPosition(double currentTime, double totalTime);
    void clear();

    // The top of the speed scale, in the chosen unit (at least 10 so a standstill shows flat).
    double speedScale() const { return _speedScale; }
    // Where fix `index` and time `seconds` are drawn.
    double xOfIndex(int index) const;
    double xOfTime(double seconds) const;
    double yOfSpeed(double speedInUnit) const;
    double yOfGsensor(double g) const;

    static const QColor SpeedColor;
    static const QColor GsensorColors[3];
    static const QColor CursorColor;

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
    void _drawGrid(QPainter& painter) const;
    void _drawSeries(QPainter& painter, int series) const;
    double _valueOf(const KvLocation& fix, int series) const;
    double _timeAtX(double x) const;

    QVector<KvLocation> _locations;
    int _speedUnit = 1;
    double _speedScale = 10.0;
    double _currentTime = 0.0;
    double _totalTime = 0.0;
    // While the pointer is held: where the cursor is drawn instead of the playing position.
    bool _dragging = false;
    double _dragX = 0.0;
    QPixmap _lines;
};
