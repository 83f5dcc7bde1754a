#include "stores/FinderViewPresetPersistence.h"

#include "catalogue/KestroSettingsChangeNotifier.h"
#include "platform/KestroPaths.h"
#include "platform/PropertyListFile.h"

#include <QFileInfo>
#include <QRegularExpression>

namespace {

bool isString(const QVariant& value) {
    return value.typeId() == QMetaType::QString;
}

std::optional<FinderViewPreset> presetFrom(const QVariant& element) {
    if (element.typeId() != QMetaType::QVariantMap)
        return std::nullopt;
    const QVariantMap entry = element.toMap();
    const QVariant id = entry.value(QStringLiteral("id"));
    const QVariant name = entry.value(QStringLiteral("name"));
    const QVariant view = entry.value(QStringLiteral("viewMode"));
    const QVariant sort = entry.value(QStringLiteral("sortMode"));
    if (!isString(id) || !isString(name) || !isString(view) || !isString(sort))
        return std::nullopt;
    const std::optional<FinderViewMode> viewMode = FinderViewModes::fromRawValue(view.toString());
    const std::optional<FinderSortMode> sortMode = FinderSortModes::fromRawValue(sort.toString());
    if (!viewMode || !sortMode)
        return std::nullopt;
    return FinderViewPreset{id.toString(), FinderViewPresetPersistence::cleanedName(name.toString()),
                            *viewMode, *sortMode};
}

} // namespace

QString FinderViewPresetPersistence::fileName() {
    return QStringLiteral("FinderViewPresets.plist");
}

QString FinderViewPresetPersistence::settingsFilePath() {
    return KestroPaths::applicationSupportDirectory() + QLatin1Char('/') + fileName();
}

QString FinderViewPresetPersistence::cleanedName(const QString& name) {
    static const QRegularExpression numbered(QStringLiteral("^(.+ · .+) [0-9]+$"));
    QString cleaned = name;
    return cleaned.replace(numbered, QStringLiteral("\\1"));
}

std::optional<QList<FinderViewPreset>> FinderViewPresetPersistence::load() {
    bool ignored = false;
    return load(ignored);
}

std::optional<QList<FinderViewPreset>> FinderViewPresetPersistence::load(bool& leftSomethingOut) {
    leftSomethingOut = false;
    const std::optional<QVariant> root = PropertyListFile::read(settingsFilePath());
    if (!root) {
        leftSomethingOut = QFileInfo::exists(settingsFilePath());
        return std::nullopt;
    }
    return fromPropertyList(*root, leftSomethingOut);
}

std::optional<QList<FinderViewPreset>> FinderViewPresetPersistence::fromPropertyList(const QVariant& root,
                                                                                     bool& leftSomethingOut) {
    if (root.typeId() != QMetaType::QVariantList) {
        leftSomethingOut = true;
        return std::nullopt;
    }
    QList<FinderViewPreset> presets;
    for (const QVariant& element : root.toList()) {
        if (const std::optional<FinderViewPreset> preset = presetFrom(element))
            presets.append(*preset);
        else
            leftSomethingOut = true;
    }
    return presets;
}

std::optional<FinderViewPreset> FinderViewPresetPersistence::preset(const QString& id) {
    for (const FinderViewPreset& preset : load().value_or(QList<FinderViewPreset>())) {
        if (preset.id == id)
            return preset;
    }
    return std::nullopt;
}

QVariant FinderViewPresetPersistence::toPropertyList(const QList<FinderViewPreset>& presets) {
    QVariantList root;
    for (const FinderViewPreset& preset : presets) {
        root.append(QVariantMap{{QStringLiteral("id"), preset.id},
                                {QStringLiteral("name"), preset.name},
                                {QStringLiteral("viewMode"), FinderViewModes::rawValue(preset.viewMode)},
                                {QStringLiteral("sortMode"), FinderSortModes::rawValue(preset.sortMode)}});
    }
    return root;
}

void FinderViewPresetPersistence::save(const QList<FinderViewPreset>& presets) {
    // A save never fails its caller: the in-memory list stays the master copy.
    try {
        PropertyListFile::writeBothCopies(fileName(), toPropertyList(presets));
        KestroSettingsChangeNotifier::post(QStringLiteral("finder-view-presets"));
    } catch (...) {
    }
}
