#pragma once

#include <QString>

// The user's clipboard as plain text.
class Clipboard {
public:
    virtual ~Clipboard() = default;

    // Replaces the clipboard's contents with the text. False when the clipboard refused it.
    virtual bool setText(const QString& text) = 0;
    virtual QString text() = 0;
};
