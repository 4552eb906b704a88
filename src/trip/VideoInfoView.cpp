#include "VideoInfoView.h"

#include "KvConfigure.h"
#include "KvFitLabel.h"
#include "KvGpsMath.h"
#include "KvLanguage.h"
#include "KvLogCategories.h"
#include "KvSettingsKeys.h"
#include "KvSlider.h"
#include "KvSpeedGraph.h"
#include "QMeter.h"

#include <QLCDNumber>
#include <QLabel>
#include <QPalette>
#include <QResizeEvent>

#include <algorithm>
#include <cmath>

namespace {

// The gauge's scale end, in km/h or mph.
constexpr double kGaugeMaximum = 240.0;
// Positions of the time slider; fine enough for an hour-long clip (3.6 s a step) and coarse
// enough that a press on the handle starts a drag rather than a jump.
constexpr int kSliderMaximum = 1000;
// Digits of the read-outs.
constexpr int kCoordinateDigits = 10;
constexpr int kSpeedDigits = 4;
constexpr int kDistanceDigits = 5;
// Durations from this long on show hours.
constexpr int kSecondsPerHour = 3600;
// Longest duration _getTimeFormat shows (about 68 years): keeps the rounding within int.
constexpr double kLongestTime = 2147483000.0;
// Texts of the read-outs when there is nothing to show.
char const* const kNoCoordinate = "0.000000";
char const* const kNoFigure = "0.00";
char const* const kNoTime = "00:00";
// Layout, in pixels: outer margin, gap between blocks, height of a read-out row and of the
// slider row, width of a time label, and the share of a row the caption takes.
constexpr int kMargin = 8;
constexpr int kSpacing = 6;
constexpr int kRowHeight = 28;
constexpr int kSliderRowHeight = 24;
constexpr int kTimeLabelWidth = 64;
constexpr double kCaptionShare = 0.45;
constexpr int kReadOutRows = 6;
// The panel lays its parts side by side when it is at least this many times as wide as high.
constexpr int kWideShare = 3;
// Side by side: the width of the captions and of the read-outs.
constexpr int kWideCaptionWidth = 170;
constexpr int kWideNumberWidth = 150;

QColor const kNumberColor(0, 150, 214);

// A speed the read-outs can add up: a fix whose speed field was not a number counts as standing.
double finiteOrZero(double value) {
    return std::isfinite(value) ? value : 0.0;
}

} // namespace

VideoInfoView::VideoInfoView(QWidget* parent) : QWidget(parent) {
    speedUnit = KvConfigure().getInt(KvSettingsKeys::Speed, KvSettingsKeys::FallbackTripSpeed);
    speedMeter = new QMeter(this);
    speedMeter->setObjectName(QStringLiteral("speedMeter"));
    speedMeter->setMaxValue(kGaugeMaximum);
    speedMeter->setForeground(Qt::black);
    speedMeter->setBackground(Qt::white);
    speedMeter->setUnits(
        QString::fromLatin1(speedUnit == KvSettingsKeys::SpeedMph ? "MPH" : "KM/H"));
    _createReadOuts();
    currentTimeLabel = _createTitle("currentTimeLabel");
    totalTimeLabel = _createTitle("totalTimeLabel");
    currentTimeLabel->setAlignment(Qt::AlignCenter);
    totalTimeLabel->setAlignment(Qt::AlignCenter);
    currentTimeLabel->setText(QString::fromLatin1(kNoTime));
    totalTimeLabel->setText(QString::fromLatin1(kNoTime));
    timeSlider = new KvSlider(this);
    timeSlider->setObjectName(QStringLiteral("timeSlider"));
    timeSlider->setOrientation(Qt::Horizontal);
    timeSlider->setRange(0, kSliderMaximum);
    connect(timeSlider, &KvSlider::sliderPressed, this, &VideoInfoView::_onSliderPressed);
    connect(timeSlider, &KvSlider::sliderMoved, this, &VideoInfoView::_onSliderMoved);
    connect(timeSlider, &KvSlider::sliderReleased, this, &VideoInfoView::_onSliderReleased);
    speedGraph = new KvSpeedGraph(this);
    speedGraph->setObjectName(QStringLiteral("speedGraph"));
    speedGraph->setSpeedUnit(speedUnit);
    // A click on the graph seeks like a release of the slider.
    connect(speedGraph, &KvSpeedGraph::videoTimeChanged, this, &VideoInfoView::videoTimeChanged);
    reloadLanguage();
    clear();
}

