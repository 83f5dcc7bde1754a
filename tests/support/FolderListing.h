#pragma once

#include <QStringList>

// The names of every item directly in folder, hidden ones included, sorted by name.
QStringList namesIn(const QString& folder);
// The last component of each path, in order.
QStringList fileNames(const QStringList& paths);
