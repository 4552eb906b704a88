#include "KvSpeedGraph.h"

#include "KvGpsMath.h"
#include "KvLanguage.h"
#include "KvSettingsKeys.h"

#include <QFontMetrics>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {
constexpr qreal SpeedLineWidth = 2.0;
constexpr qreal GsensorLineWidth = 1.0;
constexpr qreal CursorWidth = 2.0;
// Speed is series 0; the three g-sensor axes follow.
constexpr int SeriesCount = 4;
// A speed scale has at most this many steps, so its labels stay apart on a low graph.
constexpr int MaxSpeedSteps = 5;
// Speeds above this are damaged records, not drives; they would only stretch the scale.
constexpr double HighestPlausibleSpeed = 1e6;
// Time steps a clock reads easily, in seconds: up to a day.
constexpr double TimeSteps[] = {1,   2,   5,    10,   15,   20,   30,    60,    120,   300,
                                600, 900, 1200, 1800, 3600, 7200, 10800, 21600, 43200, 86400};
constexpr int SecondsPerHour = 3600;
// The most ticks a time scale draws, whatever the width: a guard against a nonsense duration.
constexpr int MaxTimeTicks = 1000;

// The legend's and the scales' text, in pixels: small beside the trip panel's read-outs.
constexpr int TextPixelSize = 10;
constexpr int TickLength = 3;
// Between a label and its tick, and above and below the legend's line.
constexpr int LabelGap = 3;
// Right of the lines, so the last time label is not cut.
constexpr int RightMargin = 4;
// Free room beside each time label, so neighbouring labels never touch.
constexpr int TimeLabelSpacing = 16;
// The legend: a patch of each line's colour before its name, and the room between entries.
constexpr int SwatchWidth = 12;
constexpr int SwatchHeight = 6;
constexpr int SwatchGap = 4;
constexpr int LegendSpacing = 12;
// Smaller than this the legend and the scales would crowd out the lines, which then take the
// whole widget.
constexpr int MinimumDecoratedWidth = 200;
constexpr int MinimumDecoratedHeight = 70;

const QColor GridColor(255, 255, 255, 40);
const QColor AxisColor(255, 255, 255, 110);
// Legend entries: the speed, the g-force caption (its range), then the axes X, Y and Z.
constexpr int LegendEntries = 5;
constexpr int GsensorCaptionEntry = 1;
const char* const AxisNames[] = {"X", "Y", "Z"};

QFont textFont(const QFont& base) {
    QFont font(base);
    font.setPixelSize(TextPixelSize);
    return font;
}

QString speedText(double tick) {
    return QString::number(tick, 'f', 0);
}

// A translated text with its one placeholder filled; a language without the entry shows its key,
// which has none.
QString filled(const QString& text, const QString& value) {
    return text.contains(QLatin1String("%1")) ? text.arg(value) : text;
}
} // namespace

const QColor KvSpeedGraph::SpeedColor(25, 164, 255);
const QColor KvSpeedGraph::GsensorColors[3] = {QColor(255, 170, 0), QColor(0, 200, 120),
                                               QColor(220, 80, 220)};
const QColor KvSpeedGraph::CursorColor(255, 255, 255);
const QColor KvSpeedGraph::TextColor(190, 198, 206);

KvSpeedGraph::KvSpeedGraph(QWidget* parent) : KvWidget(parent) {
    setBackgroundColor(0x1b2027, 255);
    setCursor(Qt::PointingHandCursor);
    reloadLanguage();
}

void KvSpeedGraph::setLocations(const QVector<KvLocation>& locations) {
    _locations = locations;
    _rebuild();
}

void KvSpeedGraph::setSpeedUnit(int unit) {
    _speedUnit = unit;
    // The legend names the unit.
    reloadLanguage();
}

void KvSpeedGraph::reloadLanguage() {
    const QString unit =
        KvLanguage::kvtr(QLatin1String(_speedUnit == KvSettingsKeys::SpeedMph ? "MPH" : "KM/H"));
    _legendTexts = QStringList{
        filled(KvLanguage::kvtr(QStringLiteral("graph_speed")), unit),
        filled(KvLanguage::kvtr(QStringLiteral("graph_gforce")), QString::number(GsensorRange))};
    _rebuild();
}

