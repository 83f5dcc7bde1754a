#include "platform/linux/LinuxWorkspace.h"

#include "platform/KestroError.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QFileInfo>
#include <QGuiApplication>
#include <QProcess>
#include <QSet>

bool LinuxWorkspace::openUrl(const QUrl& url)
{
    bool opened = false;
    runOnMainThread([&] {
        // QDesktopServices needs a GUI application; a bare core process asks xdg-open itself.
        if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
            opened = QDesktopServices::openUrl(url);
        else
            opened = QProcess::startDetached(QStringLiteral("xdg-open"), {url.toString(QUrl::FullyEncoded)});
    });
    return opened;
}

void LinuxWorkspace::selectItems(const QStringList& paths)
{
    if (paths.isEmpty())
        return;
    QStringList uris;
    for (const QString& path : paths)
        uris.append(QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded));
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << uris << QString();
    const QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, 5000);
    if (reply.type() == QDBusMessage::ReplyMessage)
        return;
    // No file manager answers on the bus: open each parent folder instead.
    QSet<QString> opened;
    for (const QString& path : paths) {
        const QString parent = QFileInfo(path).absolutePath();
        if (!opened.contains(parent)) {
            opened.insert(parent);
            openUrl(QUrl::fromLocalFile(parent));
        }
    }
}

void LinuxWorkspace::openWithApplication(const QString& applicationPath, const QStringList& paths)
{
    if (!QProcess::startDetached(applicationPath, paths))
        throw PlatformError(QCoreApplication::translate("LinuxWorkspace", "无法启动应用：%1").arg(applicationPath));
}

QString LinuxWorkspace::applicationPath(const QString&) { return {}; }

void LinuxWorkspace::openTerminal(const QString& directory)
{
    QProcess process;
    process.setProgram(QStringLiteral("x-terminal-emulator"));
    process.setWorkingDirectory(directory);
    if (!process.startDetached())
        throw PlatformError(QCoreApplication::translate("LinuxWorkspace", "无法启动终端。"));
}

std::shared_ptr<Workspace> createSystemWorkspace() { return std::make_shared<LinuxWorkspace>(); }
