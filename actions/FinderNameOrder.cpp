#include "actions/FinderNameOrder.h"

#include <QCollatorSortKey>

#include <algorithm>
#include <numeric>
#include <vector>

namespace {
QString lastComponent(const QString& path) {
    qsizetype end = path.size();
    while (end > 1 && path.at(end - 1) == QLatin1Char('/'))
        --end;
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'), end - 1);
    return path.mid(slash + 1, end - slash - 1);
}
} // namespace

FinderNameOrder::FinderNameOrder()
    : m_collator(collationLocale()) {
    m_collator.setNumericMode(true);
    m_collator.setCaseSensitivity(Qt::CaseInsensitive);
}

bool FinderNameOrder::lessThan(const QString& first, const QString& second) const {
    return m_collator.compare(first, second) < 0;
}

QLocale FinderNameOrder::collationLocale() {
    const QLocale locale;
    if (locale.language() == QLocale::C || locale.language() == QLocale::AnyLanguage)
        return QLocale(QLocale::English, QLocale::UnitedStates);
    return locale;
}

void FinderNameOrder::sortByName(QStringList& paths) {
    const FinderNameOrder order;
    // Sort keys once per name: thousands of items would otherwise collate every name log n times.
    std::vector<QCollatorSortKey> keys;
    keys.reserve(size_t(paths.size()));
    for (const QString& path : std::as_const(paths))
        keys.push_back(order.m_collator.sortKey(lastComponent(path)));
    std::vector<qsizetype> indices(size_t(paths.size()));
    std::iota(indices.begin(), indices.end(), 0);
    std::stable_sort(indices.begin(), indices.end(),
                     [&](qsizetype a, qsizetype b) { return keys[size_t(a)].compare(keys[size_t(b)]) < 0; });
    QStringList sorted;
    sorted.reserve(paths.size());
    for (const qsizetype index : indices)
        sorted.append(paths.at(index));
    paths = std::move(sorted);
}
