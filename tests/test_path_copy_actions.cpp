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
        const QStringList three{"/tmp/it's here", "/srv/a b.md", "/data/报告.pdf"};
        QTest::newRow("full path") << "copyFullPath" << three
                                   << "/tmp/it's here\n/srv/a b.md\n/data/报告.pdf";
        QTest::newRow("name") << "copyFileName" << three << "it's here\na b.md\n报告.pdf";
        QTest::newRow("name list") << "copyFileNameList" << three << "it's here\na b.md\n报告.pdf";
        QTest::newRow("parent") << "copyParentPath" << three << "/tmp\n/srv\n/data";
        QTest::newRow("shell") << "copyShellPath" << three
                               << "'/tmp/it'\\''s here'\n'/srv/a b.md'\n'/data/报告.pdf'";
        QTest::newRow("markdown") << "copyMarkdownLink" << three
                                  << "[it's here](file:///tmp/it's%20here)\n[a b.md](file:///srv/a%20b.md)\n"
                                     "[报告.pdf](file:///data/%E6%8A%A5%E5%91%8A.pdf)";
        // A quoted newline stays inside its quotes, so the text still names one file when pasted.
        QTest::newRow("shell, newline") << "copyShellPath" << QStringList{"/x/a\nb"} << "'/x/a\nb'";
        QTest::newRow("markdown, # and ?")
            << "copyMarkdownLink" << QStringList{"/x/a#b?.md"} << "[a#b?.md](file:///x/a%23b%3F.md)";
        QTest::newRow("markdown, folder")
            << "copyMarkdownLink" << QStringList{"FOLDER"} << "[My Folder](URL/)";
        QTest::newRow("parent of the top") << "copyParentPath" << QStringList{"/top"} << "/";
        QTest::newRow("name, slash") << "copyFileName" << QStringList{"/x/folder/"} << "folder";
        QTest::newRow("name of the top") << "copyFileName" << QStringList{"/"} << "/";
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
        QCOMPARE(FakePlatform::clipboard().writes, 1);
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
