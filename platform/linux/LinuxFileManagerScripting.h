#pragma once

#include "platform/FileManagerScripting.h"

// Linux file managers take no scripts: the context is always empty and running one fails clearly.
class LinuxFileManagerScripting : public FileManagerScripting {
public:
    QStringList runListScript(const QString&) override { return {}; }
    std::optional<QString> runStringScript(const QString&) override { return std::nullopt; }
    QString runScriptOutput(const QString& source) override;
};
