#pragma once

#include <QString>

// Every fixed location Kestro reads or writes. All of them follow HOME, the XDG variables and
// KESTRO_TMPDIR, so tests and a second account never touch each other's files.
class KestroPaths {
public:
    static QString homeDirectory();
    // XDG_CONFIG_HOME and XDG_DATA_HOME (absolute values only), else their defaults under the home folder.
    static QString configHome();
    static QString dataHome();
    // Where the host keeps its property lists (the copy it reads back).
    static QString applicationSupportDirectory();
    // The second copy of the lists, read by the file-manager integration.
    static QString extensionDirectory();
    static QString extensionQueueDirectory();
    // The machine-wide temporary root: KESTRO_TMPDIR, else /tmp.
    static QString temporaryRoot();
    static QString sharedQueueDirectory();
    static QString diagnosticLogPath();
    // Where the log goes when the shared one is taken: under XDG_STATE_HOME (~/.local/state).
    static QString privateLogPath();
    // The user's own temporary folder for staging work (TMPDIR, else /tmp).
    static QString userTemporaryDirectory();
    // A per-user folder for the single-instance socket and its lock.
    static QString runtimeDirectory();
    // The runtime folder may sit in a temporary root that other accounts can write to, so it is used only
    // when it is a real folder (no link) owned by this user with mode 0700. ensure creates it that way when
    // it is missing and throws PlatformError when what is there is not such a folder; nothing else's mode
    // is ever changed.
    static void ensurePrivateDirectory(const QString& path);
    static bool isPrivateDirectory(const QString& path);
    static QString autostartDirectory();
    static QString applicationsDirectory();

private:
    static QString xdgDirectory(const char* variable, const QString& fallbackUnderHome);
};
