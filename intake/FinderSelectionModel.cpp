#include "intake/FinderSelectionModel.h"

#include "actions/FinderActionExecutor.h"
#include "intake/FeatureRequestMailer.h"
#include "intake/FinderCurrentContext.h"
#include "platform/DiagnosticLog.h"
#include "platform/KestroError.h"

#include <QRegularExpression>
#include <QUrlQuery>

namespace {

struct ParsedRequest {
    QStringList paths;
    std::optional<QString> target;
    std::optional<QString> actionID;
    std::optional<QString> destination;
    std::optional<QString> presetID;
    std::optional<QString> title;
};

ParsedRequest parseQuery(const QUrl& url) {
    ParsedRequest request;
    const auto firstWins = [](std::optional<QString>& slot, const QString& value) {
        if (!slot)
            slot = value;
    };
    const QUrlQuery query(url);
    for (const auto& [name, value] : query.queryItems(QUrl::FullyDecoded)) {
        // An item without a value counts as absent.
        if (value.isEmpty())
            continue;
        if (name == QLatin1String("path"))
            request.paths.append(value);
        else if (name == QLatin1String("target"))
            firstWins(request.target, value);
        else if (name == QLatin1String("actionID"))
            firstWins(request.actionID, value);
        else if (name == QLatin1String("destination") || name == QLatin1String("destinationPath"))
            firstWins(request.destination, value);
        else if (name == QLatin1String("presetID"))
            firstWins(request.presetID, value);
        else if (name == QLatin1String("action"))
            firstWins(request.title, value);
    }
    return request;
}

// A "%" not followed by two hex digits: such text is no URL, and guessing at it would hand the action
// paths that nobody selected.
bool hasBrokenPercentEncoding(const QString& text) {
    static const QRegularExpression broken(QStringLiteral("%(?![0-9A-Fa-f]{2})"));
    return text.contains(broken);
}

} // namespace

FinderSelectionModel::FinderSelectionModel(QObject* parent, Clock clock)
    : QObject(parent)
    , m_clock(std::move(clock)) {}

bool FinderSelectionModel::shouldHandle(const QUrl& url) {
    const QString text = url.toString(QUrl::FullyEncoded);
    const QDateTime now = m_clock();
    // A clock that went backwards gives a negative interval, which counts as within the second too.
    if (m_lastHandledURLString == text && m_lastHandledDate && m_lastHandledDate->msecsTo(now) < 1000)
        return false;
    m_lastHandledURLString = text;
    m_lastHandledDate = now;
    return true;
}

bool FinderSelectionModel::handleIncomingURL(const QString& urlText) {
    // QUrl folds the scheme to lower case; the scheme is compared exactly, so look at the text itself.
    if (!urlText.startsWith(QLatin1String("kestro:")) || hasBrokenPercentEncoding(urlText))
        return false;
    const QUrl url(urlText);
    if (!shouldHandle(url))
        return false;
    if (url.host() == QLatin1String("feature-request")) {
        FeatureRequestMailer::presentRequestDialog();
        return true;
    }
    if (url.host() != QLatin1String("finder-action"))
        return false;

    const ParsedRequest request = parseQuery(url);
    const QString actionID = request.actionID.value_or(QStringLiteral("completed"));
    m_lastActionTitle = request.title;
    emit lastActionTitleChanged();

    const FinderCurrentContext context = !request.paths.isEmpty() && request.target
                                             ? FinderCurrentContext::empty
                                             : FinderCurrentContext{FinderCurrentContext::readSelectedURLs(),
                                                                    FinderCurrentContext::readTargetedURL()};
    const QStringList selection = request.paths.isEmpty() ? context.selectedURLs : request.paths;
    const std::optional<QString> target = request.target ? request.target : context.targetedURL;
    m_selectedFiles = selection;
    emit selectedFilesChanged();

    DiagnosticLog::append(QStringLiteral("action=%1 passed=%2 selected=%3 target=%4 destination=%5 url=%6")
                              .arg(actionID, QString::number(request.paths.size()),
                                   DiagnosticLog::listText(selection), DiagnosticLog::optionalText(target),
                                   DiagnosticLog::optionalText(request.destination),
                                   url.toString(QUrl::FullyEncoded)));
    try {
        FinderActionExecutor::perform(actionID, selection, target, request.destination, request.presetID);
        DiagnosticLog::append(QStringLiteral("action succeeded: ") + actionID);
        return true;
    } catch (const std::exception& error) {
        m_lastErrorDescription = describeError(error);
        DiagnosticLog::append(QStringLiteral("action=%1 error=%2").arg(actionID, m_lastErrorDescription));
        showError(error);
        return false;
    }
}

void FinderSelectionModel::showError(const std::exception& error) {
    DiagnosticLog::append(QStringLiteral("suppressed error alert: ") + describeError(error));
}
