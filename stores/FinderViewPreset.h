#pragma once

#include "stores/FinderViewMode.h"

#include <QHashFunctions>
#include <QList>
#include <QSet>
#include <QString>

// A named view and sort order that the menu applies to the file manager's front window in one click.
struct FinderViewPreset {
    QString id;
    QString name;
    FinderViewMode viewMode = FinderViewMode::list;
    FinderSortMode sortMode = FinderSortMode::modificationDate;

    // "finderViewPreset__" followed by the id.
    QString actionID() const;

    // The preset with other modes. A name that was automatic for the old modes follows the new ones; a name
    // the user typed is kept.
    FinderViewPreset withModes(FinderViewMode newViewMode, FinderSortMode newSortMode) const;

    // The view component, " · " and the sort component: "列表 · 按修改日期".
    static QString automaticName(FinderViewMode viewMode, FinderSortMode sortMode);
    // The names counted as automatic for those modes (list by modification date also has "列表 · 最近修改").
    static QSet<QString> automaticNames(FinderViewMode viewMode, FinderSortMode sortMode);
    // The three presets of a first start, in menu order.
    static QList<FinderViewPreset> defaults();

    friend bool operator==(const FinderViewPreset&, const FinderViewPreset&) = default;
};

inline size_t qHash(const FinderViewPreset& preset, size_t seed = 0) {
    return qHashMulti(seed, preset.id, preset.name, int(preset.viewMode), int(preset.sortMode));
}
