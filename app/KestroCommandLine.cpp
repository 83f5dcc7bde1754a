#include "app/KestroCommandLine.h"

#include "actions/ActionRequirements.h"
#include "app/DisplayEnvironment.h"
#include "app/KestroHost.h"
#include "app/LaunchOrigin.h"
#include "app/QtChineseTexts.h"
#include "app/SettingsScreenshots.h"
#include "app/SingleInstance.h"
#include "app/StandardOutputClipboard.h"
#include "app/TerminalProgress.h"
#include "app/WidgetPrompts.h"
#include "catalogue/AppVersion.h"
#include "intake/FinderSelectionModel.h"
#include "intake/KestroQueuedActionRunner.h"
#include "integration/FileManagerIntegration.h"
#include "platform/DiagnosticLog.h"
#include "platform/KestroError.h"
#include "platform/Platform.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <QThread>
#include <QTimer>
#include <QUrlQuery>

#include <cstdio>
#include <memory>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

struct Options {
    enum class Mode {
        host,
        perform,
        drain,
        installIntegration,
        uninstallIntegration,
        help,
        version,
        invalid
    } mode = Mode::host;
    QString url;
    // The URL came through the kestro: scheme handler, that is from another program (a browser).
    bool fromLink = false;
    bool loginItem = false;
    QString helpText;
    QString errorText;
};

// The program and its commands, in the user's language. Qt's own help would name the program
// "<executable_name>" here, where no application object exists yet.
QString helpText() {
    return QCoreApplication::translate(
        "KestroCommandLine",
        "用法：kestro [命令] [kestro: 链接]\n"
        "Kestro：在文件管理器的右键菜单中新建、复制、改名、压缩和处理文件。\n\n"
        "  kestro                          启动 Kestro（托盘和设置窗口）；已在运行时把设置窗口带到前面\n"
        "  kestro --login-item             隐藏启动，如登录时\n"
        "  kestro 链接                     把 kestro: 链接交给运行中的 Kestro（没有时启动一个）\n"
        "  kestro --open-link 链接         同上，链接来自其他程序：先询问你\n"
        "  kestro --perform 链接           在这个进程里执行一个请求后退出；失败时说明原因，退出码为 1\n"
        "  kestro --drain                  处理一遍操作队列后退出\n"
        "  kestro --install-integration    把 Kestro 菜单写入已安装的文件管理器\n"
        "  kestro --uninstall-integration  从文件管理器中移除 Kestro 的文件和条目\n"
        "  kestro --version                显示版本\n"
        "  kestro --help                   显示这段说明\n");
}

Options parse(int argc, char* argv[]) {
    QStringList arguments;
    for (int index = 0; index < argc; ++index)
        arguments.append(QString::fromLocal8Bit(argv[index]));
    QCommandLineParser parser;
    const QCommandLineOption perform(QStringLiteral("perform"), QString(), QStringLiteral("url"));
    const QCommandLineOption drain(QStringLiteral("drain"));
    const QCommandLineOption loginItem(QStringLiteral("login-item"));
    const QCommandLineOption installIntegration(QStringLiteral("install-integration"));
    const QCommandLineOption uninstallIntegration(QStringLiteral("uninstall-integration"));
    const QCommandLineOption openLink(QStringLiteral("open-link"));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    parser.addOptions({perform, drain, loginItem, openLink, installIntegration, uninstallIntegration});
    parser.addPositionalArgument(QStringLiteral("url"), QString());

    Options options;
    options.helpText = helpText();
    if (!parser.parse(arguments)) {
        options.mode = Options::Mode::invalid;
        options.errorText = parser.errorText();
        return options;
    }
    options.loginItem = parser.isSet(loginItem);
    options.fromLink = parser.isSet(openLink);
    if (parser.isSet(help))
        options.mode = Options::Mode::help;
    else if (parser.isSet(version))
        options.mode = Options::Mode::version;
    else if (parser.isSet(perform)) {
        options.mode = Options::Mode::perform;
        options.url = parser.value(perform);
    } else if (parser.isSet(drain))
        options.mode = Options::Mode::drain;
    else if (parser.isSet(installIntegration))
        options.mode = Options::Mode::installIntegration;
    else if (parser.isSet(uninstallIntegration))
        options.mode = Options::Mode::uninstallIntegration;
    else if (!parser.positionalArguments().isEmpty())
        options.url = parser.positionalArguments().constFirst();
    if (options.fromLink && (options.mode != Options::Mode::host || options.url.isEmpty())) {
        options.mode = Options::Mode::invalid;
        options.errorText = QCoreApplication::translate(
            "KestroCommandLine", "--open-link 只接受一个 kestro: 链接，不能带别的参数。");
    }
    return options;
}

