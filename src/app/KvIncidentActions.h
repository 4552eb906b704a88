#pragma once

#include "KvAlertDialog.h"
#include "KvLocation.h"
#include "KvVideoInfo.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QVector>

class LuPlayer;
class LuVideoView;
class QWidget;

// Going through an incident: single-picture steps of both cameras, still images of the shown
// pictures that carry the car's position in their EXIF tags, and recordings' tracks exported to
// a file for an insurer. The main window delegates its step and screenshot buttons and the
// playlist's "export GPS track" to it. GUI thread only.
class KvIncidentActions : public QObject {
    Q_OBJECT
public:
    // player and view are the window's (not owned); dialogs and messages open over window,
    // which is also the Qt parent.
    KvIncidentActions(LuPlayer* player, LuVideoView* view, QWidget* window);

    // Steps both channels one picture while paused; pictureStepped() follows when they show it.
    // Ignored while playing, with nothing open, or while a step back still waits.
    void stepPicture(bool forward);

    // The screenshot button: with a recording open, stills of the shown pictures into the capture
    // folder, which is then shown to the user when at least one was written.
    void takeScreenshot(const QVector<KvLocation>& track);
    // Writes the shown picture of each channel as a JPEG into captureDir: one channel as
    // "yyyyMMddHHmmss_zzz.jpg", two as "..._zzzF.jpg" and "..._zzzR.jpg" (each name reads the
    // clock again, so the two may differ in their milliseconds). Each still gets the GPS tags
    // of track's fix at the front picture's time, when one can be placed. Returns the files
    // written; empty when no capture succeeded.
    QStringList captureStills(const QString& captureDir, const QVector<KvLocation>& track);

    // Asks where to save the entries' tracks, writes them and tells the user how it went.
    void exportTracksWithChooser(const QList<KvVideoInfo>& entries);
    // Writes the entries' tracks to path in the format its extension or filter names: one track
    // per entry, in the order the entries were recorded. Returns the line shown to the user;
    // *written tells whether a file was made.
    static QString exportTracks(const QList<KvVideoInfo>& entries, const QString& path,
                                const QString& selectedFilter, bool* written = nullptr);

    // The message about the last export, while it is shown.
    KvAlertDialog* messageAlert() const { return _messageAlert.data(); }

signals:
    // A step has ended on the front picture at position seconds of a clip of duration seconds.
    void pictureStepped(double position, double duration);

private:
    void _onStepFinished(double position, double duration);
    void _showMessage(const QString& text);

    LuPlayer* _player;                     // not owned
    LuVideoView* _view;                    // not owned
    QWidget* _window;                      // parent of the chooser and the messages
    QPointer<KvAlertDialog> _messageAlert; // the shown message, deleted when it closes
};
