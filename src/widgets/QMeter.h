#pragma once

#include <QColor>
#include <QPropertyAnimation>
#include <QString>
#include <QWidget>

class QPainter;

// An analogue dial: face, ticks and numbered scale, needle, numeric read-out, units and label, an
// optional threshold arc with an alarm signal, and optional "valid" and "warning" arcs. Drawn with
// QPainter in a logical 100 x 100 square centred on the dial. GUI thread only.
class QMeter : public QWidget {
    Q_OBJECT
    Q_PROPERTY(double value READ value WRITE setValue)
    Q_PROPERTY(double minValue READ minValue WRITE setMinValue)
    Q_PROPERTY(double maxValue READ maxValue WRITE setMaxValue)
    Q_PROPERTY(double threshold READ threshold WRITE setThreshold)
    Q_PROPERTY(int precision READ precision WRITE setPrecision)
    Q_PROPERTY(int precisionNumeric READ precisionNumeric WRITE setPrecisionNumeric)
    Q_PROPERTY(QString units READ units WRITE setUnits)
    Q_PROPERTY(QString label READ label WRITE setLabel)
    Q_PROPERTY(int steps READ steps WRITE setSteps)
    Q_PROPERTY(double startAngle READ startAngle WRITE setStartAngle)
    Q_PROPERTY(double endAngle READ endAngle WRITE setEndAngle)
    Q_PROPERTY(QColor foreground READ foreground WRITE setForeground)
    Q_PROPERTY(QColor background READ background WRITE setBackground)
    Q_PROPERTY(bool enableThreshold READ enableThreshold WRITE setThresholdEnabled)
    Q_PROPERTY(double beginValidValue READ beginValidValue WRITE setBeginValidValue)
    Q_PROPERTY(double endValidValue READ endValidValue WRITE setEndValidValue)
    Q_PROPERTY(bool enableValidWindow READ enableValidWindow WRITE setEnableValidWindow)
    Q_PROPERTY(double beginWarningValue READ beginWarningValue WRITE setBeginWarningValue)
    Q_PROPERTY(double endWarningValue READ endWarningValue WRITE setEndWarningValue)
    Q_PROPERTY(bool enableWarningWindow READ enableWarningWindow WRITE setEnableWarningWindow)
    Q_PROPERTY(
        bool enableNumericIndicator READ enableNumericIndicator WRITE setNumericIndicatorEnabled)

public:
    // Codes sent by errorSignal().
    enum ErrorCode {
        MaxValueError = 1,   // setMaxValue with a value not above minValue: rejected
        ThresholdError = 3,  // setThreshold outside (minValue, maxValue): rejected
        ValueRangeError = 8, // setValue outside [minValue, maxValue]: clamped
    };
    Q_ENUM(ErrorCode)

    explicit QMeter(QWidget* parent = nullptr);

    double value() const { return _value; }
    double minValue() const { return _minValue; }
    double maxValue() const { return _maxValue; }
    double threshold() const { return _threshold; }
    int precision() const { return _precision; }
    int precisionNumeric() const { return _precisionNumeric; }
    QString units() const { return _units; }
    QString label() const { return _label; }
    int steps() const { return _steps; }
    double startAngle() const { return _startAngle; }
    double endAngle() const { return _endAngle; }
    QColor foreground() const { return _foreground; }
    QColor background() const { return _background; }
    bool enableThreshold() const { return _enableThreshold; }
    double beginValidValue() const { return _beginValidValue; }
    double endValidValue() const { return _endValidValue; }
    bool enableValidWindow() const { return _enableValidWindow; }
    double beginWarningValue() const { return _beginWarningValue; }
    double endWarningValue() const { return _endWarningValue; }
    bool enableWarningWindow() const { return _enableWarningWindow; }
    bool enableNumericIndicator() const { return _enableNumericIndicator; }

    // True while the threshold alarm is raised.
    bool isThresholdRaised() const { return _thresholdFlag; }
    // Dial angle of a scale value, degrees counter-clockwise from 3 o'clock.
    double angleForValue(double x) const;
    // The numeric read-out: the value truncated to a whole number.
    QString numericText() const;

signals:
    void errorSignal(int code);
    void thresholdAlarm(bool raised);

public slots:
    void setValue(int value);
    void setValue(double value);
    void setMinValue(int value);
    void setMinValue(double value);
    void setMaxValue(int value);
    void setMaxValue(double value);
    void setThreshold(int value);
    void setThreshold(double value);
    void setPrecision(int precision);
    void setPrecisionNumeric(int precision);
    void setUnits(QString units);
    void setLabel(QString label);
    void setSteps(int steps);
    void setStartAngle(double angle);
    void setEndAngle(double angle);
    void setForeground(QColor color);
    void setBackground(QColor color);
    void setThresholdEnabled(bool enabled);
    void setNumericIndicatorEnabled(bool enabled);
    void setValueWithSpringEffect(int value);
    void setBeginValidValue(double value);
    void setEndValidValue(double value);
    void setEnableValidWindow(bool enabled);
    void setBeginWarningValue(double value);
    void setEndWarningValue(double value);
    void setEnableWarningWindow(bool enabled);

protected:
    void paintEvent(QPaintEvent* event) override;

    void drawBackground(QPainter* painter);
    void drawCoverGlass(QPainter* painter);
    void drawTicks(QPainter* painter);
    void drawScale(QPainter* painter);
    void drawUnits(QPainter* painter);
    void drawThresholdLine(QPainter* painter);
    void drawWarningWindow(QPainter* painter);
    void drawValidWindow(QPainter* painter);
    void drawNeedle(QPainter* painter);
    void drawNumericValue(QPainter* painter);
    void drawLabel(QPainter* painter);
    void drawCrown(QPainter* painter);

    void thresholdManager();

private:
    void _drawWindowArc(QPainter* painter, double beginValue, double endValue);
    void _shrinkFontToFitLabel();

    double _value = 0.0;
    double _maxValue = 100.0;
    double _minValue = 0.0;
    int _precision = 0;
    int _precisionNumeric = 0; // stored only: the read-out always shows a whole number
    QString _units;
    QString _label;
    int _steps = 10;
    double _startAngle = 225.0;
    double _endAngle = -45.0;
    double _threshold = 80.0;
    bool _thresholdFlag = false;
    bool _enableValidWindow = false;
    double _beginValidValue = 40.0;
    double _endValidValue = 50.0;
    bool _enableWarningWindow = false;
    double _beginWarningValue = 30.0;
    double _endWarningValue = 60.0;
    bool _enableThreshold = true;
    bool _enableNumericIndicator = true;
    QColor _foreground{Qt::yellow};
    QColor _background{Qt::black};
    // Drives the "value" property for the spring effect; kept after it stops.
    QPropertyAnimation _animation;
};
