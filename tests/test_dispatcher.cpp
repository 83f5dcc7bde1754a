// The dispatcher's shared rules on every road (which paths a request may carry, what they mean on the file
// system, where results are revealed, how typed path text becomes a file), running tools (arguments exact,
// failures in the tool's own words) and the diagnostic log (one line per entry, nothing hidden in it, never
// written through what someone else planted in its place).
#include "actions/FinderActionExecutor.h"
#include "actions/ProcessRunner.h"
#include "actions/StagingDirectory.h"
#include "catalogue/AppPreferencesPersistence.h"
#include "platform/DiagnosticLog.h"
#include "platform/FinderActionExecutionError.h"
#include "platform/KestroPaths.h"
#include "stores/ScheduledDeletionStore.h"
#include "support/Failures.h"
#include "support/FakePlatform.h"
#include "support/FolderListing.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QRegularExpression>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

using Error = FinderActionExecutionError;

namespace {
QStringList perform(const QString& actionID, const QStringList& paths,
                    const std::optional<QString>& target = {}) {
    return FinderActionExecutor::perform(actionID, paths, target, std::nullopt, std::nullopt);
}
} // namespace

class DispatcherTest : public QObject {
    Q_OBJECT

    std::unique_ptr<TestEnvironment> m_environment;
    QString home() const { return m_environment->home(); }
    QString script(const QString& name, const QByteArray& body) {
        const QString path = m_environment->writeFile(QStringLiteral("bin/") + name, "#!/bin/sh\n" + body);
        QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        return path;
    }
    QString logPath() const { return m_environment->kestroTmp() + QStringLiteral("/kestro-app-action.log"); }

private slots:
    void init() { m_environment = std::make_unique<TestEnvironment>(); }
    void cleanup() { m_environment.reset(); }

    void completedReturnsTheSelectionAndUnknownIDsFail() {
        const QStringList selection{QStringLiteral("/does/not/exist"), QStringLiteral("/tmp")};
        QCOMPARE(perform(QStringLiteral("completed"), selection), selection);
        for (const QString& id : {QStringLiteral("Completed"), QString()}) {
            const auto error = failureOf<Error>([&] { perform(id, {}); });
            QVERIFY(error && error->errorCase() == Error::Case::unsupportedAction);
        }
        // A payload that looks like a placeholder stays text.
        QVERIFY(names(Error::sourceItemMissing(QStringLiteral("/x %1 %2")).errorDescription(), {"/x %1 %2"}));
        QCOMPARE(FinderActionExecutor::finderViewPresetID(QStringLiteral("finderViewPreset__abc")),
                 QStringLiteral("abc"));
        QCOMPARE(FinderActionExecutor::finderViewPresetID(QStringLiteral("finderViewPreset__")), QString());
        QVERIFY(!FinderActionExecutor::finderViewPresetID(QStringLiteral("finderViewPreset")));
        QVERIFY(FakePlatform::workspace().openedUrls.isEmpty());
    }

    void targetsAndSources() {
        const QString folder = m_environment->makeFolder(QStringLiteral("a b"));
        const QString file = m_environment->writeFile(QStringLiteral("a b/one.txt"));
        const QString other = m_environment->makeFolder(QStringLiteral("other"));
        QCOMPARE(FinderActionExecutor::targetDirectory({file}, other), folder);
        QCOMPARE(FinderActionExecutor::targetDirectory({folder}, other), folder);
        QCOMPARE(FinderActionExecutor::targetDirectory({}, other), other);
        QCOMPARE(FinderActionExecutor::targetDirectory({}, file), folder);
        QCOMPARE(FinderActionExecutor::targetDirectory({folder + QStringLiteral("/gone.txt")}, std::nullopt),
                 folder);
        QCOMPARE(
            failureOf<Error>([] { FinderActionExecutor::targetDirectory({}, std::nullopt); })->errorCase(),
            Error::Case::noTargetDirectory);
        QCOMPARE(FinderActionExecutor::effectiveURLs({}, QStringLiteral("/t")), QStringList{"/t"});
        QCOMPARE(FinderActionExecutor::effectiveURLs({QStringLiteral("/a")}, QStringLiteral("/t")),
                 QStringList{"/a"});
        QVERIFY(FinderActionExecutor::effectiveURLs({}, std::nullopt).isEmpty());
        QCOMPARE(failureOf<Error>([] { FinderActionExecutor::validatedSourceURLs({}); })->errorCase(),
                 Error::Case::noSelection);
        const QString missing = folder + QStringLiteral("/two.txt");
        const auto error = failureOf<Error>([&] {
            FinderActionExecutor::validatedSourceURLs({file, missing});
        });
        QVERIFY(error && error->errorCase() == Error::Case::sourceItemMissing);
        QVERIFY(names(error->errorDescription(), {missing}));
        QCOMPARE(FinderActionExecutor::validatedSourceURLs({folder + QStringLiteral("/./../a b//one.txt")}),
                 QStringList{file});
    }

