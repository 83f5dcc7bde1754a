// The Linux workspace for real: finding editors, launching desktop entries and executables with awkward
// file names, opening and revealing items, and starting a terminal in a folder. The launched
// "applications" are small recording scripts.
#include "platform/KestroError.h"
#include "platform/linux/LinuxWorkspace.h"
#include "support/TestEnvironment.h"

#include <optional>
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

// Writes its arguments, each ended by a NUL byte, to $KESTRO_TEST_RECORD (complete or not at all).
const QByteArray recorder =
    "#!/bin/sh\n"
    "for argument in \"$@\"; do printf '%s\\0' \"$argument\"; done > \"$KESTRO_TEST_RECORD.part\"\n"
    "/bin/mv \"$KESTRO_TEST_RECORD.part\" \"$KESTRO_TEST_RECORD\"\n";
// Writes the folder it runs in and how many arguments it was given, the same way.
const QByteArray printsFolder = "#!/bin/sh\nprintf '%s\\0' \"$(pwd)\" \"$#\" > \"$KESTRO_TEST_RECORD.part\"\n"
                                "/bin/mv \"$KESTRO_TEST_RECORD.part\" \"$KESTRO_TEST_RECORD\"\n";

} // namespace

class TestLinuxWorkspace : public QObject {
    Q_OBJECT

    std::optional<TestEnvironment> m_environment;
    // The launches below need a desktop to be allowed; nothing here draws on it.
    std::optional<ScopedVariable> m_display;
    QString m_record;

