#pragma once

#include <QList>
#include <QString>

// Whether GNOME Files shows hidden files, read and written through the gsettings tool. GNOME Files built on
// GTK 4 reads org.gtk.gtk4.Settings.FileChooser show-hidden, the GTK 3 releases org.gtk.Settings.FileChooser
// show-hidden, and the oldest ones their own org.gnome.nautilus.preferences show-hidden-files; every one of
// these that is installed is written, so the file manager and the file dialogs agree. GNOME Files follows
// the setting while it runs: nothing needs restarting.
class HiddenFilesSetting {
public:
    struct Key {
        QString schema;
        QString name;
    };

    // In the order of preference; the first installed one is the one read.
    static QList<Key> candidateKeys();
    // The candidates installed on this system; empty when gsettings is missing.
    static QList<Key> installedKeys();
    // False when the setting cannot be read; never throws.
    static bool isShowingHiddenFiles();
    // Flips the setting. Throws commandFailed when there is no such setting here or it does not take.
    static void toggle();
};
