#pragma once

#include "settings-ui/SettingsSection.h"
#include "settings-ui/UserListModel.h"

class FittedListView;
class PathWatcher;
class QHBoxLayout;
class QLabel;
class QPushButton;

// One of the user's own lists on a feature page: the rows, what to show when there are none, and the
// buttons that add to the list and act on the selected row.
class UserListSection : public SettingsSection {
    Q_OBJECT
public:
    UserListSection(const QString& title, UserListModel::RowsProvider rows, QWidget* parent = nullptr);

    UserListModel* model() const { return m_model; }
    FittedListView* listView() const { return m_list; }
    void setEmptyTexts(const QString& title, const QString& explanation = {});
    QPushButton* addButton(const QString& text, std::function<void()> action);
    // A button that acts on the selected row; disabled while nothing is selected.
    QPushButton* addSelectionButton(const QString& text, std::function<void(int row)> action);
    // The selected row, or -1.
    int selectedRow() const;
    void reload();
    // The rows show whether these paths exist: they are read again whenever one appears or goes.
    void followPaths(std::function<QStringList()> paths);

signals:
    void selectedRowChanged(int row);

private:
    void updateState();

    UserListModel* m_model;
    FittedListView* m_list;
    QWidget* m_empty;
    QLabel* m_emptyTitle;
    QLabel* m_emptyExplanation;
    QHBoxLayout* m_buttons;
    QList<QPushButton*> m_selectionButtons;
    PathWatcher* m_pathWatcher = nullptr;
    std::function<QStringList()> m_followedPaths;
};
