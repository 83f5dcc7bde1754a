// Copy, move and copy-beside-original through the real executable, one request per run.
#include "support/QuietPreferences.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

namespace {

struct Run {
    int exitCode = -1;
    QString errorText;
};

QString requestURL(const QString& actionID, const QStringList& paths, const QString& destination = {}) {
    QString url = QStringLiteral("kestro://finder-action?actionID=") + actionID;
    for (const QString& path : paths)
        url += QStringLiteral("&path=") + QString::fromLatin1(QUrl::toPercentEncoding(path));
    if (!destination.isEmpty())
        url += QStringLiteral("&destination=") + QString::fromLatin1(QUrl::toPercentEncoding(destination));
    return url;
}

Run perform(const QString& url) {
    QProcess process;
    process.setProcessEnvironment(QProcessEnvironment::systemEnvironment());
    process.start(qEnvironmentVariable("KESTRO_BINARY"), {QStringLiteral("--perform"), url});
    if (!process.waitForFinished(60000))
        return {};
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardError()).trimmed()};
}

QStringList entriesOf(const QString& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                  QDir::Name);
}

} // namespace

class TestCopyMoveEndToEnd : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        if (!QFileInfo(qEnvironmentVariable("KESTRO_BINARY")).isExecutable())
            QSKIP("KESTRO_BINARY does not name the built executable");
    }

    void copiesMovesAndCopiesBeside() {
        TestEnvironment environment;
        QVERIFY(saveQuietPreferences());
        const QString odd = environment.writeFile(QStringLiteral("src/-it's & \"odd\" 报告.txt"), "odd");
        const QString tree = environment.makeFolder(QStringLiteral("src/Tree"));
        environment.writeFile(tree + QStringLiteral("/inner.txt"), "inner");
        const QString destination = environment.makeFolder(QStringLiteral("dst folder"));
        environment.writeFile(destination + QStringLiteral("/Tree/keep.txt"), "keep");

        Run run = perform(requestURL(QStringLiteral("copyFilesToFolder"), {odd, tree}, destination));
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(entriesOf(destination), (QStringList{QStringLiteral("-it's & \"odd\" 报告.txt"),
                                                      QStringLiteral("Tree"), QStringLiteral("Tree 2")}));
        QCOMPARE(readAll(destination + QStringLiteral("/Tree 2/inner.txt")), QByteArray("inner"));
        QCOMPARE(readAll(destination + QStringLiteral("/Tree/keep.txt")), QByteArray("keep"));

        run = perform(requestURL(QStringLiteral("copyBesideOriginal"), {odd}));
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(readAll(environment.root() + QStringLiteral("/src/-it's & \"odd\" 报告 copy.txt")),
                 QByteArray("odd"));

        const QString moved = environment.makeFolder(QStringLiteral("moved"));
        run = perform(requestURL(QStringLiteral("moveFilesToFolder"), {odd, tree}, moved));
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(entriesOf(moved),
                 (QStringList{QStringLiteral("-it's & \"odd\" 报告.txt"), QStringLiteral("Tree")}));
        QVERIFY(!QFileInfo::exists(odd) && !QFileInfo::exists(tree));
    }

    void failuresExitNonZeroAndLoseNothing() {
        TestEnvironment environment;
        QVERIFY(saveQuietPreferences());
        const QString file = environment.writeFile(QStringLiteral("src/a.txt"), "a");
        const QString missing = environment.root() + QStringLiteral("/src/missing.txt");
        const QString destination = environment.makeFolder(QStringLiteral("dst"));

        Run run = perform(requestURL(QStringLiteral("moveFilesToFolder"), {file, missing}, destination));
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(run.errorText, QStringLiteral("所选文件不存在或无法访问：") + missing);

        run = perform(requestURL(QStringLiteral("copyFilesToFolder"), {file}, file));
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(run.errorText, QStringLiteral("目标文件夹不可用：") + file);

        // Without a display the folder chooser is cancelled at once.
        run = perform(requestURL(QStringLiteral("moveFilesToFolder"), {file}));
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(run.errorText, QStringLiteral("请先在文件管理器中选择文件。"));

        QCOMPARE(entriesOf(destination), QStringList());
        QCOMPARE(readAll(file), QByteArray("a"));
    }
};

QTEST_GUILESS_MAIN(TestCopyMoveEndToEnd)
#include "test_copy_move_end_to_end.moc"
