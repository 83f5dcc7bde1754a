#pragma once

#include <optional>
#include <QString>
#include <QStringList>
#include <utility>

// The single entry through which every action runs, whichever road its request came by, and the shared
// operations the actions use to resolve their inputs. Paths are absolute POSIX paths throughout.
class FinderActionExecutor {
public:
    enum class StandardDirectory { desktop, downloads, documents };

    // Runs one request synchronously on the caller's thread; returns the items it produced.
    static QStringList perform(const QString& actionID, const QStringList& selectedURLs,
                               const std::optional<QString>& targetedURL,
                               const std::optional<QString>& destinationURL,
                               const std::optional<QString>& presetID);

    static QString targetDirectory(const QStringList& selectedURLs,
                                   const std::optional<QString>& targetedURL);
    static QStringList effectiveURLs(const QStringList& selectedURLs,
                                     const std::optional<QString>& targetedURL);
    static QStringList validatedSourceURLs(const QStringList& urls);
    static QString standardDirectory(StandardDirectory directory);

    // Modal prompts, shown on the main thread whichever thread asks. No answer means cancelled.
    static std::optional<QString> chooseDestinationDirectory(const QString& prompt);
    static std::optional<QString> promptText(const QString& title, const QString& message);
    static std::optional<std::pair<QString, QString>> promptTwoTexts(const QString& title,
                                                                     const QString& message,
                                                                     const QString& firstHint,
                                                                     const QString& secondHint);

    static void revealInFinder(const QStringList& urls);
    static void revealURLInFinder(const QString& url);
    static void revealURLsInFinder(const QStringList& urls);
    // Selects the results that exist in the running file manager.
    static void selectResults(const QStringList& urls);
    // The reveal rule: the user's preferences, read afresh from disk at the moment of each action.
    static void revealCreatedItemsIfWanted(const QStringList& urls);
    static void revealActionResultsIfWanted(const QStringList& urls);

    // A path as a request carries it, checked before any action sees it: it must be absolute and free of NUL.
    // "." and ".." are resolved by the file system (the parent's real path), never by cutting text, because
    // after a symbolic link ".." leads somewhere else than the text suggests. Throws invalidPath.
    static QString checkedRequestPath(const QString& text);

    // Actions that read what files hold call this before anything else: a pipe, a device or a socket would
    // make them wait for ever (a FIFO) or read without end (/dev/zero). Follows links, as reading does.
    // Throws commandFailed naming the first such item.
    static void requireRegularFiles(const QStringList& paths);

    static QString normalizedPathText(const QString& text);
    static std::optional<QString> fileURL(const QString& pathText);
    static std::optional<QString> finderViewPresetID(const QString& actionID);

private:
    static QStringList dispatch(const QString& actionID, const QStringList& selectedURLs,
                                const std::optional<QString>& targetedURL,
                                const std::optional<QString>& destinationURL,
                                const std::optional<QString>& presetID);
};
