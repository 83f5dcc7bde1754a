#pragma once

#include "platform/Clipboard.h"
#include "platform/DesktopNotifications.h"
#include "platform/FileManagerScripting.h"
#include "platform/LoginItems.h"
#include "platform/Notifications.h"
#include "platform/Prompts.h"
#include "platform/Trash.h"
#include "platform/Workspace.h"

#include <memory>

// The operating system's services as the rest of Kestro sees them. Each starts as this system's own
// implementation; the shell swaps in widget-based prompts, and tests install fakes that record what was
// asked.
class Platform {
public:
    static Workspace& workspace();
    static Clipboard& clipboard();
    static Prompts& prompts();
    static FileManagerScripting& fileManagerScripting();
    static Trash& trash();
    static LoginItems& loginItems();
    static Notifications& notifications();
    static DesktopNotifications& desktopNotifications();

    static void setWorkspace(std::shared_ptr<Workspace> service);
    static void setClipboard(std::shared_ptr<Clipboard> service);
    static void setPrompts(std::shared_ptr<Prompts> service);
    static void setFileManagerScripting(std::shared_ptr<FileManagerScripting> service);
    static void setTrash(std::shared_ptr<Trash> service);
    static void setLoginItems(std::shared_ptr<LoginItems> service);
    static void setNotifications(std::shared_ptr<Notifications> service);
    static void setDesktopNotifications(std::shared_ptr<DesktopNotifications> service);

    // Back to this system's own implementations.
    static void reset();
};

// This system's implementations; each platform folder defines them.
std::shared_ptr<Workspace> createSystemWorkspace();
std::shared_ptr<Clipboard> createSystemClipboard();
std::shared_ptr<FileManagerScripting> createSystemFileManagerScripting();
std::shared_ptr<Trash> createSystemTrash();
std::shared_ptr<LoginItems> createSystemLoginItems();
std::shared_ptr<Notifications> createSystemNotifications();
std::shared_ptr<DesktopNotifications> createSystemDesktopNotifications();