void VideoInfoView::_createReadOuts() {
    latitudeTitle = _createTitle("latitudeTitle");
    longitudeTitle = _createTitle("longitudeTitle");
    speedTitle = _createTitle("speedTitle");
    maxSpeedTitle = _createTitle("maxSpeedTitle");
    averageSpeedTitle = _createTitle("averageSpeedTitle");
    distanceTitle = _createTitle("distanceTitle");
    latitudeNumber = _createNumber("latitudeNumber", kCoordinateDigits);
    longitudeNumber = _createNumber("longitudeNumber", kCoordinateDigits);
    speedNumber = _createNumber("speedNumber", kSpeedDigits);
    maxSpeedNumber = _createNumber("maxSpeedNumber", kSpeedDigits);
    averageSpeedNumber = _createNumber("averageSpeedNumber", kSpeedDigits);
    distanceNumber = _createNumber("distanceNumber", kDistanceDigits);
}

QLabel* VideoInfoView::_createTitle(char const* name) {
    // Captions keep their column in every language: a long one is drawn smaller, then cut, with
    // the whole caption as its tool tip.
    auto* label = new KvFitLabel(this);
    label->setObjectName(QString::fromLatin1(name));
    return label;
}

QLCDNumber* VideoInfoView::_createNumber(char const* name, int digits) {
    auto* number = new QLCDNumber(digits, this);
    number->setObjectName(QString::fromLatin1(name));
    number->setSegmentStyle(QLCDNumber::Flat);
    number->setFrameShape(QFrame::NoFrame);
    QPalette palette = number->palette();
    palette.setColor(QPalette::WindowText, kNumberColor);
    palette.setColor(QPalette::Light, kNumberColor);
    palette.setColor(QPalette::Dark, kNumberColor);
    number->setPalette(palette);
    return number;
}

double VideoInfoView::_unitFactor() const {
    return speedUnit == KvSettingsKeys::SpeedMph ? KvMilesPerKm : 1.0;
}

void VideoInfoView::setLocations(QVector<KvLocation> const& locations) {
    if (&locations != &this->locations) {
        this->locations = locations;
    }
    speedGraph->setLocations(this->locations);
    int const n = this->locations.size();
    if (n == 0) {
        maxSpeedNumber->display(QString::fromLatin1(kNoFigure));
        averageSpeedNumber->display(QString::fromLatin1(kNoFigure));
        distanceNumber->display(QString::fromLatin1(kNoFigure));
        return;
    }
    // Speeds of invalid fixes count too, in the maximum and in the average over all n fixes;
    // only the distance needs two valid fixes in a row.
    double maximum = finiteOrZero(this->locations.at(0).speed);
    double sum = maximum;
    double distance = 0.0;
    for (int i = 1; i < n; ++i) {
        KvLocation const& previous = this->locations.at(i - 1);
        KvLocation const& current = this->locations.at(i);
        if (previous.valid && current.valid) {
            distance += _distanceFormLocation(previous, current);
        }
        double const speed = finiteOrZero(current.speed);
        sum += speed;
        maximum = std::max(maximum, speed);
    }
    double average = sum / n;
    double const factor = _unitFactor();
    maximum *= factor;
    average *= factor;
    distance *= factor;
    maxSpeedNumber->display(maximum);
    averageSpeedNumber->display(average);
    distanceNumber->display(distance);
}

int VideoInfoView::_sliderPosition(double currentTime, double totalTime) const {
    double const position = double(timeSlider->maximum()) * currentTime / totalTime;
    // A position past the end (or not a number) stays on the slider.
    if (!(position < double(timeSlider->maximum()))) {
        return timeSlider->maximum();
    }
    return int(position);
}

