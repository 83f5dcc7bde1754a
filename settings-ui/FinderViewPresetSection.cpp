#include "settings-ui/FinderViewPresetSection.h"

#include "settings-ui/FittedListView.h"
#include "stores/FinderViewPresetStore.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QSignalBlocker>

FinderViewPresetSection::FinderViewPresetSection(FinderViewPresetStore& store, QWidget* parent)
    : UserListSection(
          tr("显示方案"),
          [&store] {
              QList<UserListModel::Row> rows;
              for (const FinderViewPreset& preset : store.presets())
                  rows.append({preset.name, FinderViewModes::title(preset.viewMode) + QStringLiteral(" · ") +
                                                FinderSortModes::title(preset.sortMode)});
              return rows;
          },
          parent)
    , m_store(store)
    , m_editor(new QWidget)
    , m_name(new QLineEdit)
    , m_view(new QComboBox)
    , m_sort(new QComboBox) {
    model()->setMover([this](const QSet<qsizetype>& offsets, qsizetype destination) {
        m_store.movePresets(offsets, destination);
    });
    listView()->setReorderable(true);
    setEmptyTexts(tr("还没有显示方案"));

    for (FinderViewMode mode : FinderViewModes::allCases())
        m_view->addItem(FinderViewModes::title(mode), int(mode));
    for (FinderSortMode mode : FinderSortModes::allCases())
        m_sort->addItem(FinderSortModes::title(mode), int(mode));
    auto* form = new QFormLayout(m_editor);
    form->setContentsMargins(0, 6, 0, 0);
    form->addRow(tr("名称"), m_name);
    form->addRow(tr("显示方式"), m_view);
    form->addRow(tr("排序方式"), m_sort);
    addFooter(m_editor);

    connect(m_name, &QLineEdit::editingFinished, this, [this] {
        const int row = selectedRow();
        if (row < 0 || row >= m_store.presets().size())
            return;
        FinderViewPreset preset = m_store.presets().at(row);
        const QString name = m_name->text().trimmed();
        // An empty name would leave an entry nobody can tell apart: keep the old one.
        if (name.isEmpty() || name == preset.name) {
            m_name->setText(preset.name);
            return;
        }
        preset.name = name;
        m_store.update(preset);
    });
    const auto changeModes = [this] {
        const int row = selectedRow();
        if (row < 0 || row >= m_store.presets().size())
            return;
        m_store.changeModes(m_store.presets().at(row).id, FinderViewMode(m_view->currentData().toInt()),
                            FinderSortMode(m_sort->currentData().toInt()));
    };
    connect(m_view, &QComboBox::activated, this, changeModes);
    connect(m_sort, &QComboBox::activated, this, changeModes);

    addSelectionButton(tr("移除"), [this](int row) { m_store.removePresets({row}); });
    addButton(tr("添加显示方案"), [this] {
        m_store.addPreset();
        listView()->setCurrentIndex(model()->index(model()->rowCount() - 1));
    });
    connect(&m_store, &FinderViewPresetStore::presetsChanged, this, [this] {
        const int row = selectedRow();
        reload();
        if (row >= 0 && row < model()->rowCount())
            listView()->setCurrentIndex(model()->index(row));
        showSelected();
    });
    connect(this, &UserListSection::selectedRowChanged, this, &FinderViewPresetSection::showSelected);
    showSelected();
}

void FinderViewPresetSection::showSelected() {
    const int row = selectedRow();
    const bool shown = row >= 0 && row < m_store.presets().size();
    m_editor->setVisible(shown);
    if (!shown)
        return;
    const FinderViewPreset& preset = m_store.presets().at(row);
    const QSignalBlocker blockName(m_name);
    const QSignalBlocker blockView(m_view);
    const QSignalBlocker blockSort(m_sort);
    m_name->setText(preset.name);
    m_view->setCurrentIndex(m_view->findData(int(preset.viewMode)));
    m_sort->setCurrentIndex(m_sort->findData(int(preset.sortMode)));
}
