#pragma once

#include "platform/Clipboard.h"

// Qt's clipboard, touched only on the main thread of a GUI application.
class LinuxClipboard : public Clipboard {
public:
    bool setText(const QString& text) override;
    QString text() override;
    QStringList filePaths() override;
};
