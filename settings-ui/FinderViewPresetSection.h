#pragma once

#include "settings-ui/UserListSection.h"

class FinderViewPresetStore;
class QComboBox;
class QLineEdit;

// The user's view presets: the list, and under it the name, view and sort of the selected one.
class FinderViewPresetSection : public UserListSection {
    Q_OBJECT
public:
    explicit FinderViewPresetSection(FinderViewPresetStore& store, QWidget* parent = nullptr);

    QLineEdit* nameField() const { return m_name; }
    QComboBox* viewBox() const { return m_view; }
    QComboBox* sortBox() const { return m_sort; }

private:
    void showSelected();

    FinderViewPresetStore& m_store;
    QWidget* m_editor;
    QLineEdit* m_name;
    QComboBox* m_view;
    QComboBox* m_sort;
};
