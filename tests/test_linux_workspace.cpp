// The Linux workspace for real: finding editors, launching desktop entries and executables with awkward
// file names, and starting a terminal in a folder. The launched "applications" are small recording scripts.
#include "platform/KestroError.h"
#include "platform/linux/LinuxWorkspace.h"
#include "support/TestEnvironment.h"

#include <optional>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace {

// Sets an environment variable for one scope.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const QByteArray& value)
        : m_name(name)
        , m_saved(qgetenv(name))
        , m_wasSet(qEnvironmentVariableIsSet(name)) {
        value.isNull() ? qunsetenv(name) : qputenv(name, value);
    }
    ~ScopedVariable() { m_wasSet ? qputenv(m_name, m_saved) : qunsetenv(m_name); }

private:
    const char* m_name;
    QByteArray m_saved;
    bool m_wasSet;
};

QString executable(const TestEnvironment& environment, const QString& path, const QByteArray& script) {
    const QString written = environment.writeFile(path, script);
    QFile::setPermissions(written, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    return written;
}

// Writes its arguments, each ended by a NUL byte, to $KESTRO_TEST_RECORD (complete or not at all).
const QByteArray recorder =
    "#!/bin/sh\n"
    "for argument in \"$@\"; do printf '%s\\0' \"$argument\"; done > \"$KESTRO_TEST_RECORD.part\"\n"
    "/bin/mv \"$KESTRO_TEST_RECORD.part\" \"$KESTRO_TEST_RECORD\"\n";

QStringList recordedArguments(const QString& record) {
    QStringList arguments;
    const QList<QByteArray> pieces = readAll(record).split('\0');
    for (qsizetype i = 0; i + 1 < pieces.size(); ++i)
        arguments.append(QString::fromUtf8(pieces[i]));
    return arguments;
}

QStringList awkwardFiles(const TestEnvironment& environment) {
    QStringList files;
    for (const char* name :
         {"plain.txt", "a b.txt", "it's \"quoted\".md", "-rf", "two\nlines", "报告 ü.pdf", "100%.txt"})
        files << environment.writeFile(u"docs/"_qs + QString::fromUtf8(name), "x");
    return files;
}

} // namespace

class TestLinuxWorkspace : public QObject {
    Q_OBJECT

    // The launches below need a desktop to be allowed; nothing here draws on it.
    std::optional<ScopedVariable> m_display;

private slots:
    void init() {
        if (qEnvironmentVariableIsEmpty("DISPLAY"))
            m_display.emplace("DISPLAY", QByteArray(":kestro-test"));
    }
    void cleanup() { m_display.reset(); }

    void findsEditorsOnThePathOrByDesktopEntry() {
        TestEnvironment environment;
        const QString bin = environment.makeFolder(u"bin"_qs);
        const ScopedVariable path("PATH", bin.toUtf8());
        LinuxWorkspace workspace;
        QCOMPARE(workspace.applicationPath(u"code"_qs), QString());

        const QString entry =
            environment.writeFile(u"home/.local/share/applications/code.desktop"_qs,
                                  "[Desktop Entry]\nType=Application\nName=Code\nExec=code %F\n");
        QCOMPARE(workspace.applicationPath(u"code"_qs), entry);
        const QString command = executable(environment, bin + u"/code"_qs, "#!/bin/sh\n");
        QCOMPARE(workspace.applicationPath(u"code"_qs), command);
        QCOMPARE(workspace.applicationPath(u"code.desktop"_qs), entry);
        QCOMPARE(workspace.applicationPath(u"com.todesktop.230313mzl4w4u92"_qs), QString());
        QCOMPARE(workspace.applicationPath(u"../bin/code"_qs), QString());
    }

