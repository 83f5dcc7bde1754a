#pragma once

#include "platform/Workspace.h"

// The freedesktop.org desktop: xdg-open through Qt, the FileManager1 D-Bus interface for selecting items,
// desktop entries and executables for applications, the usual terminal emulators.
class LinuxWorkspace : public Workspace {
public:
    bool openUrl(const QUrl& url) override;
    void selectItems(const QStringList& paths) override;
    void openWithApplication(const QString& applicationPath, const QStringList& paths) override;
    QString applicationPath(const QString& identifier) override;
    bool openTerminal(const QString& directory) override;
};
