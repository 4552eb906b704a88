#pragma once

#include <QDialog>
#include <QPointer>

class QLabel;
class QPushButton;
class QTimer;

// A frameless dark message box with a close button, which can dismiss itself after a delay.
// Keys never close it: only the button or the timer do.
//
// The whole message always shows: the box keeps its 320 x 180 when the text fits, and otherwise
// grows (up to MaximumWidth, or the screen) and wraps the text onto more lines. A run of text
// that cannot be broken and is wider than the widest box (a long file name) is elided in the
// middle, and the whole message becomes the tooltip.
class KvAlertDialog : public QDialog {
    Q_OBJECT
public:
    // The widest the box grows to for a long message.
    static constexpr int MaximumWidth = 640;

    explicit KvAlertDialog(QWidget* parent = nullptr);
    ~KvAlertDialog() override;

    // Shows text and sizes the box to it (see above).
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
    // The widest the box may be on the screen it will show on.
    int _widestAllowed() const;
    // text with every unbreakable run wider than textWidth elided in the middle; *widestRun is
    // the width of the widest run that is left.
    QString _fittedText(const QString& text, int textWidth, int* widestRun) const;
    // Whether the label's text, wrapped, fits a box of this width at the default height.
    bool _textFits(int width) const;
    // The size that shows the label's text whole, from the default size up to widest.
    QSize _sizeForText(int widestRun, int widest) const;

    QLabel* _contentLabel;           // child
    QPushButton* _closeButton;       // child, above the label
    QTimer* _dismissTimer = nullptr; // child, null when no dismissal is pending
};
