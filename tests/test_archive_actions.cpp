// ZIP archives: packing names and log line, round trips with awkward names, unpacking that never replaces
// a user's item, the same-name folder, damaged and encrypted archives, wildcard characters, many items.
#include "actions/ArchiveActions.h"
#include "catalogue/AppPreferencesPersistence.h"
#include "platform/FinderActionExecutionError.h"
#include "support/FakePlatform.h"
#include "support/FolderListing.h"
#include "support/QuietPreferences.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QProcess>
#include <QtTest>

namespace {

// Every item below a folder as "relative path=contents" (folders as "relative path/"), sorted.
QStringList tree(const QString& folder) {
    QStringList lines;
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QString relative = QDir(folder).relativeFilePath(path);
        lines.append(it.fileInfo().isDir() ? relative + '/'
                                           : relative + '=' + QString::fromUtf8(readAll(path)));
    }
    lines.sort();
    return lines;
}

// Packs items (relative path and contents) into archive with the real zip tool, independently of the code
// under test, from a folder of their own beside the test's.
void zipItems(const TestEnvironment& env, const QString& archive,
              const QList<std::pair<QString, QByteArray>>& items, const QStringList& extra = {}) {
    const QString packed = env.makeFolder("packed " + QFileInfo(archive).fileName());
    for (const auto& [name, contents] : items)
        env.writeFile(packed + '/' + name, contents);
    QProcess zip;
    zip.setWorkingDirectory(packed);
    zip.start("/usr/bin/zip", QStringList{"-qr"} + extra + QStringList{archive, "."});
    QVERIFY(zip.waitForFinished());
    QCOMPARE(zip.exitCode(), 0);
}

template <typename Action> std::optional<FinderActionExecutionError> errorOf(Action action) {
    try {
        action();
    } catch (const FinderActionExecutionError& error) {
        return error;
    }
    return std::nullopt;
}

const QStringList awkwardNames = {"-r dash.txt", "blank name.txt", "quo\"te's.txt", "new\nline.txt",
                                  "中文 é.txt",  "p[1]*?.txt",     ".hidden"};

} // namespace

class TestArchiveActions : public QObject {
    Q_OBJECT

private slots:
    void archiveNames();
    void logLineListsEntries();
    void sameNamesFromTwoFoldersBothArrive();
    void packsTheTargetWithoutSelection();
    void roundTripWithAwkwardNames();
    void unpackingNeverReplaces();
    void sameNameFolderIsUnique();
    void damagedArchivesLeaveNothing_data();
    void damagedArchivesLeaveNothing();
    void encryptedArchiveFailsWithoutWaiting();
    void wildcardArchiveNameIsTakenLiterally();
    void onlyZipArchivesAreUnpacked();
    void manyItems();
    void revealRule();
};

void TestArchiveActions::archiveNames() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString folder = env.makeFolder("names");
    const QString report = env.writeFile(folder + "/Report.pdf", "pdf");
    const QString photos = env.makeFolder("names/Photos");
    env.writeFile(photos + "/one.jpg", "jpg");
    QCOMPARE(ArchiveActions::compressToZIP({report}, std::nullopt), QStringList{folder + "/Report.zip"});
    QCOMPARE(ArchiveActions::compressToZIP({report}, std::nullopt), QStringList{folder + "/Report 2.zip"});
    QCOMPARE(ArchiveActions::compressToZIP({photos}, std::nullopt), QStringList{folder + "/Photos.zip"});
    QCOMPARE(ArchiveActions::compressToZIP({report, photos}, std::nullopt),
             QStringList{folder + "/Archive.zip"});
    QCOMPARE(ArchiveActions::zipEntries(folder + "/Photos.zip"), (QStringList{"Photos/", "Photos/one.jpg"}));
    QCOMPARE(ArchiveActions::zipEntries(folder + "/Report 2.zip"), QStringList{"Report.pdf"});
    // Nothing is left behind: no staging folder in the temporary folder, no half-written archive.
    QVERIFY(namesIn(env.root() + "/tmp").isEmpty());
    QCOMPARE(namesIn(folder), (QStringList{"Archive.zip", "Photos", "Photos.zip", "Report 2.zip",
                                           "Report.pdf", "Report.zip"}));
}

