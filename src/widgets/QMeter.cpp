#include "QMeter.h"

#include <QEasingCurve>
#include <QFontMetricsF>
#include <QLinearGradient>
#include <QPainter>
#include <QPolygonF>
#include <QRadialGradient>

#include <cmath>
#include <limits>

namespace {

// The dial is drawn in a logical square of this side, centred on the origin.
constexpr int kLogicalSide = 100;
constexpr int kMinimumSide = 80;
constexpr int kSpringDurationMs = 1000;
// QPainter arcs are given in 1/16 of a degree.
constexpr int kArcUnitsPerDegree = 16;

// The scale's polar-to-text mapping uses these short values of pi on purpose: the numbers sit
// where they always have.
constexpr double kPi = 3.1415926535;
constexpr double kHalfPi = 1.57079632675;
constexpr double kRadiansPerDegree = 0.017453292519444445;

// Radii and boxes of the layers, in logical units.
constexpr double kTickInner = 28.0;
constexpr double kTickOuter = 30.0;
constexpr double kScaleRadius = 38.0;
constexpr int kLabelMaxWidth = 40;
// Scale numbers with more decimals than this are unreadable; also keeps a wild precision cheap.
constexpr int kMaxScalePrecision = 10;
// The label font never shrinks below this, so a label that cannot fit does not loop forever.
constexpr qreal kSmallestLabelPoint = 1.0;
constexpr int kBoldWeight = 75;
constexpr int kNumericFontGrowth = 2;
constexpr int kNeedleAlpha = 90;

// Whole degrees of an angle, as the arcs and the needle use them: truncated toward zero. Angles
// that are not finite or too large for the arc units (only from nonsensical ranges) count as 0 so
// the conversion is always defined.
int wholeDegrees(double degrees) {
    constexpr double kLimit = std::numeric_limits<int>::max() / kArcUnitsPerDegree;
    if (!std::isfinite(degrees) || std::fabs(degrees) >= kLimit) {
        return 0;
    }
    return static_cast<int>(degrees);
}

// (int)(degrees * 16) with the same guard.
int arcUnits(double degrees) {
    const double units = degrees * kArcUnitsPerDegree;
    if (!std::isfinite(units) || std::fabs(units) >= std::numeric_limits<int>::max()) {
        return 0;
    }
    return static_cast<int>(units);
}

} // namespace

QMeter::QMeter(QWidget* parent) : QWidget(parent), _animation(this, "value") {
    _animation.setDuration(kSpringDurationMs);
    // Defaults go through the same checks as later calls.
    setMaxValue(100.0);
    setValue(0.0);
    setStartAngle(225.0);
    setEndAngle(-45.0);
    setMinimumSize(kMinimumSide, kMinimumSide);
    setLabel("Speed");
    setUnits("Km/h");
    setThreshold(80.0);
    setBeginValidValue(40.0);
    setEndValidValue(50.0);
    setEnableValidWindow(false);
    setBeginWarningValue(30.0);
    setEndWarningValue(60.0);
    setEnableWarningWindow(false);
}

double QMeter::angleForValue(double x) const {
    const double range = _maxValue - _minValue;
    if (range == 0.0) {
        return _startAngle; // an empty scale has a single position
    }
    return (_endAngle - _startAngle) / range * (x - _minValue) + _startAngle;
}

QString QMeter::numericText() const {
    const double whole = std::trunc(_value);
    if (std::fabs(whole) <= std::numeric_limits<int>::max()) {
        return QString::number(static_cast<int>(whole));
    }
    return QString::number(whole, 'f', 0);
}

void QMeter::setValue(int value) {
    setValue(static_cast<double>(value));
}

void QMeter::setValue(double value) {
    if (std::isnan(value)) {
        // No position on the scale: reported like any other out-of-range value, value kept.
        emit errorSignal(ValueRangeError);
        return;
    }
    if (value > _maxValue) {
        _value = _maxValue;
        emit errorSignal(ValueRangeError);
    } else if (value < _minValue) {
        _value = _minValue;
        emit errorSignal(ValueRangeError);
    } else {
        _value = value;
    }
    if (_enableThreshold) {
        thresholdManager();
    }
    update();
}

