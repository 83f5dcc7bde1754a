// The smallest Qt application with a window: the reference that Kestro's start-up is measured against.
// Prints "bare: ready" on standard error once its window is shown, then idles until killed (or quits at
// once with --quit).
#include <QApplication>
#include <QLabel>
#include <QTimer>

#include <cstdio>

int main(int argc, char* argv[]) {
    QApplication application(argc, argv);
    QLabel window(QStringLiteral("Kestro"));
    window.resize(860, 560);
    window.show();
    QTimer::singleShot(0, &window, [&] {
        std::fputs("bare: ready\n", stderr);
        std::fflush(stderr);
        if (QCoreApplication::arguments().contains(QStringLiteral("--quit")))
            QCoreApplication::quit();
    });
    return application.exec();
}
