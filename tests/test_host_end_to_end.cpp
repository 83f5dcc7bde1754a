// The real kestro binary: a running host takes the request of a second launch, and the second launch ends.
#include "support/KestroProcess.h"
#include "support/QuietPreferences.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>
#include <QUrl>
#include <QUrlQuery>

class TestHostEndToEnd : public QObject {
    Q_OBJECT

private slots:
    void secondLaunchHandsItsRequestToTheRunningHost() {
        TestEnvironment environment;
        QVERIFY(!KestroProcess::binary().isEmpty());
        QVERIFY(saveQuietPreferences(QuietReveal::actionResultsAndCreatedItems));
        const QString target = environment.makeFolder(QStringLiteral("目标 folder with 'quotes'"));

        KestroHostProcess host;
        QVERIFY(host.start());
        const qint64 hostPid = host.process().processId();

        QProcess second;
        second.setProcessEnvironment(KestroProcess::environment());
        second.start(KestroProcess::binary(),
                     {kestroActionURL(QStringLiteral("createTextFile"), {}, target)});
        QVERIFY(second.waitForFinished(15000));
        QCOMPARE(second.exitStatus(), QProcess::NormalExit);
        QCOMPARE(second.exitCode(), 0);
        QCOMPARE(second.readAllStandardError(), QByteArray());
        QVERIFY(second.processId() != hostPid);

        // The host, not the second process, ran it: the file appears and the log shows the request once.
        QTRY_COMPARE_WITH_TIMEOUT(QDir(target).entryList(QDir::Files).size(), 1, 10000);
        const QString created = QDir(target).entryList(QDir::Files).constFirst();
        QVERIFY2(created.endsWith(QStringLiteral(".txt")), qPrintable(created));
        QTRY_VERIFY_WITH_TIMEOUT(
            environment.logText().contains(QStringLiteral("action succeeded: createTextFile")), 10000);
        const QString log = environment.logText();
        QCOMPARE(log.count(QStringLiteral("action=createTextFile passed=0")), 1);
        QCOMPARE(log.count(QStringLiteral("KestroApp init")), 1);
        QCOMPARE(log.count(QStringLiteral("app launched")), 1);

        // A launch without a URL only asks the host to show itself, and also ends at once.
        QProcess third;
        third.setProcessEnvironment(KestroProcess::environment());
        third.start(KestroProcess::binary(), {});
        QVERIFY(third.waitForFinished(15000));
        QCOMPARE(third.exitCode(), 0);
        QCOMPARE(environment.logText().count(QStringLiteral("KestroApp init")), 1);
        QCOMPARE(host.process().state(), QProcess::Running);
    }
};

QTEST_GUILESS_MAIN(TestHostEndToEnd)
#include "test_host_end_to_end.moc"
