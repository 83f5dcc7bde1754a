#include "platform/linux/AutostartLoginItems.h"

#include "platform/KestroError.h"
#include "platform/KestroPaths.h"
#include "platform/Platform.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSaveFile>

QString AutostartLoginItems::entryPath() {
    return KestroPaths::autostartDirectory() + QStringLiteral("/kestro.desktop");
}

bool AutostartLoginItems::isEnabled() {
    QFile file(entryPath());
    if (!file.open(QIODevice::ReadOnly))
        return false;
    // A user who turned the entry off in the desktop's own settings left "Hidden=true" behind.
    const QByteArray contents = file.readAll();
    return !contents.contains("\nHidden=true") && !contents.contains("\nX-GNOME-Autostart-enabled=false");
}

void AutostartLoginItems::setEnabled(bool enabled) {
    const QString path = entryPath();
    if (!enabled) {
        if (QFile::exists(path) && !QFile::remove(path))
            throw PlatformError(
                QCoreApplication::translate("AutostartLoginItems", "无法移除登录启动项：%1").arg(path));
        return;
    }
    QString executable = QCoreApplication::applicationFilePath();
    if (executable.isEmpty())
        executable = QStringLiteral("kestro");
    executable.replace(QLatin1Char('\\'), QStringLiteral("\\\\"))
        .replace(QLatin1Char('"'), QStringLiteral("\\\""));
    const QByteArray entry = QStringLiteral("[Desktop Entry]\n"
                                            "Type=Application\n"
                                            "Name=Kestro\n"
                                            "Exec=\"%1\" --login-item\n"
                                            "Icon=kestro\n"
                                            "NoDisplay=true\n"
                                            "X-GNOME-Autostart-enabled=true\n")
                                 .arg(executable)
                                 .toUtf8();
    QSaveFile file(path);
    if (!QDir().mkpath(KestroPaths::autostartDirectory()) || !file.open(QIODevice::WriteOnly) ||
        file.write(entry) != entry.size() || !file.commit())
        throw PlatformError(
            QCoreApplication::translate("AutostartLoginItems", "无法写入登录启动项：%1").arg(path));
}

std::shared_ptr<LoginItems> createSystemLoginItems() {
    return std::make_shared<AutostartLoginItems>();
}
