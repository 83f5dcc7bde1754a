#include "intake/FeatureRequestMailer.h"

#include "catalogue/AppVersion.h"
#include "intake/FailureNotifier.h"
#include "platform/Clipboard.h"
#include "platform/DiagnosticLog.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"

#include <QCoreApplication>
#include <QSysInfo>
#include <QUrlQuery>

namespace {
QString systemName() {
    return QSysInfo::kernelType() == QLatin1String("darwin") ? QStringLiteral("macOS")
                                                             : QStringLiteral("Linux");
}
} // namespace

const QString FeatureRequestMailer::supportAddress = QStringLiteral("support@tandry.app");

QString FeatureRequestMailer::appVersion() {
    return AppVersion::shortVersion();
}

QString FeatureRequestMailer::mailBody(const QString& requestText) {
    return QCoreApplication::translate("FeatureRequestMailer",
                                       "我想请求 Kestro 增加这个功能：\n\n%1\n\n---\nApp: Kestro %2\n%3: %4")
        .arg(requestText, appVersion(), systemName(), QSysInfo::prettyProductName());
}

QUrl FeatureRequestMailer::mailURL(const QString& requestText) {
    QUrl url;
    url.setScheme(QStringLiteral("mailto"));
    url.setPath(supportAddress);
    QUrlQuery query;
    // Fully encoded so that line breaks, "&", "+" and Chinese survive every mail program's parser.
    const auto encoded = [](const QString& text) {
        return QString::fromLatin1(QUrl::toPercentEncoding(text));
    };
    query.addQueryItem(QStringLiteral("subject"),
                       encoded(QCoreApplication::translate("FeatureRequestMailer", "Kestro 新功能请求")));
    query.addQueryItem(QStringLiteral("body"), encoded(mailBody(requestText)));
    url.setQuery(query.query(QUrl::FullyEncoded), QUrl::StrictMode);
    return url;
}

bool FeatureRequestMailer::openMailComposer(const QString& requestText) {
    return Platform::workspace().openUrl(mailURL(requestText));
}

QString FeatureRequestMailer::noMailProgramText() {
    return QCoreApplication::translate("FeatureRequestMailer",
                                       "没有找到邮件程序。请把请求的文字复制下来，发送到 %1。")
        .arg(supportAddress);
}

void FeatureRequestMailer::presentRequestDialog() {
    std::optional<QString> text;
    runOnMainThread([&] { text = Platform::prompts().requestFeatureText(); });
    if (!text || openMailComposer(*text))
        return;
    const bool copied = Platform::clipboard().setText(mailBody(*text));
    const QString message =
        copied ? QCoreApplication::translate("FeatureRequestMailer",
                                             "没有找到邮件程序。请求的文字已复制到剪贴板，请发送到 %1。")
                     .arg(supportAddress)
               : noMailProgramText();
    DiagnosticLog::append(QStringLiteral("suppressed error alert: ") + message);
    FailureNotifier::report(message);
}