    void resultsAreSelectedOnceEachWhenThePreferencesSaySo() {
        const QString b = m_environment->writeFile(QStringLiteral("b/x.txt"));
        const QString b2 = m_environment->writeFile(QStringLiteral("b/y.txt"));
        const QString a = m_environment->makeFolder(QStringLiteral("a"));
        FinderActionExecutor::selectResults({b, QStringLiteral("/no/such/file"), b2, a, b});
        QCOMPARE(FakePlatform::workspace().selections, (QList<QStringList>{{b, b2, a}}));
        QVERIFY(FakePlatform::workspace().openedUrls.isEmpty());
        QCOMPARE(failureOf<Error>([] { FinderActionExecutor::revealInFinder({}); })->errorCase(),
                 Error::Case::noSelection);
        perform(QStringLiteral("revealInFinder"), {QStringLiteral("/x/y")});
        QCOMPARE(FakePlatform::workspace().selections.last(), QStringList{"/x/y"});
        // Created items are revealed only when the preferences on disk say so, read at every action.
        FakePlatform::workspace().selections.clear();
        perform(QStringLiteral("createFolder"), {}, a);
        QVERIFY(FakePlatform::workspace().selections.isEmpty());
        AppPreferencesPersistence::save({true, true, false});
        const QStringList made = perform(QStringLiteral("createTextFile"), {}, a);
        QCOMPARE(made, QStringList{a + QStringLiteral("/Untitled.txt")});
        QCOMPARE(FakePlatform::workspace().selections, QList<QStringList>{made});
    }

