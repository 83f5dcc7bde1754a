// The image benchmark's two halves, run as processes of their own so that GNU time sees each one's peak
// memory: "make PATH WIDTH HEIGHT" writes a photo-like JPEG (smooth light with sensor-like noise, quality
// 90); "resize PATH WIDTH HEIGHT" resizes it in place the way the resize action does, metadata included.
#include "actions/ImageActions.h"

#include <QCoreApplication>
#include <QImage>
#include <QImageWriter>

#include <cstdio>
#include <random>

int main(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() != 5) {
        std::fprintf(stderr, "usage: %s make|resize PATH WIDTH HEIGHT\n", argv[0]);
        return 2;
    }
    const QString path = arguments.at(2);
    const QSize size(arguments.at(3).toInt(), arguments.at(4).toInt());
    if (arguments.at(1) == QLatin1String("resize")) {
        try {
            ImageActions::resizeImage(path, size);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s\n", error.what());
            return 1;
        }
        return 0;
    }
    QImage image(size, QImage::Format_RGB32);
    std::mt19937 random(7);
    std::normal_distribution<float> noise(0.0f, 6.0f);
    for (int y = 0; y < size.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            const float light = 60.0f + 150.0f * float(x) / float(size.width());
            const float shade = 40.0f + 120.0f * float(y) / float(size.height());
            const float grain = noise(random);
            line[x] = qRgb(std::clamp(int(light + grain), 0, 255), std::clamp(int(shade + grain), 0, 255),
                           std::clamp(int((light + shade) / 2 + grain), 0, 255));
        }
    }
    QImageWriter writer(path, "jpeg");
    writer.setQuality(90);
    return writer.write(image) ? 0 : 1;
}
