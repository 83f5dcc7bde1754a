// The real kestro binary: a running host takes the request of a second launch, and the second launch ends.
#include "support/QuietPreferences.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>
#include <QUrl>
#include <QUrlQuery>

namespace {

QString binary() {
    return qEnvironmentVariable("KESTRO_BINARY");
}

QProcessEnvironment hostEnvironment() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("KESTRO_REPORT_READY"), QStringLiteral("1"));
    return environment;
}

QString requestURL(const QString& actionID, const QString& target) {
    QUrl url;
    url.setScheme(QStringLiteral("kestro"));
    url.setHost(QStringLiteral("finder-action"));
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("actionID"), actionID);
    query.addQueryItem(QStringLiteral("target"), QString::fromLatin1(QUrl::toPercentEncoding(target)));
    url.setQuery(query);
    return url.toString(QUrl::FullyEncoded);
}

// Starts the host and waits for its ready line.
bool startHost(QProcess& host) {
    host.setProcessEnvironment(hostEnvironment());
    host.setProcessChannelMode(QProcess::SeparateChannels);
    host.start(binary(), {});
    if (!host.waitForStarted(10000))
        return false;
    host.setReadChannel(QProcess::StandardError);
    QByteArray errors;
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < 30000 && host.state() == QProcess::Running) {
        host.waitForReadyRead(200);
        errors += host.readAllStandardError();
        if (errors.contains("kestro: ready\n"))
            return true;
    }
    qWarning("host did not report ready: %s", errors.constData());
    return false;
}

void stopHost(QProcess& host) {
    host.terminate();
    if (!host.waitForFinished(10000))
        host.kill();
    host.waitForFinished(5000);
}

} // namespace

class TestHostEndToEnd : public QObject {
    Q_OBJECT

private slots:
    void secondLaunchHandsItsRequestToTheRunningHost() {
        TestEnvironment environment;
        QVERIFY(!binary().isEmpty());
        QVERIFY(saveQuietPreferences(QuietReveal::actionResultsAndCreatedItems));
        const QString target = environment.makeFolder(QStringLiteral("目标 folder with 'quotes'"));

        QProcess host;
        QVERIFY(startHost(host));
        const qint64 hostPid = host.processId();

        QProcess second;
        second.setProcessEnvironment(hostEnvironment());
        second.start(binary(), {requestURL(QStringLiteral("createTextFile"), target)});
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
        third.setProcessEnvironment(hostEnvironment());
        third.start(binary(), {});
        QVERIFY(third.waitForFinished(15000));
        QCOMPARE(third.exitCode(), 0);
        QCOMPARE(environment.logText().count(QStringLiteral("KestroApp init")), 1);
        QCOMPARE(host.state(), QProcess::Running);

        stopHost(host);
    }
};

QTEST_GUILESS_MAIN(TestHostEndToEnd)
#include "test_host_end_to_end.moc"
