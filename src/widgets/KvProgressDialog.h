#pragma once

#include "KvWaitDialog.h"

class QLabel;
class QProgressBar;

// A wait dialog with a message line and a progress bar, both fed from the worker through
// postMessage() and postProgress(). The bar starts with the range 0..0, a busy indicator; a value
// shows once a caller gives it a real range.
class KvProgressDialog : public KvWaitDialog {
    Q_OBJECT
public:
    explicit KvProgressDialog(QWidget* parent = nullptr);

    // Callable from the worker: the updates reach the widgets on the GUI thread.
    void postProgress(float fraction);
    void postMessage(const QString& message);

    QLabel* messageLabel() const { return _messageLabel; }
    QProgressBar* progressBar() const { return _progressBar; }

signals:
    void _setProgress(float fraction);
    void _setMessage(QString message);

public slots:
    void setProgress(float fraction);
    void setMessage(QString message);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void _onResize(int width, int height);

    QLabel* _messageLabel;      // child, GUI thread only
    QProgressBar* _progressBar; // child, GUI thread only
};
