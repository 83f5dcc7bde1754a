// The dispatcher's shared rules on every road (which paths a request may carry, what they mean on the file
// system, where results are revealed, how typed path text becomes a file), running tools (arguments exact,
// failures in the tool's own words) and the diagnostic log (one line per entry, nothing hidden in it, never
// written through what someone else planted in its place).
#include "actions/FinderActionExecutor.h"
#include "actions/ProcessRunner.h"
#include "actions/StagingDirectory.h"
#include "catalogue/AppPreferencesPersistence.h"
#include "catalogue/FeatureSettingsDefaults.h"
#include "integration/KestroMenuModel.h"
#include "platform/DiagnosticLog.h"
#include "platform/FinderActionExecutionError.h"
#include "platform/KestroPaths.h"
#include "stores/ScheduledDeletionStore.h"
#include "support/Failures.h"
#include "support/FakePlatform.h"
#include "support/FolderListing.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

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
        const QString path = m_environment->writeFile(u"bin/"_qs + name, "#!/bin/sh\n" + body);
        QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        return path;
    }
    QString logPath() const { return m_environment->kestroTmp() + u"/kestro-app-action.log"_qs; }

private slots:
    void init() { m_environment = std::make_unique<TestEnvironment>(); }
    void cleanup() { m_environment.reset(); }

    // Whatever the menu offers only on selected items refuses to run on none, touching nothing.
    void selectionItemsRefuseAnEmptySelection() {
        KestroMenuInput input = KestroMenuInput::saved();
        input.settings = FeatureSettingsDefaults::settings();
        input.settings.enabledFeatureIDs =
            QSet(input.settings.featureOrder.begin(), input.settings.featureOrder.end());
        for (const QStringList& children : input.settings.childOrderByFeatureID)
            input.settings.enabledChildIDs.unite(QSet(children.begin(), children.end()));
        int checked = 0;
        for (const KestroMenuItem& item : KestroMenuModel::actions(KestroMenuModel::build(input))) {
            if (item.onBackground)
                continue;
            ++checked;
            const auto error = failureOf<Error>([&] { perform(item.actionID, {}); });
            QVERIFY2(error && error->errorCase() == Error::Case::noSelection, qPrintable(item.actionID));
        }
        QCOMPARE(namesIn(m_environment->root() + u"/home"_qs), QStringList());
        QVERIFY(checked > 30);
    }

    void resultsAreSelectedOnceEachWhenThePreferencesSaySo() {
        const QString b = m_environment->writeFile(u"b/x.txt"_qs);
        const QString b2 = m_environment->writeFile(u"b/y.txt"_qs);
        const QString a = m_environment->makeFolder(u"a"_qs);
        FinderActionExecutor::selectResults({b, u"/no/such/file"_qs, b2, a, b});
        QCOMPARE(FakePlatform::workspace().selections, (QList<QStringList>{{b, b2, a}}));
        QVERIFY(FakePlatform::workspace().openedUrls.isEmpty());
        QCOMPARE(failureOf<Error>([] { FinderActionExecutor::revealInFinder({}); })->errorCase(),
                 Error::Case::noSelection);
        perform(u"revealInFinder"_qs, {u"/x/y"_qs});
        QCOMPARE(FakePlatform::workspace().selections.last(), QStringList{"/x/y"});
        // Created items are revealed only when the preferences on disk say so, read at every action.
        FakePlatform::workspace().selections.clear();
        perform(u"createFolder"_qs, {}, a);
        QVERIFY(FakePlatform::workspace().selections.isEmpty());
        AppPreferencesPersistence::save({true, true, false});
        const QStringList made = perform(u"createTextFile"_qs, {}, a);
        QCOMPARE(made, QStringList{a + u"/Untitled.txt"_qs});
        QCOMPARE(FakePlatform::workspace().selections, QList<QStringList>{made});
    }

    void pathTextBecomesAnExistingFile() {
        // Quotes come off only in matching pairs.
        const std::pair<const char*, const char*> texts[] = {
            {"  '/Users/me/My\\ Files'\n", "/Users/me/My Files"},
            {"\"/a b/c\"", "/a b/c"},
            {"'", "'"},
            {"'/a\"", "'/a\""},
            {"''", ""}};
        for (const auto& [text, expected] : texts)
            QCOMPARE(FinderActionExecutor::normalizedPathText(QString::fromUtf8(text)),
                     QString::fromUtf8(expected));
        const QString file = m_environment->writeFile(home() + u"/报告 1.txt"_qs);
        QCOMPARE(FinderActionExecutor::fileURL(u"~/报告\\ 1.txt"_qs), file);
        QCOMPARE(FinderActionExecutor::fileURL(QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded)), file);
        QCOMPARE(FinderActionExecutor::fileURL(u" '"_qs + file + u"' "_qs), file);
        // A plain path is also a valid relative URL, though not a local file's.
        const QString plain = m_environment->writeFile(home() + u"/plain.txt"_qs);
        QCOMPARE(FinderActionExecutor::fileURL(plain), plain);
        for (const QString& text : {file + u".missing"_qs, u"relative/path"_qs, QString()})
            QVERIFY2(!FinderActionExecutor::fileURL(text), qPrintable(text));
    }

    void everyRoadRefusesPathsThatAreNotAbsoluteOrHoldNul() {
        // A relative path would resolve against the host's working folder (the home).
        const QString folder = m_environment->makeFolder(u"home/work"_qs);
        m_environment->writeFile(folder + u"/victim"_qs, "v");
        const QString previous = QDir::currentPath();
        const auto restore = qScopeGuard([&] { QDir::setCurrent(previous); });
        QVERIFY(QDir::setCurrent(folder));
        for (const QString& path : {u"victim"_qs, u"./victim"_qs, QString()}) {
            const auto error = failureOf<Error>([&] { perform(u"renameUppercase"_qs, {path}); });
            QVERIFY2(error && error->errorCase() == Error::Case::invalidPath, qPrintable(path));
        }
        const auto error = failureOf<Error>([&] { perform(u"copyFullPath"_qs, {folder + QChar(0) + "x"}); });
        QVERIFY(error && names(error->errorDescription(), {folder + u"\\0x"_qs}));
        QCOMPARE(namesIn(folder), QStringList{"victim"});
        QCOMPARE(FakePlatform::clipboard().writes, 0);
    }

    void dotDotAfterALinkMeansWhatTheFileSystemSays() {
        // link -> deep/inner, so "link/.." is "deep", not the folder that holds the link.
        const QString deep = m_environment->makeFolder(u"home/deep/inner"_qs);
        m_environment->writeFile(u"home/deep/target.txt"_qs, "deep");
        m_environment->writeFile(u"home/target.txt"_qs, "top");
        QVERIFY(QFile::link(deep, home() + u"/link"_qs));
        perform(u"copyFullPath"_qs, {home() + u"/link/../target.txt"_qs});
        QCOMPARE(FakePlatform::clipboard().contents, home() + u"/deep/target.txt"_qs);
        // A path without dots is left as the user sees it, links and all.
        perform(u"copyFullPath"_qs, {home() + u"/link//"_qs});
        QCOMPARE(FakePlatform::clipboard().contents, home() + u"/link"_qs);
        QCOMPARE(FinderActionExecutor::checkedRequestPath(home() + u"/link/.."_qs), home() + "/deep");
        QVERIFY(
            failureOf<Error>([&] { FinderActionExecutor::checkedRequestPath(home() + u"/gone/../x"_qs); }));
        // "link/../alink" names alink in the folder the link leads to, and alink, itself a link, is never
        // followed: renaming and scheduling act on it, not on what it names.
        QVERIFY(QFile::link(u"target.txt"_qs, home() + u"/deep/alink"_qs));
        const QString dotted = home() + u"/link/../alink"_qs;
        ScheduledDeletionStore::schedule({dotted}, 3600, QDateTime::currentDateTimeUtc());
        QCOMPARE(ScheduledDeletionStore::items().constFirst().path, home() + u"/deep/alink"_qs);
        perform(u"renameUppercase"_qs, {dotted});
        QVERIFY(QFileInfo(home() + u"/deep/ALINK"_qs).isSymLink());
        QCOMPARE(readAll(home() + u"/deep/target.txt"_qs), QByteArray("deep"));
    }

    void specialFilesAreRefusedBeforeAnythingIsRead_data() {
        QTest::addColumn<QString>("actionID");
        QTest::addColumn<QString>("name"); // the special file, or a link to it under a name the action takes
        for (const char* action : {"copySHA256", "mergePDFs"})
            for (const char* name : {"pipe", "zero"})
                QTest::addRow("%s %s", action, name) << action << QString::fromLatin1(name);
    }
    void specialFilesAreRefusedBeforeAnythingIsRead() {
        QFETCH(QString, actionID);
        QFETCH(QString, name);
        const QString fifo = home() + u"/pipe"_qs;
        QCOMPARE(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
        const QString special = name == u"pipe"_qs ? fifo : u"/dev/zero"_qs;
        // The PDF tools pick their inputs by name: links named .pdf lead to the same special files.
        const QString path = actionID.contains(u"PDF"_qs) ? home() + "/" + name + ".pdf" : special;
        if (path != special)
            QVERIFY(QFile::link(special, path));
        const auto error = failureOf<Error>([&] { perform(actionID, {path}); });
        QVERIFY(error && names(error->errorDescription(), {path}));
        QCOMPARE(FakePlatform::clipboard().writes, 0);
    }

    void toolsGetTheirArgumentsExactlyAndFailInTheirOwnWords() {
        const QString echo = script(u"echo-args"_qs, "for a in \"$@\"; do printf '[%s]' \"$a\"; done\npwd\n");
        const QString output = ProcessRunner::runProcessOutput(
            echo, {"-n", "a b", "it's \"quoted\"", "line\nbreak", "文件 ü", "$HOME"});
        QVERIFY(output.startsWith(u"[-n][a b][it's \"quoted\"][line\nbreak][文件 ü][$HOME]"_qs));
        QVERIFY(output.endsWith(u'\n')); // untrimmed
        const QString folder = m_environment->makeFolder(u"work dir"_qs);
        ProcessRunner::runProcess(script(u"touch-here"_qs, "touch made-here\n"), {}, folder);
        QVERIFY(QFile::exists(folder + u"/made-here"_qs));

        const QString word = script(u"word"_qs, "printf 'word\\n' >&2\nexit 1\n");
        QCOMPARE(failureText([&] { ProcessRunner::runProcess(word, {}); }), u"word"_qs);
        QCOMPARE(failureText([&] { ProcessRunner::runProcessOutput(word, {}); }), u"word"_qs);
        const auto silent = failureOf<FinderActionExecutionError>(
            [&] { ProcessRunner::runProcess(script(u"silent"_qs, "exit 3\n"), {}); });
        QVERIFY(silent && silent->errorCase() == FinderActionExecutionError::Case::commandFailed);
        // Standard error that is not UTF-8 is replaced by the tool's own name.
        const QString noise = script(u"binary-noise"_qs, "printf '\\377\\376' >&2\nexit 1\n");
        QCOMPARE(failureText([&] { ProcessRunner::runProcess(noise, {}); }), u"binary-noise"_qs);
        QVERIFY(failureOf<PlatformError>([] { ProcessRunner::runProcess(u"/nonexistent/tool"_qs, {}); }));
    }

    void logLinesCannotBeForgedAndTheLogStaysSmall() {
        DiagnosticLog::append(
            u"path=/a\n[2026-01-01 00:00:00 +0000] action succeeded: x\t\x1b[2J\u2028\u009b"_qs);
        QCOMPARE(m_environment->logText().count(u'\n'), 1);
        QVERIFY(m_environment->logText().contains(QStringLiteral(
            "path=/a\\n[2026-01-01 00:00:00 +0000] action succeeded: x\\t\\x1b[2J\\u2028\\x9b\n")));
        // Past the limit the older half goes, at a line boundary, and the new line is there.
        QByteArray filler;
        for (int index = 0; filler.size() <= DiagnosticLog::sizeLimit; ++index)
            filler += QByteArray("[2026-01-01 00:00:00 +0000] line ") + QByteArray::number(index) + '\n';
        m_environment->writeFile(logPath(), filler);
        DiagnosticLog::append(u"newest"_qs);
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
        const QString victim = m_environment->writeFile(u"victim.txt"_qs, "untouched");
        if (planted == u"link"_qs) {
            QCOMPARE(::symlink(QFile::encodeName(victim).constData(), path.constData()), 0);
        } else if (planted == u"second name"_qs) { // a hard link an attacker made to read along
            QVERIFY(QFile::copy(victim, logPath()));
            QCOMPARE(
                ::link(path.constData(), QFile::encodeName(m_environment->root() + "/second").constData()),
                0);
        } else if (planted == u"pipe"_qs) { // nobody reads it: a write would block for ever
            QCOMPARE(::mkfifo(path.constData(), 0600), 0);
        } else {
            if (::geteuid() != 0)
                QSKIP("needs root to give the log to another account");
            QVERIFY(QFile::copy(victim, logPath()));
            QCOMPARE(::chown(path.constData(), 65534, 65534), 0);
        }
        DiagnosticLog::append(u"refusal that must be recorded"_qs);
        QCOMPARE(readAll(victim), QByteArray("untouched"));
        if (planted != u"pipe"_qs && planted != u"link"_qs)
            QCOMPARE(readAll(logPath()), QByteArray("untouched"));
        QVERIFY(readAll(KestroPaths::privateLogPath()).endsWith(" +0000] refusal that must be recorded\n"));
        QVERIFY(!(QFileInfo(QFileInfo(KestroPaths::privateLogPath()).path()).permissions() & 0x0077));
    }

    void stagingFoldersArePrivateAndGo() {
        QString path;
        {
            const StagingDirectory staging(u"kestro-test-"_qs);
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
