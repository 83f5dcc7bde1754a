#pragma once

#include <QString>

// Taking absolute POSIX paths apart and putting them together as text, without asking the file system.
namespace PathParts {

// The folder holding path: "/" for an item at the top.
QString parentOf(const QString& path);
// The last component of path.
QString nameOf(const QString& path);
// The last component of a folder's path, however many slashes end it: "b" for "/a/b/"; empty for "/".
QString folderNameOf(const QString& path);
// name inside folder, with exactly one slash between them.
QString joined(const QString& folder, const QString& name);

} // namespace PathParts