    void pathTextIsNormalised_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("blanks and single quotes") << "  '/Users/me/My\\ Files'\n"
                                                  << "/Users/me/My Files";
        QTest::newRow("double quotes") << "\"/a b/c\""
                                       << "/a b/c";
        QTest::newRow("one quote") << "'"
                                   << "'";
        QTest::newRow("mismatched quotes") << "'/a\""
                                           << "'/a\"";
        QTest::newRow("empty quotes") << "''"
                                      << "";
    }
    void pathTextIsNormalised() {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(FinderActionExecutor::normalizedPathText(text), expected);
    }

    void pathTextBecomesAnExistingFile() {
        const QString file = m_environment->writeFile(home() + QStringLiteral("/报告 1.txt"));
        QCOMPARE(FinderActionExecutor::fileURL(QStringLiteral("~/报告\\ 1.txt")), file);
        QCOMPARE(FinderActionExecutor::fileURL(QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded)), file);
        QCOMPARE(FinderActionExecutor::fileURL(QStringLiteral(" '") + file + QStringLiteral("' ")), file);
        for (const QString& text :
             {file + QStringLiteral(".missing"), QStringLiteral("relative/path"), QString()})
            QVERIFY2(!FinderActionExecutor::fileURL(text), qPrintable(text));
    }

    void everyRoadRefusesPathsThatAreNotAbsoluteOrHoldNul() {
        // A relative path would resolve against the host's working folder (the home).
        const QString folder = m_environment->makeFolder(QStringLiteral("home/work"));
        m_environment->writeFile(folder + QStringLiteral("/victim"), "v");
        const QString previous = QDir::currentPath();
        const auto restore = qScopeGuard([&] { QDir::setCurrent(previous); });
        QVERIFY(QDir::setCurrent(folder));
        for (const QString& path : {QStringLiteral("victim"), QStringLiteral("./victim"), QString()}) {
            const auto error = failureOf<Error>([&] { perform(QStringLiteral("renameUppercase"), {path}); });
            QVERIFY2(error && error->errorCase() == Error::Case::invalidPath, qPrintable(path));
        }
        const auto error =
            failureOf<Error>([&] { perform(QStringLiteral("copyFullPath"), {folder + QChar(0) + "x"}); });
        QVERIFY(error && names(error->errorDescription(), {folder + QStringLiteral("\\0x")}));
        QCOMPARE(namesIn(folder), QStringList{"victim"});
        QCOMPARE(FakePlatform::clipboard().writes, 0);
    }

    void dotDotAfterALinkMeansWhatTheFileSystemSays() {
        // link -> deep/inner, so "link/.." is "deep", not the folder that holds the link.
        const QString deep = m_environment->makeFolder(QStringLiteral("home/deep/inner"));
        m_environment->writeFile(QStringLiteral("home/deep/target.txt"), "deep");
        m_environment->writeFile(QStringLiteral("home/target.txt"), "top");
        QVERIFY(QFile::link(deep, home() + QStringLiteral("/link")));
        perform(QStringLiteral("copyFullPath"), {home() + QStringLiteral("/link/../target.txt")});
        QCOMPARE(FakePlatform::clipboard().contents, home() + QStringLiteral("/deep/target.txt"));
        // A path without dots is left as the user sees it, links and all.
        perform(QStringLiteral("copyFullPath"), {home() + QStringLiteral("/link//")});
        QCOMPARE(FakePlatform::clipboard().contents, home() + QStringLiteral("/link"));
        QCOMPARE(FinderActionExecutor::checkedRequestPath(home() + QStringLiteral("/link/..")),
                 home() + "/deep");
        QVERIFY(failureOf<Error>(
            [&] { FinderActionExecutor::checkedRequestPath(home() + QStringLiteral("/gone/../x")); }));
        // "link/../alink" names alink in the folder the link leads to, and alink, itself a link, is never
        // followed: renaming and scheduling act on it, not on what it names.
        QVERIFY(QFile::link(QStringLiteral("target.txt"), home() + QStringLiteral("/deep/alink")));
        const QString dotted = home() + QStringLiteral("/link/../alink");
        ScheduledDeletionStore::schedule({dotted}, 3600, QDateTime::currentDateTimeUtc());
        QCOMPARE(ScheduledDeletionStore::items().constFirst().path, home() + QStringLiteral("/deep/alink"));
        perform(QStringLiteral("renameUppercase"), {dotted});
        QVERIFY(QFileInfo(home() + QStringLiteral("/deep/ALINK")).isSymLink());
        QCOMPARE(readAll(home() + QStringLiteral("/deep/target.txt")), QByteArray("deep"));
    }

    void specialFilesAreRefusedBeforeAnythingIsRead_data() {
        QTest::addColumn<QString>("actionID");
        QTest::addColumn<QString>("name"); // the special file, or a link to it under a name the action takes
        for (const char* action : {"copySHA256", "copyMD5", "mergePDFs", "compressPDF"})
            for (const char* name : {"pipe", "zero"})
                QTest::addRow("%s %s", action, name) << action << QString::fromLatin1(name);
    }
    void specialFilesAreRefusedBeforeAnythingIsRead() {
        QFETCH(QString, actionID);
        QFETCH(QString, name);
        const QString fifo = home() + QStringLiteral("/pipe");
        QCOMPARE(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
        const QString special = name == QLatin1String("pipe") ? fifo : QStringLiteral("/dev/zero");
        // The PDF tools pick their inputs by name: links named .pdf lead to the same special files.
        const QString path =
            actionID.contains(QStringLiteral("PDF")) ? home() + "/" + name + ".pdf" : special;
        if (path != special)
            QVERIFY(QFile::link(special, path));
        const auto error = failureOf<Error>([&] { perform(actionID, {path}); });
        QVERIFY(error && names(error->errorDescription(), {path}));
        QCOMPARE(FakePlatform::clipboard().writes, 0);
    }

    void toolsGetTheirArgumentsExactlyAndFailInTheirOwnWords() {
        const QString echo =
            script(QStringLiteral("echo-args"), "for a in \"$@\"; do printf '[%s]' \"$a\"; done\npwd\n");
        const QString output = ProcessRunner::runProcessOutput(
            echo, {"-n", "a b", "it's \"quoted\"", "line\nbreak", "文件 ü", "$HOME"});
        QVERIFY(output.startsWith(QStringLiteral("[-n][a b][it's \"quoted\"][line\nbreak][文件 ü][$HOME]")));
        QVERIFY(output.endsWith(u'\n')); // untrimmed
        const QString folder = m_environment->makeFolder(QStringLiteral("work dir"));
        ProcessRunner::runProcess(script(QStringLiteral("touch-here"), "touch made-here\n"), {}, folder);
        QVERIFY(QFile::exists(folder + QStringLiteral("/made-here")));

        const QString word = script(QStringLiteral("word"), "printf 'word\\n' >&2\nexit 1\n");
        QCOMPARE(failureText([&] { ProcessRunner::runProcess(word, {}); }), QStringLiteral("word"));
        QCOMPARE(failureText([&] { ProcessRunner::runProcessOutput(word, {}); }), QStringLiteral("word"));
        const auto silent = failureOf<FinderActionExecutionError>(
            [&] { ProcessRunner::runProcess(script(QStringLiteral("silent"), "exit 3\n"), {}); });
        QVERIFY(silent && silent->errorCase() == FinderActionExecutionError::Case::commandFailed);
        // Standard error that is not UTF-8 is replaced by the tool's own name.
        const QString noise = script(QStringLiteral("binary-noise"), "printf '\\377\\376' >&2\nexit 1\n");
        QCOMPARE(failureText([&] { ProcessRunner::runProcess(noise, {}); }), QStringLiteral("binary-noise"));
        QVERIFY(failureOf<PlatformError>(
            [] { ProcessRunner::runProcess(QStringLiteral("/nonexistent/tool"), {}); }));
    }

    void logLinesAreAppendedInTheFixedFormatToAPrivateFile() {
        QVERIFY(!QFile::exists(logPath()));
        DiagnosticLog::append(QStringLiteral("first 行"));
        DiagnosticLog::append(QStringLiteral("second"));
        const QStringList lines = m_environment->logText().split(u'\n');
        QCOMPARE(lines.size(), 3);
        const QRegularExpression format(
            QStringLiteral(R"(^\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d \+0000\] (.*)$)"));
        QCOMPARE(format.match(lines.at(0)).captured(1), QStringLiteral("first 行"));
        QCOMPARE(format.match(lines.at(1)).captured(1), QStringLiteral("second"));
        struct stat status {};
        QCOMPARE(::stat(QFile::encodeName(logPath()).constData(), &status), 0);
        QCOMPARE(status.st_mode & 0777, mode_t(0600));
        QCOMPARE(DiagnosticLog::formatLine(QStringLiteral("m"),
                                           QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), QTimeZone::utc())),
                 QByteArray("[2026-01-02 03:04:05 +0000] m\n"));
    }

    // Each character's class at the edges of every range: control, C1 control, bidi, zero-width.
    void hiddenAndControlCharactersAreEscaped_data() {
        QTest::addColumn<int>("code");
        QTest::addColumn<bool>("hidden");
        const std::pair<int, bool> rows[] = {
            {0x00, true},    {0x1f, true},    {0x20, false},   {0x7e, false},   {0x7f, true},
            {0x80, true},    {0x9b, true},    {0x9f, true},    {0xa0, false},   {0x061b, false},
            {0x061c, true},  {0x200a, false}, {0x200b, true},  {0x200f, true},  {0x2010, false},
            {0x2027, false}, {0x2028, true},  {0x2029, true},  {0x202a, true},  {0x202e, true},
            {0x202f, false}, {0x2060, true},  {0x2061, false}, {0x2065, false}, {0x2066, true},
            {0x2069, true},  {0x206a, false}, {0xfeff, true},  {0x6587, false}};
        for (const auto& [code, hidden] : rows)
            QTest::addRow("U+%04X", code) << code << hidden;
    }
    void hiddenAndControlCharactersAreEscaped() {
        QFETCH(int, code);
        QFETCH(bool, hidden);
        QCOMPARE(DiagnosticLog::isHiddenOrControl(char16_t(code)), hidden);
        const QString text = QStringLiteral("a") + QChar(code) + QStringLiteral("b");
        QCOMPARE(DiagnosticLog::escapedText(text) == text, !hidden);
    }

    void logLinesCannotBeForgedAndTheLogStaysSmall() {
        DiagnosticLog::append(
            QStringLiteral("path=/a\n[2026-01-01 00:00:00 +0000] action succeeded: x\t\x1b[2J\u2028\u009b"));
        QCOMPARE(m_environment->logText().count(u'\n'), 1);
        QVERIFY(m_environment->logText().contains(QStringLiteral(
            "path=/a\\n[2026-01-01 00:00:00 +0000] action succeeded: x\\t\\x1b[2J\\u2028\\x9b\n")));
        // Past the limit the older half goes, at a line boundary, and the new line is there.
        QByteArray filler;
        for (int index = 0; filler.size() <= DiagnosticLog::sizeLimit; ++index)
            filler += QByteArray("[2026-01-01 00:00:00 +0000] line ") + QByteArray::number(index) + '\n';
        m_environment->writeFile(logPath(), filler);
        DiagnosticLog::append(QStringLiteral("newest"));
        const QByteArray after = readAll(logPath());
        QVERIFY(after.size() < DiagnosticLog::sizeLimit * 3 / 4 &&
                after.size() > DiagnosticLog::sizeLimit / 4);
        QVERIFY(after.startsWith("[2026-01-01 00:00:00 +0000] line ") && after.endsWith(" +0000] newest\n"));
        QVERIFY(filler.endsWith(after.left(after.size() - after.mid(after.lastIndexOf("\n[") + 1).size())));
    }

    void aLogThatIsNotOursIsNeverWrittenAndLoggingGoesOn_data() {
        QTest::addColumn<QString>("planted");
        for (const char* planted : {"link", "second name", "pipe", "another account's file"})
            QTest::newRow(planted) << planted;
    }
    void aLogThatIsNotOursIsNeverWrittenAndLoggingGoesOn() {
        QFETCH(QString, planted);
        const QByteArray path = QFile::encodeName(logPath());
        const QString victim = m_environment->writeFile(QStringLiteral("victim.txt"), "untouched");
        if (planted == QLatin1String("link")) {
            QCOMPARE(::symlink(QFile::encodeName(victim).constData(), path.constData()), 0);
        } else if (planted == QLatin1String("second name")) { // a hard link an attacker made to read along
            QVERIFY(QFile::copy(victim, logPath()));
            QCOMPARE(
                ::link(path.constData(), QFile::encodeName(m_environment->root() + "/second").constData()),
                0);
        } else if (planted == QLatin1String("pipe")) { // nobody reads it: a write would block for ever
            QCOMPARE(::mkfifo(path.constData(), 0600), 0);
        } else {
            if (::geteuid() != 0)
                QSKIP("needs root to give the log to another account");
            QVERIFY(QFile::copy(victim, logPath()));
            QCOMPARE(::chown(path.constData(), 65534, 65534), 0);
        }
        DiagnosticLog::append(QStringLiteral("refusal that must be recorded"));
        QCOMPARE(readAll(victim), QByteArray("untouched"));
        if (planted != QLatin1String("pipe") && planted != QLatin1String("link"))
            QCOMPARE(readAll(logPath()), QByteArray("untouched"));
        QVERIFY(readAll(KestroPaths::privateLogPath()).endsWith(" +0000] refusal that must be recorded\n"));
        QVERIFY(!(QFileInfo(QFileInfo(KestroPaths::privateLogPath()).path()).permissions() & 0x0077));
    }

    void stagingFoldersArePrivateAndGo() {
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
};

QTEST_GUILESS_MAIN(DispatcherTest)
#include "test_dispatcher.moc"
