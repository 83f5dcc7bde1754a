#pragma once

#include <QString>
#include <QUrl>

// A wish for a new feature, sent as a pre-filled mail by the user's own mail program.
class FeatureRequestMailer {
public:
    static const QString supportAddress;

    static QString appVersion();
    static QString mailBody(const QString& requestText);
    static QUrl mailURL(const QString& requestText);
    // False when no mail program took the mail.
    static bool openMailComposer(const QString& requestText);
    // What the user is told when no mail program takes the wish: where to send the text instead.
    static QString noMailProgramText();
    // Asks for the wish; an answer opens the mail, cancelling opens nothing. Without a mail program the
    // wish goes to the clipboard, and the user is told so by a failure notice: the text is never lost.
    static void presentRequestDialog();
};
