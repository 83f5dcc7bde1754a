#pragma once

#include <optional>
#include <QString>
#include <QStringList>

enum class RenameMode { addPrefix, addSuffix, findReplace, sequential, lowercase, uppercase };

// What a rename rule needs from the user: the prefix, suffix, text to find or base name, and the
// replacement for find-and-replace.
struct RenameOptions {
    QString text;
    QString replacement;
};

// Batch renaming of the selection. Nothing is ever overwritten: a name that is taken gets the next free
// "name 2", "name 3" ... instead.
class RenameActions {
public:
    // Renames every selected item by one rule, in file-manager order; returns the renamed items' new paths.
    static QStringList renameFiles(const QStringList& selectedURLs, RenameMode mode);
    // Asks for the rule's texts; nothing when the user cancelled (the rename then does not happen). The
    // case rules ask nothing.
    static std::optional<RenameOptions> renameOptions(RenameMode mode);
    // The new name of the item called name at zero-based position index of the sorted selection.
    static QString renamedName(const QString& name, RenameMode mode, const RenameOptions& options,
                               qsizetype index);
    // Gives one item a new name in its folder and returns its new path. A change of letter case or accents
    // only goes through a hidden temporary name, so case-insensitive volumes see a real change.
    static QString moveRenamedItem(const QString& source, const QString& newName);
};
