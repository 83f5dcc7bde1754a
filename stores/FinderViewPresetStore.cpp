#include "stores/FinderViewPresetStore.h"

#include "catalogue/ListMove.h"
#include "stores/FinderViewPresetPersistence.h"
#include "stores/SettingsListFile.h"

#include <QUuid>

FinderViewPresetStore::FinderViewPresetStore(QObject* parent)
    : QObject(parent) {
    const std::optional<QList<FinderViewPreset>> loaded =
        SettingsListFile::loadKeepingUnreadable<FinderViewPresetPersistence>();
    m_presets = loaded.value_or(FinderViewPreset::defaults());
    FinderViewPresetPersistence::save(m_presets);
}

FinderViewPreset FinderViewPresetStore::addPreset() {
    const FinderViewPreset preset{
        QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper(),
        FinderViewPreset::automaticName(FinderViewMode::list, FinderSortMode::modificationDate),
        FinderViewMode::list, FinderSortMode::modificationDate};
    store(m_presets + QList<FinderViewPreset>{preset});
    return preset;
}

void FinderViewPresetStore::removePresets(const QSet<qsizetype>& offsets) {
    QList<FinderViewPreset> remaining;
    for (qsizetype index = 0; index < m_presets.size(); ++index) {
        if (!offsets.contains(index))
            remaining.append(m_presets.at(index));
    }
    store(remaining);
}

void FinderViewPresetStore::movePresets(const QSet<qsizetype>& offsets, qsizetype destination) {
    store(movedList(m_presets, offsets, destination));
}

void FinderViewPresetStore::update(const FinderViewPreset& preset) {
    QList<FinderViewPreset> presets = m_presets;
    for (FinderViewPreset& stored : presets) {
        if (stored.id != preset.id)
            continue;
        stored.name = preset.name;
        stored.viewMode = preset.viewMode;
        stored.sortMode = preset.sortMode;
        store(presets);
        return;
    }
}

void FinderViewPresetStore::changeModes(const QString& id, FinderViewMode viewMode, FinderSortMode sortMode) {
    for (const FinderViewPreset& stored : m_presets) {
        if (stored.id == id) {
            update(stored.withModes(viewMode, sortMode));
            return;
        }
    }
}

void FinderViewPresetStore::store(const QList<FinderViewPreset>& presets) {
    m_presets = presets;
    FinderViewPresetPersistence::save(m_presets);
    emit presetsChanged();
}
