#pragma once

#include "actions/KestroFileTemplate.h"

#include <optional>
#include <QString>
#include <QStringList>

// New folders and files from templates, uniquely named in the folder under the pointer.
class NewFileActions {
public:
    static QString createFolder(const QStringList& selectedURLs, const std::optional<QString>& targetedURL);
    static QString createFile(const KestroFileTemplate& fileTemplate, const QStringList& selectedURLs,
                              const std::optional<QString>& targetedURL);
};
