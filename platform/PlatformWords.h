#pragma once

#include <QString>

// The texts that name the system's own things — its file manager, its trash, its documents folder, its
// terminal — so that each reads as that desktop's own Chinese (Linux: 文件管理器, 回收站, 文档). Every such
// text is kept whole here, one table per platform (platform/linux, platform/mac), picked at link time:
// nowhere else does the code spell them.
enum class PlatformText {
    fileManagerMenu,
    enableInFileManagerMenu,
    customActionsEmpty,
    featureRequestExplanation,
    launchAtLoginExplanation,
    revealCreatedExplanation,
    revealResultsExplanation,
    preferencesSummary,
    scheduledDeletionRow, // %1 the item, %2 when
    noSelection,
    noTargetDirectory,
    shortcutPickerExplanation,
    documentsFolder,
    quickOpenSummary,
    openWithSummary,
    viewOptionsSummary,
    customActionsSummary,
    scheduledDeletionSummary,
    rtfDocumentSummary,
    openDocumentsSummary,
    copyToDocuments,
    copyToDocumentsSummary,
    openInTerminalSummary,
    terminalNotFound,
    revealInFileManager,
    viewPresetSummary,
    moveToDocuments,
    moveToDocumentsSummary,
    scheduleDelete1Hour,
    scheduleDelete7Days,
    scheduleDelete30Days,
    scheduleDelete90Days,
    scheduleDeleteSummary,
    toggleHiddenFilesSummary,
};

// The text in the user's language (the sources are Chinese; context "PlatformWords").
QString platformText(PlatformText text);
