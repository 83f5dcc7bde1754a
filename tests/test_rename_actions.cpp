// Batch rename: every rule, the prompts and their cancellation, file-manager order whatever the locale,
// case-only changes, collisions that must never overwrite, awkward names and large selections.
#include "actions/FinderNameOrder.h"
#include "actions/RenameActions.h"
#include "catalogue/AppPreferencesPersistence.h"
#include "platform/ExclusiveRename.h"
#include "platform/FinderActionExecutionError.h"
#include "support/FakePlatform.h"
#include "support/FolderListing.h"
#include "support/QuietPreferences.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFileInfo>
#include <QtTest>

namespace {

// Files named as given, each holding its own name, so a test can tell which item ended where.
QStringList makeFiles(const TestEnvironment& env, const QString& folder, const QStringList& names) {
    QStringList paths;
    for (const QString& name : names)
        paths.append(env.writeFile(folder + QLatin1Char('/') + name, name.toUtf8()));
    return paths;
}

FinderActionExecutionError::Case caseOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const FinderActionExecutionError& error) {
        return error.errorCase();
    }
    return FinderActionExecutionError::Case(-1);
}

class LocaleScope {
public:
    explicit LocaleScope(const QLocale& locale) { QLocale::setDefault(locale); }
    ~LocaleScope() { QLocale::setDefault(QLocale::system()); }
};

} // namespace

class TestRenameActions : public QObject {
    Q_OBJECT

private slots:
    void finderOrderHoldsInEveryLocale_data();
    void finderOrderHoldsInEveryLocale();
    void finderOrderIsStableForEqualNames();
    void sequentialNumbersInFinderOrder();
    void sequentialUnderCLocaleCountsByValue();
    void thousandthItemHasFourDigits();
    void prefixAndSuffix();
    void cancelledPromptsRenameNothing();
    void findReplaceSearchesTheStemOnly();
    void collisionsNeverOverwrite();
    void caseOnlyChangeGoesThroughHiddenName();
    void caseOnlyChangeOntoAnotherItemKeepsIt();
    void awkwardNames();
    void badInputLosesNothing();
    void nestedSelectionFollowsRenamedFolder();
    void largeSelection();
    void revealRule();
    void exclusiveRenameRefusesTakenNames();
};

void TestRenameActions::finderOrderHoldsInEveryLocale_data() {
    QTest::addColumn<QLocale>("locale");
    QTest::newRow("C") << QLocale::c();
    QTest::newRow("en_US") << QLocale(QLocale::English, QLocale::UnitedStates);
    QTest::newRow("zh_CN") << QLocale(QLocale::Chinese, QLocale::China);
    QTest::newRow("de_DE") << QLocale(QLocale::German, QLocale::Germany);
}

void TestRenameActions::finderOrderHoldsInEveryLocale() {
    QFETCH(QLocale, locale);
    const LocaleScope scope(locale);
    QStringList paths = {"/x/file 10.txt", "/y/File 2.txt", "/x/b",       "/x/A",
                         "/z/file 1.txt",  "/x/Item 9",     "/x/item 100"};
    FinderNameOrder::sortByName(paths);
    QCOMPARE(fileNames(paths),
             (QStringList{"A", "b", "file 1.txt", "File 2.txt", "file 10.txt", "Item 9", "item 100"}));
    const FinderNameOrder order;
    QVERIFY(order.lessThan("File 2", "file 10"));
    QVERIFY(!order.lessThan("file 10", "File 2"));
}

void TestRenameActions::finderOrderIsStableForEqualNames() {
    const LocaleScope scope(QLocale::c());
    QStringList forward = {"/one/a.txt", "/two/A.txt", "/three/a.txt"};
    FinderNameOrder::sortByName(forward);
    QCOMPARE(forward, (QStringList{"/one/a.txt", "/two/A.txt", "/three/a.txt"}));
    QStringList backward = {"/three/a.txt", "/two/A.txt", "/one/a.txt"};
    FinderNameOrder::sortByName(backward);
    QCOMPARE(backward, (QStringList{"/three/a.txt", "/two/A.txt", "/one/a.txt"}));
}

