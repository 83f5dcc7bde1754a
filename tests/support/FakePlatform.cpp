#include "support/FakePlatform.h"

#include "platform/KestroError.h"

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

template <typename T> std::optional<T> takeFirst(QList<std::optional<T>>& answers) {
    return answers.isEmpty() ? std::nullopt : answers.takeFirst();
}
} // namespace

bool FakeWorkspace::openUrl(const QUrl& url) {
    openedUrls.append(url);
    return openUrlSucceeds;
}

bool FakeClipboard::setText(const QString& text) {
    ++writes;
    if (refuses)
        return false;
    contents = text;
    return true;
}

std::optional<QString> FakePrompts::promptText(const QString& title, const QString& message) {
    asked << title << message;
    return takeFirst(textAnswers);
}

std::optional<std::pair<QString, QString>> FakePrompts::promptTwoTexts(const QString& title,
                                                                       const QString& message,
                                                                       const QString& firstHint,
                                                                       const QString& secondHint) {
    asked << title;
    if (!message.isEmpty())
        asked << message;
    asked << firstHint << secondHint;
    return takeFirst(twoTextAnswers);
}

std::optional<QString> FakePrompts::chooseDirectory(const QString& buttonLabel) {
    asked << buttonLabel;
    return takeFirst(directoryAnswers);
}

std::optional<QString> FakePrompts::chooseItem(const OpenPanelRequest& request) {
    asked << request.title << request.buttonLabel;
    panels.append(request);
    return takeFirst(itemAnswers);
}

std::optional<QString> FakePrompts::chooseShortcutName(const QString& title, const QString& message,
                                                       const QString& placeholder, const QStringList& names) {
    asked << title << message << placeholder;
    shortcutNameLists.append(names);
    return takeFirst(shortcutNameAnswers);
}

bool FakePrompts::confirmRequestFromAnotherProgram(const ConsentRequest& request) {
    asked << QStringLiteral("consent");
    consentRequests.append(request);
    if (whileDialogOpen)
        whileDialogOpen();
    return consentAnswers.isEmpty() ? false : consentAnswers.takeFirst();
}

std::optional<QString> FakePrompts::requestFeatureText() {
    asked << QStringLiteral("feature-request");
    if (whileDialogOpen)
        whileDialogOpen();
    return takeFirst(featureRequestAnswers);
}

QStringList FakeFileManagerScripting::runListScript(const QString& source) {
    scriptsRun.append(source);
    return selection;
}

std::optional<QString> FakeFileManagerScripting::runStringScript(const QString& source) {
    scriptsRun.append(source);
    return frontWindow;
}

QString FakeFileManagerScripting::runScriptOutput(const QString& source) {
    scriptsRun.append(source);
    return {};
}

void FakeTrash::moveToTrash(const QString& path) {
    if (refused.contains(path))
        throw PlatformError(QStringLiteral("trash refused %1").arg(path));
    trashed.append(path);
}

void FakeLoginItems::setEnabled(bool value) {
    if (refuses)
        throw PlatformError(QStringLiteral("login item refused"));
    value ? ++registrations : ++unregistrations;
    enabled = value;
}

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