void VideoInfoView::updateTime(double currentTime, double totalTime) {
    if (!(currentTime >= 0.0) || !(totalTime >= 0.0)) {
        return; // negative, or not a number
    }
    this->currentTime = currentTime;
    this->totalTime = totalTime;
    currentTimeLabel->setText(_getTimeFormat(currentTime));
    totalTimeLabel->setText(_getTimeFormat(totalTime));
    if (totalTime <= 0.0) {
        return; // no length to map the position onto
    }
    speedGraph->setPosition(currentTime, totalTime);
    if (!sliderPressed) {
        timeSlider->setValue(_sliderPosition(currentTime, totalTime));
    }
    if (KvLocation const* fix = fixAt(locations, currentTime, totalTime)) {
        _showFix(*fix);
    }
}

void VideoInfoView::_showFix(KvLocation const& location) {
    if (!location.valid) {
        latitudeNumber->display(QString::fromLatin1(kNoCoordinate));
        longitudeNumber->display(QString::fromLatin1(kNoCoordinate));
        speedNumber->display(QString::fromLatin1(kNoFigure));
        return; // the gauge keeps its value
    }
    latitudeNumber->display(location.latitude);
    longitudeNumber->display(location.longitude);
    double const speed = finiteOrZero(location.speed) * _unitFactor();
    speedNumber->display(speed);
    speedMeter->setValue(speed);
}

void VideoInfoView::clear() {
    latitudeNumber->display(QString::fromLatin1(kNoCoordinate));
    longitudeNumber->display(QString::fromLatin1(kNoCoordinate));
    speedNumber->display(QString::fromLatin1(kNoFigure));
    maxSpeedNumber->display(QString::fromLatin1(kNoFigure));
    averageSpeedNumber->display(QString::fromLatin1(kNoFigure));
    distanceNumber->display(QString::fromLatin1(kNoFigure));
    currentTimeLabel->setText(QString::fromLatin1(kNoTime));
    totalTimeLabel->setText(QString::fromLatin1(kNoTime));
    timeSlider->setValue(0);
    speedMeter->setValue(0.0);
    speedGraph->clear();
    setLocations(QVector<KvLocation>());
}

void VideoInfoView::_setDistanceTitle(int unit) {
    QString const format =
        QString::fromLatin1(unit == KvSettingsKeys::SpeedMph ? "%1 (mile)" : "%1 (Km)");
    distanceTitle->setText(format.arg(KvLanguage::kvtr(QStringLiteral("total_distance"))));
}

void VideoInfoView::reloadLanguage() {
    latitudeTitle->setText(KvLanguage::kvtr(QStringLiteral("current_latitude")));
    longitudeTitle->setText(KvLanguage::kvtr(QStringLiteral("current_longitude")));
    speedTitle->setText(KvLanguage::kvtr(QStringLiteral("current_speed")));
    maxSpeedTitle->setText(KvLanguage::kvtr(QStringLiteral("max_speed")));
    averageSpeedTitle->setText(KvLanguage::kvtr(QStringLiteral("average_speed")));
    _setDistanceTitle(
        KvConfigure().getInt(KvSettingsKeys::Speed, KvSettingsKeys::FallbackTripSpeed));
    speedGraph->reloadLanguage();
}

void VideoInfoView::reloadSettings() {
    speedUnit = KvConfigure().getInt(KvSettingsKeys::Speed, KvSettingsKeys::FallbackTripSpeed);
    speedMeter->setUnits(
        QString::fromLatin1(speedUnit == KvSettingsKeys::SpeedMph ? "MPH" : "KM/H"));
    _setDistanceTitle(speedUnit);
    speedGraph->setSpeedUnit(speedUnit);
    setLocations(locations);
}

double VideoInfoView::_distanceFormLocation(KvLocation const& from, KvLocation const& to) {
    return distanceKm(from, to);
}

double VideoInfoView::_rad(double degrees) {
    return degreesToRadians(degrees);
}

QString VideoInfoView::_getTimeFormat(double seconds) {
    double const bounded = std::isfinite(seconds) ? std::clamp(seconds, 0.0, kLongestTime) : 0.0;
    int const s = int(bounded + 0.5);
    if (s < kSecondsPerHour) {
        return QString::asprintf("%02d:%02d", s / 60, s % 60);
    }
    return QString::asprintf("%02d:%02d:%02d", s / kSecondsPerHour, (s % kSecondsPerHour) / 60,
                             s % 60);
}

void VideoInfoView::_onSliderPressed() {
    sliderPressed = true;
}