void TestRenameActions::sequentialNumbersInFinderOrder() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString folder = env.makeFolder("trip");
    const QStringList items = makeFiles(env, folder, {"b.jpg", "a.png", "c"});
    FakePlatform::prompts().textAnswers = {QStringLiteral("Trip")};
    const QStringList results = RenameActions::renameFiles(items, RenameMode::sequential);
    QCOMPARE(FakePlatform::prompts().asked, (QStringList{"序号重命名", "输入统一文件名。"}));
    QCOMPARE(fileNames(results), (QStringList{"Trip 001.png", "Trip 002.jpg", "Trip 003"}));
    QCOMPARE(namesIn(folder), (QStringList{"Trip 001.png", "Trip 002.jpg", "Trip 003"}));
    QCOMPARE(readAll(folder + "/Trip 001.png"), QByteArray("a.png"));
    QCOMPARE(readAll(folder + "/Trip 003"), QByteArray("c"));
}

void TestRenameActions::sequentialUnderCLocaleCountsByValue() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const LocaleScope scope(QLocale::c());
    const QString folder = env.makeFolder("c-locale");
    const QStringList items = makeFiles(env, folder, {"File 10.txt", "file 2.txt", "FILE 1.txt"});
    FakePlatform::prompts().textAnswers = {QStringLiteral("N")};
    RenameActions::renameFiles(items, RenameMode::sequential);
    QCOMPARE(readAll(folder + "/N 001.txt"), QByteArray("FILE 1.txt"));
    QCOMPARE(readAll(folder + "/N 002.txt"), QByteArray("file 2.txt"));
    QCOMPARE(readAll(folder + "/N 003.txt"), QByteArray("File 10.txt"));
}

void TestRenameActions::thousandthItemHasFourDigits() {
    const RenameOptions options{QStringLiteral("Scan"), {}};
    QCOMPARE(RenameActions::renamedName("p.tif", RenameMode::sequential, options, 0),
             QString("Scan 001.tif"));
    QCOMPARE(RenameActions::renamedName("p.tif", RenameMode::sequential, options, 998),
             QString("Scan 999.tif"));
    QCOMPARE(RenameActions::renamedName("p.tif", RenameMode::sequential, options, 999),
             QString("Scan 1000.tif"));
}

void TestRenameActions::prefixAndSuffix() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString folder = env.makeFolder("affix");
    QStringList items = makeFiles(env, folder, {"notes.txt", "archive.tar.gz", ".profile", "plain"});
    FakePlatform::prompts().textAnswers = {QStringLiteral("2024-")};
    items = RenameActions::renameFiles(items, RenameMode::addPrefix);
    QCOMPARE(FakePlatform::prompts().asked, (QStringList{"添加前缀", "输入要添加到文件名前面的文字。"}));
    QCOMPARE(namesIn(folder),
             (QStringList{"2024-.profile", "2024-archive.tar.gz", "2024-notes.txt", "2024-plain"}));

    FakePlatform::prompts().asked.clear();
    FakePlatform::prompts().textAnswers = {QStringLiteral("_v2")};
    RenameActions::renameFiles(items, RenameMode::addSuffix);
    QCOMPARE(FakePlatform::prompts().asked, (QStringList{"添加后缀", "输入要添加到扩展名前面的文字。"}));
    // ".profile" became "2024-.profile", whose extension is now "profile".
    QCOMPARE(namesIn(folder), (QStringList{"2024-_v2.profile", "2024-archive.tar_v2.gz", "2024-notes_v2.txt",
                                           "2024-plain_v2"}));
    QCOMPARE(readAll(folder + "/2024-archive.tar_v2.gz"), QByteArray("archive.tar.gz"));
}

