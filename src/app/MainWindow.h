#pragma once

#include <QMainWindow>

// The application's single top-level window. For now an empty window of the smallest size the
// player's layout needs, centred on the default screen; the video, map, trip and list panels
// join it as they are built.
class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    static constexpr int MinimumWidth = 1280;
    static constexpr int MinimumHeight = 720;

    explicit MainWindow(QWidget* parent = nullptr);

private:
    void _centerOnScreen();
};
