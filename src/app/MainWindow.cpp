#include "MainWindow.h"

#include <QGuiApplication>
#include <QScreen>

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent) {
    setWindowTitle(QStringLiteral("Dashcam Player"));
    setWindowIcon(QIcon(QStringLiteral(":resources/icon.png")));
    setMinimumSize(MinimumWidth, MinimumHeight);
    _centerOnScreen();
}

void MainWindow::_centerOnScreen() {
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen) {
        return;
    }
    const QRect area = screen->geometry();
    move((area.width() - width()) / 2, (area.height() - height()) / 2);
}
