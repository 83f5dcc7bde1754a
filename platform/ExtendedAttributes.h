#pragma once

#include <QStringList>

// The extended attributes a copy carries over: the user's own (desktop tags, comments, the download
// origin) and the access control lists. Other namespaces (security labels, the system's trusted ones)
// belong to the machine, not to the file, and stay behind as they do with `cp -a`.
class ExtendedAttributes {
public:
    // Copies them from one open file or folder to another; folders also pass on their default ACL.
    // Returns what could not be kept, one "name: reason" each; never throws, so a destination without
    // extended attributes does not stop a copy.
    static QStringList copy(int from, int to);
};
