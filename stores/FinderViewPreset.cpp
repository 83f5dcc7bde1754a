#include "stores/FinderViewPreset.h"

#include <QCoreApplication>

namespace {
QString translated(const char* text) {
    return QCoreApplication::translate("FinderViewPreset", text);
}
} // namespace

QString FinderViewPreset::actionID() const {
    return QStringLiteral("finderViewPreset__") + id;
}

QString FinderViewPreset::automaticName(FinderViewMode viewMode, FinderSortMode sortMode) {
    return FinderViewModes::presetNameComponent(viewMode) + QStringLiteral(" · ") +
           FinderSortModes::presetNameComponent(sortMode);
}

QSet<QString> FinderViewPreset::automaticNames(FinderViewMode viewMode, FinderSortMode sortMode) {
    QSet<QString> names{automaticName(viewMode, sortMode)};
    if (viewMode == FinderViewMode::list && sortMode == FinderSortMode::modificationDate)
        names.insert(translated("列表 · 最近修改"));
    return names;
}

FinderViewPreset FinderViewPreset::withModes(FinderViewMode newViewMode, FinderSortMode newSortMode) const {
    FinderViewPreset changed = *this;
    if (automaticNames(viewMode, sortMode).contains(name))
        changed.name = automaticName(newViewMode, newSortMode);
    changed.viewMode = newViewMode;
    changed.sortMode = newSortMode;
    return changed;
}

QList<FinderViewPreset> FinderViewPreset::defaults() {
    return {
        {QStringLiteral("list-modified"), translated("列表 · 最近修改"), FinderViewMode::list,
         FinderSortMode::modificationDate},
        {QStringLiteral("icon-name"), translated("图标 · 按名称"), FinderViewMode::icon,
         FinderSortMode::name},
        {QStringLiteral("column-name"), translated("分栏 · 按名称"), FinderViewMode::column,
         FinderSortMode::name},
    };
}
