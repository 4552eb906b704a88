#pragma once

#include <QList>
#include <QString>
#include <QUrl>

class KvVideoInfo;
class KvVideoListWidget;
class QWidget;

// Brings what the user picks in the file picker or drops on the main window into the playlist:
// a clip is added (and played by the window), a folder is added without descending, a card or
// drive is scanned at every depth behind the scan dialog. GUI thread only.
class KvRecordingOpener {
public:
    // The file picker's kinds.
    static constexpr int PickedFile = 0;
    static constexpr int PickedDirectory = 1;
    static constexpr int PickedDrive = 2;

    // list is the window's playlist (not owned).
    explicit KvRecordingOpener(KvVideoListWidget* list);

    // Runs the file picker over parent and adds what was picked (addPicked). True when a file
    // was picked, to be played: *toPlay.
    bool pickAndAdd(QWidget* parent, KvVideoInfo* toPlay);
    // Adds the picked path of the given kind. For a file, true with its record (paired with its
    // partner camera's clip, front first) in *toPlay, and its row made the current one; whether
    // it plays is the player's finding. Folders and drives never play.
    bool addPicked(int type, const QString& path, KvVideoInfo* toPlay);
    // Adds every dropped URL as a clip, and the recordings inside dropped folders.
    void addDropped(const QList<QUrl>& urls);

private:
    // Adds the folder's recordings at every depth, on the scan dialog's worker thread, while the
    // modal dialog shows the progress.
    void _scanFolder(const QString& path);

    KvVideoListWidget* _list; // not owned
};
