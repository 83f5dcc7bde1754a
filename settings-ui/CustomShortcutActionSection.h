#pragma once

#include "settings-ui/UserListSection.h"

class CustomShortcutActionStore;

// The user's own menu entries: add a shortcut or a script, rename in place (double-click), remove the
// selected one, drag to reorder.
class CustomShortcutActionSection : public UserListSection {
    Q_OBJECT
public:
    explicit CustomShortcutActionSection(CustomShortcutActionStore& store, QWidget* parent = nullptr);

private:
    CustomShortcutActionStore& m_store;
};
