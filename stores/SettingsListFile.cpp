#include "stores/SettingsListFile.h"

#include "catalogue/KestroSettingsChangeNotifier.h"
#include "platform/PropertyListFile.h"

#include <QFileInfo>

std::optional<QVariant> SettingsListFile::read(const QString& fileName, bool& leftSomethingOut) {
    const QString path = StoredFileBackup::settingsFilePath(fileName);
    const std::optional<QVariant> root = PropertyListFile::read(path);
    leftSomethingOut = !root && QFileInfo::exists(path);
    return root;
}

void SettingsListFile::save(const QString& fileName, const QVariant& root, const QString& changeReason) {
    try {
        PropertyListFile::writeBothCopies(fileName, root);
        KestroSettingsChangeNotifier::post(changeReason);
    } catch (...) {
    }
}

bool SettingsListFile::isString(const QVariant& value) {
    return value.typeId() == QMetaType::QString;
}
