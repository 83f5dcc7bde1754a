#pragma once

#include <optional>
#include <QString>

// How the file manager's menu shows the enabled features: collapsed gives one submenu per feature,
// expanded lists every enabled action directly. Stored as its raw value.
enum class FinderMenuLayout { collapsed, expanded };

inline QString finderMenuLayoutRawValue(FinderMenuLayout layout) {
    return layout == FinderMenuLayout::expanded ? QStringLiteral("expanded") : QStringLiteral("collapsed");
}

// Matched exactly: "Expanded" is no layout.
inline std::optional<FinderMenuLayout> finderMenuLayoutFromRawValue(const QString& rawValue) {
    if (rawValue == QLatin1String("collapsed"))
        return FinderMenuLayout::collapsed;
    if (rawValue == QLatin1String("expanded"))
        return FinderMenuLayout::expanded;
    return std::nullopt;
}
