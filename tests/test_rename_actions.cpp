// Batch rename: every rule on real files, file-manager order, case-only changes,
// collisions that must never overwrite, repeated and nested selections, cancelled prompts and bad input.
#include "actions/FinderNameOrder.h"
#include "actions/RenameActions.h"
#include "platform/ExclusiveRename.h"
#include "support/ActionRequests.h"
#include "support/QuietPreferences.h"

namespace {

struct Rename {
    RenameMode mode;
    QString answer, present, selected, expected, results;
};

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

    // Case aside, numbers by value, equal names in the order they came, in the C locale as in Chinese.
    void theNameOrderIsTheSameInEveryLocale() {
        for (const QLocale& locale : {QLocale::c(), QLocale(QLocale::Chinese, QLocale::China)}) {
            QLocale::setDefault(locale);
            QStringList paths{"/x/file 10", "/y/File 2", "/x/b", "/3/a", "/1/A"};
            FinderNameOrder::sortByName(paths);
            QLocale::setDefault(QLocale::system());
            QCOMPARE(paths, (QStringList{"/3/a", "/1/A", "/x/b", "/y/File 2", "/x/file 10"}));
        }
    }

    // Each file holds its own name, so the result shows which item went where. Lists are written with "|"
    // between items: the prompt's text (or find|replace), the unselected items in the folder, the selection
    // in the order given, every file afterwards, and the results.
    void everyRuleOnRealFiles_data() {
        rows<Rename>({
            {"prefix",
             {RenameMode::addPrefix, "2024-", "", "notes.txt|.profile",
              "2024-.profile=.profile|2024-notes.txt=notes.txt", "2024-.profile|2024-notes.txt"}},
            {"suffix before the last extension",
             {RenameMode::addSuffix, "_v2", "", "notes.txt|archive.tar.gz|.profile|plain",
              ".profile_v2=.profile|archive.tar_v2.gz=archive.tar.gz|notes_v2.txt=notes.txt|plain_v2=plain",
              ".profile_v2|archive.tar_v2.gz|notes_v2.txt|plain_v2"}},
            {"replace in the stem, case-sensitive",
             {RenameMode::findReplace, "a|b", "", "Banana.tar.gz|Apple.a",
              "Apple.a=Apple.a|Bbnbnb.tbr.gz=Banana.tar.gz", "Bbnbnb.tbr.gz"}},
            {"empty search finds nothing",
             {RenameMode::findReplace, "|zz", "", "Apple.a", "Apple.a=Apple.a", ""}},
            {"numbers in file-manager order",
             {RenameMode::sequential, "Trip", "", "b.jpg|file 10|a.png|c|File 2",
              "Trip 001.png=a.png|Trip 002.jpg=b.jpg|Trip 003=c|Trip 004=File 2|Trip 005=file 10",
              "Trip 001.png|Trip 002.jpg|Trip 003|Trip 004|Trip 005"}},
            {"taken names, by others and in turn",
             {RenameMode::findReplace, "1|", "x.txt", "x11.txt|x1.txt",
              "x 2.txt=x1.txt|x 3.txt=x11.txt|x.txt=x.txt", "x 2.txt|x 3.txt"}},
            {"case only, also onto another item",
             {RenameMode::lowercase, "", "readme.MD", "README.MD|Ärger.TXT|already lower.txt",
              "already lower.txt=already lower.txt|readme "
              "2.MD=README.MD|readme.MD=readme.MD|ärger.TXT=Ärger.TXT",
              "ärger.TXT|readme 2.MD"}},
            {"a letter that grows",
             {RenameMode::uppercase, "", "", "straße.txt", "STRASSE.txt=straße.txt", "STRASSE.txt"}},
            {"selected twice",
             {RenameMode::addPrefix, "x", "", "a.txt|a.txt|./a.txt", "xa.txt=a.txt", "xa.txt"}},
            {"a folder and an item in it",
             {RenameMode::uppercase, "", "Dir/other.txt", "Dir|Dir/inner.txt",
              "DIR/|DIR/INNER.txt=Dir/inner.txt|DIR/other.txt=Dir/other.txt", "DIR|DIR/INNER.txt"}},
        });
    }
    void everyRuleOnRealFiles() {
        QFETCH(Rename, row);
        const QStringList answer = row.answer.split('|');
        revealResults(true);
        for (const QString& name : list(row.present) + list(row.selected))
            if (name != "Dir")
                m_env->writeFile(m_folder + '/' + QDir::cleanPath(name), QDir::cleanPath(name).toUtf8());
        FakePlatform::prompts().textAnswers = {answer[0]};
        if (answer.size() == 2)
            FakePlatform::prompts().twoTextAnswers = {std::pair{answer[0], answer[1]}};
        QStringList paths = list(row.selected);
        paths.replaceInStrings(QRegularExpression("^"), m_folder + '/');

        const QStringList renamed = RenameActions::renameFiles(paths, row.mode);
        QCOMPARE(tree(m_folder), list(row.expected));
        QStringList relative = renamed;
        relative.replaceInStrings(QRegularExpression('^' + QRegularExpression::escape(m_folder + '/')), "");
        QCOMPARE(relative, list(row.results));
        QCOMPARE(FakePlatform::workspace().selections,
                 renamed.isEmpty() ? QList<QStringList>() : QList<QStringList>{renamed});
    }

    // A cancelled prompt renames nothing: numbering under a made-up name would lose the names for good.
    void cancelledPromptsAndBadInputLoseNothing() {
        const QStringList items = {m_env->writeFile(m_folder + "/a.txt", "a"),
                                   m_env->writeFile(m_folder + "/b.txt", "b")};
        for (const RenameMode mode : {RenameMode::addPrefix, RenameMode::findReplace}) // the two ways to ask
            QVERIFY(RenameActions::renameFiles(items, mode).isEmpty());
        FakePlatform::prompts().asked.clear();

        const auto refusal = [](const QStringList& selection, RenameMode mode) {
            return caseOf([&] { RenameActions::renameFiles(selection, mode); });
        };
        QCOMPARE(refusal({}, RenameMode::uppercase), Case::noSelection);
        QCOMPARE(refusal({items[0], m_folder + "/gone.txt"}, RenameMode::addPrefix), Case::sourceItemMissing);
        QVERIFY(FakePlatform::prompts().asked.isEmpty()); // stopped before asking
        FakePlatform::prompts().twoTextAnswers = {std::pair<QString, QString>("b", "x/y")};
        QCOMPARE(refusal(items, RenameMode::findReplace), Case::invalidPath);
        FakePlatform::prompts().textAnswers = {QString(300, 'p')};
        QCOMPARE(refusal(items, RenameMode::addPrefix), Case::invalidPath);
        QCOMPARE(namesIn(m_folder), (QStringList{"a.txt", "b.txt"}));
        // With "a.txt", 255 bytes: the most there is.
        FakePlatform::prompts().textAnswers = {QString(250, 'p')};
        QCOMPARE(fileNames(RenameActions::renameFiles({items[0]}, RenameMode::addPrefix)),
                 {QString(250, 'p') + "a.txt"});
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
            !failureText([&] { ExclusiveRename::move(m_folder + "/missing", m_folder + "/4th"); }).isEmpty());
        QCOMPARE(tree(m_folder), (QStringList{"empty/", "full/", "full/inner/", "second=2", "third=1"}));
    }

private:
    static QStringList list(const QString& text) { return text.split('|', Qt::SkipEmptyParts); }

    std::optional<TestEnvironment> m_env;
    QString m_folder;
};

QTEST_GUILESS_MAIN(TestRenameActions)
#include "test_rename_actions.moc"
