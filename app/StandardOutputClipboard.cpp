#include "app/StandardOutputClipboard.h"

#include <cstdio>

StandardOutputClipboard::StandardOutputClipboard(std::shared_ptr<Clipboard> clipboard)
    : m_clipboard(std::move(clipboard)) {}

bool StandardOutputClipboard::setText(const QString& text) {
    if (!m_clipboard->setText(text))
        return false;
    const QByteArray bytes = text.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    std::fflush(stdout);
    return true;
}
