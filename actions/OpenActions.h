#pragma once

#include <QString>
#include <QStringList>
#include <optional>

enum class KestroExternalApplication { visualStudioCode, cursor };

// Opening things: a terminal, code editors, any application, well-known folders, typed and copied paths.
class OpenActions {
public:
    static void openInTerminal(const QStringList& selectedURLs, const std::optional<QString>& targetedURL);
    static void openInApplication(KestroExternalApplication application, const QStringList& selectedURLs, const std::optional<QString>& targetedURL);
    static void openWithApplicationPath(const QStringList& selectedURLs, const std::optional<QString>& targetedURL, const std::optional<QString>& applicationURL);
    static void quickOpenFolder(const QString& actionID, const std::optional<QString>& destinationURL);
    static void quickOpenTypedPath();
    static void quickOpenClipboardPath();
};