void TestRenameActions::cancelledPromptsRenameNothing() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString folder = env.makeFolder("cancelled");
    const QStringList items = makeFiles(env, folder, {"a.txt", "b.txt"});
    // Sequential renaming too: numbering the items under a made-up name would lose their names for good.
    for (const RenameMode mode :
         {RenameMode::addPrefix, RenameMode::addSuffix, RenameMode::findReplace, RenameMode::sequential}) {
        const QStringList results = RenameActions::renameFiles(items, mode);
        QVERIFY(results.isEmpty());
        QCOMPARE(namesIn(folder), (QStringList{"a.txt", "b.txt"}));
    }
    QCOMPARE(FakePlatform::prompts().asked,
             (QStringList{"添加前缀", "输入要添加到文件名前面的文字。", "添加后缀",
                          "输入要添加到扩展名前面的文字。", "查找并替换", "查找", "替换为", "序号重命名",
                          "输入统一文件名。"}));
    QVERIFY(FakePlatform::workspace().selections.isEmpty());
}

void TestRenameActions::findReplaceSearchesTheStemOnly() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString folder = env.makeFolder("replace");
    const QStringList items = makeFiles(env, folder, {"Banana.tar.gz", "Apple.a"});
    FakePlatform::prompts().twoTextAnswers = {std::pair<QString, QString>("a", "b")};
    const QStringList results = RenameActions::renameFiles(items, RenameMode::findReplace);
    // "Apple" has no lower-case "a": the search is case-sensitive and the extension is never searched.
    QCOMPARE(fileNames(results), (QStringList{"Bbnbnb.tbr.gz"}));
    QCOMPARE(namesIn(folder), (QStringList{"Apple.a", "Bbnbnb.tbr.gz"}));

    // An empty search text changes nothing (rather than inserting the replacement everywhere).
    FakePlatform::prompts().twoTextAnswers = {std::pair<QString, QString>("", "zz")};
    QVERIFY(RenameActions::renameFiles({folder + "/Apple.a"}, RenameMode::findReplace).isEmpty());
    QCOMPARE(namesIn(folder), (QStringList{"Apple.a", "Bbnbnb.tbr.gz"}));
}

void TestRenameActions::collisionsNeverOverwrite() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString folder = env.makeFolder("collide");
    makeFiles(env, folder, {"xx", "b.txt", "b 2.txt"});
    const QStringList items = makeFiles(env, folder, {"x", "a.txt"});
    FakePlatform::prompts().textAnswers = {QStringLiteral("x")};
    QCOMPARE(fileNames(RenameActions::renameFiles({items.at(0)}, RenameMode::addPrefix)),
             QStringList{"xx 2"});
    FakePlatform::prompts().twoTextAnswers = {std::pair<QString, QString>("a", "b")};
    QCOMPARE(fileNames(RenameActions::renameFiles({items.at(1)}, RenameMode::findReplace)),
             QStringList{"b 3.txt"});
    QCOMPARE(readAll(folder + "/xx"), QByteArray("xx"));
    QCOMPARE(readAll(folder + "/xx 2"), QByteArray("x"));
    QCOMPARE(readAll(folder + "/b.txt"), QByteArray("b.txt"));
    QCOMPARE(readAll(folder + "/b 2.txt"), QByteArray("b 2.txt"));
    QCOMPARE(readAll(folder + "/b 3.txt"), QByteArray("a.txt"));

    // Two selected items that come out with one name: the second takes the next number.
    const QString pair = env.makeFolder("pair");
    const QStringList twins = makeFiles(env, pair, {"x11.txt", "x1.txt"});
    FakePlatform::prompts().twoTextAnswers = {std::pair<QString, QString>("1", "")};
    RenameActions::renameFiles(twins, RenameMode::findReplace);
    QCOMPARE(namesIn(pair), (QStringList{"x 2.txt", "x.txt"}));
    QCOMPARE(readAll(pair + "/x.txt"), QByteArray("x1.txt"));
    QCOMPARE(readAll(pair + "/x 2.txt"), QByteArray("x11.txt"));
}

