#include "platform/PropertyListFile.h"

#include "platform/KestroPaths.h"
#include "platform/PropertyListShape.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QSaveFile>
#include <QTimeZone>

#include <plist/plist.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace {

// Property-list dates count seconds from 2001-01-01 00:00:00 UTC.
const QDateTime referenceDate(QDate(2001, 1, 1), QTime(0, 0), QTimeZone::utc());

struct PlistDeleter {
    void operator()(void* node) const { plist_free(static_cast<plist_t>(node)); }
};
using PlistPointer = std::unique_ptr<void, PlistDeleter>;

// The shape check has already bounded the depth; the guard keeps this recursion safe on its own.
struct TooDeep {};

QVariant toVariant(plist_t node, int depth = 0) {
    if (depth > PropertyListShape::maximumDepth + 1)
        throw TooDeep();
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return bool(value);
    }
    case PLIST_UINT: {
        uint64_t value = 0;
        plist_get_uint_val(node, &value);
        // Negative integers arrive as their two's-complement bit pattern.
        return qint64(value);
    }
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return value;
    }
    case PLIST_STRING: {
        // Not plist_get_string_val: it asserts (and so aborts) on a string holding a NUL character.
        uint64_t length = 0;
        const char* value = plist_get_string_ptr(node, &length);
        return QString::fromUtf8(value ? value : "", value ? qsizetype(length) : 0);
    }
    case PLIST_DATA: {
        char* value = nullptr;
        uint64_t length = 0;
        plist_get_data_val(node, &value, &length);
        QByteArray bytes(value ? value : "", value ? qsizetype(length) : 0);
        std::free(value);
        return bytes;
    }
    case PLIST_DATE: {
        int32_t seconds = 0;
        int32_t microseconds = 0;
        plist_get_date_val(node, &seconds, &microseconds);
        return referenceDate.addMSecs(qint64(seconds) * 1000 + microseconds / 1000);
    }
    case PLIST_ARRAY: {
        QVariantList list;
        const uint32_t count = plist_array_get_size(node);
        for (uint32_t index = 0; index < count; ++index)
            list.append(toVariant(plist_array_get_item(node, index), depth + 1));
        return list;
    }
    case PLIST_DICT: {
        QVariantMap map;
        plist_dict_iter iterator = nullptr;
        plist_dict_new_iter(node, &iterator);
        const std::unique_ptr<void, decltype(&std::free)> iteratorOwner(iterator, &std::free);
        for (;;) {
            char* key = nullptr;
            plist_t value = nullptr;
            plist_dict_next_item(node, iterator, &key, &value);
            const QString name = QString::fromUtf8(key ? key : "");
            std::free(key);
            if (!value)
                break;
            map.insert(name, toVariant(value, depth + 1));
        }
        return map;
    }
    default:
        return {};
    }
}

plist_t fromVariant(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
        return plist_new_bool(value.toBool() ? 1 : 0);
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::UInt:
    case QMetaType::ULongLong:
        return plist_new_uint(uint64_t(value.toLongLong()));
    case QMetaType::Double:
    case QMetaType::Float:
        return plist_new_real(value.toDouble());
    case QMetaType::QByteArray: {
        const QByteArray bytes = value.toByteArray();
        return plist_new_data(bytes.constData(), uint64_t(bytes.size()));
    }
    case QMetaType::QDateTime: {
        const qint64 milliseconds = referenceDate.msecsTo(value.toDateTime());
        return plist_new_date(int32_t(milliseconds / 1000), int32_t((milliseconds % 1000) * 1000));
    }
    case QMetaType::QVariantList:
    case QMetaType::QStringList: {
        plist_t array = plist_new_array();
        for (const QVariant& item : value.toList())
            plist_array_append_item(array, fromVariant(item));
        return array;
    }
    case QMetaType::QVariantMap: {
        plist_t dictionary = plist_new_dict();
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            plist_dict_set_item(dictionary, it.key().toUtf8().constData(), fromVariant(it.value()));
        return dictionary;
    }
    default:
        return plist_new_string(value.toString().toUtf8().constData());
    }
}

} // namespace