void QMeter::thresholdManager() {
    // Edge-exclusive: a value equal to the threshold changes nothing.
    if (_value > _threshold && !_thresholdFlag) {
        _thresholdFlag = true;
        emit thresholdAlarm(true);
    } else if (_threshold > _value && _thresholdFlag) {
        _thresholdFlag = false;
        emit thresholdAlarm(false);
    }
}

void QMeter::setMinValue(int value) {
    setMinValue(static_cast<double>(value));
}

void QMeter::setMinValue(double value) {
    if (!std::isfinite(value)) {
        return; // no scale can start there
    }
    _minValue = value;
    update();
}

void QMeter::setMaxValue(int value) {
    setMaxValue(static_cast<double>(value));
}

void QMeter::setMaxValue(double value) {
    if (!(value > _minValue) || !std::isfinite(value)) {
        emit errorSignal(MaxValueError);
        return;
    }
    _maxValue = value;
    update();
}

void QMeter::setThreshold(int value) {
    setThreshold(static_cast<double>(value));
}

void QMeter::setThreshold(double value) {
    if (!(value > _minValue && value < _maxValue)) {
        emit errorSignal(ThresholdError);
        return;
    }
    _threshold = value;
    update();
}

void QMeter::setPrecision(int precision) {
    _precision = precision;
    update();
}

void QMeter::setPrecisionNumeric(int precision) {
    _precisionNumeric = precision;
    update();
}

void QMeter::setUnits(QString units) {
    _units = units;
    update();
}

void QMeter::setLabel(QString label) {
    _label = label; // shown at the next repaint
}

void QMeter::setSteps(int steps) {
    if (steps < 1) {
        return; // a scale needs at least one interval
    }
    _steps = steps;
    update();
}

void QMeter::setStartAngle(double angle) {
    if (!std::isfinite(angle)) {
        return;
    }
    _startAngle = angle;
    update();
}

void QMeter::setEndAngle(double angle) {
    if (!std::isfinite(angle)) {
        return;
    }
    _endAngle = angle;
    update();
}

void QMeter::setForeground(QColor color) {
    _foreground = color;
    update();
}

void QMeter::setBackground(QColor color) {
    _background = color;
    update();
}

void QMeter::setThresholdEnabled(bool enabled) {
    _enableThreshold = enabled;
    update();
}

void QMeter::setNumericIndicatorEnabled(bool enabled) {
    _enableNumericIndicator = enabled;
    update();
}

void QMeter::setValueWithSpringEffect(int value) {
    // A new target restarts the spring from where the needle is now.
    _animation.stop();
    _animation.setStartValue(_value);
    _animation.setEndValue(static_cast<double>(value));
    _animation.setEasingCurve(QEasingCurve::OutBack);
    _animation.start(QAbstractAnimation::KeepWhenStopped);
}

void QMeter::setBeginValidValue(double value) {
    if (!std::isfinite(value)) {
        return;
    }
    _beginValidValue = value;
    update();
}

void QMeter::setEndValidValue(double value) {
    if (!std::isfinite(value)) {
        return;
    }
    _endValidValue = value;
    update();
}

void QMeter::setEnableValidWindow(bool enabled) {
    _enableValidWindow = enabled;
    update();
}

void QMeter::setBeginWarningValue(double value) {
    if (!std::isfinite(value)) {
        return;
    }
    _beginWarningValue = value;
    update();
}

void QMeter::setEndWarningValue(double value) {
    if (!std::isfinite(value)) {
        return;
    }
    _endWarningValue = value;
    update();
}

void QMeter::setEnableWarningWindow(bool enabled) {
    _enableWarningWindow = enabled;
    update();
}

