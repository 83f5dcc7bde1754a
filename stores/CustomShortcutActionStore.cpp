#include "stores/CustomShortcutActionStore.h"

#include "catalogue/ListMove.h"
#include "platform/KestroPaths.h"
#include "platform/Platform.h"
#include "platform/PlatformWords.h"
#include "platform/ShortcutsTool.h"
#include "stores/CustomShortcutActionPersistence.h"
#include "stores/SettingsListFile.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QUuid>

namespace {

QString translated(const char* text) {
    return QCoreApplication::translate("CustomShortcutActionStore", text);
}

QString newIdentifier() {
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

} // namespace

CustomShortcutActionStore::CustomShortcutActionStore(QObject* parent)
    : QObject(parent) {
    // The first edit rewrites the file from what loaded; keep what did not.
    m_actions = SettingsListFile::loadKeepingUnreadable<CustomShortcutActionPersistence>();
}

QStringList CustomShortcutActionStore::availableShortcutNames() {
    return ShortcutsTool::availableShortcutNames();
}

void CustomShortcutActionStore::addAction() {
    const QStringList names = availableShortcutNames();
    const QString message = names.isEmpty() ? translated("没有读取到快捷指令，你也可以手动输入快捷指令名称。")
                                            : platformText(PlatformText::shortcutPickerExplanation);
    const std::optional<QString> answer = Platform::prompts().chooseShortcutName(
        translated("添加快捷指令"), message, translated("快捷指令名称"), names);
    if (!answer)
        return;
    addShortcut(*answer, *answer);
}

std::optional<CustomShortcutAction> CustomShortcutActionStore::addShortcut(const QString& shortcutName,
                                                                           const QString& displayName) {
    const QString trimmedShortcut = shortcutName.trimmed();
    if (trimmedShortcut.isEmpty())
        return std::nullopt;
    const QString trimmedName = displayName.trimmed();
    CustomShortcutAction action{newIdentifier(), trimmedName.isEmpty() ? trimmedShortcut : trimmedName,
                                CustomShortcutAction::Kind::shortcut, trimmedShortcut, QString()};
    store(m_actions + QList<CustomShortcutAction>{action});
    return action;
}

void CustomShortcutActionStore::addScriptAction() {
    OpenPanelRequest request;
    request.title = translated("选择扩展脚本");
    request.buttonLabel = translated("添加");
    request.choose = OpenPanelRequest::Choose::file;
    request.initialDirectory = KestroPaths::homeDirectory();
    request.canCreateFolders = false;
    const std::optional<QString> chosen = Platform::prompts().chooseItem(request);
    if (!chosen)
        return;
    addScript(*chosen);
}

std::optional<CustomShortcutAction> CustomShortcutActionStore::addScript(const QString& scriptPath) {
    if (scriptPath.isEmpty())
        return std::nullopt;
    const QFileInfo info(scriptPath);
    const QString name = info.completeBaseName().isEmpty() ? info.fileName() : info.completeBaseName();
    CustomShortcutAction action{newIdentifier(), name, CustomShortcutAction::Kind::script, QString(),
                                scriptPath};
    store(m_actions + QList<CustomShortcutAction>{action});
    return action;
}

void CustomShortcutActionStore::removeActions(const QSet<qsizetype>& offsets) {
    QList<CustomShortcutAction> remaining;
    for (qsizetype index = 0; index < m_actions.size(); ++index) {
        if (!offsets.contains(index))
            remaining.append(m_actions.at(index));
    }
    store(remaining);
}

void CustomShortcutActionStore::moveActions(const QSet<qsizetype>& offsets, qsizetype destination) {
    store(movedList(m_actions, offsets, destination));
}

void CustomShortcutActionStore::update(const CustomShortcutAction& action, const QString& newName) {
    QList<CustomShortcutAction> actions = m_actions;
    for (CustomShortcutAction& stored : actions) {
        if (stored.id != action.id)
            continue;
        const QString trimmed = newName.trimmed();
        if (!trimmed.isEmpty())
            stored.name = trimmed;
        else
            stored.name =
                action.kind == CustomShortcutAction::Kind::script ? action.scriptPath : action.shortcutName;
        store(actions);
        return;
    }
}

void CustomShortcutActionStore::store(const QList<CustomShortcutAction>& actions) {
    m_actions = actions;
    CustomShortcutActionPersistence::save(m_actions);
    emit actionsChanged();
}
