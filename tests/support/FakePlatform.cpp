#include "support/FakePlatform.h"

namespace {
struct Fakes {
    std::shared_ptr<FakeWorkspace> workspace;
    std::shared_ptr<FakeClipboard> clipboard;
    std::shared_ptr<FakePrompts> prompts;
    std::shared_ptr<FakeFileManagerScripting> scripting;
    std::shared_ptr<FakeTrash> trash;
    std::shared_ptr<FakeLoginItems> loginItems;
    std::shared_ptr<FakeNotifications> notifications;
    std::shared_ptr<FakeDesktopNotifications> desktopNotifications;
};

Fakes& fakes() {
    static Fakes instance;
    return instance;
}

} // namespace

void FakePlatform::install() {
    Fakes& all = fakes();
    all = Fakes{std::make_shared<FakeWorkspace>(),     std::make_shared<FakeClipboard>(),
                std::make_shared<FakePrompts>(),       std::make_shared<FakeFileManagerScripting>(),
                std::make_shared<FakeTrash>(),         std::make_shared<FakeLoginItems>(),
                std::make_shared<FakeNotifications>(), std::make_shared<FakeDesktopNotifications>()};
    Platform::setWorkspace(all.workspace);
    Platform::setClipboard(all.clipboard);
    Platform::setPrompts(all.prompts);
    Platform::setFileManagerScripting(all.scripting);
    Platform::setTrash(all.trash);
    Platform::setLoginItems(all.loginItems);
    Platform::setNotifications(all.notifications);
    Platform::setDesktopNotifications(all.desktopNotifications);
}

FakeWorkspace& FakePlatform::workspace() {
    return *fakes().workspace;
}
FakeClipboard& FakePlatform::clipboard() {
    return *fakes().clipboard;
}
FakePrompts& FakePlatform::prompts() {
    return *fakes().prompts;
}
FakeFileManagerScripting& FakePlatform::scripting() {
    return *fakes().scripting;
}
FakeTrash& FakePlatform::trash() {
    return *fakes().trash;
}
FakeLoginItems& FakePlatform::loginItems() {
    return *fakes().loginItems;
}
FakeNotifications& FakePlatform::notifications() {
    return *fakes().notifications;
}
FakeDesktopNotifications& FakePlatform::desktopNotifications() {
    return *fakes().desktopNotifications;
}
