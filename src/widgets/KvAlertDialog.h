#pragma once

#include <QDialog>
#include <QPointer>

class QLabel;
class QPushButton;
class QTimer;

// A frameless dark message box with a close button, which can dismiss itself after a delay.
// Keys never close it: only the button or the timer do.
class KvAlertDialog : public QDialog {
    Q_OBJECT
public:
    explicit KvAlertDialog(QWidget* parent = nullptr);
    ~KvAlertDialog() override;

    void setContentText(const QString& text);
    // Closes the dialog (accept) after ms milliseconds.
    void dismissAfter(int ms);
    void stopTimer();

    // Shows text in a new alert over parent that deletes itself when it closes and dismisses
    // itself after shownMs; the alert shown, if any, closes first, so messages never pile up.
    // shown then guards the new alert.
    static KvAlertDialog* replaceShown(QPointer<KvAlertDialog>& shown, QWidget* parent,
                                       const QString& text, int shownMs);

    QLabel* contentLabel() const { return _contentLabel; }
    QPushButton* closeButton() const { return _closeButton; }

public slots:
    void onClickCloseButton();
    void onDismissTimeOut();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void _onResize(int width, int height);

    QLabel* _contentLabel;           // child
    QPushButton* _closeButton;       // child, above the label
    QTimer* _dismissTimer = nullptr; // child, null when no dismissal is pending
};
