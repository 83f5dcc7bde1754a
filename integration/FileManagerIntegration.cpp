#include "integration/FileManagerIntegration.h"

#include "catalogue/FeatureSettingsDefaults.h"
#include "integration/FileManagerMenuFiles.h"
#include "integration/KestroMenuModel.h"
#include "integration/ThunarActions.h"
#include "platform/DiagnosticLog.h"
#include "platform/KestroPaths.h"
#include "stores/CustomDestinationDefaults.h"

#include <algorithm>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QScopeGuard>
#include <QStandardPaths>

namespace {

using FileManager = FileManagerIntegration::FileManager;

const QFileDevice::Permissions privateFile = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
const QFileDevice::Permissions privateExecutable = privateFile | QFileDevice::ExeOwner;

QString switchedOffMarker() {
    return KestroPaths::applicationSupportDirectory() + QStringLiteral("/FileManagerIntegration.off");
}

// While refresh() runs on a thread, what it could not write, in the user's words.
thread_local QStringList* t_problems = nullptr;

// Whole or not at all. Folders Kestro creates for itself are private. A file that already holds these
// bytes is left as it is: a settings change then costs a write only where the menu changed.
bool writeFile(const QString& path, const QByteArray& bytes, QFileDevice::Permissions permissions) {
    QFile existing(path);
    if (existing.open(QIODevice::ReadOnly) && existing.size() == bytes.size() &&
        existing.readAll() == bytes &&
        (existing.permissions() & ~(QFileDevice::ReadUser | QFileDevice::WriteUser | QFileDevice::ExeUser)) ==
            permissions)
        return true;
    existing.close();
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() ||
        !file.setPermissions(permissions) || !file.commit()) {
        DiagnosticLog::append(
            QStringLiteral("file manager integration: cannot write %1: %2").arg(path, file.errorString()));
        if (t_problems)
            t_problems->append(QCoreApplication::translate("FileManagerIntegration", "无法写入“%1”：%2")
                                   .arg(path, file.errorString()));
        return false;
    }
    return true;
}

bool isGenerated(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) &&
           file.read(64 * 1024).contains(FileManagerMenuFiles::generatedMarker());
}

// Kestro's desktop entries in a folder: named kestro-*.desktop and marked as generated.
QStringList generatedFiles(const QString& folder) {
    QStringList files;
    for (const QString& name :
         QDir(folder).entryList({QStringLiteral("kestro-*.desktop")}, QDir::Files | QDir::Hidden)) {
        if (isGenerated(folder + QLatin1Char('/') + name))
            files.append(folder + QLatin1Char('/') + name);
    }
    return files;
}

// Replaces Kestro's desktop entries in the folder with these; files of the user's stay.
void writeGeneratedFiles(const QString& folder, const QList<FileManagerMenuFiles::GeneratedFile>& files,
                         QFileDevice::Permissions permissions) {
    QStringList stale = generatedFiles(folder);
    for (const FileManagerMenuFiles::GeneratedFile& file : files) {
        const QString path = folder + QLatin1Char('/') + file.fileName;
        stale.removeAll(path);
        // A file of the user's under our name is left alone.
        if (QFileInfo::exists(path) && !isGenerated(path)) {
            DiagnosticLog::append(
                QStringLiteral("file manager integration: left alone %1: not written by Kestro").arg(path));
            continue;
        }
        writeFile(path, file.bytes, permissions);
    }
    for (const QString& path : stale)
        QFile::remove(path);
}

void removeGeneratedFiles(const QString& folder) {
    for (const QString& path : generatedFiles(folder))
        QFile::remove(path);
}

QString pythonFolderOf(FileManager fileManager) {
    return fileManager == FileManager::nemo ? QStringLiteral("/nemo-python/extensions")
                                            : QStringLiteral("/nautilus-python/extensions");
}

// The module installed for every user; the file manager would load a user's copy beside it.
QString systemPythonExtension(FileManager fileManager) {
    for (const QString& folder : FileManagerIntegration::systemDataFolders()) {
        const QString path = folder + pythonFolderOf(fileManager) + QStringLiteral("/kestro_menu.py");
        if (QFileInfo::exists(path))
            return path;
    }
    return {};
}

// Names of Kestro's service menus installed for every user.
QStringList systemServiceMenus() {
    QStringList names;
    for (const QString& folder : FileManagerIntegration::systemDataFolders()) {
        for (const QString& path : generatedFiles(folder + QStringLiteral("/kio/servicemenus"))) {
            if (!names.contains(QFileInfo(path).fileName()))
                names.append(QFileInfo(path).fileName());
        }
    }
    return names;
}

