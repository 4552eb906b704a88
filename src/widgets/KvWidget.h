#pragma once

#include <QColor>
#include <QWidget>

// A widget that paints its own background and optional border as one anti-aliased rounded
// rectangle, so panels get a colour without style sheets. By default it paints nothing visible.
class KvWidget : public QWidget {
    Q_OBJECT
public:
    explicit KvWidget(QWidget* parent = nullptr);

    QColor backgroundColor() const { return _backgroundColor; }
    int borderWidth() const { return _borderWidth; }
    int borderRadius() const { return _borderRadius; }
    QColor borderColor() const { return _borderColor; }

    void setBackgroundColor(const QColor& color);
    // rgb is 0xRRGGBB.
    void setBackgroundColor(int rgb, int alpha);
    void setBorderWidth(int width);
    void setBorderRadius(int radius);
    void setBorderColor(const QColor& color);
    void setBorder(int width, int radius, int rgb, int alpha);
    void setBorder(int width, int radius, const QColor& color);

protected:
    void paintEvent(QPaintEvent* event) override;

    static QColor _colorFromInt(int rgb, int alpha);

private:
    QColor _backgroundColor{255, 255, 255, 0};
    int _borderWidth = 0;
    int _borderRadius = 0; // shared by background and border
    QColor _borderColor{255, 255, 255, 0};
};
