#pragma once

#include "KvLocation.h"

#include <QString>
#include <QVector>
#include <QWidget>

class KvSlider;
class KvSpeedGraph;
class QLabel;
class QLCDNumber;
class QMeter;
class QResizeEvent;

// The trip panel beside the video: a speed gauge, seven-segment read-outs of the current
// position and speed and of the clip's maximum speed, average speed and distance, the play
// position and length, and a time slider that seeks when the user lets it go.
//
// Fixes are taken as evenly spread over the clip: the fix shown at a play position is the one
// at the same fraction of the track. Speeds and distance are shown in km/h and km, or in mph and
// miles when the "Speed" setting is 1.
//
// Every child carries its member name as its object name, so that tests and the main window's
// tests can find the read-outs. GUI thread only.
class VideoInfoView : public QWidget {
    Q_OBJECT
public:
    explicit VideoInfoView(QWidget* parent = nullptr);

    // Stores the clip's track and shows its maximum and average speed and its distance.
    void setLocations(QVector<KvLocation> const& locations);
    // Moves the panel to a play position; nothing happens when either time is negative.
    void updateTime(double currentTime, double totalTime);
    void clear();
    void reloadLanguage();
    // Re-reads the speed unit and shows the track's figures in it.
    void reloadSettings();

signals:
    // The user let the slider go at this play position, in seconds.
    void videoTimeChanged(double time);

protected:
    void resizeEvent(QResizeEvent* event) override;

    // Great-circle distance in km between two valid fixes; 0 when either is invalid.
    double _distanceFormLocation(KvLocation const& from, KvLocation const& to);
    double _rad(double degrees);
    // "mm:ss" below an hour, "hh:mm:ss" from an hour on, rounded to the nearest second.
    QString _getTimeFormat(double seconds);

private slots:
    void _onSliderPressed();
    void _onSliderMoved(int value);
    void _onSliderReleased();

private:
    void _createReadOuts();
    void _layOutColumn(int w, int h);
    void _layOutWide(int w, int h);
    QLCDNumber* _createNumber(char const* name, int digits);
    QLabel* _createTitle(char const* name);
    void _setDistanceTitle(int unit);
    void _showFix(KvLocation const& location);
    // The factor from km to the shown unit: 0.6213712 for miles, else 1.
    double _unitFactor() const;
    int _sliderPosition(double currentTime, double totalTime) const;

    QMeter* speedMeter = nullptr;
    QVector<KvLocation> locations; // the clip's track, as last given to setLocations
    QLabel* latitudeTitle = nullptr;
    QLabel* longitudeTitle = nullptr;
    QLabel* speedTitle = nullptr;
    QLabel* maxSpeedTitle = nullptr;
    QLabel* averageSpeedTitle = nullptr;
    QLabel* distanceTitle = nullptr;
    QLCDNumber* latitudeNumber = nullptr;
    QLCDNumber* longitudeNumber = nullptr;
    QLCDNumber* speedNumber = nullptr;
    QLCDNumber* maxSpeedNumber = nullptr;
    QLCDNumber* averageSpeedNumber = nullptr;
    QLCDNumber* distanceNumber = nullptr;
    QLabel* currentTimeLabel = nullptr;
    QLabel* totalTimeLabel = nullptr;
    KvSlider* timeSlider = nullptr;
    // Speed and g-force over the whole recording, with the playing position; seeks on click.
    KvSpeedGraph* speedGraph = nullptr;
    bool sliderPressed = false; // the user holds the slider: updateTime leaves it alone
    double currentTime = 0.0;   // seconds
    double totalTime = 0.0;     // seconds
    int speedUnit = 1;          // the "Speed" setting: 1 miles per hour, else km/h
};