void TestArchiveActions::logLineListsEntries() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString folder = env.makeFolder("log");
    const QString a = env.writeFile(folder + "/a.txt", "a");
    const QString b = env.writeFile(folder + "/sub dir/b.txt", "b");
    ArchiveActions::compressToZIP({a, folder + "/sub dir"}, std::nullopt);
    // zip lists a folder in the file system's own order, so the three entries may come in any order.
    const QRegularExpression line(QStringLiteral("\\] compressed ZIP=(.*) entries=\\[(.*)\\]\n"));
    const QRegularExpressionMatch match = line.match(env.logText());
    QVERIFY2(match.hasMatch(), qPrintable(env.logText()));
    QCOMPARE(match.captured(1), folder + "/Archive.zip");
    QStringList entries = match.captured(2).split(", ");
    entries.sort();
    QCOMPARE(entries, (QStringList{"\"a.txt\"", "\"sub dir/\"", "\"sub dir/b.txt\""}));
    Q_UNUSED(b);
}

void TestArchiveActions::sameNamesFromTwoFoldersBothArrive() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString first = env.writeFile("one/a.txt", "first");
    const QString second = env.writeFile("two/a.txt", "second");
    const QStringList archive = ArchiveActions::compressToZIP({first, second}, std::nullopt);
    QCOMPARE(archive, QStringList{env.root() + "/one/Archive.zip"});
    const QString out = env.makeFolder("out");
    QVERIFY(QFile::rename(archive.first(), out + "/Archive.zip"));
    ArchiveActions::extractZIPs({out + "/Archive.zip"}, ArchiveExtractionMode::currentFolder);
    QCOMPARE(tree(out), (QStringList{"Archive.zip=" + QString::fromUtf8(readAll(out + "/Archive.zip")),
                                     "a 2.txt=second", "a.txt=first"}));
}

void TestArchiveActions::packsTheTargetWithoutSelection() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString project = env.makeFolder("parent/Project");
    env.writeFile(project + "/main.cpp", "int main() {}");
    QCOMPARE(ArchiveActions::compressToZIP({}, project), QStringList{env.root() + "/parent/Project.zip"});
    QCOMPARE(ArchiveActions::zipEntries(env.root() + "/parent/Project.zip"),
             (QStringList{"Project/", "Project/main.cpp"}));
    QCOMPARE(errorOf([] { ArchiveActions::compressToZIP({}, std::nullopt); })->errorCase(),
             FinderActionExecutionError::Case::noSelection);
    QCOMPARE(errorOf([&] {
                 ArchiveActions::compressToZIP({env.root() + "/parent/gone"}, std::nullopt);
             })->errorCase(),
             FinderActionExecutionError::Case::sourceItemMissing);
}

void TestArchiveActions::roundTripWithAwkwardNames() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString source = env.makeFolder("source");
    QStringList items;
    for (const QString& name : awkwardNames)
        items.append(env.writeFile(source + '/' + name, ("contents of " + name).toUtf8()));
    env.writeFile(source + "/-folder/.inner/deep file", "deep");
    items.append(source + "/-folder");
    const QStringList archive = ArchiveActions::compressToZIP(items, std::nullopt);
    QCOMPARE(archive, QStringList{source + "/Archive.zip"});

    const QString out = env.makeFolder("-out");
    QVERIFY(QFile::rename(archive.first(), out + "/-Archive.zip"));
    const QStringList results =
        ArchiveActions::extractZIPs({out + "/-Archive.zip"}, ArchiveExtractionMode::currentFolder);
    QCOMPARE(results.size(), items.size());
    QVERIFY(QFile::remove(out + "/-Archive.zip"));
    QFile::remove(source + "/Archive.zip");
    QCOMPARE(tree(out), tree(source));
    for (const QString& result : results)
        QVERIFY(QFileInfo(result).exists());
}

