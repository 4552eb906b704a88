#pragma once

#include "KvVideoInfo.h"

#include <QImage>
#include <QWidget>

class QLabel;

// One playlist row: the first clip's thumbnail, the entry's name, resolution and frame rate of
// its clips, the first clip's length and file size. GUI thread only; the info loader's results
// reach it through the list (see KvListWidget).
class KvVideoItemWidget : public QWidget {
    Q_OBJECT
public:
    // Every row is this high, in pixels.
    static constexpr int RowHeight = 60;
    // The box the thumbnail is scaled into, keeping its aspect ratio.
    static constexpr int ThumbWidth = 106;
    static constexpr int ThumbHeight = 60;

    explicit KvVideoItemWidget(QWidget* parent = nullptr);

    // Copies the entry; the labels change only with updateByVideoInfo.
    void setVideoInfo(const KvVideoInfo& info);
    KvVideoInfo& videoInfo();
    // Shows the entry on the five labels, reading the first clip's thumbnail file.
    void updateByVideoInfo(const KvVideoInfo& info);
    // The same with the thumbnail already read (by loadThumb, on any thread).
    void updateByVideoInfo(const KvVideoInfo& info, const QImage& thumb);
    // The first clip's thumbnail scaled into the row's thumbnail box; a null image when there is
    // none. Safe on any thread, so the info loader reads it and the GUI thread only shows it.
    static QImage loadThumb(const KvVideoInfo& info);

    void resize(const QSize& size);
    void resize(int width, int height);

    // The texts a row shows, kept apart from the labels so they can be checked on their own.
    static QString formatText(const KvVideoInfo& info);
    static QString durationText(double seconds);
    static QString sizeText(double bytes);

    QLabel* thumbLabel() const { return _thumbLabel; }
    QLabel* nameLabel() const { return _nameLabel; }
    QLabel* formatLabel() const { return _formatLabel; }
    QLabel* durationLabel() const { return _durationLabel; }
    QLabel* sizeLabel() const { return _sizeLabel; }

protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void _layout(int height);
    void _showTexts(const KvVideoInfo& info);

    QLabel* _thumbLabel;
    QLabel* _nameLabel;
    QLabel* _formatLabel;
    QLabel* _durationLabel;
    QLabel* _sizeLabel;
    KvVideoInfo _videoInfo;
};
