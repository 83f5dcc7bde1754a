#include "platform/Platform.h"

#include "platform/HeadlessPrompts.h"

#include <mutex>

namespace {

struct Services {
    std::shared_ptr<Workspace> workspace;
    std::shared_ptr<Clipboard> clipboard;
    std::shared_ptr<Prompts> prompts;
    std::shared_ptr<FileManagerScripting> scripting;
    std::shared_ptr<Trash> trash;
    std::shared_ptr<LoginItems> loginItems;
    std::shared_ptr<Notifications> notifications;
    std::shared_ptr<DesktopNotifications> desktopNotifications;
};

std::mutex servicesMutex;

Services& services() {
    static Services instance;
    return instance;
}

template <typename T, typename Factory> T& serviceOf(std::shared_ptr<T> Services::*member, Factory create) {
    std::lock_guard lock(servicesMutex);
    auto& slot = services().*member;
    if (!slot)
        slot = create();
    return *slot;
}

template <typename T> void install(std::shared_ptr<T> Services::*member, std::shared_ptr<T> service) {
    std::lock_guard lock(servicesMutex);
    services().*member = std::move(service);
}

} // namespace

Workspace& Platform::workspace() {
    return serviceOf(&Services::workspace, createSystemWorkspace);
}
Clipboard& Platform::clipboard() {
    return serviceOf(&Services::clipboard, createSystemClipboard);
}
Prompts& Platform::prompts() {
    return serviceOf(&Services::prompts,
                     [] { return std::shared_ptr<Prompts>(std::make_shared<HeadlessPrompts>()); });
}
FileManagerScripting& Platform::fileManagerScripting() {
    return serviceOf(&Services::scripting, createSystemFileManagerScripting);
}
Trash& Platform::trash() {
    return serviceOf(&Services::trash, createSystemTrash);
}
LoginItems& Platform::loginItems() {
    return serviceOf(&Services::loginItems, createSystemLoginItems);
}
Notifications& Platform::notifications() {
    return serviceOf(&Services::notifications, createSystemNotifications);
}
DesktopNotifications& Platform::desktopNotifications() {
    return serviceOf(&Services::desktopNotifications, createSystemDesktopNotifications);
}

void Platform::setWorkspace(std::shared_ptr<Workspace> service) {
    install(&Services::workspace, std::move(service));
}
void Platform::setClipboard(std::shared_ptr<Clipboard> service) {
    install(&Services::clipboard, std::move(service));
}
void Platform::setPrompts(std::shared_ptr<Prompts> service) {
    install(&Services::prompts, std::move(service));
}
void Platform::setFileManagerScripting(std::shared_ptr<FileManagerScripting> service) {
    install(&Services::scripting, std::move(service));
}
void Platform::setTrash(std::shared_ptr<Trash> service) {
    install(&Services::trash, std::move(service));
}
void Platform::setLoginItems(std::shared_ptr<LoginItems> service) {
    install(&Services::loginItems, std::move(service));
}
void Platform::setNotifications(std::shared_ptr<Notifications> service) {
    install(&Services::notifications, std::move(service));
}
void Platform::setDesktopNotifications(std::shared_ptr<DesktopNotifications> service) {
    install(&Services::desktopNotifications, std::move(service));
}

void Platform::reset() {
    std::lock_guard lock(servicesMutex);
    services() = Services{};
}
