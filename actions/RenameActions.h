#pragma once

#include <QString>
#include <QStringList>
#include <optional>

enum class RenameMode { addPrefix, addSuffix, findReplace, sequential, lowercase, uppercase };

// Batch renaming of the selection.
class RenameActions {
public:
    static QStringList renameFiles(const QStringList& selectedURLs, RenameMode mode);
};
