#pragma once

#include "stores/FinderViewPreset.h"

#include <optional>
#include <QVariant>

// FinderViewPresets.plist: an array of {id, name, viewMode, sortMode} dictionaries, written to the
// application's folder and, byte for byte, to the extension's.
class FinderViewPresetPersistence {
public:
    static QString fileName();
    static QString settingsFilePath();

    // The stored presets, or nothing when the file is missing, unreadable or not an array. Elements lacking a
    // field, or naming an unknown mode, are left out one by one.
    static std::optional<QList<FinderViewPreset>> load();
    // As load; leftSomethingOut tells whether the file held anything that did not load.
    static std::optional<QList<FinderViewPreset>> load(bool& leftSomethingOut);
    // Writes both copies and announces "finder-view-presets". Never throws.
    static void save(const QList<FinderViewPreset>& presets);
    // Reads the file afresh: the first preset with that id.
    static std::optional<FinderViewPreset> preset(const QString& id);

    // A stored name without the counter an earlier version appended: "图标 · 按名称 3" → "图标 · 按名称".
    static QString cleanedName(const QString& name);

    static QVariant toPropertyList(const QList<FinderViewPreset>& presets);
    static std::optional<QList<FinderViewPreset>> fromPropertyList(const QVariant& root,
                                                                   bool& leftSomethingOut);
};
