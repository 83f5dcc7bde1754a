#pragma once

#include "platform/Workspace.h"

// The freedesktop.org desktop: xdg-open through Qt, the FileManager1 D-Bus interface of the running file
// manager for selecting items, desktop entries and executables for applications, the usual terminal
// emulators. Without a desktop (no display, or the offscreen platform) none of them is started.
class LinuxWorkspace : public Workspace {
public:
    bool openUrl(const QUrl& url) override;
    void selectItems(const QStringList& paths) override;
    void openWithApplication(const QString& applicationPath, const QStringList& paths) override;
    QString applicationPath(const QString& identifier) override;
    bool openTerminal(const QString& directory) override;
};
