#include "stores/CustomShortcutActionPersistence.h"

#include "stores/SettingsListFile.h"

namespace {

using SettingsListFile::isString;

// An absent or wrongly typed optional field reads as empty.
QString stringOrEmpty(const QVariantMap& entry, const QString& key) {
    const QVariant value = entry.value(key);
    return isString(value) ? value.toString() : QString();
}

std::optional<CustomShortcutAction> actionFrom(const QVariant& element) {
    if (element.typeId() != QMetaType::QVariantMap)
        return std::nullopt;
    const QVariantMap entry = element.toMap();
    const QVariant id = entry.value(QStringLiteral("id"));
    const QVariant name = entry.value(QStringLiteral("name"));
    if (!isString(id) || !isString(name))
        return std::nullopt;
    CustomShortcutAction action;
    action.id = id.toString();
    action.name = name.toString();
    action.kind = stringOrEmpty(entry, QStringLiteral("kind")) == QLatin1String("script")
                      ? CustomShortcutAction::Kind::script
                      : CustomShortcutAction::Kind::shortcut;
    action.shortcutName = stringOrEmpty(entry, QStringLiteral("shortcutName"));
    action.scriptPath = stringOrEmpty(entry, QStringLiteral("scriptPath"));
    const QString& significant =
        action.kind == CustomShortcutAction::Kind::script ? action.scriptPath : action.shortcutName;
    if (significant.isEmpty())
        return std::nullopt;
    return action;
}

} // namespace

QString CustomShortcutActionPersistence::fileName() {
    return QStringLiteral("CustomShortcutActions.plist");
}

QString CustomShortcutActionPersistence::settingsFilePath() {
    return StoredFileBackup::settingsFilePath(fileName());
}

QList<CustomShortcutAction> CustomShortcutActionPersistence::load() {
    bool ignored = false;
    return load(ignored);
}

QList<CustomShortcutAction> CustomShortcutActionPersistence::load(bool& leftSomethingOut) {
    const std::optional<QVariant> root = SettingsListFile::read(fileName(), leftSomethingOut);
    if (!root)
        return {};
    return fromPropertyList(*root, leftSomethingOut);
}

QList<CustomShortcutAction> CustomShortcutActionPersistence::fromPropertyList(const QVariant& root,
                                                                              bool& leftSomethingOut) {
    if (root.typeId() != QMetaType::QVariantList) {
        leftSomethingOut = true;
        return {};
    }
    return SettingsListFile::entriesFrom(root.toList(), actionFrom, leftSomethingOut);
}

std::optional<CustomShortcutAction> CustomShortcutActionPersistence::action(const QString& id) {
    for (const CustomShortcutAction& action : load()) {
        if (action.id == id)
            return action;
    }
    return std::nullopt;
}

QVariant CustomShortcutActionPersistence::toPropertyList(const QList<CustomShortcutAction>& actions) {
    QVariantList root;
    for (const CustomShortcutAction& action : actions) {
        root.append(QVariantMap{{QStringLiteral("id"), action.id},
                                {QStringLiteral("name"), action.name},
                                {QStringLiteral("kind"), CustomShortcutAction::kindRawValue(action.kind)},
                                {QStringLiteral("shortcutName"), action.shortcutName},
                                {QStringLiteral("scriptPath"), action.scriptPath}});
    }
    return root;
}

void CustomShortcutActionPersistence::save(const QList<CustomShortcutAction>& actions) {
    SettingsListFile::save(fileName(), toPropertyList(actions), QStringLiteral("custom-shortcut-actions"));
}
