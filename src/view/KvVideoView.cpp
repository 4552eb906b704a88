#include "KvVideoView.h"

#include "KvLogCategories.h"
#include "KvMediaUtils.h"
#include "KvPictureConverter.h"
#include "KvYUV420P.h"

#include <algorithm>
#include <cstring>

namespace {

const char* kVertexShader =
    "attribute vec4 vertexIn; attribute vec2 textureIn; varying vec2 textureOut; void main(void) "
    "{ gl_Position = vertexIn; textureOut = textureIn; }";
const char* kFragmentShader =
    "varying vec2 textureOut; uniform sampler2D textureY; uniform sampler2D textureU; uniform "
    "sampler2D textureV; uniform mat3 colorConversionMatrix; void main(void){ vec3 yuv; vec3 "
    "rgb; yuv.x = texture2D(textureY, textureOut).r; yuv.y = texture2D(textureU, "
    "textureOut).r - 0.5; yuv.z = texture2D(textureV, textureOut).r - 0.5; rgb = "
    "colorConversionMatrix * yuv; gl_FragColor = vec4(rgb, 1); }";

// Texture coordinates of the corners, in the order of the vertices: the first image row is
// drawn at the top.
const GLfloat kTextureCoordinates[8] = {0, 1, 1, 1, 0, 0, 1, 0};

// YUV to RGB, in column order as OpenGL takes it (not transposed). Y is used as sampled, without
// subtracting the luma offset; this is deliberate and keeps the pictures as they always looked.
const GLfloat kConversionMatrix[9] = {1.164f, 1.164f, 1.164f,  0.0f, -0.392f,
                                      2.017f, 1.596f, -0.813f, 0.0f};
// While there is no picture everything is drawn black.
const GLfloat kZeroMatrix[9] = {0, 0, 0, 0, 0, 0, 0, 0, 0};

// Texture units of the three planes.
constexpr int kUnitY = 0;
constexpr int kUnitU = 1;
constexpr int kUnitV = 2;
// OpenGL's row alignment for uploads, restored after ours for Qt's own drawing.
constexpr int kDefaultUnpackAlignment = 4;

} // namespace

KvVideoView::KvVideoView(QWidget* parent) : QOpenGLWidget(parent) {
    connect(this, &KvVideoView::updateAsyncSignal, this,
            static_cast<void (QWidget::*)()>(&QWidget::update), Qt::AutoConnection);
}

KvVideoView::~KvVideoView() {
    if (context() != nullptr) {
        makeCurrent();
        if (program != 0) {
            const GLuint textures[3] = {textureY, textureU, textureV};
            glDeleteTextures(3, textures);
            glDeleteProgram(program);
        }
        doneCurrent();
    }
    std::lock_guard<std::mutex> guard(mutex);
    KvYUVDataFree(picture);
    picture = nullptr;
}

void KvVideoView::lock() {
    mutex.lock();
}

void KvVideoView::unlock() {
    mutex.unlock();
}

int KvVideoView::setYUV420PData(const unsigned char** planes, int width, int height,
                                int* linesizes) {
    return setYUV420PData(new KvYUV420P(planes, width, height, linesizes));
}

int KvVideoView::setYUV420PData(KvYUV420P* newPicture) {
    std::lock_guard<std::mutex> guard(mutex);
    KvYUVDataFree(picture);
    picture = newPicture;
    return 0;
}

void KvVideoView::updateYUV420Async(KvYUV420P* newPicture) {
    setYUV420PData(newPicture);
    emit updateAsyncSignal();
}

void KvVideoView::updateAsync() {
    emit updateAsyncSignal();
}

bool KvVideoView::capture(const QString& path) {
    std::lock_guard<std::mutex> guard(mutex);
    if (picture == nullptr) {
        return false;
    }
    return writeYUV420P(picture->y, picture->u, picture->v, picture->width, picture->height,
                        path) >= 0;
}

void KvVideoView::clear() {
    {
        std::lock_guard<std::mutex> guard(mutex);
        KvYUVDataFree(picture);
        picture = nullptr;
    }
    update();
    qCDebug(kvView, "clear");
}

void KvVideoView::getScale(double* outScaleX, double* outScaleY) {
    std::lock_guard<std::mutex> guard(mutex);
    if (outScaleX != nullptr) {
        *outScaleX = scaleX;
    }
    if (outScaleY != nullptr) {
        *outScaleY = scaleY;
    }
}

double KvVideoView::getPictureTime() {
    std::lock_guard<std::mutex> guard(mutex);
    return picture != nullptr ? picture->time : -1.0;
}

std::unique_ptr<KvYUV420P> KvVideoView::copyPicture() {
    std::lock_guard<std::mutex> guard(mutex);
    return std::unique_ptr<KvYUV420P>(picture != nullptr ? KvPictureConverter::copy(picture)
                                                         : nullptr);
}

void KvVideoView::initializeGL() {
    std::lock_guard<std::mutex> guard(mutex);
    initializeOpenGLFunctions();
    _setupShaders();
    _setupTextures();
}