std::optional<QVariant> PropertyListFile::parse(const QByteArray& bytes) {
    // libplist recurses on nesting and expands shared objects: what it could not parse safely is refused
    // before it sees it.
    if (bytes.isEmpty() || !PropertyListShape::isWithinLimits(bytes))
        return std::nullopt;
    plist_t root = nullptr;
    if (plist_is_binary(bytes.constData(), uint32_t(bytes.size())))
        plist_from_bin(bytes.constData(), uint32_t(bytes.size()), &root);
    else
        plist_from_xml(bytes.constData(), uint32_t(bytes.size()), &root);
    if (!root)
        return std::nullopt;
    PlistPointer owner(root);
    try {
        return toVariant(root);
    } catch (const TooDeep&) {
        return std::nullopt;
    }
}

std::optional<QVariant> PropertyListFile::read(const QString& path) {
    // Only a regular file of a sensible size is read: a pipe would block, a huge file would fill memory.
    const QFileInfo info(path);
    if (!info.isFile() || info.size() > PropertyListShape::maximumFileSize)
        return std::nullopt;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    // As much as the file said it held, and one byte more to notice one that grew since: a read of the
    // whole limit would claim that much memory for every file.
    const QByteArray bytes = file.read(std::min(info.size(), PropertyListShape::maximumFileSize) + 1);
    return parse(bytes);
}

QByteArray PropertyListFile::toXml(const QVariant& value) {
    PlistPointer root(fromVariant(value));
    char* xml = nullptr;
    uint32_t length = 0;
    plist_to_xml(static_cast<plist_t>(root.get()), &xml, &length);
    QByteArray bytes(xml ? xml : "", xml ? qsizetype(length) : 0);
    std::free(xml);
    return bytes;
}

bool PropertyListFile::write(const QString& path, const QVariant& value) {
    return writeBytes(path, toXml(value));
}

namespace {

QMutex observerLock;
std::function<void(const QString&, const QString&)> writeFailureObserver;

bool failed(const QString& path, const QString& reason) {
    std::function<void(const QString&, const QString&)> observer;
    {
        const QMutexLocker locker(&observerLock);
        observer = writeFailureObserver;
    }
    if (observer)
        observer(path, reason);
    return false;
}

} // namespace

void PropertyListFile::setWriteFailureObserver(std::function<void(const QString&, const QString&)> observer) {
    const QMutexLocker locker(&observerLock);
    writeFailureObserver = std::move(observer);
}

bool PropertyListFile::writeBytes(const QString& path, const QByteArray& bytes) {
    if (bytes.isEmpty())
        return false;
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return failed(path, QCoreApplication::translate("PropertyListFile", "无法创建文件夹“%1”。")
                                .arg(QFileInfo(path).absolutePath()));
    // A file that already holds these bytes stays as it is: every start saves the lists it loaded, and
    // syncing unchanged files to a busy disk was most of the host's start-up.
    // One that others may write is written anew, which also gives it the usual permissions again.
    QFile existing(path);
    if (QFileInfo(path).isFile() && existing.size() == bytes.size() &&
        !(existing.permissions() & (QFileDevice::WriteGroup | QFileDevice::WriteOther)) &&
        existing.open(QIODevice::ReadOnly) && existing.readAll() == bytes)
        return true;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        return failed(path, file.errorString());
    return true;
}

bool PropertyListFile::writeBothCopies(const QString& fileName, const QVariant& value) {
    const QByteArray bytes = toXml(value);
    const bool written =
        writeBytes(KestroPaths::applicationSupportDirectory() + QLatin1Char('/') + fileName, bytes);
    writeBytes(KestroPaths::extensionDirectory() + QLatin1Char('/') + fileName, bytes);
    return written;
}
