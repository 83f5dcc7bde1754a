#include "intake/FinderSelectionModel.h"

#include "actions/FinderActionExecutor.h"
#include "catalogue/FeatureSettingsDefaults.h"
#include "catalogue/FeatureSettingsPersistence.h"
#include "intake/FailureNotifier.h"
#include "intake/FeatureRequestMailer.h"
#include "intake/FinderCurrentContext.h"
#include "intake/LinkRequestPolicy.h"
#include "platform/DiagnosticLog.h"
#include "platform/KestroError.h"
#include "platform/Platform.h"

#include <QCoreApplication>
#include <QPointer>

#include <atomic>

namespace {

FeatureSettings storedFeatureSettings() {
    return FeatureSettingsPersistence::loadSettings().value_or(FeatureSettingsDefaults::settings());
}

} // namespace

FinderSelectionModel::FinderSelectionModel(QObject* parent, Clock clock)
    : QObject(parent)
    , m_clock(std::move(clock))
    , m_runner([](const std::function<void()>& work) { work(); })
    , m_settingsSource(&storedFeatureSettings) {}

bool FinderSelectionModel::isRecentDuplicate(const QString& canonicalURL) const {
    // A clock that went backwards gives a negative interval, which counts as within the second too.
    return m_lastHandledURLString == canonicalURL && m_lastHandledDate &&
           m_lastHandledDate->msecsTo(m_clock()) < 1000;
}

void FinderSelectionModel::rememberHandled(const QString& canonicalURL) {
    m_lastHandledURLString = canonicalURL;
    m_lastHandledDate = m_clock();
}

bool FinderSelectionModel::handleIncomingURL(const QString& urlText, RequestOrigin origin) {
    const std::optional<KestroActionURL> url = KestroActionURL::parse(urlText);
    // A refused link does not take the duplicate filter's slot: the user's own identical request right
    // after it must still run. Only a request that goes ahead takes it.
    if (!url || isRecentDuplicate(url->canonicalText))
        return false;
    if (url->kind == KestroActionURL::Kind::featureRequest) {
        // One dialog at a time: a page that opens links in a loop gets no stack of them.
        if (m_showingDialog)
            return false;
        rememberHandled(url->canonicalText);
        m_showingDialog = true;
        FeatureRequestMailer::presentRequestDialog();
        m_showingDialog = false;
        return true;
    }

    KestroActionRequest request;
    request.actionID = url->actionID.value_or(QStringLiteral("completed"));
    m_lastActionTitle = url->title;
    emit lastActionTitleChanged();

    const FinderCurrentContext context = !url->passedPaths.isEmpty() && url->target
                                             ? FinderCurrentContext::empty
                                             : FinderCurrentContext{FinderCurrentContext::readSelectedURLs(),
                                                                    FinderCurrentContext::readTargetedURL()};
    request.selectedURLs = url->passedPaths.isEmpty() ? context.selectedURLs : url->passedPaths;
    request.targetedURL = url->target ? url->target : context.targetedURL;
    request.destinationURL = url->destination;
    request.presetID = url->presetID;
    m_selectedFiles = request.selectedURLs;
    emit selectedFilesChanged();

    DiagnosticLog::append(QStringLiteral("action=%1 passed=%2 selected=%3 target=%4 destination=%5 url=%6")
                              .arg(request.actionID, QString::number(url->passedPaths.size()),
                                   DiagnosticLog::listText(request.selectedURLs),
                                   DiagnosticLog::optionalText(request.targetedURL),
                                   DiagnosticLog::optionalText(request.destinationURL), url->canonicalText));
    if (origin == RequestOrigin::link && !mayRunLinkRequest(request))
        return false;
    rememberHandled(url->canonicalText);
    return run(request);
}

bool FinderSelectionModel::mayRunLinkRequest(KestroActionRequest& request) {
    const auto refuse = [&](const QString& reason, bool tellTheUser = true) {
        m_lastErrorDescription =
            tr("Kestro 拒绝了另一个程序的请求：%1").arg(LinkRequestPolicy::titleOf(request.actionID));
        DiagnosticLog::append(
            QStringLiteral("link request refused: action=%1 reason=%2").arg(request.actionID, reason));
        // The user who cancelled the question knows already; any other refusal would otherwise be silent.
        if (tellTheUser)
            FailureNotifier::report(m_lastErrorDescription);
        return false;
    };
    const LinkRequestPolicy::Decision decision = LinkRequestPolicy::evaluate(request, m_settingsSource());
    switch (decision.verdict) {
    case LinkRequestPolicy::Verdict::refuse:
        return refuse(decision.reason);
    case LinkRequestPolicy::Verdict::run:
        return true;
    case LinkRequestPolicy::Verdict::ask:
        break;
    }
    // One question at a time: a page that opens links in a loop gets no stack of dialogs.
    if (m_showingDialog)
        return refuse(QStringLiteral("another request is waiting for an answer"));
    ConsentRequest consent{LinkRequestPolicy::titleOf(request.actionID), request.actionID,
                           FinderActionExecutor::effectiveURLs(request.selectedURLs, request.targetedURL),
                           request.destinationURL};
    m_showingDialog = true;
    const bool confirmed = Platform::prompts().confirmRequestFromAnotherProgram(consent);
    m_showingDialog = false;
    if (!confirmed)
        return refuse(QStringLiteral("not confirmed"), false);
    DiagnosticLog::append(QStringLiteral("link request confirmed: action=") + request.actionID);
    return true;
}

bool FinderSelectionModel::run(const KestroActionRequest& request) {
    enum State { pending, succeeded, failed };
    auto state = std::make_shared<std::atomic<int>>(pending);
    QPointer<FinderSelectionModel> self(this);
    m_runner([request, state, self, tracker = m_progressTracker] {
        QString error;
        bool cancelled = false;
        try {
            const auto perform = [&request] {
                FinderActionExecutor::perform(request.actionID, request.selectedURLs, request.targetedURL,
                                              request.destinationURL, request.presetID);
            };
            tracker ? tracker(perform) : perform();
            DiagnosticLog::append(QStringLiteral("action succeeded: ") + request.actionID);
        } catch (const ActionCancelled&) {
            // The user stopped it: nothing to report as a failure.
            cancelled = true;
            DiagnosticLog::append(QStringLiteral("action cancelled: ") + request.actionID);
        } catch (const std::exception& failure) {
            error = describeError(failure);
            DiagnosticLog::append(QStringLiteral("action=%1 error=%2").arg(request.actionID, error));
            DiagnosticLog::append(QStringLiteral("suppressed error alert: ") + error);
            FailureNotifier::report(error);
        }
        state->store(error.isEmpty() ? succeeded : failed);
        // The outcome is recorded on the main thread, where this model lives; the work may outlive the
        // model (the host waits for running work only at exit), so the model is looked up there.
        const auto record = [self, error, cancelled, actionID = request.actionID] {
            if (!self)
                return;
            if (!error.isEmpty())
                self->m_lastErrorDescription = error;
            emit self->requestFinished(actionID, error.isEmpty() && !cancelled);
        };
        if (QCoreApplication* application = QCoreApplication::instance())
            QMetaObject::invokeMethod(application, record, Qt::AutoConnection);
        else
            record();
    });
    // A failure is known here only when the work ran in place.
    return state->load() != failed;
}

void FinderSelectionModel::showError(const std::exception& error) {
    DiagnosticLog::append(QStringLiteral("suppressed error alert: ") + describeError(error));
}
