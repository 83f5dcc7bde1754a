#pragma once

#include <QString>
#include <QStringList>
#include <optional>

// The user's own shortcuts and scripts run on the selection.
class CustomActionRunner {
public:
    static void runCustomShortcut(const QString& id, const QStringList& selectedURLs, const std::optional<QString>& targetedURL);
    static void runCustomScript(const QString& id, const QStringList& selectedURLs, const std::optional<QString>& targetedURL);
};
