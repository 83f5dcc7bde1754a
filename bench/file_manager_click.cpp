// A file manager's click on Kestro › 新建 › 新建文本文件, as the file manager runs it: kestro-handoff started
// as a process of its own, with the host running, until "Untitled.txt" exists in the folder; against a
// `touch` process making a file there, in the same run. Then the first click with no host running (the
// hand-off starts one, which runs the queue as it starts) against the click with the host running. All
// are timed from the spawn to the file's appearance, as seen by inotify. Last, the floor under any first
// click that starts a Qt program: a bare Qt window started and quit, against the same click.
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QLockFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <spawn.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

// Starts the program, not through a shell.
pid_t spawn(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    pid_t child = 0;
    posix_spawn(&child, arguments[0], nullptr, nullptr, arguments.data(), environ);
    return child;
}

// Microseconds from the spawn of the program until a file of that name appears in folder.
double timeUntilCreated(const std::vector<std::string>& command, const QString& folder, const QString& name) {
    const int watch = inotify_init1(IN_CLOEXEC);
    inotify_add_watch(watch, QFile::encodeName(folder).constData(), IN_CREATE | IN_MOVED_TO);
    const Clock::time_point start = Clock::now();
    const pid_t child = spawn(command);
    const QByteArray wanted = QFile::encodeName(name);
    char buffer[4096];
    Clock::time_point seen = start;
    for (bool found = false; !found;) {
        const ssize_t length = read(watch, buffer, sizeof buffer);
        if (length <= 0)
            break;
        for (ssize_t offset = 0; offset < length;) {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer + offset);
            if (event->len > 0 && wanted == event->name) {
                seen = Clock::now();
                found = true;
            }
            offset += ssize_t(sizeof(inotify_event) + event->len);
        }
    }
    int status = 0;
    waitpid(child, &status, 0);
    close(watch);
    return std::chrono::duration<double, std::micro>(seen - start).count();
}

// Microseconds from the spawn of the program until it has ended.
double timeUntilExit(const std::vector<std::string>& command) {
    const Clock::time_point start = Clock::now();
    const pid_t child = spawn(command);
    int status = 0;
    waitpid(child, &status, 0);
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

double median(std::vector<double> samples) {
    std::nth_element(samples.begin(), samples.begin() + samples.size() / 2, samples.end());
    return samples[samples.size() / 2];
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    const QString build = QCoreApplication::applicationDirPath() + QStringLiteral("/..");
    const QString kestro = QDir::cleanPath(build + QStringLiteral("/kestro"));
    const QString handoff = QDir::cleanPath(build + QStringLiteral("/kestro-handoff"));
    QTemporaryDir root;
    // The host and the hand-off see only this private home and temporary root.
    for (const auto& [name, value] : {std::pair{"HOME", QStringLiteral("/home")},
                                      {"XDG_CONFIG_HOME", QStringLiteral("/home/.config")},
                                      {"XDG_DATA_HOME", QStringLiteral("/home/.local/share")},
                                      {"KESTRO_TMPDIR", QStringLiteral("/tmp")},
                                      {"XDG_RUNTIME_DIR", QStringLiteral("/runtime")}}) {
        QDir().mkpath(root.path() + value);
        qputenv(name, (root.path() + value).toUtf8());
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qunsetenv("DISPLAY");
    qunsetenv("WAYLAND_DISPLAY");
    QDir().mkpath(root.path() + QStringLiteral("/home/.config/kestro"));
    QFile preferences(root.path() + QStringLiteral("/home/.config/kestro/AppPreferences.plist"));
    preferences.open(QIODevice::WriteOnly);
    preferences.write(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><dict>"
        "<key>revealActionResults</key><false/><key>revealCreatedItems</key><false/></dict></plist>");
    preferences.close();

    QProcess host;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("KESTRO_REPORT_READY"), QStringLiteral("1"));
    host.setProcessEnvironment(environment);
    host.setReadChannel(QProcess::StandardError);
    host.start(kestro, {QStringLiteral("--login-item")});
    bool ready = false;
    QByteArray said;
    while (!ready && host.waitForReadyRead(30000)) {
        said += host.readAll();
        // The hand-off reads the menu description, which the host writes just after it is ready.
        ready = said.contains("kestro: file managers written");
    }
    if (!ready) {
        std::fprintf(stderr, "the Kestro host did not get ready\n");
        return 1;
    }

    const int runs = 100;
    std::vector<double> clicks, touches;
    for (int run = 0; run < runs; ++run) {
        // Alternated, so that load from elsewhere on the machine falls on both alike.
        const QString clickFolder = root.path() + QStringLiteral("/click/%1").arg(run);
        const QString touchFolder = root.path() + QStringLiteral("/touch/%1").arg(run);
        QDir().mkpath(clickFolder);
        QDir().mkpath(touchFolder);
        clicks.push_back(timeUntilCreated(
            {handoff.toStdString(), "--folder", "createTextFile", "--", clickFolder.toStdString()},
            clickFolder, QStringLiteral("Untitled.txt")));
        touches.push_back(timeUntilCreated(
            {"/usr/bin/touch", (touchFolder + QStringLiteral("/Untitled.txt")).toStdString()}, touchFolder,
            QStringLiteral("Untitled.txt")));
    }
    host.terminate();
    host.waitForFinished(10000);

    // No host: each click starts one, which is ended (its pid is in the single-instance lock) before the
    // next.
    const QString lock = root.path() + QStringLiteral("/tmp/kestro-%1/kestro.lock").arg(getuid());
    std::vector<double> firstClicks, bareStarts;
    const QString bare = QCoreApplication::applicationDirPath() + QStringLiteral("/bench_bare_window");
    for (int run = 0; run < 10; ++run) {
        const QString folder = root.path() + QStringLiteral("/first/%1").arg(run);
        QDir().mkpath(folder);
        // The floor of any first click that starts a Qt application: the bare one, started and quit.
        bareStarts.push_back(timeUntilExit({bare.toStdString(), "--quit"}));
        firstClicks.push_back(timeUntilCreated(
            {handoff.toStdString(), "--folder", "createTextFile", "--", folder.toStdString()}, folder,
            QStringLiteral("Untitled.txt")));
        qint64 pid = 0;
        QString hostName, application;
        for (int wait = 0;
             wait < 1000 && !(QLockFile(lock).getLockInfo(&pid, &hostName, &application) && pid > 0); ++wait)
            QThread::msleep(10);
        if (pid <= 0) {
            std::fprintf(stderr, "the host the click started cannot be found\n");
            return 1;
        }
        ::kill(pid_t(pid), SIGTERM);
        for (int wait = 0; wait < 1000 && ::kill(pid_t(pid), 0) == 0; ++wait)
            QThread::msleep(10);
    }

    const double click = median(clicks);
    const double touch = median(touches);
    const double firstClick = median(firstClicks);
    const double bareStart = median(bareStarts);
    std::printf("%-44s %10.1f us   %-28s %10.1f us   ratio %6.2f\n",
                "file-manager click -> file exists, median", click, "touch process -> file exists", touch,
                click / touch);
    std::printf("%-44s %10.1f us   %-28s %10.1f us   ratio %6.2f\n", "first click, no host running, median",
                firstClick, "click with the host running", click, firstClick / click);
    std::printf("%-44s %10.1f us   %-28s %10.1f us   ratio %6.2f\n", "bare Qt window started and quit, median",
                bareStart, "click with the host running", click, bareStart / click);
    return 0;
}
