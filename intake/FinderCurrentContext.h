#pragma once

#include <optional>
#include <QString>
#include <QStringList>

// What the file manager has selected and which folder its front window shows, asked for when a request
// arrived without them. Where the file manager cannot be asked the context is empty.
struct FinderCurrentContext {
    QStringList selectedURLs;
    std::optional<QString> targetedURL;

    static const FinderCurrentContext empty;
    static const QString selectionScript;
    static const QString frontWindowTargetScript;

    static QStringList readSelectedURLs();
    static std::optional<QString> readTargetedURL();
    static QStringList runFinderListScript(const QString& source);
    static std::optional<QString> runFinderStringScript(const QString& source);
};
