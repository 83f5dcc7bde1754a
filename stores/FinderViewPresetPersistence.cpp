#include "stores/FinderViewPresetPersistence.h"

#include "stores/SettingsListFile.h"

#include <QRegularExpression>

namespace {

using SettingsListFile::isString;

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
    return StoredFileBackup::settingsFilePath(fileName());
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
    const std::optional<QVariant> root = SettingsListFile::read(fileName(), leftSomethingOut);
    if (!root)
        return std::nullopt;
    return fromPropertyList(*root, leftSomethingOut);
}

std::optional<QList<FinderViewPreset>> FinderViewPresetPersistence::fromPropertyList(const QVariant& root,
                                                                                     bool& leftSomethingOut) {
    if (root.typeId() != QMetaType::QVariantList) {
        leftSomethingOut = true;
        return std::nullopt;
    }
    return SettingsListFile::entriesFrom(root.toList(), presetFrom, leftSomethingOut);
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
    SettingsListFile::save(fileName(), toPropertyList(presets), QStringLiteral("finder-view-presets"));
}
