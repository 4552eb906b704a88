#pragma once

#include "KvWidget.h"

class KvVideoView;
class QLabel;
class QMouseEvent;
class QTimer;

// The two cameras of a recording side by side (front left, rear right), or one of them alone
// filling the widget, with a logo on black while nothing plays. It also turns raw mouse input
// into click and double-click signals carrying the button and position: a single click is
// reported 300 ms after its release, a double click at the second release, never both, and
// nothing after a drag. GUI thread only.
class LuVideoView : public KvWidget {
    Q_OBJECT
public:
    explicit LuVideoView(QWidget* parent = nullptr);
    ~LuVideoView() override;

    // The number of channels of the current recording (1 or 2); lays the children out again.
    void setPlayerCount(int count);
    int getPlayerCount() const;
    // Which channel fills the widget from the next resize on: 0 the front, 1 the rear, -1 both.
    void enterFullscreen(int index);
    // Both channels again from the next resize on.
    void existsFullscreen();
    int getFullscreenIndex() const;
    // The channel under a point: 0 with one channel; else 1 right of the middle, 0 left of it.
    int getPreview(double x, double y) const;
    // Empties both views and shows the logo in their place.
    void clear();
    // Hides the logo and shows both views, both channels laid out.
    void reset();

    // The two channels, children of this widget. The player delivers pictures to them; the
    // main window captures still images from them.
    KvVideoView* frontView;
    KvVideoView* rearView;

signals:
    void onMousePressed(QMouseEvent* event);
    void onMouseMoved(QMouseEvent* event);
    void onMouseReleased(QMouseEvent* event);
    void onClick(int button, double x, double y);
    void onDoubleClicked(int button, double x, double y);

public slots:
    void onClickTimerTimeOut();

protected:
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void startClickTimer();
    void stopClickTimer();

private:
    void _resize(int width, int height);

    int fullscreenIndex = -1;     // -1 both channels, 0 front alone, 1 rear alone
    int playerCount = 0;          // channels of the current recording
    QLabel* placeholder;          // the logo while nothing plays
    QTimer* clickTimer = nullptr; // owned; exists only while a first click waits for a second
    int clickCount = 0;           // -1 after a move (a drag), else releases in this sequence
    int clickButton = 0;          // Qt::MouseButton of the last release
    double clickX = 0;            // position of the last release, rounded to whole pixels
    double clickY = 0;
};
