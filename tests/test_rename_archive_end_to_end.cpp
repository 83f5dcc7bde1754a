// The rename and archive actions through the real executable: kestro --perform with a request URL.
#include "support/FolderListing.h"
#include "support/KestroProcess.h"
#include "support/QuietPreferences.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QProcess>
#include <QtTest>

namespace {

struct Outcome {
    int exitCode = -1;
    QString standardError;
};

// Runs one request in a separate kestro process that sees this test's private home and temporary folders.
Outcome perform(const QString& actionID, const QStringList& paths, const QString& target) {
    const KestroProcess kestro = KestroProcess::run(
        {QStringLiteral("--perform"), KestroProcess::requestURL(actionID, paths, target)}, 120000);
    return {kestro.exitCode, QString::fromUtf8(kestro.standardError)};
}

} // namespace

class TestRenameArchiveEndToEnd : public QObject {
    Q_OBJECT

private slots:
    void init();
    void changesCase();
    void unansweredPromptRenamesNothing();
    void packsAndUnpacks();
    void damagedArchiveFails();
    void cleanup() { m_env.reset(); }

private:
    std::unique_ptr<TestEnvironment> m_env;
};

void TestRenameArchiveEndToEnd::init() {
    // The previous environment goes first: its destructor puts back the variables it found.
    m_env.reset();
    m_env = std::make_unique<TestEnvironment>();
    QVERIFY(saveQuietPreferences());
}

void TestRenameArchiveEndToEnd::changesCase() {
    const QString folder = m_env->makeFolder("case");
    const QString readme = m_env->writeFile(folder + "/README.MD", "readme");
    const QString dash = m_env->writeFile(folder + "/-n größe\nzwei.txt", "dash");
    Outcome outcome = perform("renameLowercase", {readme}, folder);
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(namesIn(folder), (QStringList{"-n größe\nzwei.txt", "readme.MD"}));
    outcome = perform("renameUppercase", {dash, folder + "/readme.MD"}, folder);
    QVERIFY2(outcome.exitCode == 0, qPrintable(outcome.standardError));
    QCOMPARE(namesIn(folder), (QStringList{"-N GRÖSSE\nZWEI.txt", "README.MD"}));
    QCOMPARE(readAll(folder + "/-N GRÖSSE\nZWEI.txt"), QByteArray("dash"));
}

void TestRenameArchiveEndToEnd::unansweredPromptRenamesNothing() {
    // Without a display the prompt answers "cancelled": no prefix, so nothing changes and nothing fails.
    const QString folder = m_env->makeFolder("prefix");
    const QString file = m_env->writeFile(folder + "/a.txt", "a");
    const Outcome outcome = perform("renameAddPrefix", {file}, folder);
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(namesIn(folder), QStringList{"a.txt"});
}

void TestRenameArchiveEndToEnd::packsAndUnpacks() {
    const QString folder = m_env->makeFolder("pack");
    const QString a = m_env->writeFile(folder + "/a.txt", "archived a");
    const QString b = m_env->writeFile(folder + "/-b c.txt", "archived b");
    Outcome outcome = perform("compressToZIP", {a, b}, folder);
    QVERIFY2(outcome.exitCode == 0, qPrintable(outcome.standardError));
    QVERIFY(m_env->logText().contains("compressed ZIP=" + folder + "/Archive.zip entries=["));

    const QString out = m_env->makeFolder("out");
    QVERIFY(QFile::rename(folder + "/Archive.zip", out + "/Archive.zip"));
    m_env->writeFile(out + "/a.txt", "mine");
    outcome = perform("extractZIPHere", {out + "/Archive.zip"}, out);
    QVERIFY2(outcome.exitCode == 0, qPrintable(outcome.standardError));
    QCOMPARE(namesIn(out), (QStringList{"-b c.txt", "Archive.zip", "a 2.txt", "a.txt"}));
    QCOMPARE(readAll(out + "/a.txt"), QByteArray("mine"));
    QCOMPARE(readAll(out + "/a 2.txt"), QByteArray("archived a"));

    outcome = perform("extractZIPToFolder", {out + "/Archive.zip"}, out);
    QVERIFY2(outcome.exitCode == 0, qPrintable(outcome.standardError));
    QCOMPARE(namesIn(out + "/Archive"), (QStringList{"-b c.txt", "a.txt"}));
    QCOMPARE(readAll(out + "/Archive/-b c.txt"), QByteArray("archived b"));
}

void TestRenameArchiveEndToEnd::damagedArchiveFails() {
    const QString folder = m_env->makeFolder("damaged");
    const QString archive = m_env->writeFile(folder + "/bad.zip", "PK\x03\x04 but nothing more");
    const Outcome outcome = perform("extractZIPHere", {archive}, folder);
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY2(outcome.standardError.contains("无法解压“bad.zip”"), qPrintable(outcome.standardError));
    QCOMPARE(namesIn(folder), QStringList{"bad.zip"});
}

QTEST_GUILESS_MAIN(TestRenameArchiveEndToEnd)
#include "test_rename_archive_end_to_end.moc"
