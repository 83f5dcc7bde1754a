#include "actions/ActionRequirements.h"

#include <QSet>

ActionRequirements::Requirement ActionRequirements::of(const QString& actionID) {
    // Questions: folder choosers, typed paths, rename and resize options.
    static const QSet<QString> asking = {
        QStringLiteral("copyFilesToFolder"),  QStringLiteral("copyFilesToPath"),
        QStringLiteral("moveFilesToFolder"),  QStringLiteral("moveFilesToPath"),
        QStringLiteral("quickOpenTypedPath"), QStringLiteral("renameAddPrefix"),
        QStringLiteral("renameAddSuffix"),    QStringLiteral("renameFindReplace"),
        QStringLiteral("renameSequential"),   QStringLiteral("resizeImages"),
    };
    // The clipboard, read or written.
    static const QSet<QString> clipboard = {
        QStringLiteral("copyFullPath"),     QStringLiteral("copyFileName"),
        QStringLiteral("copyParentPath"),   QStringLiteral("copyShellPath"),
        QStringLiteral("copyMarkdownLink"), QStringLiteral("copyFileNameList"),
        QStringLiteral("copySHA256"),       QStringLiteral("copyMD5"),
        QStringLiteral("copyFileSize"),     QStringLiteral("quickOpenClipboardPath"),
    };
    if (asking.contains(actionID))
        return Requirement::widgets;
    if (clipboard.contains(actionID))
        return Requirement::gui;
    return Requirement::core;
}
