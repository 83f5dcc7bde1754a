#include "stores/CustomShortcutActionPersistence.h"

#include "catalogue/KestroSettingsChangeNotifier.h"
#include "platform/KestroPaths.h"
#include "platform/PropertyListFile.h"

#include <QFileInfo>

namespace {

bool isString(const QVariant& value) {
    return value.typeId() == QMetaType::QString;
}

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
    return KestroPaths::applicationSupportDirectory() + QLatin1Char('/') + fileName();
}

QList<CustomShortcutAction> CustomShortcutActionPersistence::load() {
    bool ignored = false;
    return load(ignored);
}

QList<CustomShortcutAction> CustomShortcutActionPersistence::load(bool& leftSomethingOut) {
    leftSomethingOut = false;
    const std::optional<QVariant> root = PropertyListFile::read(settingsFilePath());
    if (!root) {
        leftSomethingOut = QFileInfo::exists(settingsFilePath());
        return {};
    }
    return fromPropertyList(*root, leftSomethingOut);
}

QList<CustomShortcutAction> CustomShortcutActionPersistence::fromPropertyList(const QVariant& root,
                                                                              bool& leftSomethingOut) {
    if (root.typeId() != QMetaType::QVariantList) {
        leftSomethingOut = true;
        return {};
    }
    QList<CustomShortcutAction> actions;
    for (const QVariant& element : root.toList()) {
        if (const std::optional<CustomShortcutAction> action = actionFrom(element))
            actions.append(*action);
        else
            leftSomethingOut = true;
    }
    return actions;
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
    // A save never fails its caller: the in-memory list stays the master copy.
    try {
        PropertyListFile::writeBothCopies(fileName(), toPropertyList(actions));
        KestroSettingsChangeNotifier::post(QStringLiteral("custom-shortcut-actions"));
    } catch (...) {
    }
}
