#include "KvVideoItemWidget.h"

#include <QFile>
#include <QLabel>
#include <QPainter>
#include <QResizeEvent>
#include <QStyleOption>

#include <cstdint>

namespace {
const char* const LabelStyle = "color:#111111";

// Inclusive left, top, right, bottom, as the row layout is worked out.
QRect edges(int left, int top, int right, int bottom) {
    return QRect(QPoint(left, top), QPoint(right, bottom));
}

QString formatOf(const KvVideo& video) {
    return QString::asprintf("%dx%d %dfps", video.width, video.height,
                             static_cast<int>(video.fps + 0.5));
}
} // namespace

KvVideoItemWidget::KvVideoItemWidget(QWidget* parent)
    : QWidget(parent), _thumbLabel(new QLabel(this)), _nameLabel(new QLabel(this)),
      _formatLabel(new QLabel(this)), _durationLabel(new QLabel(this)),
      _sizeLabel(new QLabel(this)) {
    _layout(height());
    for (QLabel* label : {_nameLabel, _formatLabel, _durationLabel, _sizeLabel}) {
        label->setStyleSheet(QLatin1String(LabelStyle));
    }
}

void KvVideoItemWidget::setVideoInfo(const KvVideoInfo& info) {
    _videoInfo = info;
}

KvVideoInfo& KvVideoItemWidget::videoInfo() {
    return _videoInfo;
}

void KvVideoItemWidget::updateByVideoInfo(const KvVideoInfo& info) {
    updateByVideoInfo(info, loadThumb(info));
}

void KvVideoItemWidget::updateByVideoInfo(const KvVideoInfo& info, const QImage& thumb) {
    _showTexts(info);
    _thumbLabel->setPixmap(QPixmap::fromImage(thumb));
}

QImage KvVideoItemWidget::loadThumb(const KvVideoInfo& info) {
    if (info.videos.isEmpty()) {
        return QImage();
    }
    const QString path = info.videos.first().thumb;
    if (path.isEmpty() || !QFile::exists(path)) {
        return QImage();
    }
    const QImage image(path);
    return image.scaled(ThumbWidth, ThumbHeight, Qt::KeepAspectRatio, Qt::FastTransformation);
}

void KvVideoItemWidget::_showTexts(const KvVideoInfo& info) {
    _nameLabel->setText(info.name);
    if (info.videos.isEmpty()) {
        // An unreadable entry file gives an entry without clips: nothing more to show.
        _formatLabel->clear();
        _durationLabel->clear();
        _sizeLabel->clear();
        return;
    }
    const KvVideo& first = info.videos.first();
    _formatLabel->setText(formatText(info));
    _durationLabel->setText(durationText(first.duration));
    _sizeLabel->setText(sizeText(first.size));
}

QString KvVideoItemWidget::formatText(const KvVideoInfo& info) {
    if (info.videos.isEmpty()) {
        return QString();
    }
    if (info.videos.size() == 1) {
        return formatOf(info.videos.at(0));
    }
    return formatOf(info.videos.at(0)) + QLatin1Char('+') + formatOf(info.videos.at(1));
}

QString KvVideoItemWidget::durationText(double seconds) {
    const int s = static_cast<int>(seconds + 0.5);
    return QString::asprintf("%02d:%02d:%02d", s / 3600, (s / 60) % 60, s % 60);
}

QString KvVideoItemWidget::sizeText(double bytes) {
    // The size goes through a signed 32-bit integer on purpose: from 2 GiB on it becomes
    // -2147483648 and shows in bytes. Converting such a value (or NaN) to int directly is
    // undefined in C++, so the result the processor gives is spelled out.
    const bool fits = bytes > -2147483649.0 && bytes < 2147483648.0;
    const int32_t size = fits ? static_cast<int32_t>(bytes) : INT32_MIN;
    if (size < (1 << 10)) {
        return QString::asprintf("%dB", size);
    }
    if (size < (1 << 20)) {
        return QString::asprintf("%dKB", size >> 10);
    }
    if (size < (1 << 30)) {
        return QString::asprintf("%dMB", size >> 20);
    }
    return QString::asprintf("%0.2lfG", size * (1.0 / (1 << 30)));
}

void KvVideoItemWidget::resize(const QSize& size) {
    QWidget::resize(size);
    _layout(size.height());
}

void KvVideoItemWidget::resize(int width, int height) {
    resize(QSize(width, height));
}

void KvVideoItemWidget::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    _layout(event->size().height());
}

void KvVideoItemWidget::paintEvent(QPaintEvent* event) {
    // Draw the background through the style so the list's style sheet applies to the row.
    QStyleOption option;
    option.initFrom(this);
    QPainter painter(this);
    style()->drawPrimitive(QStyle::PE_Widget, &option, &painter, this);
    QWidget::paintEvent(event);
}

void KvVideoItemWidget::_layout(int height) {
    // A 16:9 thumbnail fills the row's height; three text lines of a third of it lie to its
    // right. The width plays no part.
    const int h = height - 2;
    const int t = h * 16 / 9;
    const int r = h / 3;
    _thumbLabel->setGeometry(edges(1, 1, t, h));
    _nameLabel->setGeometry(edges(t + 5, 1, t + 204, r));
    _formatLabel->setGeometry(edges(t + 5, 1 + r, t + 204, 2 * r));
    _durationLabel->setGeometry(edges(t + 5, 1 + 2 * r, t + 62, 3 * r));
    const int durationRight = t + 62;
    _sizeLabel->setGeometry(edges(durationRight + 4, 1 + 2 * r, durationRight + 48, 3 * r));
}
