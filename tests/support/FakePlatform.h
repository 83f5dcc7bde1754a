#pragma once

#include "platform/KestroError.h"
#include "platform/Platform.h"

#include <memory>
#include <optional>
#include <QHash>
#include <QList>
#include <QStringList>
#include <utility>

// Fakes that record what was asked and answer as told.
class FakeWorkspace : public Workspace {
public:
    QList<QUrl> openedUrls;
    QList<QStringList> selections;
    QList<std::pair<QString, QStringList>> launches;
    QStringList terminals;
    QHash<QString, QString> installedApplications;
    bool openUrlSucceeds = true;

    bool openUrl(const QUrl& url) override {
        openedUrls.append(url);
        return openUrlSucceeds;
    }
    void selectItems(const QStringList& paths) override { selections.append(paths); }
    void openWithApplication(const QString& applicationPath, const QStringList& paths) override {
        launches.append({applicationPath, paths});
    }
    QString applicationPath(const QString& identifier) override {
        return installedApplications.value(identifier);
    }
    bool terminalInstalled = true;
    bool openTerminal(const QString& directory) override {
        if (!terminalInstalled)
            return false;
        terminals.append(directory);
        return true;
    }
};

class FakeClipboard : public Clipboard {
public:
    QString contents;
    QStringList files; // local files held as URLs
    bool refuses = false;
    int writes = 0;

    bool setText(const QString& text) override {
        ++writes;
        if (!refuses)
            contents = text;
        return !refuses;
    }
    QString text() override { return contents; }
    QStringList filePaths() override { return files; }
};

class FakePrompts : public Prompts {
public:
    // Each queue is consumed front first; an empty queue answers "cancelled".
    QList<std::optional<QString>> textAnswers;
    QList<std::optional<std::pair<QString, QString>>> twoTextAnswers;
    QList<std::optional<QString>> directoryAnswers;
    QList<std::optional<QString>> featureRequestAnswers;
    QList<bool> consentAnswers;            // an empty queue refuses
    QList<ConsentRequest> consentRequests; // every consent asked for, as asked
    QStringList asked;                     // titles, labels and button prompts, in order

    std::optional<QString> promptText(const QString& title, const QString& message) override {
        asked << title << message;
        return next(textAnswers);
    }
    std::optional<std::pair<QString, QString>> promptTwoTexts(const QString& title, const QString& message,
                                                              const QString& firstHint,
                                                              const QString& secondHint) override {
        asked << title;
        if (!message.isEmpty())
            asked << message;
        asked << firstHint << secondHint;
        return next(twoTextAnswers);
    }
    std::optional<QString> chooseDirectory(const QString& buttonLabel) override {
        asked << buttonLabel;
        return next(directoryAnswers);
    }
    std::optional<QString> chooseItem(const OpenPanelRequest& request) override {
        asked << request.title << request.buttonLabel;
        return std::nullopt;
    }
    std::optional<QString> chooseShortcutName(const QString& title, const QString& message,
                                              const QString& placeholder, const QStringList&) override {
        asked << title << message << placeholder;
        return std::nullopt;
    }
    bool confirmRequestFromAnotherProgram(const ConsentRequest& request) override {
        asked << QStringLiteral("consent");
        consentRequests.append(request);
        return !consentAnswers.isEmpty() && consentAnswers.takeFirst();
    }
    std::optional<QString> requestFeatureText() override {
        asked << QStringLiteral("feature-request");
        return next(featureRequestAnswers);
    }

private:
    template <typename T> static std::optional<T> next(QList<std::optional<T>>& answers) {
        return answers.isEmpty() ? std::nullopt : answers.takeFirst();
    }
};

class FakeFileManagerScripting : public FileManagerScripting {
public:
    QStringList selection;
    QStringList scriptsRun;

    QStringList runListScript(const QString& source) override {
        scriptsRun.append(source);
        return selection;
    }
    std::optional<QString> runStringScript(const QString& source) override {
        scriptsRun.append(source);
        return std::nullopt;
    }
    QString runScriptOutput(const QString& source) override {
        scriptsRun.append(source);
        return {};
    }
};

class FakeTrash : public Trash {
public:
    QStringList trashed;
    QStringList refused; // paths that fail

    void moveToTrash(const QString& path) override {
        if (refused.contains(path))
            throw PlatformError(QStringLiteral("trash refused %1").arg(path));
        trashed.append(path);
    }
};

class FakeLoginItems : public LoginItems {
public:
    bool enabled = false;
    bool refuses = false;

    bool isEnabled() override { return enabled; }
    void setEnabled(bool value) override {
        if (refuses)
            throw PlatformError(QStringLiteral("login item refused"));
        enabled = value;
    }
};

class FakeDesktopNotifications : public DesktopNotifications {
public:
    struct Notice {
        QString summary;
        QString body;
        bool replacesPrevious;
    };
    QList<Notice> shown;

    void show(const QString& summary, const QString& body, bool replacesPrevious) override {
        shown.append({summary, body, replacesPrevious});
    }
};

class FakeNotifications : public Notifications {
public:
    QStringList settingsReasons;

    void postSettingsChanged(const QString& reason) override { settingsReasons.append(reason); }
    void postActionQueued() override {}
};

// Installs a fresh set of fakes and hands them out to the test.
struct FakePlatform {
    static void install();
    static FakeWorkspace& workspace() { return *s_workspace; }
    static FakeClipboard& clipboard() { return *s_clipboard; }
    static FakePrompts& prompts() { return *s_prompts; }
    static FakeFileManagerScripting& scripting() { return *s_scripting; }
    static FakeTrash& trash() { return *s_trash; }
    static FakeLoginItems& loginItems() { return *s_loginItems; }
    static FakeNotifications& notifications() { return *s_notifications; }
    static FakeDesktopNotifications& desktopNotifications() { return *s_desktopNotifications; }

private:
    static inline std::shared_ptr<FakeWorkspace> s_workspace;
    static inline std::shared_ptr<FakeClipboard> s_clipboard;
    static inline std::shared_ptr<FakePrompts> s_prompts;
    static inline std::shared_ptr<FakeFileManagerScripting> s_scripting;
    static inline std::shared_ptr<FakeTrash> s_trash;
    static inline std::shared_ptr<FakeLoginItems> s_loginItems;
    static inline std::shared_ptr<FakeNotifications> s_notifications;
    static inline std::shared_ptr<FakeDesktopNotifications> s_desktopNotifications;
};
