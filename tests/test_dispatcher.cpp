// The dispatcher's shared rules on every road: which paths a request may carry, what they mean on the file
// system, where results are revealed, and how typed path text becomes a file.
#include "actions/FinderActionExecutor.h"
#include "catalogue/AppPreferencesPersistence.h"
#include "platform/FinderActionExecutionError.h"
#include "stores/ScheduledDeletionStore.h"
#include "support/Failures.h"
#include "support/FakePlatform.h"
#include "support/FolderListing.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QtTest>

#include <sys/stat.h>

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
};

QTEST_GUILESS_MAIN(DispatcherTest)
#include "test_dispatcher.moc"