void print(FILE* stream, const QString& text) {
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
}

ActionRequirements::Requirement requirementOf(const QUrl& url) {
    if (url.host() == QLatin1String("feature-request"))
        return ActionRequirements::Requirement::widgets;
    const QString actionID = QUrlQuery(url).queryItemValue(QStringLiteral("actionID"), QUrl::FullyDecoded);
    return ActionRequirements::of(actionID);
}

// One request through the URL road in this process, with no more of Qt started than the action needs:
// a widgets application only when someone is there to answer its questions.
int runPerform(int argc, char* argv[], const QString& text) {
    const QUrl url(text);
    auto requirement = requirementOf(url);
    const bool answerable = DisplayEnvironment::isInteractive() && isatty(STDIN_FILENO);
    if (requirement == ActionRequirements::Requirement::widgets && !answerable)
        requirement = ActionRequirements::Requirement::core;

    std::unique_ptr<QCoreApplication> application;
    if (requirement == ActionRequirements::Requirement::core) {
        application = std::make_unique<QCoreApplication>(argc, argv);
    } else {
        DisplayEnvironment::useOffscreenWithoutDisplay();
        if (requirement == ActionRequirements::Requirement::widgets) {
            application = std::make_unique<QApplication>(argc, argv);
            installQtChineseTexts(*application);
            useSimplifiedChineseFont();
            Platform::setPrompts(std::make_shared<WidgetPrompts>());
        } else {
            application = std::make_unique<QGuiApplication>(argc, argv);
        }
    }
    Platform::setClipboard(std::make_shared<StandardOutputClipboard>(createSystemClipboard()));

    // A person at a terminal sees how a long request is getting on; a pipe or a log file gets nothing.
    std::optional<TerminalProgress> progress;
    std::optional<ActionProgressScope> progressScope;
    if (isatty(STDERR_FILENO)) {
        winsize size{};
        const int width =
            ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 10 ? size.ws_col : 80;
        progress.emplace(stderr, width);
        progressScope.emplace(*progress);
    }

    FinderSelectionModel model;
    if (model.handleIncomingURL(text))
        return 0;
    const QString error =
        model.lastErrorDescription().isEmpty()
            ? QStringLiteral("Not a kestro://finder-action or kestro://feature-request URL: %1").arg(text)
            : model.lastErrorDescription();
    print(stderr, error + QLatin1Char('\n'));
    return 1;
}

// Writes or removes Kestro's menu in the file managers and says, per file manager, what it did.
int runIntegration(bool install) {
    const QStringList problems = install ? FileManagerIntegration::install() : QStringList();
    if (!install)
        FileManagerIntegration::uninstall();
    for (const FileManagerIntegration::Status& status : FileManagerIntegration::status()) {
        QString state;
        if (!status.installed)
            state = QCoreApplication::translate("KestroCommandLine", "未安装");
        else if (status.integrated)
            state = QCoreApplication::translate("KestroCommandLine", "已加入 Kestro 菜单");
        else
            state = QCoreApplication::translate("KestroCommandLine", "没有 Kestro 菜单");
        print(stdout, status.name + QStringLiteral("：") + state + QLatin1Char('\n'));
    }
    for (const QString& problem : problems)
        print(stderr, problem + QLatin1Char('\n'));
    return problems.isEmpty() ? 0 : 1;
}

QStringList messageFor(const Options& options) {
    if (!options.url.isEmpty())
        return {options.fromLink ? QStringLiteral("open-link") : QStringLiteral("open-url"), options.url};
    // A hidden start (at login, or by the file managers' hand-off) while a host runs must not bring up the
    // window: it only asks for a queue pass.
    if (options.loginItem)
        return {QStringLiteral("drain")};
    // The launcher's activation token lets the running host's window come to the front on Wayland.
    const QString token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN");
    return token.isEmpty() ? QStringList{QStringLiteral("show")} : QStringList{QStringLiteral("show"), token};
}

bool forwardToRunningHost(int argc, char* argv[], const QStringList& message) {
    QCoreApplication application(argc, argv);
    return SingleInstance::sendToRunningInstance(message);
}

