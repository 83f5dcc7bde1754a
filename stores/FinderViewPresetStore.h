#pragma once

#include "stores/FinderViewPreset.h"

#include <QObject>

// The user's view presets, edited from the settings window. Every edit replaces the list, saves both copies
// of the file and then emits presetsChanged. Main thread only.
class FinderViewPresetStore : public QObject {
    Q_OBJECT
public:
    // Loads the file (the three defaults when there is none, or it cannot be read) and saves at once; a
    // stored empty list stays empty. A file that did not load whole is first copied aside.
    explicit FinderViewPresetStore(QObject* parent = nullptr);

    const QList<FinderViewPreset>& presets() const { return m_presets; }

    // Appends "列表 · 按修改日期" (list view, by modification date) with a new id; returns it.
    FinderViewPreset addPreset();
    // Removes the presets at those offsets (offsets out of range are ignored).
    void removePresets(const QSet<qsizetype>& offsets);
    // Moves the presets at those offsets as one block before the one at destination (the shared list move).
    void movePresets(const QSet<qsizetype>& offsets, qsizetype destination);
    // Replaces the name and both modes of the stored preset with preset.id; an unknown id changes nothing.
    void update(const FinderViewPreset& preset);
    // The settings row's mode change: new modes, and an automatic name follows them (see withModes).
    void changeModes(const QString& id, FinderViewMode viewMode, FinderSortMode sortMode);

signals:
    void presetsChanged();

private:
    void store(const QList<FinderViewPreset>& presets);

    QList<FinderViewPreset> m_presets;
};
