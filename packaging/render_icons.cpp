// Draws Kestro's icon for the hicolor theme: render_icons SVG OUTPUT_ROOT SIZE... writes
// OUTPUT_ROOT/<size>x<size>/apps/kestro.png for each size and OUTPUT_ROOT/scalable/apps/kestro.svg.
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QImageReader>

#include <cstdio>

int main(int argc, char* argv[]) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 4) {
        std::fputs("usage: render_icons SVG OUTPUT_ROOT SIZE...\n", stderr);
        return 2;
    }
    const QString source = arguments.at(1);
    const QString root = arguments.at(2);
    const QString scalable = root + QStringLiteral("/scalable/apps");
    if (!QDir().mkpath(scalable) ||
        (QFile::exists(scalable + QStringLiteral("/kestro.svg")) &&
         !QFile::remove(scalable + QStringLiteral("/kestro.svg"))) ||
        !QFile::copy(source, scalable + QStringLiteral("/kestro.svg"))) {
        std::fprintf(stderr, "render_icons: cannot write %s\n", qPrintable(scalable));
        return 1;
    }
    for (const QString& argument : arguments.mid(3)) {
        const int size = argument.toInt();
        QImageReader reader(source, "svg");
        reader.setScaledSize(QSize(size, size));
        QImage image = reader.read();
        const QString folder = root + QStringLiteral("/%1x%1/apps").arg(size);
        if (size <= 0 || image.isNull() || !QDir().mkpath(folder) ||
            !image.convertToFormat(QImage::Format_ARGB32).save(folder + QStringLiteral("/kestro.png"))) {
            std::fprintf(stderr, "render_icons: cannot draw %s at %s: %s\n", qPrintable(source),
                         qPrintable(argument), qPrintable(reader.errorString()));
            return 1;
        }
    }
    return 0;
}
