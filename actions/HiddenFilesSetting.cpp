#include "actions/HiddenFilesSetting.h"

#include "actions/ProcessRunner.h"
#include "platform/FinderActionExecutionError.h"

#include <QCoreApplication>
#include <QStandardPaths>

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("HiddenFilesSetting", text);
}

// Looked up at each use, so the PATH in force at that moment decides.
QString gsettingsTool() {
    return QStandardPaths::findExecutable(QStringLiteral("gsettings"));
}

FinderActionExecutionError unavailable(HiddenFilesSetting::FileManager fileManager) {
    return FinderActionExecutionError::commandFailed(
        fileManager == HiddenFilesSetting::FileManager::nemo
            ? tr("文件管理器的隐藏文件设置不可用：没有找到 Nemo 使用的 gsettings 设置。")
            : tr("文件管理器的隐藏文件设置不可用：没有找到 GNOME 文件（Nautilus）使用的 gsettings 设置。"));
}

QStringList outputLines(const QString& tool, const QStringList& arguments) {
    return ProcessRunner::runProcessOutput(tool, arguments).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

bool readValue(const QString& tool, const HiddenFilesSetting::Key& key) {
    const QString value = ProcessRunner::runProcessOutput(tool, {QStringLiteral("get"), key.schema, key.name})
                              .trimmed()
                              .toLower();
    return value == QLatin1String("true");
}

} // namespace

QList<HiddenFilesSetting::Key> HiddenFilesSetting::candidateKeys(FileManager fileManager) {
    if (fileManager == FileManager::nemo)
        return {{QStringLiteral("org.nemo.preferences"), QStringLiteral("show-hidden-files")}};
    return {
        {QStringLiteral("org.gtk.gtk4.Settings.FileChooser"), QStringLiteral("show-hidden")},
        {QStringLiteral("org.gtk.Settings.FileChooser"), QStringLiteral("show-hidden")},
        {QStringLiteral("org.gnome.nautilus.preferences"), QStringLiteral("show-hidden-files")},
    };
}

QList<HiddenFilesSetting::Key> HiddenFilesSetting::installedKeys(FileManager fileManager) {
    const QString tool = gsettingsTool();
    if (tool.isEmpty())
        return {};
    QStringList schemas;
    for (const QString& line : outputLines(tool, {QStringLiteral("list-schemas")}))
        schemas.append(line.trimmed());
    QList<Key> installed;
    for (const Key& key : candidateKeys(fileManager)) {
        if (!schemas.contains(key.schema))
            continue;
        QStringList keys;
        for (const QString& line : outputLines(tool, {QStringLiteral("list-keys"), key.schema}))
            keys.append(line.trimmed());
        if (keys.contains(key.name))
            installed.append(key);
    }
    return installed;
}

bool HiddenFilesSetting::isShowingHiddenFiles(FileManager fileManager) {
    try {
        const QList<Key> keys = installedKeys(fileManager);
        return !keys.isEmpty() && readValue(gsettingsTool(), keys.first());
    } catch (const std::exception&) {
        return false;
    }
}

void HiddenFilesSetting::toggle(FileManager fileManager) {
    QList<Key> keys;
    try {
        keys = installedKeys(fileManager);
    } catch (const std::exception&) {
        throw unavailable(fileManager);
    }
    if (keys.isEmpty())
        throw unavailable(fileManager);
    const QString tool = gsettingsTool();
    const bool show = !isShowingHiddenFiles(fileManager);
    for (const Key& key : keys)
        ProcessRunner::runProcess(tool, {QStringLiteral("set"), key.schema, key.name,
                                         show ? QStringLiteral("true") : QStringLiteral("false")});
    // Without a settings store (no dconf) gsettings keeps values in memory only and forgets them on exit.
    if (readValue(tool, keys.first()) != show)
        throw FinderActionExecutionError::commandFailed(
            tr("文件管理器的隐藏文件设置没有保存下来：gsettings 无法写入设置（可能缺少 dconf）。"));
}
