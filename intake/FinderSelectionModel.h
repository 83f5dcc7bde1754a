#pragma once

#include "catalogue/FeatureSettings.h"
#include "intake/KestroActionURL.h"
#include "platform/ActionProgress.h"

#include <functional>
#include <optional>
#include <QDateTime>
#include <QObject>
#include <QStringList>

// The URL road: turns a kestro:// URL into an action request, fills in what the file manager knows when
// the URL lacks it, checks what a link from another program may do, runs it and logs the outcome. Lives on
// the main thread; the action itself runs wherever the runner puts it.
class FinderSelectionModel : public QObject {
    Q_OBJECT
public:
    using Clock = std::function<QDateTime()>;
    // Runs one request's work. The host hands it to worker threads, so that no action ever holds up the
    // tray, the window or the next request; a one-shot process runs it in place.
    using Runner = std::function<void(std::function<void()> work)>;
    // The user's current feature settings, for what a link may run.
    using SettingsSource = std::function<FeatureSettings()>;

    explicit FinderSelectionModel(QObject* parent = nullptr, Clock clock = &QDateTime::currentDateTimeUtc);

    void setRunner(Runner runner) { m_runner = std::move(runner); }
    void setSettingsSource(SettingsSource source) { m_settingsSource = std::move(source); }
    // Where each request's progress is shown; without one it goes nowhere.
    void setProgressTracker(ActionProgressTracker tracker) { m_progressTracker = std::move(tracker); }

    const QStringList& selectedFiles() const { return m_selectedFiles; }
    const std::optional<QString>& lastActionTitle() const { return m_lastActionTitle; }

    // Takes the request the URL carries. Returns false when it was ignored or refused, or when its action
    // ran in place and failed, so that a one-shot caller can report the failure; the failure itself is
    // already logged. The text is taken as delivered: the scheme must be exactly "kestro", in lower case.
    bool handleIncomingURL(const QString& urlText, RequestOrigin origin = RequestOrigin::user);
    // The duplicate filter: the same URL again within one second of one that went ahead is dropped.
    bool isRecentDuplicate(const QString& canonicalURL) const;
    void showError(const std::exception& error);

    // The text of the last failure or refusal, for callers that report it themselves.
    const QString& lastErrorDescription() const { return m_lastErrorDescription; }

signals:
    void selectedFilesChanged();
    void lastActionTitleChanged();
    // On this object's thread, after a request's action has run (or failed, or was cancelled: both are not
    // a success).
    void requestFinished(const QString& actionID, bool succeeded);

private:
    // Whether a link's request may run now; asks the user when it must. Logs every refusal.
    bool mayRunLinkRequest(KestroActionRequest& request);
    void rememberHandled(const QString& canonicalURL);
    bool run(const KestroActionRequest& request);

    Clock m_clock;
    Runner m_runner;
    SettingsSource m_settingsSource;
    ActionProgressTracker m_progressTracker;
    QStringList m_selectedFiles;
    std::optional<QString> m_lastActionTitle;
    std::optional<QString> m_lastHandledURLString;
    std::optional<QDateTime> m_lastHandledDate;
    QString m_lastErrorDescription;
    // A consent question or the feature-request dialog is open: links never stack dialogs.
    bool m_showingDialog = false;
};
