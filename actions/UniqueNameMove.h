#pragma once

#include <QByteArray>
#include <QString>

// Moves an item to the first free name of the unique-name rule in a folder on the same file system. The
// name is claimed by a rename that never replaces, so an item appearing under that name meanwhile is
// never overwritten: the move just takes the next number.
class UniqueNameMove {
public:
    // stem and extension as UniqueName::path takes them; returns the path the item now has.
    static QString move(const QString& source, const QString& folder, const QString& stem,
                        const QString& extension);
    // The same for a source given in the file system's own bytes.
    static QString move(const QByteArray& source, const QString& folder, const QString& stem,
                        const QString& extension);
    // The same between open folders: name inside fromFolder moves into toFolder, whose path (folder) is
    // only used to find a free name and to say where the item now is. Returns that path.
    static QString moveAt(int fromFolder, const QByteArray& name, int toFolder, const QString& folder,
                          const QString& stem, const QString& extension);
    // Splits itemName the way UniqueName::pathForItemName does.
    static QString moveForItemName(const QString& source, const QString& folder, const QString& itemName);
};
