#pragma once

#include <QString>

// The name a desktop entry (an application's .desktop file) shows, in Chinese where it has one.
class DesktopEntryName {
public:
    // Name[zh_CN], else Name[zh], else Name of the [Desktop Entry] group; empty when the file has none.
    static QString read(const QString& path);
};
