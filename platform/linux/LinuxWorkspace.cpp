// GIO first: its headers use the word "signals", which Qt defines as a macro.
#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include "platform/linux/LinuxWorkspace.h"

#include "platform/DiagnosticLog.h"
#include "platform/KestroError.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("LinuxWorkspace", text);
}

// A run without a graphical session (no X or Wayland display, or Qt's offscreen or minimal platform) starts
// no desktop program: nothing would show, and a headless job must leave no window or file manager behind.
bool hasDesktop() {
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        const QString platform = QGuiApplication::platformName();
        if (platform == QLatin1String("offscreen") || platform == QLatin1String("minimal"))
            return false;
    }
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

bool isDesktopEntry(const QString& path) {
    return path.endsWith(QLatin1String(".desktop"));
}

// Starts a desktop entry with the files; GIO expands its Exec line's field codes (%f, %F, %u, %U) and
// quotes every path itself, so nothing is ever read by a shell.
void launchDesktopEntry(const QString& entryPath, const QStringList& paths) {
    GDesktopAppInfo* info = g_desktop_app_info_new_from_filename(QFile::encodeName(entryPath).constData());
    if (!info)
        throw PlatformError(tr("无法读取应用的桌面项：%1").arg(entryPath));
    GList* files = nullptr;
    for (const QString& path : paths)
        files = g_list_append(files, g_file_new_for_path(QFile::encodeName(path).constData()));
    GError* error = nullptr;
    const gboolean launched = g_app_info_launch(G_APP_INFO(info), files, nullptr, &error);
    g_list_free_full(files, g_object_unref);
    g_object_unref(info);
    if (!launched) {
        const QString message = error ? QString::fromUtf8(error->message) : QString();
        if (error)
            g_error_free(error);
        throw PlatformError(tr("无法启动应用“%1”：%2").arg(entryPath, message));
    }
}

void startProgram(const QString& program, const QStringList& arguments, const QString& workingDirectory,
                  const char* failureMessage) {
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    process.setWorkingDirectory(workingDirectory);
    process.setStandardInputFile(QProcess::nullDevice());
    if (!process.startDetached())
        throw PlatformError(tr(failureMessage).arg(program, process.errorString()));
}

// The terminals tried after $TERMINAL and Debian's x-terminal-emulator alternative.
const char* const commonTerminals[] = {"gnome-terminal", "konsole", "xfce4-terminal", "mate-terminal",
                                       "lxterminal",     "tilix",   "terminator",     "alacritty",
                                       "kitty",          "wezterm", "foot",           "xterm"};

} // namespace

bool LinuxWorkspace::openUrl(const QUrl& url) {
    if (!hasDesktop()) {
        DiagnosticLog::append(QStringLiteral("not opened without a desktop: ") + url.toString());
        return false;
    }
    // xdg-open starts whether or not something handles the link (a mailto: link with no mail program
    // installed), so a missing handler is found here and reported instead of dropped in silence. Web links
    // are left to xdg-open, which also honours $BROWSER.
    const QString scheme = url.scheme();
    if (!url.isLocalFile() && scheme != QLatin1String("http") && scheme != QLatin1String("https")) {
        GAppInfo* handler = g_app_info_get_default_for_uri_scheme(scheme.toUtf8().constData());
        if (!handler)
            return false;
        g_object_unref(handler);
    }
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

void LinuxWorkspace::selectItems(const QStringList& paths) {
    if (paths.isEmpty() || !hasDesktop())
        return;
    QStringList uris;
    for (const QString& path : paths)
        uris.append(QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded));
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << uris << QString();
    // Only a file manager already running answers: activating the name would start whichever one installed
    // it, with a new window, beside the one the user works in. Without one, nothing is shown.
    call.setAutoStartService(false);
    const QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, 5000);
    if (reply.type() != QDBusMessage::ReplyMessage)
        DiagnosticLog::append(QStringLiteral("not revealed: no file manager shows items here: ") +
                              reply.errorMessage());
}

void LinuxWorkspace::openWithApplication(const QString& applicationPath, const QStringList& paths) {
    if (!hasDesktop())
        throw PlatformError(tr("没有图形桌面，无法启动应用“%1”。").arg(applicationPath));
    const QFileInfo application(applicationPath);
    if (application.isFile() && isDesktopEntry(applicationPath)) {
        launchDesktopEntry(applicationPath, paths);
        return;
    }
    if (application.isFile() && application.isExecutable()) {
        // The paths are absolute, so none of them can be taken for an option.
        startProgram(applicationPath, paths, QString(), "无法启动应用“%1”：%2");
        return;
    }
    throw PlatformError(
        tr("“%1”不是可以启动的应用：这里需要一个 .desktop 桌面项或可执行文件。").arg(applicationPath));
}

QString LinuxWorkspace::applicationPath(const QString& identifier) {
    if (identifier.isEmpty() || identifier.contains(QLatin1Char('/')))
        return {};
    if (!isDesktopEntry(identifier)) {
        const QString command = QStandardPaths::findExecutable(identifier);
        if (!command.isEmpty())
            return command;
    }
    const QString entryName =
        isDesktopEntry(identifier) ? identifier : identifier + QStringLiteral(".desktop");
    return QStandardPaths::locate(QStandardPaths::ApplicationsLocation, entryName);
}

bool LinuxWorkspace::openTerminal(const QString& directory) {
    if (!hasDesktop())
        throw PlatformError(tr("没有图形桌面，无法打开终端。"));
    QStringList candidates;
    const QString preferred = qEnvironmentVariable("TERMINAL").trimmed();
    if (!preferred.isEmpty())
        candidates.append(preferred);
    candidates.append(QStringLiteral("x-terminal-emulator"));
    for (const char* name : commonTerminals)
        candidates.append(QString::fromLatin1(name));
    for (const QString& candidate : candidates) {
        const QString program =
            QFileInfo(candidate).isAbsolute() ? candidate : QStandardPaths::findExecutable(candidate);
        if (program.isEmpty() || !QFileInfo(program).isExecutable())
            continue;
        // The folder is the working directory, never an argument.
        startProgram(program, {}, directory, "无法启动终端“%1”：%2");
        return true;
    }
    return false;
}

std::shared_ptr<Workspace> createSystemWorkspace() {
    return std::make_shared<LinuxWorkspace>();
}
