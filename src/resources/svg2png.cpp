// Build-time tool: renders one SVG source of the application's artwork into a PNG of a given
// pixel size, so that the resource file carries bitmaps drawn for the sizes the widgets use.
//
//   kv_svg2png <input.svg> <output.png> <width> <height>
//
// Exits non-zero (and writes nothing) when the SVG cannot be parsed or the PNG cannot be written,
// so a broken drawing fails the build instead of shipping an empty image.
#include <QCoreApplication>
#include <QImage>
#include <QPainter>
#include <QString>
#include <QSvgRenderer>

#include <cstdio>

namespace {

constexpr int kArgumentCount = 5;
// Images larger than this are a typing error on the command line, not artwork.
constexpr int kMaxSide = 4096;

bool parseSide(const char* text, int* side) {
    bool ok = false;
    *side = QString::fromLocal8Bit(text).toInt(&ok);
    return ok && *side > 0 && *side <= kMaxSide;
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    int width = 0;
    int height = 0;
    if (argc != kArgumentCount || !parseSide(argv[3], &width) || !parseSide(argv[4], &height)) {
        std::fprintf(stderr, "usage: kv_svg2png <input.svg> <output.png> <width> <height>\n");
        return 2;
    }
    const QString input = QString::fromLocal8Bit(argv[1]);
    const QString output = QString::fromLocal8Bit(argv[2]);

    QSvgRenderer renderer(input);
    if (!renderer.isValid()) {
        std::fprintf(stderr, "kv_svg2png: cannot parse %s\n", argv[1]);
        return 1;
    }

    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        renderer.render(&painter, QRectF(0, 0, width, height));
    }
    if (!image.convertToFormat(QImage::Format_ARGB32).save(output, "PNG")) {
        std::fprintf(stderr, "kv_svg2png: cannot write %s\n", argv[2]);
        return 1;
    }
    return 0;
}