    void launchesWithEveryName_data() {
        QTest::addColumn<bool>("throughADesktopEntry");
        QTest::newRow("a desktop entry") << true;
        QTest::newRow("an executable") << false;
    }
    void launchesWithEveryName() {
        QFETCH(bool, throughADesktopEntry);
        TestEnvironment environment;
        const QString record = environment.root() + u"/record"_qs;
        const ScopedVariable recordVariable("KESTRO_TEST_RECORD", record.toUtf8());
        const QString script = executable(environment, u"apps/my recorder"_qs, recorder);
        const QStringList files = awkwardFiles(environment);
        LinuxWorkspace().openWithApplication(
            throughADesktopEntry
                ? environment.writeFile(u"apps/recorder.desktop"_qs,
                                        "[Desktop Entry]\nType=Application\nName=Recorder\nExec=\"" +
                                            QFile::encodeName(script) + "\" %F\n")
                : script,
            files);
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(record), 10000);
        QCOMPARE(recordedArguments(record), files);
    }

    void refusesWhatCannotBeLaunched() {
        TestEnvironment environment;
        LinuxWorkspace workspace;
        const QString folder = environment.makeFolder(u"Some.app"_qs);
        const QString text = environment.writeFile(u"notes.txt"_qs, "x");
        const QString broken = environment.writeFile(u"broken.desktop"_qs, "[Desktop Entry]\nName=Broken\n");
        QVERIFY_THROWS_EXCEPTION(PlatformError, workspace.openWithApplication(folder, {text}));
        QVERIFY_THROWS_EXCEPTION(PlatformError, workspace.openWithApplication(text, {text}));
        QVERIFY_THROWS_EXCEPTION(PlatformError, workspace.openWithApplication(broken, {text}));
        QVERIFY_THROWS_EXCEPTION(PlatformError,
                                 workspace.openWithApplication(environment.root() + u"/gone"_qs, {text}));
        // A mail link with no mail program installed is not opened, and says so.
        const ScopedVariable noSystemEntries("XDG_DATA_DIRS",
                                             QFile::encodeName(environment.makeFolder("none")));
        QVERIFY(!workspace.openUrl(QUrl(u"mailto:support@tandry.app?subject=x"_qs)));

        // Without a desktop nothing is started at all: no application, no terminal, no file manager.
        const QString record = environment.root() + u"/record"_qs;
        const ScopedVariable recordVariable("KESTRO_TEST_RECORD", record.toUtf8());
        const QString script = executable(environment, u"apps/recorder"_qs, recorder);
        const ScopedVariable noX("DISPLAY", QByteArray());
        const ScopedVariable noWayland("WAYLAND_DISPLAY", QByteArray());
        const ScopedVariable terminal("TERMINAL", script.toUtf8());
        QVERIFY_THROWS_EXCEPTION(PlatformError, workspace.openWithApplication(script, {text}));
        QVERIFY_THROWS_EXCEPTION(PlatformError, workspace.openTerminal(environment.root()));
        QVERIFY(!workspace.openUrl(QUrl::fromLocalFile(environment.root())));
        QTest::qWait(300);
        QVERIFY(!QFileInfo::exists(record));
    }

    void startsATerminalInTheFolder() {
        TestEnvironment environment;
        const QString record = environment.root() + u"/record"_qs;
        const ScopedVariable recordVariable("KESTRO_TEST_RECORD", record.toUtf8());
        const QString bin = environment.makeFolder(u"bin"_qs);
        const ScopedVariable path("PATH", bin.toUtf8());
        const ScopedVariable terminal("TERMINAL", QByteArray());
        const QString folder = environment.makeFolder(u"it's a -folder 文件夹"_qs);
        LinuxWorkspace workspace;

        QVERIFY(!workspace.openTerminal(folder));

        const QByteArray printsFolder =
            "#!/bin/sh\nprintf '%s\\0' \"$(pwd)\" \"$#\" > \"$KESTRO_TEST_RECORD.part\"\n"
            "/bin/mv \"$KESTRO_TEST_RECORD.part\" \"$KESTRO_TEST_RECORD\"\n";
        executable(environment, bin + u"/xterm"_qs, printsFolder);
        QVERIFY(workspace.openTerminal(folder));
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(record), 10000);
        QCOMPARE(recordedArguments(record), (QStringList{folder, u"0"_qs}));

        // $TERMINAL comes first.
        QFile::remove(record);
        const QString preferred = executable(environment, u"mine/term"_qs, printsFolder);
        const ScopedVariable chosen("TERMINAL", preferred.toUtf8());
        QFile::remove(bin + u"/xterm"_qs);
        QVERIFY(workspace.openTerminal(folder));
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(record), 10000);
        QCOMPARE(recordedArguments(record).first(), folder);
    }
};

QTEST_GUILESS_MAIN(TestLinuxWorkspace)
#include "test_linux_workspace.moc"