void KvSpeedGraph::setPosition(double currentTime, double totalTime) {
    _currentTime = std::isfinite(currentTime) ? currentTime : 0.0;
    const double total = std::isfinite(totalTime) && totalTime > 0.0 ? totalTime : 0.0;
    if (total != _totalTime) {
        // A new length of recording: a new time scale.
        _totalTime = total;
        _rebuild();
    } else {
        update();
    }
}

void KvSpeedGraph::clear() {
    _locations.clear();
    _currentTime = 0.0;
    _totalTime = 0.0;
    _dragging = false;
    _rebuild();
}

double KvSpeedGraph::xOfIndex(int index) const {
    return _locations.isEmpty() ? _plot.left()
                                : _plot.left() + _plot.width() * double(index) / _locations.size();
}

double KvSpeedGraph::xOfTime(double seconds) const {
    return _totalTime > 0.0
               ? _plot.left() + _plot.width() * std::clamp(seconds / _totalTime, 0.0, 1.0)
               : _plot.left();
}

double KvSpeedGraph::yOfSpeed(double speedInUnit) const {
    return _plot.top() +
           (_plot.height() - 1) * (1.0 - std::clamp(speedInUnit / _speedScale, 0.0, 1.0));
}

double KvSpeedGraph::yOfGsensor(double g) const {
    const double share = std::clamp((g + GsensorRange) / (2.0 * GsensorRange), 0.0, 1.0);
    return _plot.top() + (_plot.height() - 1) * (1.0 - share);
}

QRect KvSpeedGraph::legendSwatch(int series) const {
    // Entry 1 is the g-force caption; the axes' entries follow it.
    const int entry = series == 0 ? 0 : series + GsensorCaptionEntry;
    return series >= 0 && series < SeriesCount && entry < _legendSwatches.size()
               ? _legendSwatches.at(entry)
               : QRect();
}

QVector<double> KvSpeedGraph::speedTicks(double highest) {
    const double top =
        std::isfinite(highest) ? std::clamp(highest, 0.0, HighestPlausibleSpeed) : 0.0;
    constexpr double Multiples[] = {1.0, 2.0, 2.5, 5.0};
    for (double power = 1.0;; power *= 10.0) {
        for (double multiple : Multiples) {
            if (multiple == 2.5 && power < 10.0) {
                continue; // 2.5 would need a decimal in the labels
            }
            const double step = multiple * power;
            // The first tick above the highest speed, and not below the scale's minimum.
            const int steps =
                std::max(int(std::floor(top / step)) + 1, int(std::ceil(MinimumSpeedScale / step)));
            if (steps <= MaxSpeedSteps) {
                QVector<double> ticks;
                for (int i = 0; i <= steps; ++i) {
                    ticks.append(i * step);
                }
                return ticks;
            }
        }
    }
}

QVector<double> KvSpeedGraph::timeTicks(double duration, int maxSteps) {
    if (!std::isfinite(duration) || duration <= 0.0) {
        return {};
    }
    maxSteps = std::max(1, maxSteps);
    double step = 0.0;
    for (double candidate : TimeSteps) {
        if (std::floor(duration / candidate) <= maxSteps) {
            step = candidate;
            break;
        }
    }
    if (step == 0.0) {
        // Longer than the table reaches: whole days.
        const double day = TimeSteps[std::size(TimeSteps) - 1];
        step = day * std::ceil(duration / maxSteps / day);
    }
    QVector<double> ticks;
    for (int i = 0; i * step <= duration && i < MaxTimeTicks; ++i) {
        ticks.append(i * step);
    }
    return ticks;
}

QString KvSpeedGraph::timeText(double seconds) {
    const int s = int(std::max(0.0, seconds) + 0.5);
    if (s < SecondsPerHour) {
        return QString::asprintf("%02d:%02d", s / 60, s % 60);
    }
    return QString::asprintf("%02d:%02d:%02d", s / SecondsPerHour, (s % SecondsPerHour) / 60,
                             s % 60);
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
    return _plot.width() > 0.0
               ? _totalTime * std::clamp((x - _plot.left()) / _plot.width(), 0.0, 1.0)
               : 0.0;
}

double KvSpeedGraph::_clampedX(double x) const {
    return std::clamp(x, _plot.left(), _plot.right());
}