void TestRenameActions::caseOnlyChangeGoesThroughHiddenName() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString folder = env.makeFolder("case");
    const QStringList items = makeFiles(env, folder, {"README.MD", "Ärger.TXT", "already lower.txt"});
    const QStringList results = RenameActions::renameFiles(items, RenameMode::lowercase);
    QCOMPARE(fileNames(results), (QStringList{"ärger.TXT", "readme.MD"}));
    QCOMPARE(namesIn(folder), (QStringList{"already lower.txt", "readme.MD", "ärger.TXT"}));
    QCOMPARE(readAll(folder + "/readme.MD"), QByteArray("README.MD"));
    QCOMPARE(readAll(folder + "/ärger.TXT"), QByteArray("Ärger.TXT"));

    // Directly: an accent-only change keeps the exact wanted name.
    const QString accented = env.writeFile(folder + "/cafe.txt", "c");
    QCOMPARE(RenameActions::moveRenamedItem(accented, "café.txt"), folder + "/café.txt");
    QCOMPARE(readAll(folder + "/café.txt"), QByteArray("c"));
    QVERIFY(!namesIn(folder).join('|').contains(".kestro-renaming-"));
}

void TestRenameActions::caseOnlyChangeOntoAnotherItemKeepsIt() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString folder = env.makeFolder("sensitive");
    const QStringList items = makeFiles(env, folder, {"README.MD", "readme.MD"});
    const QStringList results = RenameActions::renameFiles({items.at(0)}, RenameMode::lowercase);
    QCOMPARE(fileNames(results), QStringList{"readme 2.MD"});
    QCOMPARE(readAll(folder + "/readme.MD"), QByteArray("readme.MD"));
    QCOMPARE(readAll(folder + "/readme 2.MD"), QByteArray("README.MD"));
    QCOMPARE(namesIn(folder).size(), 2);
}

void TestRenameActions::awkwardNames() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString folder = env.makeFolder("awkward");
    const QStringList names = {"-n dash.txt",   "blank name.txt", "quo\"te's.txt",
                               "new\nline.txt", "straße.txt",     "中文 é"};
    const QStringList items = makeFiles(env, folder, names);
    RenameActions::renameFiles(items, RenameMode::uppercase);
    const QStringList expected = {"-N DASH.txt",   "BLANK NAME.txt", "QUO\"TE'S.txt",
                                  "NEW\nLINE.txt", "STRASSE.txt",    "中文 É"};
    for (qsizetype i = 0; i < names.size(); ++i)
        QCOMPARE(readAll(folder + '/' + expected.at(i)), names.at(i).toUtf8());
    QCOMPARE(namesIn(folder).size(), names.size());
}

void TestRenameActions::badInputLosesNothing() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString folder = env.makeFolder("bad");
    const QStringList items = makeFiles(env, folder, {"a.txt", "b.txt"});

    QCOMPARE(caseOf([] { RenameActions::renameFiles({}, RenameMode::uppercase); }),
             FinderActionExecutionError::Case::noSelection);
    // A vanished item stops the batch before anything is renamed or asked.
    QCOMPARE(caseOf([&] {
                 RenameActions::renameFiles({items.at(0), folder + "/gone.txt"}, RenameMode::addPrefix);
             }),
             FinderActionExecutionError::Case::sourceItemMissing);
    QVERIFY(FakePlatform::prompts().asked.isEmpty());
    // A rule that makes a name no folder can hold is refused before the first rename.
    FakePlatform::prompts().twoTextAnswers = {std::pair<QString, QString>("b", "x/y")};
    QCOMPARE(caseOf([&] { RenameActions::renameFiles(items, RenameMode::findReplace); }),
             FinderActionExecutionError::Case::invalidPath);
    FakePlatform::prompts().textAnswers = {QString(300, QLatin1Char('p'))};
    QCOMPARE(caseOf([&] { RenameActions::renameFiles(items, RenameMode::addPrefix); }),
             FinderActionExecutionError::Case::invalidPath);
    QCOMPARE(namesIn(folder), (QStringList{"a.txt", "b.txt"}));
}