void TestArchiveActions::unpackingNeverReplaces() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString folder = env.makeFolder("user");
    zipItems(env, folder + "/x.zip", {{"a.txt", "from the archive"}, {"docs/readme", "archive readme"}});
    env.writeFile(folder + "/a.txt", "mine");
    env.writeFile(folder + "/docs/keep", "my docs");

    const QStringList results =
        ArchiveActions::extractZIPs({folder + "/x.zip"}, ArchiveExtractionMode::currentFolder);
    QCOMPARE(results, (QStringList{folder + "/a 2.txt", folder + "/docs 2"}));
    QCOMPARE(readAll(folder + "/a.txt"), QByteArray("mine"));
    QCOMPARE(readAll(folder + "/a 2.txt"), QByteArray("from the archive"));
    QCOMPARE(namesIn(folder + "/docs"), QStringList{"keep"});
    QCOMPARE(readAll(folder + "/docs 2/readme"), QByteArray("archive readme"));
    QCOMPARE(namesIn(folder), (QStringList{"a 2.txt", "a.txt", "docs", "docs 2", "x.zip"}));

    // Unpacked a second time, the archive's items take the next numbers.
    const QStringList again =
        ArchiveActions::extractZIPs({folder + "/x.zip"}, ArchiveExtractionMode::currentFolder);
    QCOMPARE(fileNames(again), (QStringList{"a 3.txt", "docs 3"}));
}

void TestArchiveActions::sameNameFolderIsUnique() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString folder = env.makeFolder("user");
    zipItems(env, folder + "/Photos.zip", {{"p.jpg", "picture"}});
    zipItems(env, folder + "/v1.2.ZIP", {{"p.jpg", "picture"}});
    env.writeFile(folder + "/Photos/old.jpg", "old");

    const QStringList results = ArchiveActions::extractZIPs({folder + "/Photos.zip", folder + "/v1.2.ZIP"},
                                                            ArchiveExtractionMode::sameNameFolder);
    QCOMPARE(results, (QStringList{folder + "/Photos 2", folder + "/v1.2"}));
    QCOMPARE(tree(folder + "/Photos"), QStringList{"old.jpg=old"});
    QCOMPARE(tree(folder + "/Photos 2"), QStringList{"p.jpg=picture"});
    QCOMPARE(tree(folder + "/v1.2"), QStringList{"p.jpg=picture"});
    QCOMPARE(
        fileNames(ArchiveActions::extractZIPs({folder + "/v1.2.ZIP"}, ArchiveExtractionMode::sameNameFolder)),
        QStringList{"v1.2 2"});
    QCOMPARE(namesIn(folder),
             (QStringList{"Photos", "Photos 2", "Photos.zip", "v1.2", "v1.2 2", "v1.2.ZIP"}));
}

void TestArchiveActions::damagedArchivesLeaveNothing_data() {
    QTest::addColumn<int>("damage");
    QTest::newRow("not a zip") << 0;
    QTest::newRow("truncated") << 1;
    QTest::newRow("bad checksum") << 2;
}

void TestArchiveActions::damagedArchivesLeaveNothing() {
    QFETCH(int, damage);
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString folder = env.makeFolder("user");
    zipItems(env, env.root() + "/good.zip",
             {{"first.txt", QByteArray(4000, 'a')}, {"second.txt", QByteArray(4000, 'b')}}, {"-0"});
    QByteArray bytes = readAll(env.root() + "/good.zip");
    if (damage == 0)
        bytes = "this is not an archive";
    else if (damage == 1)
        bytes.truncate(bytes.size() / 2);
    else
        bytes[bytes.indexOf("bbbb") + 100] = 'X';
    env.writeFile(folder + "/broken.zip", bytes);
    env.writeFile(folder + "/first.txt", "mine");

    for (const auto mode : {ArchiveExtractionMode::currentFolder, ArchiveExtractionMode::sameNameFolder}) {
        const auto error = errorOf([&] { ArchiveActions::extractZIPs({folder + "/broken.zip"}, mode); });
        QVERIFY(error);
        QCOMPARE(error->errorCase(), FinderActionExecutionError::Case::commandFailed);
        QVERIFY2(error->errorDescription().startsWith("无法解压“broken.zip”"),
                 qPrintable(error->errorDescription()));
        QCOMPARE(namesIn(folder), (QStringList{"broken.zip", "first.txt"}));
        QCOMPARE(readAll(folder + "/first.txt"), QByteArray("mine"));
    }
}

void TestArchiveActions::encryptedArchiveFailsWithoutWaiting() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString folder = env.makeFolder("user");
    zipItems(env, folder + "/locked.zip", {{"secret.txt", "secret"}}, {"-P", "password"});
    const auto error = errorOf(
        [&] { ArchiveActions::extractZIPs({folder + "/locked.zip"}, ArchiveExtractionMode::currentFolder); });
    QVERIFY(error);
    QCOMPARE(error->errorCase(), FinderActionExecutionError::Case::commandFailed);
    QCOMPARE(namesIn(folder), QStringList{"locked.zip"});
}