void KvSpeedGraph::_rebuild() {
    double top = 0.0;
    for (const KvLocation& fix : _locations) {
        const double speed = _valueOf(fix, 0);
        if (fix.valid && std::isfinite(speed)) {
            top = std::max(top, speed);
        }
    }
    _speedTicks = speedTicks(top);
    _speedScale = _speedTicks.last();
    _layOut();
    _lines = QPixmap(size() * devicePixelRatioF());
    _lines.setDevicePixelRatio(devicePixelRatioF());
    _lines.fill(Qt::transparent);
    if (!_lines.isNull()) {
        QPainter painter(&_lines);
        _drawGrid(painter);
        if (_decorated) {
            _drawScales(painter);
            _drawLegend(painter);
        }
        painter.setRenderHint(QPainter::Antialiasing);
        // The speed last, on top of the thinner g-sensor lines.
        for (int series = SeriesCount - 1; series >= 0; --series) {
            _drawSeries(painter, series);
        }
    }
    update();
}

void KvSpeedGraph::_layOut() {
    _speedLabels.clear();
    _timeLabels.clear();
    _timeTicks.clear();
    _legendSwatches.clear();
    _legendLabels.clear();
    _decorated = width() >= MinimumDecoratedWidth && height() >= MinimumDecoratedHeight;
    if (!_decorated) {
        _plot = QRectF(rect());
        return;
    }
    const QFontMetrics metrics(textFont(font()));
    int labelWidth = 0;
    for (double tick : qAsConst(_speedTicks)) {
        labelWidth = std::max(labelWidth, metrics.horizontalAdvance(speedText(tick)));
    }
    const int left = labelWidth + LabelGap + TickLength;
    const int top = metrics.height() + 2 * LabelGap;
    const int bottom = TickLength + metrics.height();
    _plot = QRectF(left, top, std::max(1, width() - left - RightMargin),
                   std::max(1, height() - top - bottom));
    _layOutSpeedLabels(metrics);
    _layOutTimeLabels(metrics);
    _layOutLegend(metrics);
}

void KvSpeedGraph::_layOutSpeedLabels(const QFontMetrics& metrics) {
    const int right = int(_plot.left()) - TickLength - LabelGap;
    for (double tick : qAsConst(_speedTicks)) {
        const QRect label(0, qRound(yOfSpeed(tick) - metrics.height() / 2.0), right,
                          metrics.height());
        // Bottom up: a label that would touch the one below is left out (its tick stays).
        if (_speedLabels.isEmpty() || label.bottom() < _speedLabels.last().rect.top()) {
            _speedLabels.append({label, speedText(tick)});
        }
    }
}

void KvSpeedGraph::_layOutTimeLabels(const QFontMetrics& metrics) {
    const int widest = metrics.horizontalAdvance(timeText(_totalTime)) + TimeLabelSpacing;
    _timeTicks = timeTicks(_totalTime, int(_plot.width()) / std::max(1, widest));
    const int top = int(_plot.bottom()) + TickLength;
    for (double tick : qAsConst(_timeTicks)) {
        const QString text = timeText(tick);
        const int textWidth = metrics.horizontalAdvance(text);
        // Centred under its tick, but kept inside the widget and right of the speed scale.
        const int left = std::clamp(qRound(xOfTime(tick) - textWidth / 2.0), int(_plot.left()),
                                    std::max(int(_plot.left()), width() - textWidth));
        const QRect label(left, top, textWidth, metrics.height());
        if (_timeLabels.isEmpty() || label.left() > _timeLabels.last().rect.right() + LabelGap) {
            _timeLabels.append({label, text});
        }
    }
}

void KvSpeedGraph::_layOutLegend(const QFontMetrics& metrics) {
    QStringList texts{_legendTexts.value(0), _legendTexts.value(1)};
    for (const char* axis : AxisNames) {
        texts.append(QLatin1String(axis));
    }
    // Every entry but the caption has a colour patch before its text.
    const int swatches = (LegendEntries - 1) * (SwatchWidth + SwatchGap);
    int fixed = swatches + (LegendEntries - 1) * LegendSpacing;
    for (int entry = GsensorCaptionEntry + 1; entry < LegendEntries; ++entry) {
        fixed += metrics.horizontalAdvance(texts.at(entry));
    }
    // On a narrow graph the two translated texts share what is left, each elided to its share.
    const int room = std::max(0, width() - int(_plot.left()) - RightMargin - fixed);
    const int speedWidth = metrics.horizontalAdvance(texts.at(0));
    const int gWidth = metrics.horizontalAdvance(texts.at(GsensorCaptionEntry));
    if (speedWidth + gWidth > room) {
        const int speedRoom = room * speedWidth / std::max(1, speedWidth + gWidth);
        texts[0] = metrics.elidedText(texts.at(0), Qt::ElideRight, speedRoom);
        texts[GsensorCaptionEntry] =
            metrics.elidedText(texts.at(GsensorCaptionEntry), Qt::ElideRight, room - speedRoom);
    }
    const int middle = int(_plot.top()) / 2;
    int x = int(_plot.left());
    for (int entry = 0; entry < LegendEntries; ++entry) {
        if (entry == GsensorCaptionEntry) {
            _legendSwatches.append(QRect());
        } else {
            _legendSwatches.append(QRect(x, middle - SwatchHeight / 2, SwatchWidth, SwatchHeight));
            x += SwatchWidth + SwatchGap;
        }
        const int textWidth = metrics.horizontalAdvance(texts.at(entry));
        _legendLabels.append({QRect(x, middle - metrics.height() / 2, textWidth, metrics.height()),
                              texts.at(entry)});
        x += textWidth + LegendSpacing;
    }
}

