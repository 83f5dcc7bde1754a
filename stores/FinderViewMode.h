#pragma once

#include <optional>
#include <QList>
#include <QString>

// The views and sort orders a view preset can set, with their raw values (as stored), titles (as the
// settings window shows them), name components (as automatic preset names use them) and scripting terms.
enum class FinderViewMode { icon, list, column, gallery };
enum class FinderSortMode { none, name, modificationDate, creationDate, size, kind, label };

namespace FinderViewModes {
QList<FinderViewMode> allCases();
QString rawValue(FinderViewMode mode);
std::optional<FinderViewMode> fromRawValue(const QString& rawValue);
QString title(FinderViewMode mode);
QString presetNameComponent(FinderViewMode mode);
// "icon view", "list view", "column view", "flow view".
QString scriptViewName(FinderViewMode mode);
} // namespace FinderViewModes

namespace FinderSortModes {
QList<FinderSortMode> allCases();
QString rawValue(FinderSortMode mode);
std::optional<FinderSortMode> fromRawValue(const QString& rawValue);
QString title(FinderSortMode mode);
QString presetNameComponent(FinderSortMode mode);
// Scripting terms; none for FinderSortMode::none.
std::optional<QString> iconArrangementValue(FinderSortMode mode);
std::optional<QString> listColumnValue(FinderSortMode mode);
std::optional<QString> sortDirectionValue(FinderSortMode mode);
// The sort whose list column is that term ("name column" ...), if any.
std::optional<FinderSortMode> fromListColumnValue(const QString& column);
} // namespace FinderSortModes
