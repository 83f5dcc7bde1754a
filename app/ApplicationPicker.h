#pragma once

#include <QDialog>
#include <QIcon>

#include <functional>
#include <optional>

class QListWidget;

// Chooses an application as the desktop's menus show them: by name (Chinese where the entry has it) and
// icon, from the desktop entries installed for this user and for the system. "其他应用…" opens a panel for
// any desktop entry or executable file instead.
class ApplicationPicker : public QDialog {
    Q_OBJECT
public:
    struct Application {
        QString name;
        QIcon icon;
        QString path; // the desktop entry
    };

    // browse: the panel behind "其他应用…"; its choice is taken as it is.
    ApplicationPicker(const QString& title, std::function<std::optional<QString>()> browse,
                      QWidget* parent = nullptr);

    // The applications a menu would show (no hidden entries), by name; a user's entry hides the system's
    // of the same file name, as in the menus.
    static QList<Application> installed();

    QListWidget* list() const { return m_list; }
    // After exec(): the chosen application's path, if one was chosen.
    std::optional<QString> chosenPath() const { return m_chosen; }

private:
    QListWidget* m_list;
    std::optional<QString> m_chosen;
};
