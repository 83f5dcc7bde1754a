// Renames every file in a folder to upper case in process, as renameUppercase does, and prints the seconds
// the action took. bench/rename.sh prepares the folder, a private home and the reference to compare with.
#include "actions/RenameActions.h"
#include "catalogue/AppPreferencesPersistence.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>

#include <cstdio>

int main(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: kestro_rename_bench FOLDER\n");
        return 2;
    }
    AppPreferences preferences;
    preferences.revealActionResults = false;
    AppPreferencesPersistence::save(preferences);

    const QDir folder(QString::fromLocal8Bit(argv[1]));
    QStringList paths;
    for (const QString& name : folder.entryList(QDir::Files | QDir::NoDotAndDotDot, QDir::Unsorted))
        paths.append(folder.absoluteFilePath(name));

    QElapsedTimer timer;
    timer.start();
    const QStringList renamed = RenameActions::renameFiles(paths, RenameMode::uppercase);
    const double seconds = double(timer.nsecsElapsed()) / 1e9;
    std::printf("%.4f %lld\n", seconds, static_cast<long long>(renamed.size()));
    return renamed.size() == paths.size() ? 0 : 1;
}