void KvSpeedGraph::_drawGrid(QPainter& painter) const {
    painter.setPen(QPen(GridColor, 1.0));
    // At the speed scale's ticks and the time scale's, the zero lines left to the axes.
    for (double tick : _speedTicks) {
        if (tick > 0.0) {
            const qreal y = yOfSpeed(tick);
            painter.drawLine(QPointF(_plot.left(), y), QPointF(_plot.right(), y));
        }
    }
    for (double tick : _timeTicks) {
        if (tick > 0.0) {
            const qreal x = xOfTime(tick);
            painter.drawLine(QPointF(x, _plot.top()), QPointF(x, yOfSpeed(0.0)));
        }
    }
}

void KvSpeedGraph::_drawScales(QPainter& painter) const {
    const qreal left = _plot.left() - 0.5;
    const qreal base = yOfSpeed(0.0) + 0.5;
    painter.setPen(QPen(AxisColor, 1.0));
    painter.drawLine(QPointF(left, _plot.top()), QPointF(left, base));
    painter.drawLine(QPointF(left, base), QPointF(_plot.right(), base));
    for (double tick : _speedTicks) {
        const qreal y = yOfSpeed(tick);
        painter.drawLine(QPointF(left - TickLength, y), QPointF(left, y));
    }
    for (double tick : _timeTicks) {
        const qreal x = xOfTime(tick);
        painter.drawLine(QPointF(x, base), QPointF(x, base + TickLength));
    }
    painter.setFont(textFont(font()));
    painter.setPen(TextColor);
    for (const AxisLabel& label : _speedLabels) {
        painter.drawText(label.rect, Qt::AlignRight | Qt::AlignVCenter, label.text);
    }
    for (const AxisLabel& label : _timeLabels) {
        painter.drawText(label.rect, Qt::AlignCenter, label.text);
    }
}

void KvSpeedGraph::_drawLegend(QPainter& painter) const {
    for (int entry = 0; entry < _legendSwatches.size(); ++entry) {
        const QRect& swatch = _legendSwatches.at(entry);
        if (!swatch.isEmpty()) {
            painter.fillRect(swatch, entry == 0 ? SpeedColor
                                                : GsensorColors[entry - GsensorCaptionEntry - 1]);
        }
    }
    painter.setFont(textFont(font()));
    painter.setPen(TextColor);
    for (const AxisLabel& label : _legendLabels) {
        painter.drawText(label.rect, Qt::AlignLeft | Qt::AlignVCenter, label.text);
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
        const QPointF point(xOfIndex(i) + 0.5 * _plot.width() / _locations.size(),
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
    painter.drawLine(QPointF(x, _plot.top()), QPointF(x, _plot.bottom()));
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
    _dragX = _clampedX(event->localPos().x());
    update();
}

void KvSpeedGraph::mouseMoveEvent(QMouseEvent* event) {
    if (!_dragging) {
        return;
    }
    _dragX = _clampedX(event->localPos().x());
    update();
}

void KvSpeedGraph::mouseReleaseEvent(QMouseEvent* event) {
    if (!_dragging || event->button() != Qt::LeftButton) {
        return;
    }
    _dragging = false;
    _dragX = _clampedX(event->localPos().x());
    const double seconds = _timeAtX(_dragX);
    // The cursor stays where the user let go until the player reports the new position.
    _currentTime = seconds;
    update();
    emit videoTimeChanged(seconds);
}
