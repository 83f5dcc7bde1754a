// The six path formats as they reach the clipboard.
#include "support/ActionRequests.h"

class TestPathCopyActions : public QObject {
    Q_OBJECT

private slots:
    void init() { m_env.emplace(); }
    void cleanup() { m_env.reset(); }

    // The items need not exist: paths are text here ("FOLDER" stands for a real folder of the test's).
    void formatsEveryItemOnItsOwnLine_data() {
        QTest::addColumn<QString>("actionID");
        QTest::addColumn<QStringList>("selection");
        QTest::addColumn<QString>("expected");
        QTest::newRow("full path") << "copyFullPath" << QStringList{"/报告", "/a//b/"} << "/报告\n/a/b";
        QTest::newRow("name") << "copyFileName" << QStringList{"/x/folder/", "/"} << "folder\n/";
        QTest::newRow("parent") << "copyParentPath" << QStringList{"/srv/a", "/top"} << "/srv\n/";
        QTest::newRow("shell") << "copyShellPath" << QStringList{"/tmp/it's"} << "'/tmp/it'\\''s'";
        QTest::newRow("markdown") << "copyMarkdownLink" << QStringList{"/x/a b.md", "FOLDER"}
                                  << "[a b.md](file:///x/a%20b.md)\n[My Folder](URL/)";
    }
    void formatsEveryItemOnItsOwnLine() {
        QFETCH(QString, actionID);
        QFETCH(QStringList, selection);
        QFETCH(QString, expected);
        const QString folder = m_env->makeFolder("My Folder");
        selection.replaceInStrings("FOLDER", folder);
        perform(actionID, selection);
        QCOMPARE(FakePlatform::clipboard().contents,
                 QString(expected).replace("URL", QUrl::fromLocalFile(folder).toString(QUrl::FullyEncoded)));
    }

    // Without a selection the targeted folder stands in; without either, or with a refused clipboard, an
    // error.
    void theTargetStandsInAndFailuresAreReported() {
        perform("copyFullPath", {}, "/work/here");
        QCOMPARE(FakePlatform::clipboard().contents, "/work/here");
        QCOMPARE(caseOf([] { perform("copyFullPath", {}); }), Case::noSelection);
        QCOMPARE(FakePlatform::clipboard().writes, 1);
        FakePlatform::clipboard().refuses = true;
        QCOMPARE(caseOf([] { perform("copyFullPath", {}, "/a"); }), Case::pasteboardWriteFailed);
    }

private:
    std::optional<TestEnvironment> m_env;
};

QTEST_GUILESS_MAIN(TestPathCopyActions)
#include "test_path_copy_actions.moc"
