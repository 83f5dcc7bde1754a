#include "app/KestroHost.h"

#include "actions/DiagnosticLog.h"
#include "catalogue/AppPreferencesStore.h"
#include "intake/FinderSelectionModel.h"

KestroHost::KestroHost(bool launchedAtLogin, QObject* parent)
    : QObject(parent)
    , m_launchedAtLogin(launchedAtLogin)
    , m_preferences(new AppPreferencesStore(this))
    , m_selectionModel(new FinderSelectionModel(this))
{
    connect(&m_instance, &SingleInstance::messageReceived, this, &KestroHost::handleMessage);
}

KestroHost::~KestroHost() = default;

bool KestroHost::listen() { return m_instance.listen(); }

void KestroHost::openURL(const QString& url) { m_selectionModel->handleIncomingURL(url); }

void KestroHost::handleMessage(const QStringList& message)
{
    const QString& command = message.constFirst();
    if (command == QLatin1String("open-url") && message.size() >= 2)
        openURL(message.at(1));
    else if (command == QLatin1String("show"))
        emit showRequested();
}
