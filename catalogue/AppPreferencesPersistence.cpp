#include "catalogue/AppPreferencesPersistence.h"

#include "platform/KestroPaths.h"
#include "platform/PropertyListFile.h"

#include <QFileInfo>

namespace {
bool boolean(const QVariantMap& map, const char* key, bool fallback) {
    const QVariant value = map.value(QString::fromLatin1(key));
    return value.typeId() == QMetaType::Bool ? value.toBool() : fallback;
}
} // namespace

QString AppPreferencesPersistence::fileURL() {
    return KestroPaths::applicationSupportDirectory() + QStringLiteral("/AppPreferences.plist");
}

AppPreferences AppPreferencesPersistence::load() {
    bool ignored = false;
    return load(ignored);
}

AppPreferences AppPreferencesPersistence::load(bool& leftSomethingOut) {
    const std::optional<QVariant> root = PropertyListFile::read(fileURL());
    leftSomethingOut = (!root || root->typeId() != QMetaType::QVariantMap) && QFileInfo::exists(fileURL());
    if (!root || root->typeId() != QMetaType::QVariantMap)
        return {};
    const QVariantMap map = root->toMap();
    return {boolean(map, "revealCreatedItems", false), boolean(map, "revealActionResults", true),
            boolean(map, "launchAtLogin", false), boolean(map, "showsFailureNotifications", true)};
}

bool AppPreferencesPersistence::save(const AppPreferences& preferences) {
    return PropertyListFile::write(
        fileURL(), QVariantMap{
                       {QStringLiteral("revealCreatedItems"), preferences.revealCreatedItems},
                       {QStringLiteral("revealActionResults"), preferences.revealActionResults},
                       {QStringLiteral("launchAtLogin"), preferences.launchAtLogin},
                       {QStringLiteral("showsFailureNotifications"), preferences.showsFailureNotifications},
                   });
}