    QString executable(const QString& path, const QByteArray& script) const {
        const QString written = m_environment->writeFile(path, script);
        QFile::setPermissions(written,
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        return written;
    }

    // What a recording script was started with, once it has written it (nothing after 10 s).
    QStringList recorded() const {
        if (!QTest::qWaitFor([this] { return QFileInfo::exists(m_record); }, 10000))
            return {};
        QStringList arguments;
        const QList<QByteArray> pieces = readAll(m_record).split('\0');
        for (qsizetype i = 0; i + 1 < pieces.size(); ++i)
            arguments.append(QString::fromUtf8(pieces[i]));
        QFile::remove(m_record);
        return arguments;
    }

private slots:
    void init() {
        m_environment.emplace();
        m_record = m_environment->root() + u"/record"_qs;
        qputenv("KESTRO_TEST_RECORD", m_record.toUtf8());
        if (qEnvironmentVariableIsEmpty("DISPLAY"))
            m_display.emplace("DISPLAY", QByteArray(":kestro-test"));
    }
    void cleanup() {
        m_display.reset();
        m_environment.reset();
    }

    void findsEditorsOnThePathOrByDesktopEntry() {
        const QString bin = m_environment->makeFolder(u"bin"_qs);
        const ScopedVariable path("PATH", bin.toUtf8());
        LinuxWorkspace workspace;
        QCOMPARE(workspace.applicationPath(u"code"_qs), QString());
        const QString entry =
            m_environment->writeFile(u"home/.local/share/applications/code.desktop"_qs,
                                     "[Desktop Entry]\nType=Application\nName=Code\nExec=code %F\n");
        QCOMPARE(workspace.applicationPath(u"code"_qs), entry);
        const QString command = executable(bin + u"/code"_qs, "#!/bin/sh\n");
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
        const QString script = executable(u"apps/my recorder"_qs, recorder);
        QStringList files;
        for (const char* name :
             {"plain.txt", "a b.txt", "it's \"quoted\".md", "-rf", "two\nlines", "报告 ü.pdf", "100%.txt"})
            files << m_environment->writeFile(u"docs/"_qs + QString::fromUtf8(name), "x");
        const QByteArray entry = "[Desktop Entry]\nType=Application\nName=Recorder\nExec=\"" +
                                 QFile::encodeName(script) + "\" %F\n";
        LinuxWorkspace().openWithApplication(
            throughADesktopEntry ? m_environment->writeFile(u"apps/recorder.desktop"_qs, entry) : script,
            files);
        QCOMPARE(recorded(), files);
    }

    // Local items go to xdg-open (here a recorder of that name); a reveal that no running file manager
    // answers on the session bus is logged, not shown.
    void opensAndRevealsThroughTheDesktop() {
        const QString bin = m_environment->makeFolder(u"bin"_qs);
        const ScopedVariable path("PATH", bin.toUtf8());
        executable(bin + u"/xdg-open"_qs, recorder);
        const QString folder = m_environment->makeFolder(u"a folder 文件夹"_qs);
        QVERIFY(LinuxWorkspace().openUrl(QUrl::fromLocalFile(folder)));
        QCOMPARE(recorded(), QStringList{QUrl::fromLocalFile(folder).toString(QUrl::FullyEncoded)});
        LinuxWorkspace().selectItems({folder});
        QVERIFY(m_environment->logText().contains(u"not revealed: no file manager shows items here"_qs));
    }

    void refusesWhatCannotBeLaunched() {
        LinuxWorkspace workspace;
        const QString folder = m_environment->makeFolder(u"Some.app"_qs);
        const QString text = m_environment->writeFile(u"notes.txt"_qs, "x");
        const QString broken =
            m_environment->writeFile(u"broken.desktop"_qs, "[Desktop Entry]\nName=Broken\n");
        const QString gone = m_environment->root() + u"/gone"_qs;
        // A program that cannot start (its interpreter is missing) is told, not dropped.
        const QString dead = executable(u"apps/dead"_qs, "#!/nonexistent/interpreter\n");
        for (const QString& application : {folder, text, broken, gone, dead})
            QVERIFY_THROWS_EXCEPTION(PlatformError, workspace.openWithApplication(application, {text}));
        // A mail link with no mail program installed is not opened, and says so.
        const ScopedVariable noSystemEntries("XDG_DATA_DIRS",
                                             QFile::encodeName(m_environment->makeFolder("none")));
        QVERIFY(!workspace.openUrl(QUrl(u"mailto:support@tandry.app?subject=x"_qs)));

        // Without a desktop nothing is started at all: no application, no terminal, no file manager.
        const QString script = executable(u"apps/recorder"_qs, recorder);
        const ScopedVariable noX("DISPLAY", QByteArray());
        const ScopedVariable noWayland("WAYLAND_DISPLAY", QByteArray());
        const ScopedVariable terminal("TERMINAL", script.toUtf8());
        QVERIFY_THROWS_EXCEPTION(PlatformError, workspace.openWithApplication(script, {text}));
        QVERIFY_THROWS_EXCEPTION(PlatformError, workspace.openTerminal(m_environment->root()));
        QVERIFY(!workspace.openUrl(QUrl::fromLocalFile(m_environment->root())));
        workspace.selectItems({m_environment->root()}); // asks no file manager, so nothing to log
        QVERIFY(!m_environment->logText().contains(u"not revealed"_qs));
        QTest::qWait(300);
        QVERIFY(!QFileInfo::exists(m_record));
    }

    void startsATerminalInTheFolder() {
        const QString bin = m_environment->makeFolder(u"bin"_qs);
        const ScopedVariable path("PATH", bin.toUtf8());
        const ScopedVariable noTerminal("TERMINAL", QByteArray());
        const QString folder = m_environment->makeFolder(u"it's a -folder 文件夹"_qs);
        LinuxWorkspace workspace;
        QVERIFY(!workspace.openTerminal(folder));
        executable(bin + u"/xterm"_qs, printsFolder);
        QVERIFY(workspace.openTerminal(folder));
        QCOMPARE(recorded(), (QStringList{folder, u"0"_qs}));
        // $TERMINAL comes first.
        const ScopedVariable chosen("TERMINAL", executable(u"mine/term"_qs, printsFolder).toUtf8());
        QFile::remove(bin + u"/xterm"_qs);
        QVERIFY(workspace.openTerminal(folder));
        QCOMPARE(recorded(), (QStringList{folder, u"0"_qs}));
    }
};

QTEST_GUILESS_MAIN(TestLinuxWorkspace)
#include "test_linux_workspace.moc"