// Dolphin takes the user's file over a system one of the same name: every system service menu the user's
// menu does not replace gets a file that hides it, so that no item shows twice or against the settings.
QList<FileManagerMenuFiles::GeneratedFile>
withSystemMenusHidden(QList<FileManagerMenuFiles::GeneratedFile> files) {
    for (const QString& name : systemServiceMenus()) {
        if (std::none_of(files.cbegin(), files.cend(), [&](const FileManagerMenuFiles::GeneratedFile& file) {
                return file.fileName == name;
            }))
            files.append({name, FileManagerMenuFiles::dolphinHidingFile()});
    }
    return files;
}

void removeUsersPythonExtension(FileManager fileManager);

std::optional<QByteArray> readThunarActions() {
    QFile file(FileManagerIntegration::thunarActionsPath());
    if (!file.exists())
        return QByteArray();
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

void mergeThunarActions(const QList<KestroMenuItem>& menu) {
    const QString path = FileManagerIntegration::thunarActionsPath();
    const std::optional<QByteArray> existing = readThunarActions();
    QString error;
    const std::optional<QByteArray> merged =
        existing ? ThunarActions::merged(*existing, menu, FileManagerIntegration::handoffPath(), error)
                 : std::nullopt;
    if (!merged) {
        DiagnosticLog::append(QStringLiteral("file manager integration: left %1 alone: %2")
                                  .arg(path, existing ? error : QStringLiteral("cannot read it")));
        return;
    }
    if (merged != existing)
        writeFile(path, *merged, QFileInfo::exists(path) ? QFileInfo(path).permissions() : privateFile);
}

QString programOf(FileManager fileManager) {
    switch (fileManager) {
    case FileManager::gnomeFiles:
        return QStringLiteral("nautilus");
    case FileManager::nemo:
        return QStringLiteral("nemo");
    case FileManager::dolphin:
        return QStringLiteral("dolphin");
    case FileManager::thunar:
        return QStringLiteral("thunar");
    case FileManager::pcmanfmQt:
        return QStringLiteral("pcmanfm-qt");
    }
    return {};
}

void writeFor(FileManager fileManager, const QList<KestroMenuItem>& fullMenu) {
    const QString handoff = FileManagerIntegration::handoffPath();
    // The Python module picks for itself from the full description; the others are given their own menu.
    const QList<KestroMenuItem> menu = KestroMenuModel::shownIn(fullMenu, programOf(fileManager));
    switch (fileManager) {
    case FileManager::gnomeFiles:
    case FileManager::nemo:
        if (!systemPythonExtension(fileManager).isEmpty()) {
            removeUsersPythonExtension(fileManager);
            break;
        }
        writeFile(
            FileManagerIntegration::pythonExtensionPath(fileManager),
            FileManagerMenuFiles::pythonExtension(handoff, FileManagerIntegration::menuDescriptionPath()),
            privateFile);
        break;
    case FileManager::dolphin:
        // Dolphin runs service menus only when they are executable.
        writeGeneratedFiles(FileManagerIntegration::dolphinFolder(),
                            withSystemMenusHidden(FileManagerMenuFiles::dolphinServiceMenus(menu, handoff)),
                            privateExecutable);
        break;
    case FileManager::pcmanfmQt:
        writeGeneratedFiles(FileManagerIntegration::pcmanfmFolder(),
                            FileManagerMenuFiles::pcmanfmActions(menu, handoff), privateFile);
        break;
    case FileManager::thunar:
        mergeThunarActions(menu);
        break;
    }
}

// The folder, and its parents up to the data or configuration home, while they are empty: the folders
// Kestro made for its files go with them, and a folder that holds anything else stays.
void removeEmptyFolders(const QString& folder) {
    QDir dir(folder);
    while (dir.exists() && dir.absolutePath() != QDir(KestroPaths::dataHome()).absolutePath() &&
           dir.absolutePath() != QDir(KestroPaths::configHome()).absolutePath() &&
           dir.isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot)) {
        const QString name = dir.dirName();
        if (!dir.cdUp() || !dir.rmdir(name))
            return;
    }
}

void removeUsersPythonExtension(FileManager fileManager) {
    const QString path = FileManagerIntegration::pythonExtensionPath(fileManager);
    if (!QFileInfo::exists(path))
        return;
    QFile::remove(path);
    // Python's compiled copy of the module, if the file manager made one.
    QDir(QFileInfo(path).absolutePath() + QStringLiteral("/__pycache__")).removeRecursively();
    removeEmptyFolders(QFileInfo(path).absolutePath());
}

