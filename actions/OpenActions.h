#pragma once

#include "actions/KestroExternalApplication.h"

#include <chrono>
#include <optional>
#include <QString>
#include <QStringList>

// Opening things: a terminal, code editors, any application, well-known folders, typed and copied paths.
class OpenActions {
public:
    static void openInTerminal(const QStringList& selectedURLs, const std::optional<QString>& targetedURL);
    static void openInApplication(KestroExternalApplication application, const QStringList& selectedURLs,
                                  const std::optional<QString>& targetedURL);
    static void openWithApplicationPath(const QStringList& selectedURLs,
                                        const std::optional<QString>& targetedURL,
                                        const std::optional<QString>& applicationURL);
    // Opens the items with the application on the main thread and waits for the launch at most `bound`;
    // logs the outcome. The application keeps starting when the wait runs out.
    static void openURLs(const QStringList& urls, const QString& application,
                         std::chrono::milliseconds bound = std::chrono::seconds(10));

    static void quickOpenFolder(const QString& actionID, const std::optional<QString>& destinationURL);
    static std::optional<QString> defaultQuickOpenURL(const QString& actionID);
    static void quickOpenTypedPath();
    static void quickOpenClipboardPath();
    // The existing items named by the lines of a text, first occurrence kept.
    static QStringList validFileURLs(const QString& text);
};