void TestRenameActions::nestedSelectionFollowsRenamedFolder() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString folder = env.makeFolder("nested");
    const QString inner = env.writeFile(folder + "/Dir/inner.txt", "inner");
    const QString other = env.writeFile(folder + "/Dir/other.txt", "other");
    const QStringList results = RenameActions::renameFiles({folder + "/Dir", inner}, RenameMode::uppercase);
    QCOMPARE(results, (QStringList{folder + "/DIR", folder + "/DIR/INNER.txt"}));
    for (const QString& path : results)
        QVERIFY(QFileInfo::exists(path));
    QCOMPARE(readAll(folder + "/DIR/other.txt"), QByteArray("other"));
    Q_UNUSED(other);
}

void TestRenameActions::largeSelection() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString folder = env.makeFolder("many");
    QStringList items;
    for (int i = 1; i <= 2000; ++i)
        items.append(env.writeFile(folder + QStringLiteral("/item %1.dat").arg(i), QByteArray::number(i)));
    std::reverse(items.begin(), items.end());
    FakePlatform::prompts().textAnswers = {QStringLiteral("File")};
    const QStringList results = RenameActions::renameFiles(items, RenameMode::sequential);
    QCOMPARE(results.size(), 2000);
    QCOMPARE(QFileInfo(results.first()).fileName(), QString("File 001.dat"));
    // Ordered by value: "item 1000" is the thousandth, not the second.
    QCOMPARE(readAll(folder + "/File 1000.dat"), QByteArray("1000"));
    QCOMPARE(readAll(folder + "/File 2000.dat"), QByteArray("2000"));
    QCOMPARE(namesIn(folder).size(), 2000);
}

void TestRenameActions::revealRule() {
    TestEnvironment env;
    const QString folder = env.makeFolder("reveal");
    const QStringList items = makeFiles(env, folder, {"a.txt"});
    AppPreferences preferences;
    preferences.revealActionResults = true;
    QVERIFY(AppPreferencesPersistence::save(preferences));
    RenameActions::renameFiles(items, RenameMode::uppercase);
    QCOMPARE(FakePlatform::workspace().selections, QList<QStringList>{{folder + "/A.txt"}});

    FakePlatform::workspace().selections.clear();
    preferences.revealActionResults = false;
    QVERIFY(AppPreferencesPersistence::save(preferences));
    RenameActions::renameFiles({folder + "/A.txt"}, RenameMode::lowercase);
    QVERIFY(FakePlatform::workspace().selections.isEmpty());
    QVERIFY(QFileInfo::exists(folder + "/a.txt"));
}

void TestRenameActions::exclusiveRenameRefusesTakenNames() {
    TestEnvironment env;
    const QString folder = env.makeFolder("exclusive");
    const QString first = env.writeFile(folder + "/first", "1");
    const QString second = env.writeFile(folder + "/second", "2");
    QVERIFY(!ExclusiveRename::move(first, second));
    QCOMPARE(readAll(second), QByteArray("2"));
    QCOMPARE(readAll(first), QByteArray("1"));
    const QString emptyFolder = env.makeFolder("exclusive/empty");
    const QString full = env.makeFolder("exclusive/full");
    QVERIFY(!ExclusiveRename::move(full, emptyFolder));
    QVERIFY(QFileInfo(full).isDir());
    QVERIFY(ExclusiveRename::move(first, folder + "/third"));
    QCOMPARE(readAll(folder + "/third"), QByteArray("1"));
    bool threw = false;
    try {
        ExclusiveRename::move(folder + "/missing", folder + "/fourth");
    } catch (const KestroError& error) {
        threw = error.errorDescription().contains(QStringLiteral("missing"));
    }
    QVERIFY(threw);
}

QTEST_GUILESS_MAIN(TestRenameActions)
#include "test_rename_actions.moc"
