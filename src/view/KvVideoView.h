#pragma once

#include "KvVideoSink.h"

#include <QOpenGLFunctions>
#include <QOpenGLWidget>
#include <QString>

#include <memory>
#include <mutex>

class KvYUV420P;

// Shows one camera's video: keeps exactly one planar YUV picture, uploads its planes as
// single-channel textures and converts to RGB in a fragment shader, fitting the picture into the
// widget with its aspect ratio kept (black bars). Pictures may arrive from any thread; the view
// swaps them in under its mutex and repaints on the GUI thread.
class KvVideoView : public QOpenGLWidget, protected QOpenGLFunctions, public KvVideoSink {
    Q_OBJECT
public:
    explicit KvVideoView(QWidget* parent = nullptr);
    ~KvVideoView() override;

    void lock();
    void unlock();
    // Replace the picture (a copy of the planes, or taking ownership); no repaint is requested.
    int setYUV420PData(const unsigned char** planes, int width, int height, int* linesizes);
    int setYUV420PData(KvYUV420P* picture);
    // The same, then a repaint request that reaches the GUI thread as a queued signal.
    void updateYUV420Async(KvYUV420P* picture) override;
    void updateAsync();
    // Writes the current picture as a JPEG; false when there is none.
    bool capture(const QString& path);
    void clear();
    // The fraction of the widget's width and height that the picture covers.
    void getScale(double* scaleX, double* scaleY);
    // The presentation time of the picture shown, in seconds; -1 when the view is empty.
    double getPictureTime();
    // A copy of the picture shown, its pixels as decoded and its time; null when the view is
    // empty. What a check of the shown pixels reads, without going through the screen's colours.
    std::unique_ptr<KvYUV420P> copyPicture();

signals:
    void updateAsyncSignal();

protected:
    void initializeGL() override;
    void resizeGL(int width, int height) override;
    void paintGL() override;

private:
    void _setupShaders();
    void _setupTextures();
    void setVertex(int pictureWidth, int pictureHeight);
    void _uploadPlane(int unit, unsigned int texture, const unsigned char* plane, int width,
                      int height);

    KvYUV420P* picture = nullptr; // owned; null when empty; guarded by mutex
    unsigned int program = 0;     // GL objects: GUI thread, inside the widget's context
    unsigned int textureY = 0;
    unsigned int textureU = 0;
    unsigned int textureV = 0;
    // Guards picture, vertices and the scale. A std::mutex rather than a QMutex: QMutex waits on
    // futexes that ThreadSanitizer cannot see, and the video thread hands pictures over through
    // it. Not recursive.
    std::mutex mutex;
    float vertices[8] = {-1, -1, 1, -1, -1, 1, 1, 1}; // bottom-left, bottom-right, top-left,
                                                      // top-right, in clip coordinates
    double scaleX = 1.0;
    double scaleY = 1.0;
};
