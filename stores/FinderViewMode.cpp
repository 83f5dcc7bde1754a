#include "stores/FinderViewMode.h"

#include <QCoreApplication>

namespace {

QString translated(const char* text) {
    return QCoreApplication::translate("FinderViewMode", text);
}

struct ViewRow {
    FinderViewMode mode;
    const char* rawValue;
    const char* title;
    const char* nameComponent;
    const char* scriptName;
};

const ViewRow viewRows[] = {
    {FinderViewMode::icon, "icon", QT_TRANSLATE_NOOP("FinderViewMode", "图标视图"),
     QT_TRANSLATE_NOOP("FinderViewMode", "图标"), "icon view"},
    {FinderViewMode::list, "list", QT_TRANSLATE_NOOP("FinderViewMode", "列表视图"),
     QT_TRANSLATE_NOOP("FinderViewMode", "列表"), "list view"},
    {FinderViewMode::column, "column", QT_TRANSLATE_NOOP("FinderViewMode", "分栏视图"),
     QT_TRANSLATE_NOOP("FinderViewMode", "分栏"), "column view"},
    {FinderViewMode::gallery, "gallery", QT_TRANSLATE_NOOP("FinderViewMode", "画廊视图"),
     QT_TRANSLATE_NOOP("FinderViewMode", "画廊"), "flow view"},
};

struct SortRow {
    FinderSortMode mode;
    const char* rawValue;
    const char* title;
    const char* nameComponent;
    const char* iconArrangement; // null: none
    const char* listColumn;
    const char* direction;
};

const SortRow sortRows[] = {
    {FinderSortMode::none, "none", QT_TRANSLATE_NOOP("FinderViewMode", "不改变排序"),
     QT_TRANSLATE_NOOP("FinderViewMode", "不改变排序"), nullptr, nullptr, nullptr},
    {FinderSortMode::name, "name", QT_TRANSLATE_NOOP("FinderViewMode", "按名称排序"),
     QT_TRANSLATE_NOOP("FinderViewMode", "按名称"), "arranged by name", "name column", "normal"},
    {FinderSortMode::modificationDate, "modificationDate",
     QT_TRANSLATE_NOOP("FinderViewMode", "按修改日期排序"), QT_TRANSLATE_NOOP("FinderViewMode", "按修改日期"),
     "arranged by modification date", "modification date column", "reversed"},
    {FinderSortMode::creationDate, "creationDate", QT_TRANSLATE_NOOP("FinderViewMode", "按创建日期排序"),
     QT_TRANSLATE_NOOP("FinderViewMode", "按创建日期"), "arranged by creation date", "creation date column",
     "reversed"},
    {FinderSortMode::size, "size", QT_TRANSLATE_NOOP("FinderViewMode", "按大小排序"),
     QT_TRANSLATE_NOOP("FinderViewMode", "按大小"), "arranged by size", "size column", "reversed"},
    {FinderSortMode::kind, "kind", QT_TRANSLATE_NOOP("FinderViewMode", "按种类排序"),
     QT_TRANSLATE_NOOP("FinderViewMode", "按种类"), "arranged by kind", "kind column", "normal"},
    {FinderSortMode::label, "label", QT_TRANSLATE_NOOP("FinderViewMode", "按标签排序"),
     QT_TRANSLATE_NOOP("FinderViewMode", "按标签"), "arranged by label", "label column", "normal"},
};

const ViewRow& row(FinderViewMode mode) {
    for (const ViewRow& candidate : viewRows) {
        if (candidate.mode == mode)
            return candidate;
    }
    return viewRows[0];
}

const SortRow& row(FinderSortMode mode) {
    for (const SortRow& candidate : sortRows) {
        if (candidate.mode == mode)
            return candidate;
    }
    return sortRows[0];
}

std::optional<QString> optionalText(const char* text) {
    return text ? std::optional<QString>(QString::fromLatin1(text)) : std::nullopt;
}

} // namespace

namespace FinderViewModes {

QList<FinderViewMode> allCases() {
    QList<FinderViewMode> modes;
    for (const ViewRow& candidate : viewRows)
        modes.append(candidate.mode);
    return modes;
}

QString rawValue(FinderViewMode mode) {
    return QString::fromLatin1(row(mode).rawValue);
}

std::optional<FinderViewMode> fromRawValue(const QString& value) {
    for (const ViewRow& candidate : viewRows) {
        if (value == QLatin1String(candidate.rawValue))
            return candidate.mode;
    }
    return std::nullopt;
}

QString title(FinderViewMode mode) {
    return translated(row(mode).title);
}
QString presetNameComponent(FinderViewMode mode) {
    return translated(row(mode).nameComponent);
}
QString scriptViewName(FinderViewMode mode) {
    return QString::fromLatin1(row(mode).scriptName);
}

} // namespace FinderViewModes

namespace FinderSortModes {

QList<FinderSortMode> allCases() {
    QList<FinderSortMode> modes;
    for (const SortRow& candidate : sortRows)
        modes.append(candidate.mode);
    return modes;
}

QString rawValue(FinderSortMode mode) {
    return QString::fromLatin1(row(mode).rawValue);
}

std::optional<FinderSortMode> fromRawValue(const QString& value) {
    for (const SortRow& candidate : sortRows) {
        if (value == QLatin1String(candidate.rawValue))
            return candidate.mode;
    }
    return std::nullopt;
}

QString title(FinderSortMode mode) {
    return translated(row(mode).title);
}
QString presetNameComponent(FinderSortMode mode) {
    return translated(row(mode).nameComponent);
}
std::optional<QString> iconArrangementValue(FinderSortMode mode) {
    return optionalText(row(mode).iconArrangement);
}
std::optional<QString> listColumnValue(FinderSortMode mode) {
    return optionalText(row(mode).listColumn);
}
std::optional<QString> sortDirectionValue(FinderSortMode mode) {
    return optionalText(row(mode).direction);
}

std::optional<FinderSortMode> fromListColumnValue(const QString& column) {
    for (const SortRow& candidate : sortRows) {
        if (candidate.listColumn && column == QLatin1String(candidate.listColumn))
            return candidate.mode;
    }
    return std::nullopt;
}

} // namespace FinderSortModes
