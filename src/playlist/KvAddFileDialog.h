#pragma once

#include "KvProgressDialog.h"

#include <QDir>
#include <QFileInfo>

#include <atomic>

class KvVideoListWidget;

// Scans a drive or folder tree for clips on the wait dialog's worker thread, showing each folder
// and clip as it goes, and hands every clip found to the list on the GUI thread, which pairs it
// and saves it. Closing the dialog stops the scan before the next entry it looks at.
class KvAddFileDialog : public KvProgressDialog {
    Q_OBJECT
public:
    KvAddFileDialog(KvVideoListWidget* listWidget, const QString& dirPath);

    // The worker's body: the walk, then dismiss().
    void run() override;
    // The walk (KvFolderWalk) on the calling thread: each folder and clip is shown as the
    // progress message, each clip goes to addFileSignal, and the cancelled flag is tested on
    // entering each folder and before every entry.
    void addDirectory(const QDir& dir);
    // The folder-skipping rule, as KvCameraPairing gives it.
    static bool isSpecialDirectory(const QFileInfo& info);

signals:
    void addFileSignal(const QString& path);

public slots:
    void addFileSlot(const QString& path);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    KvVideoListWidget* _listWidget; // not owned; GUI thread only
    QString _dirPath;
    // Written by the GUI thread when the user closes the dialog, read by the worker.
    std::atomic<bool> _cancelled{false};
};
