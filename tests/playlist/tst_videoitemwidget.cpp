#include "KvTestMain.h"
#include "KvVideoItemDelegate.h"
#include "KvVideoItemWidget.h"

#include <QLabel>
#include <QtTest>

class TestVideoItemWidget : public QObject {
    Q_OBJECT
private slots:
    void formatOfOneAndTwoClips();
    void sizeTexts_data();
    void sizeTexts();
    void durationTexts_data();
    void durationTexts();
    void failedFirstClipBesideLoadedSecond();
    void rowLayoutFor60Pixels();
    void labelsShowTheEntry();
    void thumbnailScaledIntoBox();
    void missingThumbnailShowsNothing();
    void entryWithoutClipsShowsOnlyName();
    void setVideoInfoDoesNotChangeLabels();
    void delegateRowHeight();
};

namespace {
KvVideo clip(int width, int height, double fps, double duration, double size) {
    KvVideo video;
    video.width = width;
    video.height = height;
    video.fps = fps;
    video.duration = duration;
    video.size = size;
    return video;
}
} // namespace

void TestVideoItemWidget::formatOfOneAndTwoClips() {
    KvVideoInfo info;
    info.videos.append(clip(1920, 1080, 29.97, 60, 1000));
    QCOMPARE(KvVideoItemWidget::formatText(info), QString("1920x1080 30fps"));
    info.videos.append(clip(1280, 720, 14.4, 60, 1000));
    QCOMPARE(KvVideoItemWidget::formatText(info), QString("1920x1080 30fps+1280x720 14fps"));
}

void TestVideoItemWidget::sizeTexts_data() {
    QTest::addColumn<double>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("0") << 0.0 << "0B";
    QTest::newRow("1023") << 1023.0 << "1023B";
    QTest::newRow("1024") << 1024.0 << "1KB";
    QTest::newRow("1048575") << 1048575.0 << "1023KB";
    QTest::newRow("1048576") << 1048576.0 << "1MB";
    QTest::newRow("1 GiB") << 1073741824.0 << "1.00G";
    QTest::newRow("1.5 GiB") << 1610612736.0 << "1.50G";
    QTest::newRow("2 GiB") << 2147483648.0 << "-2147483648B";
    QTest::newRow("3 GiB") << 3221225472.0 << "-2147483648B";
    QTest::newRow("fraction") << 1023.9 << "1023B";
}

void TestVideoItemWidget::sizeTexts() {
    QFETCH(double, bytes);
    QFETCH(QString, text);
    QCOMPARE(KvVideoItemWidget::sizeText(bytes), text);
}

void TestVideoItemWidget::durationTexts_data() {
    QTest::addColumn<double>("seconds");
    QTest::addColumn<QString>("text");
    QTest::newRow("0") << 0.0 << "00:00:00";
    QTest::newRow("3725.6") << 3725.6 << "01:02:06";
    QTest::newRow("59.4") << 59.4 << "00:00:59";
    QTest::newRow("59.5") << 59.5 << "00:01:00";
    QTest::newRow("100 hours") << 360000.0 << "100:00:00";
}

void TestVideoItemWidget::durationTexts() {
    QFETCH(double, seconds);
    QFETCH(QString, text);
    QCOMPARE(KvVideoItemWidget::durationText(seconds), text);
}

void TestVideoItemWidget::failedFirstClipBesideLoadedSecond() {
    KvVideoInfo info;
    info.name = "pair";
    info.videos.append(clip(0, 0, 0, 0, 500));
    info.videos.append(clip(320, 180, 15, 4, 9000));
    KvVideoItemWidget widget;
    widget.updateByVideoInfo(info);
    QCOMPARE(widget.formatLabel()->text(), QString("0x0 0fps+320x180 15fps"));
    QCOMPARE(widget.durationLabel()->text(), QString("00:00:00"));
    QCOMPARE(widget.sizeLabel()->text(), QString("500B"));
}

