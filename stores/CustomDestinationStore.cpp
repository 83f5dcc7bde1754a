#include "stores/CustomDestinationStore.h"

#include "catalogue/ListMove.h"
#include "platform/Platform.h"
#include "stores/CustomDestinationDefaults.h"
#include "stores/CustomDestinationPersistence.h"
#include "stores/DesktopEntryName.h"
#include "stores/SettingsListFile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QUuid>

CustomDestinationStore::CustomDestinationStore(QObject* parent)
    : QObject(parent) {
    const std::optional<CustomDestinationsByKind> loaded =
        SettingsListFile::loadKeepingUnreadable<CustomDestinationPersistence>();
    m_destinationsByKind = CustomDestinationDefaults::normalized(loaded.value_or(CustomDestinationsByKind()));
    CustomDestinationPersistence::save(m_destinationsByKind);
}

QList<CustomDestination> CustomDestinationStore::destinations(CustomDestinationKind kind) const {
    return m_destinationsByKind.value(CustomDestinationKinds::rawValue(kind));
}

void CustomDestinationStore::addDestination(CustomDestinationKind kind) {
    OpenPanelRequest request;
    request.title = CustomDestinationKinds::addPanelTitle(kind);
    request.buttonLabel = QCoreApplication::translate("CustomDestinationStore", "添加");
    if (kind == CustomDestinationKind::openApplication) {
        request.choose = OpenPanelRequest::Choose::application;
        const QStringList entryFolders = CustomDestinationDefaults::applicationEntryDirectories();
        request.initialDirectory = QFileInfo(QStringLiteral("/Applications")).isDir()
                                       ? QStringLiteral("/Applications")
                                       : entryFolders.value(entryFolders.size() - 1);
        request.canCreateFolders = false;
    } else {
        request.choose = OpenPanelRequest::Choose::folder;
        request.canCreateFolders = true;
    }
    const std::optional<QString> chosen = Platform::prompts().chooseItem(request);
    if (!chosen || chosen->isEmpty())
        return;
    addDestinationPath(kind, *chosen);
}

bool CustomDestinationStore::addDestinationPath(CustomDestinationKind kind, const QString& path) {
    QList<CustomDestination> list = destinations(kind);
    for (const CustomDestination& destination : list) {
        if (destination.path == path)
            return false;
    }
    list.append(
        {QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper(), displayName(path, kind), path});
    store(kind, list);
    return true;
}

void CustomDestinationStore::removeDestinations(CustomDestinationKind kind, const QSet<qsizetype>& offsets) {
    QList<CustomDestination> remaining;
    const QList<CustomDestination> list = destinations(kind);
    for (qsizetype index = 0; index < list.size(); ++index) {
        if (!offsets.contains(index))
            remaining.append(list.at(index));
    }
    store(kind, remaining);
}

void CustomDestinationStore::moveDestinations(CustomDestinationKind kind, const QSet<qsizetype>& offsets,
                                              qsizetype destination) {
    store(kind, movedList(destinations(kind), offsets, destination));
}

QString CustomDestinationStore::displayName(const QString& path, CustomDestinationKind kind) {
    // A trailing slash does not make the last component empty; only the root folder has none.
    const QFileInfo info(QDir::cleanPath(path));
    const QString lastComponent = info.fileName();
    if (kind == CustomDestinationKind::openApplication) {
        if (info.suffix() == QLatin1String("app"))
            return lastComponent.chopped(4);
        if (info.suffix() == QLatin1String("desktop")) {
            const QString name = DesktopEntryName::read(path);
            return name.isEmpty() ? lastComponent.chopped(8) : name;
        }
    }
    return lastComponent.isEmpty() ? path : lastComponent;
}

void CustomDestinationStore::store(CustomDestinationKind kind, const QList<CustomDestination>& destinations) {
    m_destinationsByKind.insert(CustomDestinationKinds::rawValue(kind), destinations);
    CustomDestinationPersistence::save(m_destinationsByKind);
    emit destinationsChanged(kind);
}
