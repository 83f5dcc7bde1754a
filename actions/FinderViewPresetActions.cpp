#include "actions/FinderViewPresetActions.h"

#include "actions/FinderViewPresetScripts.h"
#include "actions/ProcessRunner.h"
#include "platform/DiagnosticLog.h"
#include "platform/FinderActionExecutionError.h"
#include "stores/FinderViewPresetPersistence.h"

void FinderViewPresetActions::applyFinderViewPreset(const std::optional<QString>& id) {
    if (!id)
        throw FinderActionExecutionError::unsupportedAction(QStringLiteral("finderViewPreset"));
    const std::optional<FinderViewPreset> preset = FinderViewPresetPersistence::preset(*id);
    if (!preset)
        throw FinderActionExecutionError::unsupportedAction(QStringLiteral("finderViewPreset__") + *id);
    applyFinderView(preset->viewMode, preset->sortMode);
}

void FinderViewPresetActions::setFinderViewMode(const QString& viewMode) {
    for (FinderViewMode mode : FinderViewModes::allCases()) {
        if (FinderViewModes::scriptViewName(mode) == viewMode) {
            ProcessRunner::runFinderAppleScript(FinderViewPresetScripts::viewModeScript(mode));
            return;
        }
    }
    throw FinderActionExecutionError::unsupportedAction(viewMode);
}

void FinderViewPresetActions::setFinderSortColumn(const QString& sortColumn) {
    const std::optional<FinderSortMode> mode = FinderSortModes::fromListColumnValue(sortColumn);
    if (!mode)
        throw FinderActionExecutionError::unsupportedAction(sortColumn);
    ProcessRunner::runFinderAppleScript(FinderViewPresetScripts::sortColumnScript(*mode));
}

void FinderViewPresetActions::applyFinderView(FinderViewMode viewMode, FinderSortMode sortMode) {
    ProcessRunner::runFinderAppleScript(FinderViewPresetScripts::viewScript(viewMode, sortMode));
    const QString sortRawValue = FinderSortModes::rawValue(sortMode);
    if (sortMode != FinderSortMode::none) {
        // The view options do not always take the sort; Finder's own menu is the second try, and its
        // failure does not fail the preset.
        try {
            applyFinderSortUsingViewOptions(sortMode);
            DiagnosticLog::append(QStringLiteral("finder sort view options succeeded mode=") + sortRawValue);
        } catch (const std::exception& error) {
            DiagnosticLog::append(QStringLiteral("finder sort view options failed mode=") + sortRawValue +
                                  QStringLiteral(" error=") + describeError(error));
        }
    }
    DiagnosticLog::append(QStringLiteral("finder view preset applied view=") +
                          FinderViewModes::rawValue(viewMode) + QStringLiteral(" sort=") + sortRawValue +
                          QStringLiteral(" state=") + finderViewSortState());
}

void FinderViewPresetActions::applyFinderSortUsingViewOptions(FinderSortMode sortMode) {
    const QString script = FinderViewPresetScripts::sortMenuScript(sortMode);
    if (script.isEmpty())
        return;
    ProcessRunner::runAppleScriptProcess(script, 3.0);
}

QString FinderViewPresetActions::finderViewSortState() {
    try {
        return ProcessRunner::runAppleScriptOutput(FinderViewPresetScripts::stateScript());
    } catch (const std::exception&) {
        return QStringLiteral("unavailable");
    }
}
