#pragma once

#include <QString>
#include <QStringList>

// The user's clipboard: plain text, and the files a file manager copied.
class Clipboard {
public:
    virtual ~Clipboard() = default;

    // Replaces the clipboard's contents with the text. False when the clipboard refused it.
    virtual bool setText(const QString& text) = 0;
    virtual QString text() = 0;
    // The local files the clipboard holds as URLs (what a file manager's "copy" puts there), as paths.
    virtual QStringList filePaths() = 0;
};
