#pragma once

#include <QCollator>
#include <QLocale>
#include <QString>
#include <QStringList>

// The order the file manager lists names in: case-insensitive, numbers compared by value ("File 2" before
// "file 10"). QCollator's numeric mode does nothing under the C locale, so that locale is swapped for a
// real one: the order must not depend on how the process happened to be started.
class FinderNameOrder {
public:
    FinderNameOrder();

    bool lessThan(const QString& first, const QString& second) const;
    // The locale whose collation is used: the default locale, or English where that is C/POSIX.
    static QLocale collationLocale();
    // Sorts paths by their last component in this order; equal names keep their relative order.
    static void sortByName(QStringList& paths);

private:
    QCollator m_collator;
};
