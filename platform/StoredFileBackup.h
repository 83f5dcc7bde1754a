#pragma once

#include <QString>

// A settings file that could not be read whole is copied aside before its store writes over it, so that
// nothing the user had is lost: "<name>.unreadable", then "<name>.unreadable 2", "<name>.unreadable 3" ...
class StoredFileBackup {
public:
    // The application's copy of fileName (the one that is read back).
    static QString settingsFilePath(const QString& fileName);
    // Copies that file aside when it exists, or moves it aside when it cannot be read; the copy's path, or
    // empty when there was nothing to keep or it could be neither copied nor moved.
    static QString keepCopy(const QString& fileName);
};
