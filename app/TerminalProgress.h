#pragma once

#include "platform/ActionProgress.h"

#include <cstdio>
#include <QElapsedTimer>

// Progress of a one-shot request on a terminal, as command-line tools show it: one line on standard error,
// rewritten in place at most ten times a second and cleared at the end. Only for a stream that is a
// terminal; a pipe or a file gets nothing.
class TerminalProgress : public ActionProgress {
public:
    explicit TerminalProgress(std::FILE* stream = stderr, int width = 80);

    void started(const QString& title) override;
    void changed(const ActionProgressState& state) override;
    bool cancelRequested() override { return false; } // Ctrl-C ends the whole process
    void finished() override;

    // The line for a state: "复制 SHA-256  42%  photo.jpg", shortened to width columns.
    static QString lineFor(const QString& title, const ActionProgressState& state, int width);

private:
    std::FILE* m_stream;
    int m_width;
    QString m_title;
    QElapsedTimer m_sinceLastLine;
    bool m_lineShown = false;
};
