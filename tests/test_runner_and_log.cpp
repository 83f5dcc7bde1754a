#include "actions/ProcessRunner.h"
#include "actions/StagingDirectory.h"
#include "platform/DiagnosticLog.h"
#include "platform/FinderActionExecutionError.h"
#include "platform/KestroPaths.h"
#include "support/TestEnvironment.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

class RunnerAndLogTest : public QObject {
    Q_OBJECT

    std::unique_ptr<TestEnvironment> m_environment;

    QString script(const QString& name, const QByteArray& body) {
        const QString path = m_environment->writeFile(QStringLiteral("bin/") + name, "#!/bin/sh\n" + body);
        QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        return path;
    }

    template <typename Action> QString failureText(Action action) {
        try {
            action();
        } catch (const FinderActionExecutionError& error) {
            return error.errorDescription();
        }
        return QStringLiteral("<no error>");
    }

private slots:
    void init() { m_environment = std::make_unique<TestEnvironment>(); }
    void cleanup() { m_environment.reset(); }

    void failingToolReportsItsStandardError() {
        const QString tool = script(QStringLiteral("word"), "printf 'word\\n' >&2\nexit 1\n");
        QCOMPARE(failureText([&] { ProcessRunner::runProcess(tool, {}); }), QStringLiteral("word"));
        QCOMPARE(failureText([&] { ProcessRunner::runProcessOutput(tool, {}); }), QStringLiteral("word"));

        const QString silent = script(QStringLiteral("silent"), "exit 3\n");
        QCOMPARE(failureText([&] { ProcessRunner::runProcess(silent, {}); }),
                 QStringLiteral("系统命令执行失败。"));

        // Standard error that is not UTF-8 is replaced by the tool's own name.
        const QString binary = script(QStringLiteral("binary-noise"), "printf '\\377\\376' >&2\nexit 1\n");
        QCOMPARE(failureText([&] { ProcessRunner::runProcess(binary, {}); }), QStringLiteral("binary-noise"));
    }

    void argumentsReachTheToolUnchangedAndOutputIsUntrimmed() {
        const QString echo =
            script(QStringLiteral("echo-args"), "for a in \"$@\"; do printf '[%s]' \"$a\"; done\npwd\n");
        const QStringList awkward{
            QStringLiteral("-n"),          QStringLiteral("a b"),    QStringLiteral("it's \"quoted\""),
            QStringLiteral("line\nbreak"), QStringLiteral("文件 ü"), QStringLiteral("$HOME")};
        const QString output = ProcessRunner::runProcessOutput(echo, awkward);
        QVERIFY(output.startsWith(QStringLiteral("[-n][a b][it's \"quoted\"][line\nbreak][文件 ü][$HOME]")));
        QVERIFY(output.endsWith(QLatin1Char('\n')));

        const QString folder = m_environment->makeFolder(QStringLiteral("work dir"));
        const QString writer = script(QStringLiteral("touch-here"), "touch made-here\n");
        ProcessRunner::runProcess(writer, {}, folder);
        QVERIFY(QFile::exists(folder + QStringLiteral("/made-here")));
    }

    void launchFailureIsAPlatformError() {
        QVERIFY_THROWS_EXCEPTION(PlatformError,
                                 ProcessRunner::runProcess(QStringLiteral("/nonexistent/tool"), {}));
    }

    void scriptProcessTimesOutWithoutThrowing() {
        ProcessRunner::setAppleScriptRunnerPath(script(QStringLiteral("slow-osascript"), "sleep 10\n"));
        QElapsedTimer timer;
        timer.start();
        ProcessRunner::runAppleScriptProcess(QStringLiteral("tell application \"Finder\" to beep"), 1.0);
        QVERIFY(timer.elapsed() < 5000);
        QVERIFY(m_environment->logText().endsWith(QStringLiteral("] osascript timed out after 1.0s\n")));

        ProcessRunner::setAppleScriptRunnerPath(
            script(QStringLiteral("failing-osascript"), "echo 'no such window' >&2; exit 1\n"));
        QCOMPARE(failureText([] { ProcessRunner::runAppleScriptProcess(QStringLiteral("x"), 3.0); }),
                 QStringLiteral("no such window"));
        ProcessRunner::setAppleScriptRunnerPath(script(QStringLiteral("mute-osascript"), "exit 1\n"));
        QCOMPARE(failureText([] { ProcessRunner::runAppleScriptProcess(QStringLiteral("x"), 3.0); }),
                 QStringLiteral("AppleScript failed"));
        ProcessRunner::setAppleScriptRunnerPath(
            script(QStringLiteral("good-osascript"), "test \"$1\" = -e && test \"$2\" = 'say \"hi\"'\n"));
        ProcessRunner::runAppleScriptProcess(QStringLiteral("say \"hi\""), 3.0);
    }

    void durationsAreWrittenAsDecimals() {
        QCOMPARE(ProcessRunner::decimalText(3.0), QStringLiteral("3.0"));
        QCOMPARE(ProcessRunner::decimalText(0.25), QStringLiteral("0.25"));
        QCOMPARE(ProcessRunner::decimalText(120), QStringLiteral("120.0"));
    }

    void appleScriptListsEscapeOnlyQuotes() {
        QCOMPARE(ProcessRunner::appleScriptList({}), QStringLiteral("{}"));
        QCOMPARE(ProcessRunner::appleScriptList({QStringLiteral("/a b"), QStringLiteral("say \"x\"")}),
                 QStringLiteral("{\"/a b\", \"say \\\"x\\\"\"}"));
        QCOMPARE(ProcessRunner::appleScriptList({QStringLiteral("ends\\")}), QStringLiteral("{\"ends\\\"}"));
    }