// Test and measurement hooks, not for users: KESTRO_REPORT_READY prints one line on standard error when the
// host is ready, and one when it has written the file managers' menus; KESTRO_SCREENSHOT_DIR saves pictures
// of the settings pages, the tray menu and (packing the folder KESTRO_SCREENSHOT_PACK names) the progress
// window there, then quits.
void connectHooks(KestroHost& host) {
    const bool reportReady = !qEnvironmentVariableIsEmpty("KESTRO_REPORT_READY");
    const QString screenshots = qEnvironmentVariable("KESTRO_SCREENSHOT_DIR");
    if (reportReady) {
        QObject::connect(&host, &KestroHost::fileManagersWritten, &host,
                         [] { print(stderr, QStringLiteral("kestro: file managers written\n")); });
    }
    QObject::connect(&host, &KestroHost::ready, &host, [&host, reportReady, screenshots] {
        if (reportReady)
            print(stderr, QStringLiteral("kestro: ready\n"));
        if (!screenshots.isEmpty()) {
            QTimer::singleShot(300, &host, [&host, screenshots] {
                const bool saved = SettingsScreenshots::capture(host, screenshots);
                QCoreApplication::exit(saved ? 0 : 1);
            });
        }
    });
}

int runHost(int argc, char* argv[], const Options& options) {
    DisplayEnvironment::useOffscreenWithoutDisplay();
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    // Ties the windows to the "Kestro" application entry (its name and icon in docks and on Wayland).
    QGuiApplication::setDesktopFileName(QStringLiteral("kestro"));
    if (DisplayEnvironment::isInteractive())
        Platform::setPrompts(std::make_shared<WidgetPrompts>());

    // Two launches at once: the one that loses the lock hands its request to the winner. Nothing of the host
    // exists before the lock is ours, so a losing launch writes no file and runs no queue.
    SingleInstance instance;
    const auto listen = [&instance] {
        try {
            return instance.listen();
        } catch (const std::exception& error) {
            print(stderr, describeError(error) + QLatin1Char('\n'));
            DiagnosticLog::append(QStringLiteral("single instance refused: ") + describeError(error));
            throw;
        }
    };
    for (int attempt = 0; !listen(); ++attempt) {
        if (SingleInstance::sendToRunningInstance(messageFor(options)))
            return 0;
        if (attempt == 50) {
            print(stderr, QStringLiteral("Another Kestro is starting but does not answer.\n"));
            return 1;
        }
        QThread::msleep(100);
    }
    // The host's queue runner starts with it: a click that started this host is served while the texts, the
    // font and the icon below are loaded (none of which a launch that only forwards its request needs).
    KestroHost host(options.loginItem || LaunchOrigin::wasLikelyLaunchedAtLogin());
    installQtChineseTexts(application);
    useSimplifiedChineseFont();
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/kestro/kestro.svg")));
    QObject::connect(&instance, &SingleInstance::messageReceived, &host, &KestroHost::handleMessage);
    connectHooks(host);
    host.finishLaunching();
    if (!options.url.isEmpty())
        host.openURL(options.url, options.fromLink ? RequestOrigin::link : RequestOrigin::user);
    const int status = application.exec();
    // Quitting waits for a queued action in hand to finish.
    host.shutDown();
    return status;
}

} // namespace

int KestroCommandLine::run(int argc, char* argv[]) {
    QCoreApplication::setApplicationName(QStringLiteral("kestro"));
    QCoreApplication::setApplicationVersion(AppVersion::shortVersion());
    const Options options = parse(argc, argv);
    switch (options.mode) {
    case Options::Mode::invalid:
        print(stderr, options.errorText + QLatin1Char('\n'));
        return 2;
    case Options::Mode::help:
        print(stdout, options.helpText);
        return 0;
    case Options::Mode::version:
        print(stdout, QStringLiteral("kestro %1\n").arg(AppVersion::shortVersion()));
        return 0;
    case Options::Mode::perform:
        return runPerform(argc, argv, options.url);
    case Options::Mode::drain: {
        QCoreApplication application(argc, argv);
        return KestroQueuedActionRunner::drainOnce();
    }
    case Options::Mode::installIntegration:
    case Options::Mode::uninstallIntegration: {
        QCoreApplication application(argc, argv);
        return runIntegration(options.mode == Options::Mode::installIntegration);
    }
    case Options::Mode::host:
        break;
    }
    if (forwardToRunningHost(argc, argv, messageFor(options)))
        return 0;
    try {
        return runHost(argc, argv, options);
    } catch (const KestroError&) {
        return 1; // already reported
    }
}