void removeFor(FileManager fileManager) {
    switch (fileManager) {
    case FileManager::gnomeFiles:
    case FileManager::nemo:
        // A system module shows nothing once the user's menu description is gone.
        removeUsersPythonExtension(fileManager);
        break;
    case FileManager::dolphin:
        writeGeneratedFiles(FileManagerIntegration::dolphinFolder(), withSystemMenusHidden({}),
                            privateExecutable);
        removeEmptyFolders(FileManagerIntegration::dolphinFolder());
        break;
    case FileManager::pcmanfmQt:
        removeGeneratedFiles(FileManagerIntegration::pcmanfmFolder());
        removeEmptyFolders(FileManagerIntegration::pcmanfmFolder());
        break;
    case FileManager::thunar: {
        const std::optional<QByteArray> existing = readThunarActions();
        if (!existing || existing->isEmpty() || !ThunarActions::containsKestroActions(*existing))
            return;
        QString error;
        const std::optional<QByteArray> without =
            ThunarActions::merged(*existing, {}, FileManagerIntegration::handoffPath(), error);
        if (!without)
            return;
        // A file Kestro made and nothing else was ever added to goes altogether.
        if (*without == ThunarActions::merged({}, {}, {}, error)) {
            QFile::remove(FileManagerIntegration::thunarActionsPath());
            removeEmptyFolders(QFileInfo(FileManagerIntegration::thunarActionsPath()).absolutePath());
        } else
            writeFile(FileManagerIntegration::thunarActionsPath(), *without,
                      QFileInfo(FileManagerIntegration::thunarActionsPath()).permissions());
        break;
    }
    }
}

} // namespace

QList<FileManager> FileManagerIntegration::all() {
    return {FileManager::gnomeFiles, FileManager::nemo, FileManager::dolphin, FileManager::thunar,
            FileManager::pcmanfmQt};
}

QString FileManagerIntegration::displayName(FileManager fileManager) {
    switch (fileManager) {
    case FileManager::gnomeFiles:
        return QCoreApplication::translate("FileManagerIntegration", "GNOME 文件");
    case FileManager::nemo:
        return QStringLiteral("Nemo");
    case FileManager::dolphin:
        return QStringLiteral("Dolphin");
    case FileManager::thunar:
        return QStringLiteral("Thunar");
    case FileManager::pcmanfmQt:
        return QStringLiteral("PCManFM-Qt");
    }
    return {};
}

bool FileManagerIntegration::isInstalled(FileManager fileManager) {
    return !QStandardPaths::findExecutable(programOf(fileManager)).isEmpty();
}

bool FileManagerIntegration::isIntegrated(FileManager fileManager) {
    switch (fileManager) {
    case FileManager::gnomeFiles:
    case FileManager::nemo:
        return QFileInfo::exists(pythonExtensionPath(fileManager)) ||
               (!systemPythonExtension(fileManager).isEmpty() && QFileInfo::exists(menuDescriptionPath()));
    case FileManager::dolphin: {
        const QStringList ours = generatedFiles(dolphinFolder());
        const QStringList system = systemServiceMenus();
        return std::any_of(ours.cbegin(), ours.cend(),
                           [](const QString& path) {
                               QFile file(path);
                               return file.open(QIODevice::ReadOnly) &&
                                      !FileManagerMenuFiles::isDolphinHidingFile(file.readAll());
                           }) ||
               std::any_of(system.cbegin(), system.cend(), [](const QString& name) {
                   return !QFileInfo::exists(dolphinFolder() + QLatin1Char('/') + name);
               });
    }
    case FileManager::pcmanfmQt:
        return !generatedFiles(pcmanfmFolder()).isEmpty();
    case FileManager::thunar: {
        const std::optional<QByteArray> existing = readThunarActions();
        return existing && ThunarActions::containsKestroActions(*existing);
    }
    }
    return false;
}

QList<FileManagerIntegration::Status> FileManagerIntegration::status() {
    QList<Status> result;
    for (FileManager fileManager : all())
        result.append(
            {fileManager, displayName(fileManager), isInstalled(fileManager), isIntegrated(fileManager)});
    return result;
}

