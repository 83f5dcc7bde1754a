#pragma once

#include "integration/KestroMenuItem.h"

#include <optional>
#include <QByteArray>
#include <QString>

// Kestro's items in Thunar's custom actions (uca.xml), merged into the user's file: the user's own actions,
// comments and layout stay byte for byte; Kestro's are those whose unique id begins with "kestro-".
namespace ThunarActions {

QByteArray uniqueIDPrefix();

// The file with Kestro's actions replaced by the menu's (none: Kestro's removed). A missing file is given
// as an empty array. Nothing, with the reason in error, when the file is not a uca.xml Kestro can read:
// such a file is the user's and is left alone.
std::optional<QByteArray> merged(const QByteArray& existing, const QList<KestroMenuItem>& menu,
                                 const QString& handoff, QString& error);

// Whether the file holds any of Kestro's actions.
bool containsKestroActions(const QByteArray& existing);

} // namespace ThunarActions
