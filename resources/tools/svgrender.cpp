// tarpo_svgrender <source.svg> <target.png> <width> <height>
// Renders one of our SVG icon drawings into the PNG the application loads, at build time, so
// the repository keeps only the drawings and every size comes from the same source.

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

int main(int argc, char* argv[])
{
    // No display is needed (or present on build machines) to paint into an image.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() != 5) {
        std::fprintf(stderr, "usage: tarpo_svgrender <source.svg> <target.png> <width> <height>\n");
        return 2;
    }
    QSvgRenderer renderer(args[1]);
    if (!renderer.isValid()) {
        std::fprintf(stderr, "tarpo_svgrender: %s is not a valid SVG drawing\n",
                     qPrintable(args[1]));
        return 1;
    }
    bool widthOk = false;
    bool heightOk = false;
    const int width = args[3].toInt(&widthOk);
    const int height = args[4].toInt(&heightOk);
    if (!widthOk || !heightOk || width <= 0 || height <= 0) {
        std::fprintf(stderr, "tarpo_svgrender: bad size %s x %s\n", qPrintable(args[3]),
                     qPrintable(args[4]));
        return 2;
    }
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter, QRectF(0, 0, width, height));
    painter.end();
    if (!image.convertToFormat(QImage::Format_ARGB32).save(args[2], "PNG")) {
        std::fprintf(stderr, "tarpo_svgrender: cannot write %s\n", qPrintable(args[2]));
        return 1;
    }
    return 0;
}
