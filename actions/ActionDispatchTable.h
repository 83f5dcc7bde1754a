#pragma once

#include <functional>
#include <optional>
#include <QString>
#include <QStringList>

// The built-in action IDs and the implementation each one calls.
class ActionDispatchTable {
public:
    struct Request {
        const QString& actionID;
        const QStringList& selectedURLs;
        const std::optional<QString>& targetedURL;
        const std::optional<QString>& destinationURL;
        const std::optional<QString>& presetID;
    };
    using Handler = std::function<QStringList(const Request&)>;

    // The handler of a built-in ID, compared exactly; nothing for any other text.
    static const Handler* find(const QString& actionID);
    static QStringList actionIDs();
};
