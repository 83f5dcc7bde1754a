#include "settings-ui/ScheduledDeletionSection.h"

#include "platform/PlatformWords.h"
#include "stores/ScheduledDeletionListStore.h"

#include <QFileInfo>
#include <QLocale>

ScheduledDeletionSection::ScheduledDeletionSection(ScheduledDeletionListStore& store, QWidget* parent)
    : UserListSection(
          tr("等待清理的文件"),
          [&store] {
              QList<UserListModel::Row> rows;
              for (const ScheduledDeletionItem& item : store.items()) {
                  const QFileInfo info(item.path);
                  const QString name = info.fileName().isEmpty() ? item.path : info.fileName();
                  const QString when =
                      item.deleteAt.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm"));
                  rows.append({name, platformText(PlatformText::scheduledDeletionRow)
                                         .arg(UserListModel::displayPath(item.path), when)});
              }
              return rows;
          },
          parent)
    , m_store(store) {
    setEmptyTexts(tr("暂无定时清理项目"));
    addSelectionButton(tr("取消清理"), [this](int row) {
        if (row < m_store.items().size())
            m_store.cancel(m_store.items().at(row));
    });
    connect(&m_store, &ScheduledDeletionListStore::itemsChanged, this, &ScheduledDeletionSection::reload);
}
