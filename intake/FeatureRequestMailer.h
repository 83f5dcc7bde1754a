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
    static void openMailComposer(const QString& requestText);
    // Asks for the wish; an answer opens the mail, cancelling opens nothing.
    static void presentRequestDialog();
};
