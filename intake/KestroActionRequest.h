#pragma once

#include <optional>
#include <QString>
#include <QStringList>

// Where a request came from. The user's own channels (the file-manager integration, the command line,
// the user-only socket and queue folders) are trusted; a kestro: link that another program opened through
// the scheme handler (a browser, anything calling xdg-open) is not.
enum class RequestOrigin { user, link };

// One action request, whichever road brought it.
struct KestroActionRequest {
    QString actionID;
    QStringList selectedURLs;
    std::optional<QString> targetedURL;
    std::optional<QString> destinationURL;
    std::optional<QString> presetID;
};