void KvVideoView::_setupShaders() {
    const GLuint vertexShader = glCreateShader(GL_VERTEX_SHADER);
    const GLint vertexLength = GLint(strlen(kVertexShader));
    glShaderSource(vertexShader, 1, &kVertexShader, &vertexLength);
    glCompileShader(vertexShader);
    const GLuint fragmentShader = glCreateShader(GL_FRAGMENT_SHADER);
    const GLint fragmentLength = GLint(strlen(kFragmentShader));
    glShaderSource(fragmentShader, 1, &kFragmentShader, &fragmentLength);
    glCompileShader(fragmentShader);
    program = glCreateProgram();
    glAttachShader(program, vertexShader);
    glAttachShader(program, fragmentShader);
    glLinkProgram(program);
    GLint linked = 0;
    glGetProgramiv(program, GL_LINK_STATUS, &linked);
    if (linked == 0) {
        char text[1024] = {0};
        glGetProgramInfoLog(program, sizeof(text) - 1, nullptr, text);
        qCDebug(kvView, "shader program = %s", text);
    }
    // The program keeps them; they go with it.
    glDeleteShader(vertexShader);
    glDeleteShader(fragmentShader);
    glUseProgram(program);
}

void KvVideoView::_setupTextures() {
    glUniform1i(glGetUniformLocation(program, "textureY"), kUnitY);
    glUniform1i(glGetUniformLocation(program, "textureU"), kUnitU);
    glUniform1i(glGetUniformLocation(program, "textureV"), kUnitV);
    GLuint textures[3] = {0, 0, 0};
    glGenTextures(3, textures);
    textureY = textures[0];
    textureU = textures[1];
    textureV = textures[2];
    for (GLuint texture : textures) {
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    }
}

void KvVideoView::resizeGL(int, int) {
    // The fit is recomputed on every paint.
}

void KvVideoView::setVertex(int pictureWidth, int pictureHeight) {
    const int viewWidth = width();
    const int viewHeight = height();
    if (pictureWidth > 0 && pictureHeight > 0 && viewWidth > 0 && viewHeight > 0) {
        if (viewWidth * pictureHeight >= viewHeight * pictureWidth) {
            // The widget is relatively wider: bars left and right.
            const double sx = double(viewHeight) * pictureWidth / pictureHeight / viewWidth;
            const GLfloat x = GLfloat(sx);
            const GLfloat corners[8] = {-x, -1, x, -1, -x, 1, x, 1};
            std::copy(corners, corners + 8, vertices);
            scaleX = sx;
            scaleY = 1.0;
        } else {
            const double sy = double(viewWidth) * pictureHeight / pictureWidth / viewHeight;
            const GLfloat y = GLfloat(sy);
            const GLfloat corners[8] = {-1, -y, 1, -y, -1, y, 1, y};
            std::copy(corners, corners + 8, vertices);
            scaleX = 1.0;
            scaleY = sy;
        }
    }
    const GLint vertexIn = glGetAttribLocation(program, "vertexIn");
    const GLint textureIn = glGetAttribLocation(program, "textureIn");
    glVertexAttribPointer(GLuint(vertexIn), 2, GL_FLOAT, GL_FALSE, 0, vertices);
    glEnableVertexAttribArray(GLuint(vertexIn));
    glVertexAttribPointer(GLuint(textureIn), 2, GL_FLOAT, GL_FALSE, 0, kTextureCoordinates);
    glEnableVertexAttribArray(GLuint(textureIn));
    glUniformMatrix3fv(glGetUniformLocation(program, "colorConversionMatrix"), 1, GL_FALSE,
                       picture != nullptr ? kConversionMatrix : kZeroMatrix);
}

void KvVideoView::_uploadPlane(int unit, unsigned int texture, const unsigned char* plane,
                               int planeWidth, int planeHeight) {
    glActiveTexture(GLenum(GL_TEXTURE0 + unit));
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_LUMINANCE, planeWidth, planeHeight, 0, GL_LUMINANCE,
                 GL_UNSIGNED_BYTE, plane);
}

void KvVideoView::paintGL() {
    const qreal ratio = devicePixelRatioF();
    std::lock_guard<std::mutex> guard(mutex);
    glViewport(0, 0, GLsizei(width() * ratio), GLsizei(height() * ratio));
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    // QOpenGLWidget shares the context with Qt's own drawing: make our program current again.
    glUseProgram(program);
    if (picture == nullptr) {
        setVertex(width(), height());
    } else {
        setVertex(picture->width, picture->height);
        // Planes are packed rows of any width (odd sizes too); OpenGL's default row alignment of
        // 4 would read past the end of such a plane.
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        _uploadPlane(kUnitY, textureY, picture->y, picture->width, picture->height);
        _uploadPlane(kUnitU, textureU, picture->u, picture->width / 2, picture->height / 2);
        _uploadPlane(kUnitV, textureV, picture->v, picture->width / 2, picture->height / 2);
        glPixelStorei(GL_UNPACK_ALIGNMENT, kDefaultUnpackAlignment);
        glActiveTexture(GL_TEXTURE0);
    }
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    const GLenum error = glGetError();
    if (error != 0) {
        qCDebug(kvView, "glGetError() = %x", error);
    }
    glFlush();
}
