#include "actions/FinderActionExecutor.h"

#include "actions/ActionDispatchTable.h"
#include "actions/CustomActionRunner.h"
#include "actions/FamilyNotBuilt.h"
#include "actions/FinderViewPresetActions.h"
#include "platform/FinderActionExecutionError.h"

namespace {
const QString viewPresetPrefix = QStringLiteral("finderViewPreset__");
const QString shortcutPrefix = QStringLiteral("runShortcut__");
const QString scriptPrefix = QStringLiteral("runScript__");
} // namespace

QStringList FinderActionExecutor::perform(const QString& actionID, const QStringList& selectedURLs,
                                          const std::optional<QString>& targetedURL,
                                          const std::optional<QString>& destinationURL,
                                          const std::optional<QString>& presetID) {
    // Every road passes through here, so no action ever sees a relative path or one whose meaning depends
    // on where the host happens to run.
    QStringList selection;
    selection.reserve(selectedURLs.size());
    for (const QString& path : selectedURLs)
        selection.append(checkedRequestPath(path));
    const auto checked = [](const std::optional<QString>& path) -> std::optional<QString> {
        return path ? std::optional<QString>(checkedRequestPath(*path)) : std::nullopt;
    };
    return dispatch(actionID, selection, checked(targetedURL), checked(destinationURL), presetID);
}

QStringList FinderActionExecutor::dispatch(const QString& actionID, const QStringList& selectedURLs,
                                           const std::optional<QString>& targetedURL,
                                           const std::optional<QString>& destinationURL,
                                           const std::optional<QString>& presetID) {
    try {
        if (const std::optional<QString> id = finderViewPresetID(actionID)) {
            FinderViewPresetActions::applyFinderViewPreset(*id);
            return {};
        }
        if (actionID.startsWith(shortcutPrefix)) {
            CustomActionRunner::runCustomShortcut(actionID.mid(shortcutPrefix.size()), selectedURLs,
                                                  targetedURL);
            return {};
        }
        if (actionID.startsWith(scriptPrefix)) {
            CustomActionRunner::runCustomScript(actionID.mid(scriptPrefix.size()), selectedURLs, targetedURL);
            return {};
        }
        if (actionID == QLatin1String("completed"))
            return selectedURLs;

        const ActionDispatchTable::Handler* handler = ActionDispatchTable::find(actionID);
        if (!handler)
            throw FinderActionExecutionError::unsupportedAction(actionID);
        return (*handler)({actionID, selectedURLs, targetedURL, destinationURL, presetID});
    } catch (const FamilyNotBuilt&) {
        throw FinderActionExecutionError::unsupportedAction(actionID);
    }
}

std::optional<QString> FinderActionExecutor::finderViewPresetID(const QString& actionID) {
    if (!actionID.startsWith(viewPresetPrefix))
        return std::nullopt;
    return actionID.mid(viewPresetPrefix.size());
}
