#include "settings-ui/CustomShortcutActionSection.h"

#include "platform/PlatformWords.h"
#include "settings-ui/FittedListView.h"
#include "stores/CustomShortcutActionStore.h"

#include <QFileInfo>

CustomShortcutActionSection::CustomShortcutActionSection(CustomShortcutActionStore& store, QWidget* parent)
    : UserListSection(
          tr("自定义动作"),
          [&store] {
              QList<UserListModel::Row> rows;
              for (const CustomShortcutAction& action : store.actions()) {
                  if (action.kind == CustomShortcutAction::Kind::script) {
                      const bool exists = QFileInfo::exists(action.scriptPath);
                      rows.append(
                          {action.name,
                           exists ? tr("脚本：%1").arg(UserListModel::displayPath(action.scriptPath))
                                  : tr("脚本已不存在：%1").arg(UserListModel::displayPath(action.scriptPath)),
                           !exists});
                  } else {
                      rows.append({action.name, tr("快捷指令：%1").arg(action.shortcutName)});
                  }
              }
              return rows;
          },
          parent)
    , m_store(store) {
    model()->setMover([this](const QSet<qsizetype>& offsets, qsizetype destination) {
        m_store.moveActions(offsets, destination);
    });
    model()->setRenamer([this](int row, const QString& name) {
        if (row < m_store.actions().size())
            m_store.update(m_store.actions().at(row), name);
    });
    listView()->setReorderable(true);
    listView()->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
    setEmptyTexts(tr("还没有自定义动作"), platformText(PlatformText::customActionsEmpty));
    addSelectionButton(tr("移除"), [this](int row) { m_store.removeActions({row}); });
    addButton(tr("添加脚本"), [this] { m_store.addScriptAction(); });
    addButton(tr("添加快捷指令"), [this] { m_store.addAction(); });
    followPaths([this] {
        QStringList paths;
        for (const CustomShortcutAction& action : m_store.actions())
            paths.append(action.scriptPath);
        return paths;
    });
    connect(&m_store, &CustomShortcutActionStore::actionsChanged, this, &CustomShortcutActionSection::reload);
}
