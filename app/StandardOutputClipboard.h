#pragma once

#include "platform/Clipboard.h"

#include <memory>

// For a one-shot "--perform" process: what goes on the clipboard is also written to standard output, since
// on Linux a process's clipboard contents vanish with it and scripts want the text anyway.
class StandardOutputClipboard : public Clipboard {
public:
    explicit StandardOutputClipboard(std::shared_ptr<Clipboard> clipboard);

    bool setText(const QString& text) override;
    QString text() override { return m_clipboard->text(); }

private:
    std::shared_ptr<Clipboard> m_clipboard;
};
