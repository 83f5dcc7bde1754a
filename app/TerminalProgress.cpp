#include "app/TerminalProgress.h"

#include <QFileInfo>

TerminalProgress::TerminalProgress(std::FILE* stream, int width)
    : m_stream(stream)
    , m_width(width) {}

QString TerminalProgress::lineFor(const QString& title, const ActionProgressState& state, int width) {
    QString line = title;
    if (state.percent() >= 0)
        line += QStringLiteral("  %1%").arg(state.percent());
    if (state.itemsTotal > 1)
        line += QStringLiteral("  (%1/%2)").arg(state.itemsDone).arg(state.itemsTotal);
    if (!state.currentItem.isEmpty())
        line += QStringLiteral("  ") + QFileInfo(state.currentItem).fileName();
    // Chinese characters take two columns; a line that wraps could not be rewritten in place.
    int columns = 0;
    qsizetype cut = 0;
    for (; cut < line.size(); ++cut) {
        columns += line.at(cut).unicode() >= 0x1100 ? 2 : 1;
        if (columns > width - 1)
            break;
    }
    return line.left(cut);
}

void TerminalProgress::started(const QString& title) {
    m_title = title;
    m_sinceLastLine.invalidate();
}

void TerminalProgress::changed(const ActionProgressState& state) {
    if (m_sinceLastLine.isValid() && m_sinceLastLine.elapsed() < 100 && !state.isComplete())
        return;
    m_sinceLastLine.start();
    const QByteArray line = lineFor(m_title, state, m_width).toUtf8();
    std::fprintf(m_stream, "\r\033[K%s", line.constData());
    std::fflush(m_stream);
    m_lineShown = true;
}

void TerminalProgress::finished() {
    if (!m_lineShown)
        return;
    std::fputs("\r\033[K", m_stream);
    std::fflush(m_stream);
    m_lineShown = false;
}