void VideoInfoView::_onSliderMoved(int value) {
    if (totalTime > 0.0) {
        currentTime = double(value) * totalTime / double(timeSlider->maximum());
    }
    currentTimeLabel->setText(_getTimeFormat(currentTime));
    totalTimeLabel->setText(_getTimeFormat(totalTime));
}

void VideoInfoView::_onSliderReleased() {
    qCDebug(kvTrip, "_onSliderReleased");
    sliderPressed = false;
    emit videoTimeChanged(totalTime * double(timeSlider->value()) / double(timeSlider->maximum()));
}

void VideoInfoView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    int const w = width();
    int const h = height();
    // In the window the panel is a wide band under the video: the gauge, the read-outs and the
    // graph side by side. Narrower, the gauge and the read-outs stack and the graph is left out.
    if (w >= kWideShare * h) {
        _layOutWide(w, h);
    } else {
        _layOutColumn(w, h);
    }
    int const inner = std::max(0, w - 2 * kMargin);
    int const sliderY = h - kMargin - kSliderRowHeight;
    currentTimeLabel->setGeometry(kMargin, sliderY, kTimeLabelWidth, kSliderRowHeight);
    totalTimeLabel->setGeometry(w - kMargin - kTimeLabelWidth, sliderY, kTimeLabelWidth,
                                kSliderRowHeight);
    timeSlider->setGeometry(kMargin + kTimeLabelWidth, sliderY,
                            std::max(0, inner - 2 * kTimeLabelWidth), kSliderRowHeight);
}

void VideoInfoView::_layOutColumn(int w, int h) {
    int const inner = std::max(0, w - 2 * kMargin);
    int const readOutsHeight = kReadOutRows * kRowHeight;
    // The gauge takes the square that is left above the read-outs and the slider row.
    int const side = std::max(
        0, std::min(inner, h - 2 * kMargin - readOutsHeight - kSliderRowHeight - 2 * kSpacing));
    speedMeter->setGeometry((w - side) / 2, kMargin, side, side);
    QLabel* const titles[kReadOutRows] = {latitudeTitle, longitudeTitle,    speedTitle,
                                          maxSpeedTitle, averageSpeedTitle, distanceTitle};
    QLCDNumber* const numbers[kReadOutRows] = {latitudeNumber, longitudeNumber,    speedNumber,
                                               maxSpeedNumber, averageSpeedNumber, distanceNumber};
    int const captionWidth = int(inner * kCaptionShare);
    int y = kMargin + side + kSpacing;
    for (int row = 0; row < kReadOutRows; ++row) {
        titles[row]->setGeometry(kMargin, y, captionWidth, kRowHeight);
        numbers[row]->setGeometry(kMargin + captionWidth, y, inner - captionWidth, kRowHeight);
        y += kRowHeight;
    }
    speedGraph->setGeometry(0, 0, 0, 0);
}

void VideoInfoView::_layOutWide(int w, int h) {
    int const top = kMargin;
    int const bandHeight = std::max(0, h - 2 * kMargin - kSliderRowHeight - kSpacing);
    speedMeter->setGeometry(kMargin, top, bandHeight, bandHeight);
    QLabel* const titles[kReadOutRows] = {latitudeTitle, longitudeTitle,    speedTitle,
                                          maxSpeedTitle, averageSpeedTitle, distanceTitle};
    QLCDNumber* const numbers[kReadOutRows] = {latitudeNumber, longitudeNumber,    speedNumber,
                                               maxSpeedNumber, averageSpeedNumber, distanceNumber};
    int const rowHeight = bandHeight / kReadOutRows;
    int const left = kMargin + bandHeight + kSpacing;
    int const numberWidth = kWideNumberWidth;
    for (int row = 0; row < kReadOutRows; ++row) {
        int const y = top + row * rowHeight;
        titles[row]->setGeometry(left, y, kWideCaptionWidth, rowHeight);
        numbers[row]->setGeometry(left + kWideCaptionWidth, y, numberWidth, rowHeight);
    }
    int const graphLeft = left + kWideCaptionWidth + numberWidth + kSpacing;
    speedGraph->setGeometry(graphLeft, top, std::max(0, w - kMargin - graphLeft), bandHeight);
}
