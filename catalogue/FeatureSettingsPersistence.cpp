#include "catalogue/FeatureSettingsPersistence.h"

#include "catalogue/KestroSettingsChangeNotifier.h"
#include "platform/KestroPaths.h"
#include "platform/PropertyListFile.h"
#include "platform/StoredFileBackup.h"

#include <QFileInfo>

#include <algorithm>

namespace {

const QString enabledFeatureIDsKey = QStringLiteral("enabledFeatureIDs");
const QString groupsFeaturesUnderKestroKey = QStringLiteral("groupsFeaturesUnderKestro");
const QString menuLayoutKey = QStringLiteral("menuLayout");
const QString enabledChildIDsKey = QStringLiteral("enabledChildIDs");
const QString featureOrderKey = QStringLiteral("featureOrder");
const QString childOrderByFeatureIDKey = QStringLiteral("childOrderByFeatureID");

// An array whose every item is a string; anything else is no list at all.
std::optional<QStringList> stringList(const QVariant& value) {
    if (value.typeId() != QMetaType::QVariantList)
        return std::nullopt;
    QStringList strings;
    for (const QVariant& item : value.toList()) {
        if (item.typeId() != QMetaType::QString)
            return std::nullopt;
        strings.append(item.toString());
    }
    return strings;
}

QSet<QString> stringSet(const QVariant& value) {
    const QStringList strings = stringList(value).value_or(QStringList());
    return QSet<QString>(strings.cbegin(), strings.cend());
}

std::optional<QMap<QString, QStringList>> stringListMap(const QVariant& value) {
    if (value.typeId() != QMetaType::QVariantMap)
        return std::nullopt;
    QMap<QString, QStringList> map;
    const QVariantMap entries = value.toMap();
    for (auto it = entries.cbegin(); it != entries.cend(); ++it) {
        const std::optional<QStringList> list = stringList(it.value());
        if (!list)
            return std::nullopt;
        map.insert(it.key(), *list);
    }
    return map;
}

// Byte order of the UTF-8 form, which for the ASCII identifiers is plain ascending order.
QVariantList sortedArray(const QSet<QString>& set) {
    QList<QByteArray> bytes;
    for (const QString& text : set)
        bytes.append(text.toUtf8());
    std::sort(bytes.begin(), bytes.end());
    QVariantList array;
    for (const QByteArray& text : bytes)
        array.append(QString::fromUtf8(text));
    return array;
}

QVariantList array(const QStringList& strings) {
    return QVariantList(strings.cbegin(), strings.cend());
}

} // namespace

QString FeatureSettingsPersistence::fileName() {
    return QStringLiteral("FeatureSettings.plist");
}

QString FeatureSettingsPersistence::applicationFileURL() {
    return KestroPaths::applicationSupportDirectory() + QLatin1Char('/') + fileName();
}

QString FeatureSettingsPersistence::extensionFileURL() {
    return KestroPaths::extensionDirectory() + QLatin1Char('/') + fileName();
}

std::optional<FeatureSettings> FeatureSettingsPersistence::loadSettings() {
    const std::optional<QVariant> root = PropertyListFile::read(applicationFileURL());
    if (!root)
        return std::nullopt;
    return settingsFromPropertyList(*root);
}

std::optional<FeatureSettings> FeatureSettingsPersistence::settingsFromPropertyList(const QVariant& root) {
    if (root.typeId() != QMetaType::QVariantMap)
        return std::nullopt;
    const QVariantMap map = root.toMap();
    // The enabled features mark a usable file; without them nothing else is trusted.
    if (map.isEmpty() || !map.contains(enabledFeatureIDsKey))
        return std::nullopt;
    FeatureSettings settings;
    settings.enabledFeatureIDs = stringSet(map.value(enabledFeatureIDsKey));
    const QVariant groups = map.value(groupsFeaturesUnderKestroKey);
    settings.groupsFeaturesUnderKestro = groups.typeId() == QMetaType::Bool && groups.toBool();
    const QVariant layout = map.value(menuLayoutKey);
    settings.menuLayout =
        layout.typeId() == QMetaType::QString
            ? finderMenuLayoutFromRawValue(layout.toString()).value_or(FinderMenuLayout::collapsed)
            : FinderMenuLayout::collapsed;
    settings.enabledChildIDs = stringSet(map.value(enabledChildIDsKey));
    settings.featureOrder = stringList(map.value(featureOrderKey)).value_or(QStringList());
    settings.childOrderByFeatureID =
        stringListMap(map.value(childOrderByFeatureIDKey)).value_or(QMap<QString, QStringList>());
    return settings;
}

void FeatureSettingsPersistence::keepUnreadableCopy() noexcept {
    try {
        // An empty file holds nothing to keep.
        if (QFileInfo(applicationFileURL()).size() > 0)
            StoredFileBackup::keepCopy(fileName());
    } catch (...) {
    }
}

QVariantMap FeatureSettingsPersistence::propertyList(const FeatureSettings& settings) {
    QVariantMap childOrder;
    for (auto it = settings.childOrderByFeatureID.cbegin(); it != settings.childOrderByFeatureID.cend(); ++it)
        childOrder.insert(it.key(), array(it.value()));
    return {
        {enabledFeatureIDsKey, sortedArray(settings.enabledFeatureIDs)},
        {groupsFeaturesUnderKestroKey, settings.groupsFeaturesUnderKestro},
        {menuLayoutKey, finderMenuLayoutRawValue(settings.menuLayout)},
        {enabledChildIDsKey, sortedArray(settings.enabledChildIDs)},
        {featureOrderKey, array(settings.featureOrder)},
        {childOrderByFeatureIDKey, childOrder},
    };
}

bool FeatureSettingsPersistence::save(const FeatureSettings& settings) noexcept {
    try {
        // Serialised once, up front: when that fails (no bytes) writeBytes refuses both copies, so nothing is
        // written and nothing announced.
        const QByteArray bytes = PropertyListFile::toXml(propertyList(settings));
        // The two copies are written one after the other rather than through writeBothCopies: a copy that
        // could not be written must stop the save before the announcement, and the file-manager side must
        // never be told about a copy it cannot read.
        if (!PropertyListFile::writeBytes(applicationFileURL(), bytes))
            return false;
        if (!PropertyListFile::writeBytes(extensionFileURL(), bytes))
            return false;
        KestroSettingsChangeNotifier::post(QStringLiteral("feature-settings"));
        return true;
    } catch (...) {
        return false;
    }
}
