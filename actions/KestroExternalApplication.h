#pragma once

#include <QString>

// The code editors the menu can open a folder in. On macOS an editor is found by its bundle identifier or
// in /Applications; on Linux by its command on PATH or its desktop entry.
class KestroExternalApplication {
public:
    enum Case { visualStudioCode, cursor };

    KestroExternalApplication(Case applicationCase)
        : m_case(applicationCase) {}

    Case applicationCase() const { return m_case; }
    QString bundleIdentifier() const;
    QString displayName() const;
    // The command (and desktop-entry name without ".desktop") the editor installs on Linux.
    QString commandName() const;
    QString fallbackPath() const;

    // The installed editor: a bundle, an executable or a desktop entry; applicationNotFound with the
    // display name when there is none.
    QString installedURL() const;

private:
    Case m_case;
};
