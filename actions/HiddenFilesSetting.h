#pragma once

#include <QList>
#include <QString>

// Whether GNOME Files shows hidden files, read and written through the gsettings tool. GNOME Files built on
// GTK 4 reads org.gtk.gtk4.Settings.FileChooser show-hidden, the GTK 3 releases org.gtk.Settings.FileChooser
// show-hidden, and the oldest ones their own org.gnome.nautilus.preferences show-hidden-files; every one of
// these that is installed is written, so the file manager and the file dialogs agree. GNOME Files follows
// the setting while it runs: nothing needs restarting. Nemo has a setting of its own
// (org.nemo.preferences show-hidden-files), which it also follows while it runs.
class HiddenFilesSetting {
public:
    enum class FileManager { gnomeFiles, nemo };

    struct Key {
        QString schema;
        QString name;
    };

    // In the order of preference; the first installed one is the one read.
    static QList<Key> candidateKeys(FileManager fileManager = FileManager::gnomeFiles);
    // The candidates installed on this system; empty when gsettings is missing.
    static QList<Key> installedKeys(FileManager fileManager = FileManager::gnomeFiles);
    // False when the setting cannot be read; never throws.
    static bool isShowingHiddenFiles(FileManager fileManager = FileManager::gnomeFiles);
    // Flips the setting. Throws commandFailed when there is no such setting here or it does not take.
    static void toggle(FileManager fileManager = FileManager::gnomeFiles);
};