void QMeter::paintEvent(QPaintEvent* event) {
    Q_UNUSED(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const int side = qMin(width(), height());
    painter.setViewport((width() - side) / 2, (height() - side) / 2, side, side);
    painter.setWindow(-kLogicalSide / 2, -kLogicalSide / 2, kLogicalSide, kLogicalSide);

    drawBackground(&painter);
    drawCoverGlass(&painter);
    drawTicks(&painter);
    drawScale(&painter);
    drawUnits(&painter);
    drawThresholdLine(&painter);
    drawWarningWindow(&painter);
    drawValidWindow(&painter);
    drawNeedle(&painter);
    drawNumericValue(&painter);
    drawLabel(&painter);
    drawCrown(&painter);
}

void QMeter::drawBackground(QPainter* painter) {
    painter->save();
    painter->setBrush(_background);
    painter->drawEllipse(QRect(-45, -45, 90, 90));
    painter->restore();
}

void QMeter::drawCoverGlass(QPainter* painter) {
    painter->save();
    QLinearGradient glass(QPointF(-15, -45), QPointF(90, 75));
    glass.setColorAt(0.0, QColor(255, 255, 255, 30));
    glass.setColorAt(0.3, QColor(120, 120, 120, 20));
    painter->setPen(QPen(QBrush(glass), 0));
    painter->setBrush(glass);
    painter->drawEllipse(QRect(-45, -45, 90, 90));
    painter->restore();
}

void QMeter::drawTicks(QPainter* painter) {
    painter->save();
    painter->setPen(QPen(_foreground, 0));
    painter->save();
    painter->rotate(-_startAngle);
    const double stepAngle = (_startAngle - _endAngle) / _steps;
    for (int i = 0; i <= _steps; ++i) {
        painter->drawLine(QPointF(kTickInner, 0), QPointF(kTickOuter, 0));
        painter->rotate(stepAngle);
    }
    painter->restore();
    painter->drawArc(QRectF(-28, -28, 56, 56), arcUnits(_startAngle),
                     arcUnits(_endAngle - _startAngle));
    painter->restore();
}

void QMeter::drawScale(QPainter* painter) {
    painter->save();
    painter->setPen(_foreground);
    const QFontMetricsF metrics(font());
    const int decimals = qBound(0, _precision, kMaxScalePrecision);
    for (int i = 0; i <= _steps; ++i) {
        const double a = _startAngle * kPi / 180 + kHalfPi +
                         i * (_endAngle - _startAngle) / _steps * kRadiansPerDegree;
        const double number = _minValue + i * (_maxValue - _minValue) / _steps;
        const QString text = QString("%1").arg(number, 0, 'f', decimals);
        const QSizeF size = metrics.size(Qt::TextSingleLine, text);
        const int x = static_cast<int>(kScaleRadius * std::sin(a) - 0.5 * size.width());
        const int y = static_cast<int>(kScaleRadius * std::cos(a) + 0.25 * size.height());
        painter->drawText(QPoint(x, y), text);
    }
    painter->restore();
}

void QMeter::drawUnits(QPainter* painter) {
    painter->save();
    painter->setPen(_foreground);
    painter->setBrush(_foreground);
    painter->drawText(QRectF(-15, -20, 30, 10), Qt::AlignCenter, _units);
    painter->restore();
}

void QMeter::drawThresholdLine(QPainter* painter) {
    if (!_enableThreshold) {
        return;
    }
    painter->save();
    const QRectF box(-25, -25, 50, 50);
    const double thresholdAngle = angleForValue(_threshold);
    QPen pen(Qt::green, 3);
    painter->setPen(pen);
    painter->drawArc(box, wholeDegrees(_startAngle) * kArcUnitsPerDegree,
                     wholeDegrees(thresholdAngle - _startAngle) * kArcUnitsPerDegree);
    pen.setColor(Qt::red);
    painter->setPen(pen);
    painter->drawArc(box, wholeDegrees(thresholdAngle) * kArcUnitsPerDegree,
                     wholeDegrees(_endAngle - thresholdAngle) * kArcUnitsPerDegree);
    painter->restore();
}

void QMeter::_drawWindowArc(QPainter* painter, double beginValue, double endValue) {
    const double a1 = angleForValue(beginValue);
    const double a2 = angleForValue(endValue);
    const double smaller = qMin(a1, a2);
    const double larger = qMax(a1, a2);
    painter->drawArc(QRectF(-25, -25, 50, 50), wholeDegrees(smaller) * kArcUnitsPerDegree,
                     wholeDegrees(larger - smaller) * kArcUnitsPerDegree);
}

void QMeter::drawWarningWindow(QPainter* painter) {
    if (!_enableWarningWindow) {
        return;
    }
    painter->save();
    painter->setPen(QPen(Qt::yellow, 2));
    _drawWindowArc(painter, _beginWarningValue, _endWarningValue);
    painter->restore();
}

void QMeter::drawValidWindow(QPainter* painter) {
    if (!_enableValidWindow) {
        return;
    }
    painter->save();
    painter->setPen(QPen(Qt::green, 2));
    _drawWindowArc(painter, _beginValidValue, _endValidValue);
    painter->restore();
}

void QMeter::drawNeedle(QPainter* painter) {
    painter->save();
    // The needle is drawn pointing down (+y); turn it to the value's angle in whole degrees.
    painter->rotate(-90);
    painter->rotate(-wholeDegrees(angleForValue(_value)));
    QColor outline(Qt::darkRed);
    outline.setAlpha(kNeedleAlpha);
    painter->setPen(outline);
    QRadialGradient body(QPointF(0, 0), 20);
    body.setColorAt(0.0, QColor(255, 120, 120));
    body.setColorAt(1.0, QColor(200, 20, 20));
    painter->setBrush(body);
    painter->drawPolygon(QPolygonF({QPointF(-2, 0), QPointF(2, 0), QPointF(0, 30)}));
    painter->setBrush(QColor(255, 120, 120));
    painter->drawPolygon(QPolygonF({QPointF(-1, 0), QPointF(1, 0), QPointF(0, 29)}));
    painter->restore();

    painter->save();
    painter->setPen(Qt::NoPen);
    QLinearGradient hub(QPointF(-7, -7), QPointF(14, 14));
    hub.setColorAt(0.0, Qt::white);
    hub.setColorAt(1.0, Qt::black);
    painter->setBrush(hub);
    painter->drawEllipse(QRect(-7, -7, 14, 14));
    painter->restore();
}

void QMeter::drawNumericValue(QPainter* painter) {
    if (!_enableNumericIndicator) {
        return;
    }
    painter->save();
    painter->setPen(_thresholdFlag ? Qt::red : Qt::green);
    QFont bold = painter->font();
    if (bold.pointSizeF() > 0) {
        bold.setPointSizeF(bold.pointSizeF() + kNumericFontGrowth);
    } else {
        bold.setPixelSize(bold.pixelSize() + kNumericFontGrowth);
    }
    bold.setWeight(kBoldWeight);
    painter->setFont(bold);
    painter->drawText(QRectF(-15, 25, 30, 10), Qt::AlignCenter, numericText());
    painter->restore();
}

void QMeter::drawLabel(QPainter* painter) {
    painter->save();
    painter->setPen(_foreground);
    painter->setBrush(_foreground);
    _shrinkFontToFitLabel();
    painter->drawText(QRectF(-20, 15, 40, 10), Qt::AlignCenter, _label);
    painter->restore();
}

void QMeter::_shrinkFontToFitLabel() {
    // One point per repaint: the font change schedules the next repaint, which measures again,
    // until the label fits.
    const QFontMetricsF metrics(font());
    if (metrics.size(Qt::TextSingleLine, _label).width() <= kLabelMaxWidth) {
        return;
    }
    QFont smaller = font();
    if (smaller.pointSizeF() > 0) {
        if (smaller.pointSizeF() - 1 < kSmallestLabelPoint) {
            return;
        }
        smaller.setPointSizeF(smaller.pointSizeF() - 1);
    } else {
        if (smaller.pixelSize() <= 1) {
            return;
        }
        smaller.setPixelSize(smaller.pixelSize() - 1);
    }
    setFont(smaller);
}

void QMeter::drawCrown(QPainter* painter) {
    painter->save();
    QLinearGradient rim(QPointF(-47, -47), QPointF(94, 94));
    rim.setColorAt(0.0, Qt::white);
    rim.setColorAt(0.3, QColor(60, 60, 60, 250));
    painter->setPen(QPen(QBrush(rim), 3));
    painter->setBrush(Qt::NoBrush);
    painter->drawArc(QRectF(-47, -47, 94, 94), 30 * kArcUnitsPerDegree, 390 * kArcUnitsPerDegree);
    painter->restore();
}
