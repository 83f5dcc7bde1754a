#pragma once

#include "platform/LoginItems.h"

#include <QString>

// Launch at login as an XDG autostart entry that starts "kestro --login-item".
class AutostartLoginItems : public LoginItems {
public:
    static QString entryPath();
    bool isEnabled() override;
    void setEnabled(bool enabled) override;
};
