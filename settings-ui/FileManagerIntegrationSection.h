#pragma once

#include "settings-ui/SettingsSection.h"

#include <QList>

class PathWatcher;
class QLabel;
class QPushButton;

// Per file manager: whether it is installed here and whether Kestro's menu is in it, with a button that
// writes the menu into every installed one again (also after "kestro --uninstall-integration"). The states
// follow the file system: a file manager installed, or menus written or removed by another process, show
// while the page is open.
class FileManagerIntegrationSection : public SettingsSection {
    Q_OBJECT
public:
    explicit FileManagerIntegrationSection(QWidget* parent = nullptr);

    QPushButton* reintegrateButton() const { return m_reintegrate; }
    // The status text shown for each file manager, in FileManagerIntegration::all() order.
    QStringList statusTexts() const;

    // Reads the state from disk again.
    void refresh();

private:
    QStringList watchedPaths() const;

    QList<QLabel*> m_states;
    QPushButton* m_reintegrate;
    PathWatcher* m_watcher;
    QLabel* m_problems;
};
