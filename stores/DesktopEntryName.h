#pragma once

#include <QHash>
#include <QString>

// The name a desktop entry (an application's .desktop file) shows, in Chinese where it has one.
class DesktopEntryName {
public:
    // Name[zh_CN], else Name[zh], else Name of the [Desktop Entry] group; empty when the file has none.
    static QString read(const QString& path);
    // The keys of the [Desktop Entry] group (the first of each) with their values; empty when the file
    // cannot be read or is far too large to be a desktop entry.
    static QHash<QString, QString> mainGroup(const QString& path);
    // The name among those keys, as read() chooses it.
    static QString nameIn(const QHash<QString, QString>& keys);
};
