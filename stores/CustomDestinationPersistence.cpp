#include "stores/CustomDestinationPersistence.h"

#include "platform/KestroPaths.h"
#include "stores/SettingsListFile.h"

namespace {

using SettingsListFile::isString;

std::optional<CustomDestination> destinationFrom(const QVariant& element) {
    if (element.typeId() != QMetaType::QVariantMap)
        return std::nullopt;
    const QVariantMap entry = element.toMap();
    const QVariant id = entry.value(QStringLiteral("id"));
    const QVariant name = entry.value(QStringLiteral("name"));
    const QVariant path = entry.value(QStringLiteral("path"));
    if (!isString(id) || !isString(name) || !isString(path))
        return std::nullopt;
    return CustomDestination{id.toString(), name.toString(), path.toString()};
}

} // namespace

QString CustomDestinationPersistence::fileName() {
    return QStringLiteral("CustomDestinations.plist");
}

QString CustomDestinationPersistence::settingsFilePath() {
    return StoredFileBackup::settingsFilePath(fileName());
}

QString CustomDestinationPersistence::finderExtensionSettingsFilePath() {
    return KestroPaths::extensionDirectory() + QLatin1Char('/') + fileName();
}

std::optional<CustomDestinationsByKind> CustomDestinationPersistence::load() {
    bool ignored = false;
    return load(ignored);
}

std::optional<CustomDestinationsByKind> CustomDestinationPersistence::load(bool& leftSomethingOut) {
    const std::optional<QVariant> root = SettingsListFile::read(fileName(), leftSomethingOut);
    if (!root)
        return std::nullopt;
    return fromPropertyList(*root, leftSomethingOut);
}

std::optional<CustomDestinationsByKind>
CustomDestinationPersistence::fromPropertyList(const QVariant& root, bool& leftSomethingOut) {
    if (root.typeId() != QMetaType::QVariantMap) {
        leftSomethingOut = true;
        return std::nullopt;
    }
    CustomDestinationsByKind result;
    const QVariantMap map = root.toMap();
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        // A key of the wrong type counts as absent, so only that list falls back to its defaults.
        if (it.value().typeId() != QMetaType::QVariantList) {
            leftSomethingOut = true;
            continue;
        }
        result.insert(it.key(),
                      SettingsListFile::entriesFrom(it.value().toList(), destinationFrom, leftSomethingOut));
    }
    return result;
}

QVariant CustomDestinationPersistence::toPropertyList(const CustomDestinationsByKind& destinations) {
    QVariantMap root;
    for (auto it = destinations.cbegin(); it != destinations.cend(); ++it) {
        QVariantList entries;
        for (const CustomDestination& destination : it.value()) {
            entries.append(QVariantMap{{QStringLiteral("id"), destination.id},
                                       {QStringLiteral("name"), destination.name},
                                       {QStringLiteral("path"), destination.path}});
        }
        root.insert(it.key(), entries);
    }
    return root;
}

void CustomDestinationPersistence::save(const CustomDestinationsByKind& destinations) {
    SettingsListFile::save(fileName(), toPropertyList(destinations), QStringLiteral("custom-destinations"));
}