QStringList FileManagerIntegration::refresh() {
    if (isSwitchedOff())
        return {};
    QStringList problems;
    t_problems = &problems;
    const auto done = qScopeGuard([] { t_problems = nullptr; });
    const QList<KestroMenuItem> menu = KestroMenuModel::build(KestroMenuInput::saved());
    // The folder holds the requests of the user's own clicks: nobody else may write there.
    QDir().mkpath(KestroPaths::extensionDirectory());
    QFile::setPermissions(KestroPaths::extensionDirectory(), privateExecutable);
    writeFile(menuDescriptionPath(), KestroMenuModel::toJson(menu), privateFile);
    // The "Kestro" entry names its icon; the user's own icon theme is where every file manager finds it.
    QFile icon(QStringLiteral(":/kestro/integration/kestro.svg"));
    if (icon.open(QIODevice::ReadOnly))
        writeFile(iconPath(), icon.readAll(), privateFile);
    for (FileManager fileManager : all()) {
        if (isInstalled(fileManager))
            writeFor(fileManager, menu);
    }
    return problems;
}

QStringList FileManagerIntegration::install() {
    QFile::remove(switchedOffMarker());
    return refresh();
}

void FileManagerIntegration::uninstall() {
    writeFile(switchedOffMarker(), QByteArray(), privateFile);
    for (FileManager fileManager : all())
        removeFor(fileManager);
    QFile::remove(menuDescriptionPath());
    QFile::remove(iconPath());
    removeEmptyFolders(QFileInfo(iconPath()).absolutePath());
}

bool FileManagerIntegration::isSwitchedOff() {
    return QFileInfo::exists(switchedOffMarker());
}

bool FileManagerIntegration::writeSystemFiles(const QString& dataFolder, const QString& handoff) {
    KestroMenuInput defaults;
    defaults.settings = FeatureSettingsDefaults::settings();
    defaults.destinations = CustomDestinationDefaults::normalized({});
    const QList<KestroMenuItem> menu = KestroMenuModel::build(defaults);
    const QFileDevice::Permissions readable = privateFile | QFileDevice::ReadGroup | QFileDevice::ReadOther;
    bool written = true;
    for (const FileManagerMenuFiles::GeneratedFile& file : FileManagerMenuFiles::dolphinServiceMenus(
             KestroMenuModel::shownIn(menu, programOf(FileManager::dolphin)), handoff))
        written &= writeFile(dataFolder + QStringLiteral("/kio/servicemenus/") + file.fileName, file.bytes,
                             readable);
    for (FileManager fileManager : {FileManager::gnomeFiles, FileManager::nemo})
        written &= writeFile(dataFolder + pythonFolderOf(fileManager) + QStringLiteral("/kestro_menu.py"),
                             FileManagerMenuFiles::pythonExtension(handoff, {}), readable);
    return written;
}

QStringList FileManagerIntegration::systemDataFolders() {
    QString value = qEnvironmentVariable("XDG_DATA_DIRS");
    if (value.isEmpty())
        value = QStringLiteral("/usr/local/share:/usr/share");
    QStringList folders;
    for (const QString& folder : value.split(QLatin1Char(':'), Qt::SkipEmptyParts)) {
        if (QDir::isAbsolutePath(folder))
            folders.append(QDir::cleanPath(folder));
    }
    return folders;
}

QString FileManagerIntegration::handoffPath() {
    const QString configured = qEnvironmentVariable("KESTRO_HANDOFF");
    if (!configured.isEmpty())
        return configured;
    return QCoreApplication::applicationDirPath() + QStringLiteral("/kestro-handoff");
}

QString FileManagerIntegration::menuDescriptionPath() {
    return KestroPaths::extensionDirectory() + QStringLiteral("/FileManagerMenu.json");
}

QString FileManagerIntegration::pythonExtensionPath(FileManager fileManager) {
    return KestroPaths::dataHome() + pythonFolderOf(fileManager) + QStringLiteral("/kestro_menu.py");
}

QString FileManagerIntegration::iconPath() {
    return KestroPaths::dataHome() + QStringLiteral("/icons/hicolor/scalable/apps/kestro.svg");
}

QString FileManagerIntegration::dolphinFolder() {
    return KestroPaths::dataHome() + QStringLiteral("/kio/servicemenus");
}

QString FileManagerIntegration::pcmanfmFolder() {
    return KestroPaths::dataHome() + QStringLiteral("/file-manager/actions");
}

QString FileManagerIntegration::thunarActionsPath() {
    return KestroPaths::configHome() + QStringLiteral("/Thunar/uca.xml");
}
