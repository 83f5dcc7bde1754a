// Batch rename: every rule on real files, file-manager order whatever the locale, case-only changes,
// collisions that must never overwrite, repeated and nested selections, cancelled prompts and bad input.
#include "actions/FinderNameOrder.h"
#include "actions/RenameActions.h"
#include "catalogue/AppPreferencesPersistence.h"
#include "platform/ExclusiveRename.h"
#include "platform/FinderActionExecutionError.h"
#include "support/Failures.h"
#include "support/FakePlatform.h"
#include "support/FolderListing.h"
#include "support/QuietPreferences.h"
#include "support/TestEnvironment.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QtTest>

namespace {

class LocaleScope {
public:
    explicit LocaleScope(const QLocale& locale) { QLocale::setDefault(locale); }
    ~LocaleScope() { QLocale::setDefault(QLocale::system()); }
};

// Every file below folder as "relative path=contents", sorted.
QStringList filesIn(const QString& folder) {
    QStringList lines;
    QDirIterator it(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        lines.append(QDir(folder).relativeFilePath(path) + QLatin1Char('=') +
                     QString::fromUtf8(readAll(path)));
    }
    lines.sort();
    return lines;
}

} // namespace

class TestRenameActions : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_env.emplace();
        QVERIFY(saveQuietPreferences());
        m_folder = m_env->makeFolder("files");
    }
    void cleanup() { m_env.reset(); }

    void finderOrderHoldsInEveryLocale_data() {
        QTest::addColumn<QLocale>("locale");
        QTest::newRow("C") << QLocale::c();
        QTest::newRow("en_US") << QLocale(QLocale::English, QLocale::UnitedStates);
        QTest::newRow("zh_CN") << QLocale(QLocale::Chinese, QLocale::China);
        QTest::newRow("de_DE") << QLocale(QLocale::German, QLocale::Germany);
    }
    void finderOrderHoldsInEveryLocale() {
        QFETCH(QLocale, locale);
        const LocaleScope scope(locale);
        QStringList paths = {"/x/file 10.txt", "/y/File 2.txt", "/x/b",     "/x/A",     "/z/file 1.txt",
                             "/x/Item 9",      "/x/item 100",   "/3/a.txt", "/1/a.txt", "/2/A.txt"};
        FinderNameOrder::sortByName(paths);
        // Equal names keep the order they came in.
        QCOMPARE(paths, (QStringList{"/x/A", "/3/a.txt", "/1/a.txt", "/2/A.txt", "/x/b", "/z/file 1.txt",
                                     "/y/File 2.txt", "/x/file 10.txt", "/x/Item 9", "/x/item 100"}));
        QVERIFY(FinderNameOrder().lessThan("File 2", "file 10"));
        QVERIFY(!FinderNameOrder().lessThan("file 10", "File 2"));
    }

    // Each file holds its own name, so the result shows which item went where.
    void everyRuleOnRealFiles_data() {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QStringList>("answer");   // the prompt's text, or find and replace
        QTest::addColumn<QStringList>("present");  // in the folder, not selected
        QTest::addColumn<QStringList>("selected"); // in the order given
        QTest::addColumn<QStringList>("expected"); // every file afterwards
        QTest::addColumn<QStringList>("results");
        const auto mode = [](RenameMode m) {
            return int(m);
        };
        QTest::newRow("prefix") << mode(RenameMode::addPrefix) << QStringList{"2024-"} << QStringList{}
                                << QStringList{"notes.txt", "archive.tar.gz", ".profile", "plain"}
                                << QStringList{"2024-.profile=.profile", "2024-archive.tar.gz=archive.tar.gz",
                                               "2024-notes.txt=notes.txt", "2024-plain=plain"}
                                << QStringList{"2024-.profile", "2024-archive.tar.gz", "2024-notes.txt",
                                               "2024-plain"};
        QTest::newRow("suffix before the last extension")
            << mode(RenameMode::addSuffix) << QStringList{"_v2"} << QStringList{}
            << QStringList{"notes.txt", "archive.tar.gz", ".profile", "plain"}
            << QStringList{".profile_v2=.profile", "archive.tar_v2.gz=archive.tar.gz",
                           "notes_v2.txt=notes.txt", "plain_v2=plain"}
            << QStringList{".profile_v2", "archive.tar_v2.gz", "notes_v2.txt", "plain_v2"};
        QTest::newRow("replace in the stem, case-sensitive")
            << mode(RenameMode::findReplace) << QStringList{"a", "b"} << QStringList{}
            << QStringList{"Banana.tar.gz", "Apple.a"}
            << QStringList{"Apple.a=Apple.a", "Bbnbnb.tbr.gz=Banana.tar.gz"} << QStringList{"Bbnbnb.tbr.gz"};
        QTest::newRow("empty search finds nothing")
            << mode(RenameMode::findReplace) << QStringList{"", "zz"} << QStringList{}
            << QStringList{"Apple.a"} << QStringList{"Apple.a=Apple.a"} << QStringList{};
        QTest::newRow("numbers in file-manager order")
            << mode(RenameMode::sequential) << QStringList{"Trip"} << QStringList{}
            << QStringList{"b.jpg", "file 10", "a.png", "c", "File 2"}
            << QStringList{"Trip 001.png=a.png", "Trip 002.jpg=b.jpg", "Trip 003=c", "Trip 004=File 2",
                           "Trip 005=file 10"}
            << QStringList{"Trip 001.png", "Trip 002.jpg", "Trip 003", "Trip 004", "Trip 005"};
        QTest::newRow("taken name") << mode(RenameMode::addPrefix) << QStringList{"x"} << QStringList{"xx"}
                                    << QStringList{"x"} << QStringList{"xx 2=x", "xx=xx"}
                                    << QStringList{"xx 2"};
        QTest::newRow("taken names") << mode(RenameMode::findReplace) << QStringList{"a", "b"}
                                     << QStringList{"b.txt", "b 2.txt"} << QStringList{"a.txt"}
                                     << QStringList{"b 2.txt=b 2.txt", "b 3.txt=a.txt", "b.txt=b.txt"}
                                     << QStringList{"b 3.txt"};
        QTest::newRow("two items, one new name")
            << mode(RenameMode::findReplace) << QStringList{"1", ""} << QStringList{}
            << QStringList{"x11.txt", "x1.txt"} << QStringList{"x 2.txt=x11.txt", "x.txt=x1.txt"}
            << QStringList{"x.txt", "x 2.txt"};
        QTest::newRow("case only") << mode(RenameMode::lowercase) << QStringList{} << QStringList{}
                                   << QStringList{"README.MD", "Ärger.TXT", "already lower.txt"}
                                   << QStringList{"already lower.txt=already lower.txt",
                                                  "readme.MD=README.MD", "ärger.TXT=Ärger.TXT"}
                                   << QStringList{"ärger.TXT", "readme.MD"};
        QTest::newRow("case only onto another item")
            << mode(RenameMode::lowercase) << QStringList{} << QStringList{"readme.MD"}
            << QStringList{"README.MD"} << QStringList{"readme 2.MD=README.MD", "readme.MD=readme.MD"}
            << QStringList{"readme 2.MD"};
        QTest::newRow("awkward names")
            << mode(RenameMode::uppercase) << QStringList{} << QStringList{}
            << QStringList{"-n dash.txt", "quo\"te's.txt", "new\nline.txt", "straße.txt"}
            << QStringList{"-N DASH.txt=-n dash.txt", "NEW\nLINE.txt=new\nline.txt",
                           "QUO\"TE'S.txt=quo\"te's.txt", "STRASSE.txt=straße.txt"}
            << QStringList{"-N DASH.txt", "NEW\nLINE.txt", "QUO\"TE'S.txt", "STRASSE.txt"};
        QTest::newRow("selected twice") << mode(RenameMode::addPrefix) << QStringList{"x"} << QStringList{}
                                        << QStringList{"a.txt", "a.txt", "./a.txt"}
                                        << QStringList{"xa.txt=a.txt"} << QStringList{"xa.txt"};
        QTest::newRow("a folder and an item in it")
            << mode(RenameMode::uppercase) << QStringList{} << QStringList{"Dir/other.txt"}
            << QStringList{"Dir", "Dir/inner.txt"}
            << QStringList{"DIR/INNER.txt=Dir/inner.txt", "DIR/other.txt=Dir/other.txt"}
            << QStringList{"DIR", "DIR/INNER.txt"};
    }
    void everyRuleOnRealFiles() {
        QFETCH(int, mode);
        QFETCH(QStringList, answer);
        QFETCH(QStringList, present);
        QFETCH(QStringList, selected);
        QFETCH(QStringList, expected);
        QFETCH(QStringList, results);
        AppPreferences preferences;
        preferences.revealActionResults = true;
        QVERIFY(AppPreferencesPersistence::save(preferences));
        for (const QString& name : present + selected)
            if (name != QLatin1String("Dir"))
                m_env->writeFile(m_folder + QLatin1Char('/') + QDir::cleanPath(name),
                                 QDir::cleanPath(name).toUtf8());
        if (answer.size() == 1)
            FakePlatform::prompts().textAnswers = {answer[0]};
        if (answer.size() == 2)
            FakePlatform::prompts().twoTextAnswers = {std::pair{answer[0], answer[1]}};
        QStringList paths;
        for (const QString& name : selected)
            paths.append(m_folder + QLatin1Char('/') + name);

        const QStringList renamed = RenameActions::renameFiles(paths, RenameMode(mode));
        QCOMPARE(filesIn(m_folder), expected);
        QStringList relative;
        for (const QString& path : renamed)
            relative.append(QDir(m_folder).relativeFilePath(path));
        QCOMPARE(relative, results);
        for (const QString& path : renamed)
            QVERIFY2(QFileInfo::exists(path), qPrintable(path));
        QCOMPARE(FakePlatform::workspace().selections,
                 renamed.isEmpty() ? QList<QStringList>() : QList<QStringList>{renamed});
        QVERIFY(!namesIn(m_folder).join('|').contains(".kestro-"));
    }

    // A cancelled prompt renames nothing: numbering under a made-up name would lose the names for good.
    void cancelledPromptsAndBadInputLoseNothing() {
        const QStringList items = {m_env->writeFile(m_folder + "/a.txt", "a"),
                                   m_env->writeFile(m_folder + "/b.txt", "b")};
        for (const RenameMode mode :
             {RenameMode::addPrefix, RenameMode::addSuffix, RenameMode::findReplace, RenameMode::sequential})
            QVERIFY(RenameActions::renameFiles(items, mode).isEmpty());
        QCOMPARE(FakePlatform::prompts().asked.size(), 9);
        FakePlatform::prompts().asked.clear();

        using Case = FinderActionExecutionError::Case;
        const auto caseOf = [](const QStringList& selection, RenameMode mode) {
            const auto error =
                failureOf<FinderActionExecutionError>([&] { RenameActions::renameFiles(selection, mode); });
            return error ? error->errorCase() : Case(-1);
        };
        QCOMPARE(caseOf({}, RenameMode::uppercase), Case::noSelection);
        QCOMPARE(caseOf({items[0], m_folder + "/gone.txt"}, RenameMode::addPrefix), Case::sourceItemMissing);
        QVERIFY(FakePlatform::prompts().asked.isEmpty()); // stopped before asking
        FakePlatform::prompts().twoTextAnswers = {std::pair<QString, QString>("b", "x/y")};
        QCOMPARE(caseOf(items, RenameMode::findReplace), Case::invalidPath);
        FakePlatform::prompts().textAnswers = {QString(300, QLatin1Char('p'))};
        QCOMPARE(caseOf(items, RenameMode::addPrefix), Case::invalidPath);
        QCOMPARE(namesIn(m_folder), (QStringList{"a.txt", "b.txt"}));
        QVERIFY(FakePlatform::workspace().selections.isEmpty());
    }

    void numbersGrowPastThreeDigitsAndAccentsChangeInPlace() {
        const RenameOptions options{"Scan", {}};
        QCOMPARE(RenameActions::renamedName("p.tif", RenameMode::sequential, options, 998),
                 QString("Scan 999.tif"));
        QCOMPARE(RenameActions::renamedName("p.tif", RenameMode::sequential, options, 999),
                 QString("Scan 1000.tif"));
        const QString accented = m_env->writeFile(m_folder + "/cafe.txt", "c");
        QCOMPARE(RenameActions::moveRenamedItem(accented, "café.txt"), m_folder + "/café.txt");
        QCOMPARE(filesIn(m_folder), QStringList{"café.txt=c"});
    }

    void exclusiveRenameRefusesTakenNames() {
        const QString first = m_env->writeFile(m_folder + "/first", "1");
        const QString second = m_env->writeFile(m_folder + "/second", "2");
        const QString empty = m_env->makeFolder("files/empty");
        const QString full = m_env->makeFolder("files/full/inner");
        QVERIFY(!ExclusiveRename::move(first, second));
        QVERIFY(!ExclusiveRename::move(QFileInfo(full).path(), empty));
        QVERIFY(ExclusiveRename::move(first, m_folder + "/third"));
        QVERIFY(
            names(failureText([&] { ExclusiveRename::move(m_folder + "/missing", m_folder + "/fourth"); }),
                  {"missing"}));
        QCOMPARE(filesIn(m_folder), (QStringList{"second=2", "third=1"}));
        QVERIFY(QFileInfo(full).isDir());
    }

private:
    std::optional<TestEnvironment> m_env;
    QString m_folder;
};

QTEST_GUILESS_MAIN(TestRenameActions)
#include "test_rename_actions.moc"