    void logLinesAreAppendedInTheFixedFormat() {
        const QString path = m_environment->kestroTmp() + QStringLiteral("/kestro-app-action.log");
        QVERIFY(!QFile::exists(path));
        DiagnosticLog::append(QStringLiteral("first 行"));
        DiagnosticLog::append(QStringLiteral("second"));
        const QStringList lines = m_environment->logText().split(QLatin1Char('\n'));
        QCOMPARE(lines.size(), 3);
        const QRegularExpression format(
            QStringLiteral(R"(^\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d \+0000\] (.*)$)"));
        QCOMPARE(format.match(lines.at(0)).captured(1), QStringLiteral("first 行"));
        QCOMPARE(format.match(lines.at(1)).captured(1), QStringLiteral("second"));
        QCOMPARE(lines.at(2), QString());
        struct stat status {};
        QCOMPARE(::stat(QFile::encodeName(path).constData(), &status), 0);
        QCOMPARE(status.st_mode & 0777, mode_t(0600));

        const QDateTime moment(QDate(2026, 1, 2), QTime(3, 4, 5), QTimeZone::utc());
        QCOMPARE(DiagnosticLog::formatLine(QStringLiteral("m"), moment),
                 QByteArray("[2026-01-02 03:04:05 +0000] m\n"));
    }

    void aLogThatIsNotOursIsNeverWrittenAndLoggingGoesOn_data() {
        QTest::addColumn<QString>("planted");
        QTest::newRow("link") << "link";
        QTest::newRow("second name") << "second name";
        QTest::newRow("pipe") << "pipe";
        QTest::newRow("another account's file") << "other";
    }
    void aLogThatIsNotOursIsNeverWrittenAndLoggingGoesOn() {
        QFETCH(QString, planted);
        const QByteArray path =
            QFile::encodeName(m_environment->kestroTmp() + QStringLiteral("/kestro-app-action.log"));
        const QString victim = m_environment->writeFile(QStringLiteral("victim.txt"), "untouched");
        if (planted == QLatin1String("link")) {
            QCOMPARE(::symlink(QFile::encodeName(victim).constData(), path.constData()), 0);
        } else if (planted == QLatin1String("second name")) {
            // A hard link an attacker made to read along.
            QVERIFY(QFile::copy(victim, QFile::decodeName(path)));
            QCOMPARE(
                ::link(path.constData(), QFile::encodeName(m_environment->root() + "/second").constData()),
                0);
        } else if (planted == QLatin1String("pipe")) {
            // Nobody reads it: a write would block for ever.
            QCOMPARE(::mkfifo(path.constData(), 0600), 0);
        } else {
            if (::geteuid() != 0)
                QSKIP("needs root to give the log to another account");
            QVERIFY(QFile::copy(victim, QFile::decodeName(path)));
            QCOMPARE(::chown(path.constData(), 65534, 65534), 0);
        }
        DiagnosticLog::append(QStringLiteral("refusal that must be recorded"));
        QCOMPARE(readAll(victim), QByteArray("untouched"));
        if (planted != QLatin1String("pipe") && planted != QLatin1String("link"))
            QCOMPARE(readAll(QFile::decodeName(path)), QByteArray("untouched"));
        QVERIFY(readAll(KestroPaths::privateLogPath()).endsWith(" +0000] refusal that must be recorded\n"));
        QVERIFY(!(QFileInfo(QFileInfo(KestroPaths::privateLogPath()).path()).permissions() & 0x0077));
    }

    void stagingFoldersArePrivate() {
        QString path;
        {
            const StagingDirectory staging(QStringLiteral("kestro-test-"));
            path = staging.path();
            struct stat status {};
            QCOMPARE(::lstat(QFile::encodeName(path).constData(), &status), 0);
            QVERIFY(S_ISDIR(status.st_mode));
            QCOMPARE(status.st_mode & 07777, mode_t(0700));
        }
        QVERIFY(!QFileInfo::exists(path));
    }

    void logLinesCannotBeForgedAndTheLogStaysSmall() {
        DiagnosticLog::append(
            QStringLiteral("path=/a\n[2026-01-01 00:00:00 +0000] action succeeded: x\t\x1b[2J\u2028"));
        QCOMPARE(m_environment->logText().count(QLatin1Char('\n')), 1);
        QVERIFY(m_environment->logText().contains(
            QStringLiteral("path=/a\\n[2026-01-01 00:00:00 +0000] action succeeded: x\\t\\x1b[2J\\u2028\n")));

        // Past the limit the older half goes, at a line boundary, and the new line is there.
        const QString path = m_environment->kestroTmp() + QStringLiteral("/kestro-app-action.log");
        QByteArray filler;
        for (int index = 0; filler.size() <= DiagnosticLog::sizeLimit; ++index)
            filler += QByteArray("[2026-01-01 00:00:00 +0000] line ") + QByteArray::number(index) + '\n';
        m_environment->writeFile(path, filler);
        DiagnosticLog::append(QStringLiteral("newest"));
        const QByteArray after = readAll(path);
        QVERIFY(after.size() < DiagnosticLog::sizeLimit * 3 / 4);
        QVERIFY(after.size() > DiagnosticLog::sizeLimit / 4);
        QVERIFY(after.startsWith("[2026-01-01 00:00:00 +0000] line "));
        QVERIFY(after.endsWith(" +0000] newest\n"));
        QVERIFY(filler.endsWith(after.left(after.size() - after.mid(after.lastIndexOf("\n[") + 1).size())));
    }
};

QTEST_GUILESS_MAIN(RunnerAndLogTest)
#include "test_runner_and_log.moc"
