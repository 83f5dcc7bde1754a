#include "stores/ScheduledDeletionPersistence.h"

#include "platform/KestroError.h"
#include "platform/KestroPaths.h"
#include "platform/PropertyListFile.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QVariant>

namespace {
std::optional<ScheduledDeletionItem> itemFromVariant(const QVariant& value) {
    if (value.typeId() != QMetaType::QVariantMap)
        return std::nullopt;
    const QVariantMap map = value.toMap();
    const QVariant id = map.value(QStringLiteral("id"));
    const QVariant path = map.value(QStringLiteral("path"));
    const QVariant scheduledAt = map.value(QStringLiteral("scheduledAt"));
    const QVariant deleteAt = map.value(QStringLiteral("deleteAt"));
    if (id.typeId() != QMetaType::QString || path.typeId() != QMetaType::QString ||
        scheduledAt.typeId() != QMetaType::QDateTime || deleteAt.typeId() != QMetaType::QDateTime ||
        path.toString().isEmpty())
        return std::nullopt;
    ScheduledDeletionItem item{id.toString(), path.toString(), scheduledAt.toDateTime(),
                               deleteAt.toDateTime()};
    const QVariant device = map.value(QStringLiteral("device"));
    const QVariant inode = map.value(QStringLiteral("inode"));
    if (device.typeId() == QMetaType::LongLong && inode.typeId() == QMetaType::LongLong) {
        item.device = device.toULongLong();
        item.inode = inode.toULongLong();
        const QVariant birth = map.value(QStringLiteral("birth"));
        item.birth = birth.typeId() == QMetaType::LongLong ? birth.toLongLong() : 0;
    }
    return item;
}
} // namespace

QString ScheduledDeletionPersistence::fileName() {
    return QStringLiteral("ScheduledDeletions.plist");
}

QString ScheduledDeletionPersistence::fileURL() {
    return KestroPaths::applicationSupportDirectory() + QLatin1Char('/') + fileName();
}

QList<ScheduledDeletionItem> ScheduledDeletionPersistence::load() {
    bool ignored = false;
    return load(ignored);
}

QList<ScheduledDeletionItem> ScheduledDeletionPersistence::load(bool& leftSomethingOut) {
    leftSomethingOut = false;
    const QString path = fileURL();
    if (!QFileInfo::exists(path) && !QFileInfo(path).isSymLink())
        return {};
    const std::optional<QVariant> root = PropertyListFile::read(path);
    if (!root || root->typeId() != QMetaType::QVariantList)
        throw PlatformError(
            QCoreApplication::translate("ScheduledDeletion", "计划删除列表无法读取：%1").arg(path));
    QList<ScheduledDeletionItem> items;
    for (const QVariant& value : root->toList()) {
        if (const std::optional<ScheduledDeletionItem> item = itemFromVariant(value))
            items.append(*item);
        else
            leftSomethingOut = true;
    }
    return items;
}

void ScheduledDeletionPersistence::save(const QList<ScheduledDeletionItem>& items) {
    QVariantList list;
    list.reserve(items.size());
    for (const ScheduledDeletionItem& item : items) {
        list.append(QVariantMap{
            {QStringLiteral("id"), item.id},
            {QStringLiteral("path"), item.path},
            {QStringLiteral("scheduledAt"), item.scheduledAt},
            {QStringLiteral("deleteAt"), item.deleteAt},
            {QStringLiteral("device"), item.device},
            {QStringLiteral("inode"), item.inode},
            {QStringLiteral("birth"), item.birth},
        });
    }
    if (!PropertyListFile::write(fileURL(), list))
        throw PlatformError(
            QCoreApplication::translate("ScheduledDeletion", "计划删除列表无法保存：%1").arg(fileURL()));
}
