#include "KvSpeedGraph.h"

#include "KvGpsMath.h"
#include "KvSettingsKeys.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace {
// Room above the highest speed, as a share of it.
constexpr double SpeedHeadroom = 1.1;
constexpr double MinimumSpeedScale = 10.0;
constexpr qreal SpeedLineWidth = 2.0;
constexpr qreal GsensorLineWidth = 1.0;
constexpr qreal CursorWidth = 2.0;
// Speed is series 0; the three g-sensor axes follow.
constexpr int SeriesCount = 4;
// Horizontal grid lines, dividing the height into this many bands.
constexpr int GridBands = 4;
const QColor GridColor(255, 255, 255, 40);
} // namespace

const QColor KvSpeedGraph::SpeedColor(25, 164, 255);
const QColor KvSpeedGraph::GsensorColors[3] = {QColor(255, 170, 0), QColor(0, 200, 120),
                                               QColor(220, 80, 220)};
const QColor KvSpeedGraph::CursorColor(255, 255, 255);

KvSpeedGraph::KvSpeedGraph(QWidget* parent) : KvWidget(parent) {
    setBackgroundColor(0x1b2027, 255);
    setCursor(Qt::PointingHandCursor);
}

void KvSpeedGraph::setLocations(const QVector<KvLocation>& locations) {
    _locations = locations;
    _rebuild();
}

void KvSpeedGraph::setSpeedUnit(int unit) {
    _speedUnit = unit;
    _rebuild();
}

void KvSpeedGraph::setPosition(double currentTime, double totalTime) {
    _currentTime = std::isfinite(currentTime) ? currentTime : 0.0;
    _totalTime = std::isfinite(totalTime) && totalTime > 0.0 ? totalTime : 0.0;
    update();
}

void KvSpeedGraph::clear() {
    _locations.clear();
    _currentTime = 0.0;
    _totalTime = 0.0;
    _dragging = false;
    _rebuild();
}

double KvSpeedGraph::xOfIndex(int index) const {
    return _locations.isEmpty() ? 0.0 : width() * double(index) / _locations.size();
}

double KvSpeedGraph::xOfTime(double seconds) const {
    return _totalTime > 0.0 ? width() * std::clamp(seconds / _totalTime, 0.0, 1.0) : 0.0;
}

double KvSpeedGraph::yOfSpeed(double speedInUnit) const {
    return (height() - 1) * (1.0 - std::clamp(speedInUnit / _speedScale, 0.0, 1.0));
}

double KvSpeedGraph::yOfGsensor(double g) const {
    const double share = std::clamp((g + GsensorRange) / (2.0 * GsensorRange), 0.0, 1.0);
    return (height() - 1) * (1.0 - share);
}

double KvSpeedGraph::_valueOf(const KvLocation& fix, int series) const {
    switch (series) {
    case 0:
        return fix.speed * (_speedUnit == KvSettingsKeys::SpeedMph ? KvMilesPerKm : 1.0);
    case 1:
        return fix.gsensorX;
    case 2:
        return fix.gsensorY;
    default:
        return fix.gsensorZ;
    }
}

double KvSpeedGraph::_timeAtX(double x) const {
    return width() > 0 ? _totalTime * std::clamp(x / width(), 0.0, 1.0) : 0.0;
}

void KvSpeedGraph::_rebuild() {
    double top = 0.0;
    for (const KvLocation& fix : _locations) {
        const double speed = _valueOf(fix, 0);
        if (fix.valid && std::isfinite(speed)) {
            top = std::max(top, speed);
        }
    }
    _speedScale = std::max(MinimumSpeedScale, top * SpeedHeadroom);
    _lines = QPixmap(size() * devicePixelRatioF());
    _lines.setDevicePixelRatio(devicePixelRatioF());
    _lines.fill(Qt::transparent);
    if (!_lines.isNull()) {
        QPainter painter(&_lines);
        painter.setRenderHint(QPainter::Antialiasing);
        _drawGrid(painter);
        // The speed last, on top of the thinner g-sensor lines.
        for (int series = SeriesCount - 1; series >= 0; --series) {
            _drawSeries(painter, series);
        }
    }
    update();
}

void KvSpeedGraph::_drawGrid(QPainter& painter) const {
    painter.setPen(QPen(GridColor, 1.0));
    for (int band = 1; band < GridBands; ++band) {
        const qreal y = (height() - 1) * qreal(band) / GridBands;
        painter.drawLine(QPointF(0, y), QPointF(width(), y));
    }
}

void KvSpeedGraph::_drawSeries(QPainter& painter, int series) const {
    const bool speed = series == 0;
    painter.setPen(QPen(speed ? SpeedColor : GsensorColors[series - 1],
                        speed ? SpeedLineWidth : GsensorLineWidth, Qt::SolidLine, Qt::RoundCap,
                        Qt::RoundJoin));
    QPainterPath path;
    bool drawing = false;
    for (int i = 0; i < _locations.size(); ++i) {
        const KvLocation& fix = _locations.at(i);
        const double value = _valueOf(fix, series);
        if (!fix.valid || !std::isfinite(value)) {
            // An invalid fix ends the line; the next valid one starts a new piece.
            drawing = false;
            continue;
        }
        // A fix spans its share of the width; its value is drawn at the middle of it.
        const QPointF point(xOfIndex(i) + 0.5 * width() / _locations.size(),
                            speed ? yOfSpeed(value) : yOfGsensor(value));
        if (drawing) {
            path.lineTo(point);
        } else {
            path.moveTo(point);
            path.lineTo(point);
            drawing = true;
        }
    }
    painter.drawPath(path);
}

void KvSpeedGraph::paintEvent(QPaintEvent* event) {
    KvWidget::paintEvent(event);
    QPainter painter(this);
    painter.drawPixmap(0, 0, _lines);
    if (_totalTime <= 0.0 && !_dragging) {
        return;
    }
    const qreal x = _dragging ? _dragX : xOfTime(_currentTime);
    painter.setPen(QPen(CursorColor, CursorWidth));
    painter.drawLine(QPointF(x, 0), QPointF(x, height()));
}

void KvSpeedGraph::resizeEvent(QResizeEvent* event) {
    KvWidget::resizeEvent(event);
    _rebuild();
}

void KvSpeedGraph::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || _totalTime <= 0.0) {
        return;
    }
    _dragging = true;
    _dragX = std::clamp<double>(event->localPos().x(), 0.0, width());
    update();
}

void KvSpeedGraph::mouseMoveEvent(QMouseEvent* event) {
    if (!_dragging) {
        return;
    }
    _dragX = std::clamp<double>(event->localPos().x(), 0.0, width());
    update();
}

void KvSpeedGraph::mouseReleaseEvent(QMouseEvent* event) {
    if (!_dragging || event->button() != Qt::LeftButton) {
        return;
    }
    _dragging = false;
    _dragX = std::clamp<double>(event->localPos().x(), 0.0, width());
    const double seconds = _timeAtX(_dragX);
    // The cursor stays where the user let go until the player reports the new position.
    _currentTime = seconds;
    update();
    emit videoTimeChanged(seconds);
}
