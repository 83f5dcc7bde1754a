#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// Kestro's menu in the file managers installed here. The host calls refresh() at start-up and after every
// settings announcement; it writes the menu description (always: the hand-off reads it) and, for each
// installed file manager, that file manager's files, each atomically. uninstall() removes exactly Kestro's
// files and entries and keeps them away until install().
class FileManagerIntegration {
public:
    enum class FileManager { gnomeFiles, nemo, dolphin, thunar, pcmanfmQt };

    struct Status {
        FileManager fileManager;
        QString name;
        bool installed = false;
        bool integrated = false;
    };

    static QList<FileManager> all();
    static QString displayName(FileManager fileManager);
    static bool isInstalled(FileManager fileManager);
    // Whether Kestro's files or entries are in place for it.
    static bool isIntegrated(FileManager fileManager);
    static QList<Status> status();

    // Rewrites everything from the saved settings, unless the user removed the integration. Returns what
    // could not be written, one line per file, for the user (empty when all went well).
    static QStringList refresh();
    static QStringList install();
    static void uninstall();
    // True after uninstall() until install().
    static bool isSwitchedOff();

    // The menus of a user who changed no setting, for every user of the machine (what the package installs
    // under dataFolder, /usr/share): Dolphin's service menus and the GNOME Files / Nemo module, which reads
    // each user's own menu description. A user's host hides those service menus with its own files of the
    // same names and writes no module of its own beside the system one. PCManFM-Qt gets none: it prefers a
    // system action to the user's of the same name, so a user's settings could not replace it.
    static bool writeSystemFiles(const QString& dataFolder, const QString& handoff);
    // XDG_DATA_DIRS, where system-wide files are looked for.
    static QStringList systemDataFolders();

    // The hand-off the menus run: KESTRO_HANDOFF when set, else kestro-handoff beside this program.
    static QString handoffPath();
    static QString menuDescriptionPath();
    // Where each file manager reads Kestro's files.
    static QString pythonExtensionPath(FileManager fileManager);
    // Kestro's icon in the user's icon theme ("kestro"), named by the menus' Kestro entry.
    static QString iconPath();
    static QString dolphinFolder();
    static QString pcmanfmFolder();
    static QString thunarActionsPath();
};
