#include "actions/FinderActionExecutor.h"
#include "catalogue/AppPreferencesPersistence.h"
#include "platform/FinderActionExecutionError.h"
#include "support/FakePlatform.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QtTest>

using Error = FinderActionExecutionError;

class DispatcherTest : public QObject {
    Q_OBJECT

    std::unique_ptr<TestEnvironment> m_environment;

    static QString messageOf(const std::function<void()>& action) {
        try {
            action();
        } catch (const KestroError& error) {
            return error.errorDescription();
        }
        return QStringLiteral("<no error>");
    }

private slots:
    void init() { m_environment = std::make_unique<TestEnvironment>(); }
    void cleanup() { m_environment.reset(); }

    void errorsReadAsTheUserSeesThem() {
        QCOMPARE(Error::applicationNotFound(QStringLiteral("Cursor")).errorDescription(),
                 QStringLiteral("没有找到 Cursor 应用。"));
        QCOMPARE(Error::destinationDirectoryUnavailable(QStringLiteral("12")).errorDescription(),
                 QStringLiteral("目标文件夹不可用：12"));
        QCOMPARE(Error::invalidPath(QStringLiteral("~/x")).errorDescription(),
                 QStringLiteral("路径不可用：~/x"));
        QCOMPARE(Error::sourceItemMissing(QStringLiteral("/a")).errorDescription(),
                 QStringLiteral("所选文件不存在或无法访问：/a"));
        QCOMPARE(Error::commandFailed(QString()).errorDescription(), QStringLiteral("系统命令执行失败。"));
        QCOMPARE(Error::commandFailed(QStringLiteral("zip: 磁盘已满")).errorDescription(),
                 QStringLiteral("zip: 磁盘已满"));
        QCOMPARE(Error::unsupportedAction(QStringLiteral("x")).errorDescription(),
                 QStringLiteral("暂不支持这个右键动作：x。"));
        QCOMPARE(Error::noSelection().errorDescription(), QStringLiteral("请先在文件管理器中选择文件。"));
        QCOMPARE(Error::noTargetDirectory().errorDescription(),
                 QStringLiteral("没有找到可以执行操作的文件管理器目录。"));
        QCOMPARE(Error::noClipboardPath().errorDescription(), QStringLiteral("剪贴板里没有可打开的路径。"));
        QCOMPARE(Error::pasteboardWriteFailed().errorDescription(), QStringLiteral("写入剪贴板失败。"));
        // A payload that looks like a placeholder stays text.
        QCOMPARE(Error::sourceItemMissing(QStringLiteral("/x %1 %2")).errorDescription(),
                 QStringLiteral("所选文件不存在或无法访问：/x %1 %2"));
    }

    void completedReturnsTheSelectionAndUnknownIDsFail() {
        const QStringList selection{QStringLiteral("/does/not/exist"), QStringLiteral("/tmp")};
        QCOMPARE(FinderActionExecutor::perform(QStringLiteral("completed"), selection, std::nullopt,
                                               std::nullopt, std::nullopt),
                 selection);
        QCOMPARE(
            messageOf([] { FinderActionExecutor::perform(QStringLiteral("Completed"), {}, {}, {}, {}); }),
            QStringLiteral("暂不支持这个右键动作：Completed。"));
        QCOMPARE(messageOf([] { FinderActionExecutor::perform(QString(), {}, {}, {}, {}); }),
                 QStringLiteral("暂不支持这个右键动作：。"));
        QVERIFY(FakePlatform::workspace().openedUrls.isEmpty());
    }

    void viewPresetIDsComeFromThePrefix() {
        QCOMPARE(FinderActionExecutor::finderViewPresetID(QStringLiteral("finderViewPreset__abc")),
                 QStringLiteral("abc"));
        QCOMPARE(FinderActionExecutor::finderViewPresetID(QStringLiteral("finderViewPreset__")), QString());
        QVERIFY(!FinderActionExecutor::finderViewPresetID(QStringLiteral("finderViewPreset")));
    }

    void targetDirectoryPrefersTheSelection() {
        const QString folder = m_environment->makeFolder(QStringLiteral("folder"));
        const QString file = m_environment->writeFile(QStringLiteral("folder/file.txt"));
        const QString other = m_environment->makeFolder(QStringLiteral("other"));
        QCOMPARE(FinderActionExecutor::targetDirectory({file}, other), folder);
        QCOMPARE(FinderActionExecutor::targetDirectory({folder}, other), folder);
        QCOMPARE(FinderActionExecutor::targetDirectory({}, other), other);
        QCOMPARE(FinderActionExecutor::targetDirectory({}, file), folder);
        // A missing item still names its parent.
        QCOMPARE(FinderActionExecutor::targetDirectory({folder + QStringLiteral("/gone.txt")}, std::nullopt),
                 folder);
        QCOMPARE(messageOf([] { FinderActionExecutor::targetDirectory({}, std::nullopt); }),
                 Error::noTargetDirectory().errorDescription());
    }

