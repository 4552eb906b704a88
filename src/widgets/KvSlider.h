#pragma once

#include <QSlider>

// The player's time and volume slider: a thin orange progress line with an image handle. A press
// away from the handle jumps to the pressed position; a press on or near it starts an ordinary
// drag. The wheel never moves it. Every press, a jump or a drag, is announced with
// sliderPressed() and every release with one sliderReleased().
class KvSlider : public QSlider {
    Q_OBJECT
public:
    explicit KvSlider(QWidget* parent = nullptr);

    // (value - minimum) / (maximum - minimum); 0 for an empty range.
    float getProgress(int value) const;
    float getCurrentProgress() const;
    // True between a mouse press and the next release.
    bool isPressed() const { return _pressed; }

    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    bool _jumpTo(const QMouseEvent* event);

    bool _pressed = false;
};
