#pragma once

#include "platform/StoredFileBackup.h"

#include <optional>
#include <QList>
#include <QString>
#include <QVariant>

// The steps the settings lists share: reading the application's copy of "<name>.plist", telling whether it
// held anything that did not load, keeping such a file aside, and writing both copies.
namespace SettingsListFile {

// The parsed file, or nothing when it is missing or cannot be parsed; leftSomethingOut is set when a file
// exists but could not be parsed, and cleared otherwise.
std::optional<QVariant> read(const QString& fileName, bool& leftSomethingOut);

// Writes both copies and announces changeReason. Never throws: the in-memory list stays the master copy,
// and a failed write is not the user's business here.
void save(const QString& fileName, const QVariant& root, const QString& changeReason);

bool isString(const QVariant& value);

// The entries of list that entryFrom accepts, in order; leftSomethingOut is set when one is refused.
template <typename EntryFrom>
auto entriesFrom(const QVariantList& list, EntryFrom entryFrom, bool& leftSomethingOut) {
    using Entry = typename decltype(entryFrom(QVariant()))::value_type;
    QList<Entry> entries;
    for (const QVariant& element : list) {
        if (const std::optional<Entry> entry = entryFrom(element))
            entries.append(*entry);
        else
            leftSomethingOut = true;
    }
    return entries;
}

// Persistence::load(leftSomethingOut), copying the file aside first when something in it did not load, so
// that the store's first write loses nothing the user had.
template <typename Persistence> auto loadKeepingUnreadable() {
    bool leftSomethingOut = false;
    auto loaded = Persistence::load(leftSomethingOut);
    if (leftSomethingOut)
        StoredFileBackup::keepCopy(Persistence::fileName());
    return loaded;
}

} // namespace SettingsListFile
