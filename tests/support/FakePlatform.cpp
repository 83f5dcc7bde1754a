#include "support/FakePlatform.h"

void FakePlatform::install() {
    Platform::setWorkspace(s_workspace = std::make_shared<FakeWorkspace>());
    Platform::setClipboard(s_clipboard = std::make_shared<FakeClipboard>());
    Platform::setPrompts(s_prompts = std::make_shared<FakePrompts>());
    Platform::setFileManagerScripting(s_scripting = std::make_shared<FakeFileManagerScripting>());
    Platform::setTrash(s_trash = std::make_shared<FakeTrash>());
    Platform::setLoginItems(s_loginItems = std::make_shared<FakeLoginItems>());
    Platform::setNotifications(s_notifications = std::make_shared<FakeNotifications>());
    Platform::setDesktopNotifications(s_desktopNotifications = std::make_shared<FakeDesktopNotifications>());
}