void TestVideoItemWidget::rowLayoutFor60Pixels() {
    KvVideoItemWidget widget;
    widget.resize(400, 60);
    // h = 58, t = 103, r = 19; rectangles are inclusive.
    QCOMPARE(widget.thumbLabel()->geometry(), QRect(QPoint(1, 1), QPoint(103, 58)));
    QCOMPARE(widget.nameLabel()->geometry(), QRect(QPoint(108, 1), QPoint(307, 19)));
    QCOMPARE(widget.formatLabel()->geometry(), QRect(QPoint(108, 20), QPoint(307, 38)));
    QCOMPARE(widget.durationLabel()->geometry(), QRect(QPoint(108, 39), QPoint(165, 57)));
    QCOMPARE(widget.sizeLabel()->geometry(), QRect(QPoint(169, 39), QPoint(213, 57)));
    widget.resize(QSize(10, 92));
    // The width plays no part: h = 90, t = 160, r = 30.
    QCOMPARE(widget.thumbLabel()->geometry(), QRect(QPoint(1, 1), QPoint(160, 90)));
    QCOMPARE(widget.sizeLabel()->geometry(), QRect(QPoint(226, 61), QPoint(270, 90)));
    QCOMPARE(widget.nameLabel()->styleSheet(), QString("color:#111111"));
}

void TestVideoItemWidget::labelsShowTheEntry() {
    KvVideoInfo info;
    info.name = QString::fromUtf8("行车 001F.MP4");
    info.videos.append(clip(1920, 1080, 30, 3725.6, 1073741824.0));
    KvVideoItemWidget widget;
    widget.updateByVideoInfo(info);
    QCOMPARE(widget.nameLabel()->text(), info.name);
    QCOMPARE(widget.formatLabel()->text(), QString("1920x1080 30fps"));
    QCOMPARE(widget.durationLabel()->text(), QString("01:02:06"));
    QCOMPARE(widget.sizeLabel()->text(), QString("1.00G"));
}

void TestVideoItemWidget::thumbnailScaledIntoBox() {
    QTemporaryDir dir;
    const QString thumb = dir.filePath("t.jpg");
    QImage image(320, 180, QImage::Format_RGB32);
    image.fill(Qt::red);
    QVERIFY(image.save(thumb));
    KvVideoInfo info;
    KvVideo video = clip(320, 180, 15, 4, 1);
    video.thumb = thumb;
    info.videos.append(video);
    KvVideoItemWidget widget;
    widget.updateByVideoInfo(info);
    const QPixmap pixmap = widget.thumbLabel()->pixmap(Qt::ReturnByValue);
    // 16:9 into the 106 x 60 box keeping the aspect ratio.
    QCOMPARE(pixmap.width(), 106);
    QVERIFY(pixmap.height() == 59 || pixmap.height() == 60);
    const QColor centre = pixmap.toImage().pixelColor(53, 29);
    QVERIFY(centre.red() > 200 && centre.green() < 60 && centre.blue() < 60);
}

void TestVideoItemWidget::missingThumbnailShowsNothing() {
    KvVideoInfo info;
    KvVideo video = clip(320, 180, 15, 4, 1);
    video.thumb = "/no/such/thumb.jpg";
    info.videos.append(video);
    KvVideoItemWidget widget;
    widget.updateByVideoInfo(info);
    QVERIFY(widget.thumbLabel()->pixmap(Qt::ReturnByValue).isNull());
}

void TestVideoItemWidget::entryWithoutClipsShowsOnlyName() {
    KvVideoInfo info;
    info.name = "broken";
    KvVideoItemWidget widget;
    widget.updateByVideoInfo(info);
    QCOMPARE(widget.nameLabel()->text(), QString("broken"));
    QVERIFY(widget.formatLabel()->text().isEmpty());
    QVERIFY(widget.durationLabel()->text().isEmpty());
    QVERIFY(widget.sizeLabel()->text().isEmpty());
}

void TestVideoItemWidget::setVideoInfoDoesNotChangeLabels() {
    KvVideoInfo info;
    info.name = "entry";
    info.videos.append(clip(1, 1, 1, 1, 1));
    KvVideoItemWidget widget;
    widget.setVideoInfo(info);
    QVERIFY(widget.nameLabel()->text().isEmpty());
    QVERIFY(widget.videoInfo() == info);
}

void TestVideoItemWidget::delegateRowHeight() {
    QWidget view;
    view.resize(333, 200);
    KvVideoItemDelegate delegate;
    QStyleOptionViewItem option;
    option.widget = &view;
    QCOMPARE(delegate.sizeHint(option, QModelIndex()), QSize(333, 60));
    option.widget = nullptr;
    QCOMPARE(delegate.sizeHint(option, QModelIndex()).height(), 60);
}

KV_TEST_MAIN(TestVideoItemWidget)
#include "tst_videoitemwidget.moc"
