#pragma once

#include <functional>
#include <optional>
#include <QDateTime>
#include <QObject>
#include <QStringList>
#include <QUrl>

// The URL road: turns a kestro:// URL into an action request, fills in what the file manager knows when
// the URL lacks it, runs it and logs the outcome. Main thread only.
class FinderSelectionModel : public QObject {
    Q_OBJECT
public:
    using Clock = std::function<QDateTime()>;

    explicit FinderSelectionModel(QObject* parent = nullptr, Clock clock = &QDateTime::currentDateTimeUtc);

    const QStringList& selectedFiles() const { return m_selectedFiles; }
    const std::optional<QString>& lastActionTitle() const { return m_lastActionTitle; }

    // Runs the request the URL carries. Returns false when it was ignored or its action failed, so that a
    // one-shot caller can report the failure; the failure itself is already logged.
    // The text is taken as delivered: the scheme must be exactly "kestro", in lower case.
    bool handleIncomingURL(const QString& urlText);
    // The duplicate filter: the same URL again within one second is dropped.
    bool shouldHandle(const QUrl& url);
    void showError(const std::exception& error);

    // The text of the last failure handled, for callers that report it themselves.
    const QString& lastErrorDescription() const { return m_lastErrorDescription; }

signals:
    void selectedFilesChanged();
    void lastActionTitleChanged();

private:
    Clock m_clock;
    QStringList m_selectedFiles;
    std::optional<QString> m_lastActionTitle;
    std::optional<QString> m_lastHandledURLString;
    std::optional<QDateTime> m_lastHandledDate;
    QString m_lastErrorDescription;
};
