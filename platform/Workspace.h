#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>

// What the desktop does for us: opening things, showing them in the file manager, launching applications.
class Workspace {
public:
    virtual ~Workspace() = default;

    // Opens a folder, a file or any URL with the user's default handler. False when nothing took it.
    virtual bool openUrl(const QUrl& url) = 0;
    // Brings the file manager forward with these items selected (one window per folder where it must).
    virtual void selectItems(const QStringList& paths) = 0;
    // Opens the items with a given application (a desktop entry or an executable). Throws on launch failure.
    virtual void openWithApplication(const QString& applicationPath, const QStringList& paths) = 0;
    // Looks up an installed application by its identifier (a bundle identifier on macOS, a desktop-entry
    // id or command name on Linux). Empty when it is not installed.
    virtual QString applicationPath(const QString& identifier) = 0;
    // Opens a terminal window whose working folder is the given one. False when no terminal is installed;
    // throws when one is found but cannot start.
    virtual bool openTerminal(const QString& directory) = 0;
};