void TestArchiveActions::wildcardArchiveNameIsTakenLiterally() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString folder = env.makeFolder("user");
    zipItems(env, folder + "/p[1].zip", {{"mine.txt", "bracketed"}});
    zipItems(env, folder + "/p1.zip", {{"other.txt", "plain"}});
    zipItems(env, folder + "/p?.zip", {{"other.txt", "plain"}});
    QCOMPARE(ArchiveActions::zipEntries(folder + "/p[1].zip"), QStringList{"mine.txt"});
    QCOMPARE(
        fileNames(ArchiveActions::extractZIPs({folder + "/p[1].zip"}, ArchiveExtractionMode::currentFolder)),
        QStringList{"mine.txt"});
    QCOMPARE(
        fileNames(ArchiveActions::extractZIPs({folder + "/p?.zip"}, ArchiveExtractionMode::currentFolder)),
        QStringList{"other.txt"});
    QCOMPARE(namesIn(folder), (QStringList{"mine.txt", "other.txt", "p1.zip", "p?.zip", "p[1].zip"}));
}

void TestArchiveActions::onlyZipArchivesAreUnpacked() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString folder = env.makeFolder("user");
    zipItems(env, folder + "/a.zip", {{"inside.txt", "inside"}});
    env.writeFile(folder + "/b.txt", "b");
    QCOMPARE(ArchiveActions::extractZIPs({folder + "/a.zip", folder + "/b.txt"},
                                         ArchiveExtractionMode::currentFolder),
             QStringList{folder + "/inside.txt"});
    QCOMPARE(errorOf([&] {
                 ArchiveActions::extractZIPs({folder + "/b.txt"}, ArchiveExtractionMode::currentFolder);
             })->errorCase(),
             FinderActionExecutionError::Case::noSelection);
    QCOMPARE(errorOf([&] {
                 ArchiveActions::extractZIPs({folder + "/gone.zip"}, ArchiveExtractionMode::sameNameFolder);
             })->errorCase(),
             FinderActionExecutionError::Case::sourceItemMissing);
    QVERIFY(ArchiveActions::zipEntries(folder + "/gone.zip").isEmpty());
    QVERIFY(ArchiveActions::zipEntries(folder + "/b.txt").isEmpty());
}

void TestArchiveActions::manyItems() {
    TestEnvironment env;
    QVERIFY(saveQuietPreferences());
    const QString folder = env.makeFolder("many");
    QStringList items;
    for (int i = 0; i < 2000; ++i)
        items.append(env.writeFile(folder + QStringLiteral("/f %1.txt").arg(i), QByteArray::number(i)));
    const QString archive = ArchiveActions::compressToZIP(items, std::nullopt).first();
    QCOMPARE(ArchiveActions::zipEntries(archive).size(), 2000);
    const QString out = env.makeFolder("out");
    QVERIFY(QFile::rename(archive, out + "/many.zip"));
    const QStringList results =
        ArchiveActions::extractZIPs({out + "/many.zip"}, ArchiveExtractionMode::currentFolder);
    QCOMPARE(results.size(), 2000);
    // Reported in file-manager order: "f 2" before "f 10".
    QCOMPARE(fileNames(results.mid(0, 3)), (QStringList{"f 0.txt", "f 1.txt", "f 2.txt"}));
    QCOMPARE(readAll(out + "/f 1999.txt"), QByteArray("1999"));
}

void TestArchiveActions::revealRule() {
    TestEnvironment env;
    const QString folder = env.makeFolder("reveal");
    const QString file = env.writeFile(folder + "/a.txt", "a");
    AppPreferences preferences;
    preferences.revealActionResults = true;
    QVERIFY(AppPreferencesPersistence::save(preferences));
    const QString archive = ArchiveActions::compressToZIP({file}, std::nullopt).first();
    QCOMPARE(FakePlatform::workspace().selections, QList<QStringList>{{archive}});
    FakePlatform::workspace().selections.clear();
    ArchiveActions::extractZIPs({archive}, ArchiveExtractionMode::sameNameFolder);
    QCOMPARE(FakePlatform::workspace().selections, QList<QStringList>{{folder + "/a"}});
    QVERIFY(FakePlatform::workspace().openedUrls.isEmpty());
}

QTEST_GUILESS_MAIN(TestArchiveActions)
#include "test_archive_actions.moc"
