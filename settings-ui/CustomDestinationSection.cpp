#include "settings-ui/CustomDestinationSection.h"

#include "settings-ui/FittedListView.h"
#include "stores/CustomDestinationStore.h"

#include <QFileInfo>

CustomDestinationSection::CustomDestinationSection(CustomDestinationStore& store, CustomDestinationKind kind,
                                                   QWidget* parent)
    : UserListSection(
          CustomDestinationKinds::sectionTitle(kind),
          [&store, kind] {
              QList<UserListModel::Row> rows;
              for (const CustomDestination& destination : store.destinations(kind)) {
                  const bool exists = QFileInfo::exists(destination.path);
                  rows.append({destination.name,
                               exists ? UserListModel::displayPath(destination.path)
                                      : tr("已不存在：%1").arg(UserListModel::displayPath(destination.path)),
                               !exists});
              }
              return rows;
          },
          parent)
    , m_store(store)
    , m_kind(kind) {
    model()->setMover([this](const QSet<qsizetype>& offsets, qsizetype destination) {
        m_store.moveDestinations(m_kind, offsets, destination);
    });
    listView()->setReorderable(true);
    setEmptyTexts(tr("列表为空"));
    addSelectionButton(tr("移除"), [this](int row) { m_store.removeDestinations(m_kind, {row}); });
    addButton(CustomDestinationKinds::addButtonTitle(kind), [this] { m_store.addDestination(m_kind); });
    followPaths([this] {
        QStringList paths;
        for (const CustomDestination& destination : m_store.destinations(m_kind))
            paths.append(destination.path);
        return paths;
    });
    connect(&m_store, &CustomDestinationStore::destinationsChanged, this,
            [this](CustomDestinationKind changed) {
                if (changed == m_kind)
                    reload();
            });
}
