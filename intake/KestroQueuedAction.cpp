#include "intake/KestroQueuedAction.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>

namespace {
// An empty string names no path: it counts as absent, as an empty value does on the URL road.
std::optional<QString> optionalString(const QJsonObject& object, const char* key) {
    const QJsonValue value = object.value(QLatin1String(key));
    if (!value.isString() || value.toString().isEmpty())
        return std::nullopt;
    return value.toString();
}
} // namespace

std::optional<KestroQueuedAction> KestroQueuedAction::decode(const QByteArray& bytes) {
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    const QJsonObject object = document.object();
    const QJsonValue actionID = object.value(QLatin1String("actionID"));
    const QJsonValue selectedPaths = object.value(QLatin1String("selectedPaths"));
    if (!actionID.isString() || !selectedPaths.isArray())
        return std::nullopt;

    KestroQueuedAction action;
    action.actionID = actionID.toString();
    const QJsonArray paths = selectedPaths.toArray();
    action.selectedURLs.reserve(paths.size());
    for (const QJsonValue& path : paths) {
        if (!path.isString())
            return std::nullopt;
        action.selectedURLs.append(path.toString());
    }
    action.targetedURL = optionalString(object, "targetedPath");
    action.presetID = optionalString(object, "presetID");
    action.handoffError = optionalString(object, "handoffError");
    // The destination is a folder: "/a/b/" and "/a/b" name the same one, and actions that take its last
    // component (view presets) need it without the trailing slash.
    if (const std::optional<QString> destination = optionalString(object, "destinationPath"))
        action.destinationURL = QDir::cleanPath(*destination);
    return action;
}