    void effectiveAndValidatedSources() {
        QCOMPARE(FinderActionExecutor::effectiveURLs({}, QStringLiteral("/t")),
                 QStringList{QStringLiteral("/t")});
        QCOMPARE(FinderActionExecutor::effectiveURLs({QStringLiteral("/a")}, QStringLiteral("/t")),
                 QStringList{QStringLiteral("/a")});
        QVERIFY(FinderActionExecutor::effectiveURLs({}, std::nullopt).isEmpty());

        const QString first = m_environment->writeFile(QStringLiteral("a b/one.txt"));
        const QString second = m_environment->root() + QStringLiteral("/a b/two.txt");
        QCOMPARE(messageOf([] { FinderActionExecutor::validatedSourceURLs({}); }),
                 Error::noSelection().errorDescription());
        QCOMPARE(messageOf([&] {
                     FinderActionExecutor::validatedSourceURLs({first, second});
                 }),
                 Error::sourceItemMissing(second).errorDescription());
        const QString messy = m_environment->root() + QStringLiteral("/a b/./../a b//one.txt");
        QCOMPARE(FinderActionExecutor::validatedSourceURLs({messy}), QStringList{first});
    }

    void resultsAreSelectedOnceEachNeverOpened() {
        const QString b = m_environment->writeFile(QStringLiteral("b/x.txt"));
        const QString b2 = m_environment->writeFile(QStringLiteral("b/y.txt"));
        const QString a = m_environment->makeFolder(QStringLiteral("a"));
        FinderActionExecutor::selectResults({b, QStringLiteral("/no/such/file"), b2, a, b});
        QCOMPARE(FakePlatform::workspace().selections, (QList<QStringList>{{b, b2, a}}));
        QVERIFY(FakePlatform::workspace().openedUrls.isEmpty());
    }

    void revealingNeedsASelection() {
        QCOMPARE(messageOf([] { FinderActionExecutor::revealInFinder({}); }),
                 Error::noSelection().errorDescription());
        FinderActionExecutor::perform(QStringLiteral("revealInFinder"), {QStringLiteral("/x/y")}, {}, {}, {});
        QCOMPARE(FakePlatform::workspace().selections, QList<QStringList>{{QStringLiteral("/x/y")}});
    }

    void theRevealRuleReadsThePreferencesFromDisk() {
        const QString folder = m_environment->makeFolder(QStringLiteral("target"));
        FinderActionExecutor::perform(QStringLiteral("createFolder"), {}, folder, {}, {});
        QVERIFY(FakePlatform::workspace().selections.isEmpty());

        AppPreferencesPersistence::save({true, true, false});
        const QStringList made =
            FinderActionExecutor::perform(QStringLiteral("createTextFile"), {}, folder, {}, {});
        QCOMPARE(made, QStringList{folder + QStringLiteral("/Untitled.txt")});
        QCOMPARE(FakePlatform::workspace().selections, QList<QStringList>{made});
    }

    void pathTextIsNormalised_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("blanks and single quotes")
            << QStringLiteral("  '/Users/me/My\\ Files'\n") << QStringLiteral("/Users/me/My Files");
        QTest::newRow("double quotes") << QStringLiteral("\"/a b/c\"") << QStringLiteral("/a b/c");
        QTest::newRow("one quote") << QStringLiteral("'") << QStringLiteral("'");
        QTest::newRow("mismatched quotes") << QStringLiteral("'/a\"") << QStringLiteral("'/a\"");
        QTest::newRow("empty quotes") << QStringLiteral("''") << QString();
    }

    void pathTextIsNormalised() {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(FinderActionExecutor::normalizedPathText(text), expected);
    }

    void pathTextBecomesAnExistingFile() {
        const QString file = m_environment->writeFile(m_environment->home() + QStringLiteral("/报告 1.txt"));
        QCOMPARE(FinderActionExecutor::fileURL(QStringLiteral("~/报告\\ 1.txt")), file);
        QCOMPARE(FinderActionExecutor::fileURL(QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded)), file);
        QCOMPARE(FinderActionExecutor::fileURL(QStringLiteral(" '") + file + QStringLiteral("' ")), file);
        QVERIFY(!FinderActionExecutor::fileURL(file + QStringLiteral(".missing")));
        QVERIFY(!FinderActionExecutor::fileURL(QStringLiteral("relative/path")));
        QVERIFY(!FinderActionExecutor::fileURL(QString()));
    }
};

QTEST_GUILESS_MAIN(DispatcherTest)
#include "test_dispatcher.moc"
