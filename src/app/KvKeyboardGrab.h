#pragma once

#include <QObject>

class QWidget;

// The main window's keyboard grab, kept in one place. The window grabs the keyboard so that
// Space and Escape work wherever its focus is; but while the grab is held every key of the
// application goes to the window, so a dialog, a file chooser, a message box or a menu opened
// over it would never see its own keys (a name typed into the chooser, Return, Escape).
//
// The grab is taken when the window is set up, and from then on follows which window is in
// front: it is held while the main window is the active window and no modal dialog or popup menu
// is open, and handed back while any other window is active (also one of another application,
// which must keep its keys: with the window shown the grab holds the whole display's keyboard).
// A modal dialog or a popup gets the keyboard back as it shows, before it takes its own grab;
// otherwise the grab is decided again whenever the focus window changes or a window shows or
// hides, once the event loop has settled which window is in front. GUI thread only.
class KvKeyboardGrab : public QObject {
    Q_OBJECT
public:
    // Grabs the keyboard for window and follows it from then on; window is also the Qt parent.
    explicit KvKeyboardGrab(QWidget* window);

    // Whether the window holds the grab now.
    bool isHeld() const;

protected:
    // Watches the application's dialogs and popups showing and hiding; never consumes an event.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void _scheduleUpdate();
    void _update();
    void _release();
    bool _windowInFront() const;

    QWidget* _window;            // the main window, the parent
    bool _updatePending = false; // an update is queued on the event loop
};
