// The six path formats as they reach the clipboard.
#include "actions/FinderActionExecutor.h"
#include "platform/FinderActionExecutionError.h"
#include "support/FakePlatform.h"
#include "support/TestEnvironment.h"

#include <QTest>

namespace {
QString copied(const QString& actionID, const QStringList& selection,
               const std::optional<QString>& target = std::nullopt) {
    FakePlatform::clipboard().contents.clear();
    const QStringList result =
        FinderActionExecutor::perform(actionID, selection, target, std::nullopt, std::nullopt);
    if (!result.isEmpty())
        throw std::runtime_error("a clipboard action produced items");
    return FakePlatform::clipboard().contents;
}
} // namespace

class TestPathCopyActions : public QObject {
    Q_OBJECT

private slots:
    void formatsEveryItemOnItsOwnLine_data() {
        QTest::addColumn<QString>("actionID");
        QTest::addColumn<QString>("expected");
        QTest::newRow("full path") << "copyFullPath"
                                   << "/tmp/it's here\n/srv/a b.md\n/data/报告.pdf";
        QTest::newRow("name") << "copyFileName"
                              << "it's here\na b.md\n报告.pdf";
        QTest::newRow("name list") << "copyFileNameList"
                                   << "it's here\na b.md\n报告.pdf";
        QTest::newRow("parent") << "copyParentPath"
                                << "/tmp\n/srv\n/data";
        QTest::newRow("shell") << "copyShellPath"
                               << "'/tmp/it'\\''s here'\n'/srv/a b.md'\n'/data/报告.pdf'";
        QTest::newRow("markdown") << "copyMarkdownLink"
                                  << "[it's here](file:///tmp/it's%20here)\n[a b.md](file:///srv/a%20b.md)\n"
                                     "[报告.pdf](file:///data/%E6%8A%A5%E5%91%8A.pdf)";
    }

    void formatsEveryItemOnItsOwnLine() {
        QFETCH(QString, actionID);
        QFETCH(QString, expected);
        TestEnvironment environment;
        // The items need not exist: paths are text here.
        const QStringList selection = {QStringLiteral("/tmp/it's here"), QStringLiteral("/srv/a b.md"),
                                       QStringLiteral("/data/报告.pdf")};
        QCOMPARE(copied(actionID, selection), expected);
        QCOMPARE(FakePlatform::clipboard().writes, 1);
    }

    void awkwardNamesStayOneLineEachWhereTheyCan() {
        TestEnvironment environment;
        const QString dashed = QStringLiteral("/x/-rf");
        QCOMPARE(copied(QStringLiteral("copyShellPath"), {dashed}), QStringLiteral("'/x/-rf'"));
        // A shell-quoted newline stays inside its quotes, so the text still names one file when pasted.
        QCOMPARE(copied(QStringLiteral("copyShellPath"), {QStringLiteral("/x/a\nb")}),
                 QStringLiteral("'/x/a\nb'"));
        QCOMPARE(copied(QStringLiteral("copyMarkdownLink"), {QStringLiteral("/x/a#b?.md")}),
                 QStringLiteral("[a#b?.md](file:///x/a%23b%3F.md)"));
        QCOMPARE(copied(QStringLiteral("copyParentPath"), {QStringLiteral("/top")}), QStringLiteral("/"));
        QCOMPARE(copied(QStringLiteral("copyFileName"), {QStringLiteral("/x/folder/")}),
                 QStringLiteral("folder"));
    }

    void aFolderLinkEndsInASlash() {
        TestEnvironment environment;
        const QString folder = environment.makeFolder(QStringLiteral("My Folder"));
        QCOMPARE(copied(QStringLiteral("copyMarkdownLink"), {folder}),
                 QStringLiteral("[My Folder](") + QUrl::fromLocalFile(folder).toString(QUrl::FullyEncoded) +
                     QStringLiteral("/)"));
    }

    void theTargetStandsInForAnEmptySelection() {
        TestEnvironment environment;
        QCOMPARE(copied(QStringLiteral("copyFullPath"), {}, QStringLiteral("/work/here")),
                 QStringLiteral("/work/here"));
        try {
            copied(QStringLiteral("copyFullPath"), {});
            QFAIL("copied nothing without an error");
        } catch (const FinderActionExecutionError& error) {
            QCOMPARE(error.errorCase(), FinderActionExecutionError::Case::noSelection);
        }
        QCOMPARE(FakePlatform::clipboard().writes, 1);
    }

    void aRefusedClipboardIsReported() {
        TestEnvironment environment;
        FakePlatform::clipboard().refuses = true;
        try {
            copied(QStringLiteral("copyFileName"), {QStringLiteral("/a/b")});
            QFAIL("a refused clipboard went unnoticed");
        } catch (const FinderActionExecutionError& error) {
            QCOMPARE(error.errorCase(), FinderActionExecutionError::Case::pasteboardWriteFailed);
            QCOMPARE(error.errorDescription(), QStringLiteral("写入剪贴板失败。"));
        }
    }
};

QTEST_GUILESS_MAIN(TestPathCopyActions)
#include "test_path_copy_actions.moc"
