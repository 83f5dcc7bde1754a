// Writes the file-manager menus installed for every user of the machine into a data folder (the package's
// /usr/share), with the hand-off at its installed path. A build step, not installed.
//
//     kestro_write_system_menus DATA-FOLDER HANDOFF
#include "integration/FileManagerIntegration.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>

int main(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: kestro_write_system_menus DATA-FOLDER HANDOFF\n");
        return 2;
    }
    // The menus are the defaults: nothing of the builder's own settings may reach them.
    QTemporaryDir home;
    if (!home.isValid())
        return 1;
    for (const char* variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME"})
        qunsetenv(variable);
    qputenv("HOME", QFile::encodeName(home.path()));
    qputenv("KESTRO_TMPDIR", QFile::encodeName(home.path()));
    if (!FileManagerIntegration::writeSystemFiles(QString::fromLocal8Bit(argv[1]),
                                                  QString::fromLocal8Bit(argv[2]))) {
        std::fprintf(stderr, "kestro_write_system_menus: cannot write into %s\n", argv[1]);
        return 1;
    }
    return 0;
}
