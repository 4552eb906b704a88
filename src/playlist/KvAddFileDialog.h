#pragma once

#include "KvProgressDialog.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>

#include <atomic>

class KvRowFeeder;
class KvVideoListWidget;

// Scans a drive or folder tree for clips on the wait dialog's worker thread (KvFolderWalk: it
// stays on the folder's file system and skips what it cannot read), showing now and then the
// folder or clip it is at, and hands every clip found to the list on the GUI thread, which pairs
// it and saves it. The rows are added in slices of one turn of the event loop each (KvRowFeeder),
// so the window stays responsive however many clips the walk finds; the dialog closes itself when
// the walk has ended and every clip found is in the list.
//
// Closing the dialog (its close button, Escape, reject()) stops the walk before the next entry it
// looks at, at any depth, and drops the clips found but not yet added; the rows already added
// stay.
class KvAddFileDialog : public KvProgressDialog {
    Q_OBJECT
public:
    // How often, at most, the worker shows where it is: one message per folder or clip would
    // flood the GUI thread when a walk passes thousands of them in a second.
    static constexpr int MessageEveryMs = 50;

    KvAddFileDialog(KvVideoListWidget* listWidget, const QString& dirPath);
    // Stops and joins the walk first: it calls back into this dialog.
    ~KvAddFileDialog() override;

    // The worker's body: the walk, then (on the GUI thread) closing once its rows are in.
    void run() override;
    // The walk (KvFolderWalk) on the calling thread: each clip goes to addFileSignal; the
    // cancelled flag is tested on entering each folder and before every entry. On the GUI thread
    // (tests) every clip is added at once.
    void addDirectory(const QDir& dir);
    // The folder-skipping rule, as KvCameraPairing gives it.
    static bool isSpecialDirectory(const QFileInfo& info);

    // True once the user closed the dialog (or it was rejected). Safe from any thread.
    bool isScanCancelled() const { return _cancelled.load(); }
    // Clips found and not yet added as rows. GUI thread.
    int waitingClips() const;

signals:
    // A clip found; emitted on the thread that walks.
    void addFileSignal(const QString& path);

public slots:
    // Connected directly to addFileSignal: on the GUI thread the clip is added at once, from the
    // worker it joins the rows waiting to be added.
    void addFileSlot(const QString& path);
    void reject() override;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    bool _isWalkCancelled() const;
    void _stopAdding();
    // Shows where the walk is, at most every MessageEveryMs.
    void _showProgress(const QString& path);
    // Pairs the clip and adds it to the list, saved. GUI thread.
    void _addNow(const QString& path);
    void _onWalkEnded();
    void _finishIfDone();

    KvVideoListWidget* _listWidget; // not owned; GUI thread only
    QString _dirPath;
    KvRowFeeder* _feeder; // child; filled by the worker, emptied on the GUI thread
    // Written by the GUI thread when the user closes the dialog, read by the worker.
    std::atomic<bool> _cancelled{false};
    bool _walkEnded = false;     // GUI thread
    QElapsedTimer _messageClock; // the walking thread's
};
