#include "catalogue/LaunchAtLoginController.h"

#include "platform/Platform.h"

void LaunchAtLoginController::setEnabled(bool enabled) {
    LoginItems& loginItems = Platform::loginItems();
    if (loginItems.isEnabled() == enabled)
        return;
    loginItems.setEnabled(enabled);
}
