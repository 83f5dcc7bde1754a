// Killing a process in the middle of saving the feature settings never leaves a copy that fails to parse.
#include "catalogue/FeatureSettingsPersistence.h"
#include "catalogue/FeatureSettingsStore.h"
#include "platform/PropertyListFile.h"
#include "support/FakePlatform.h"
#include "support/TestEnvironment.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QRandomGenerator>
#include <QSet>
#include <QTest>
#include <QThread>

#include <cstdio>

namespace {

// Both copies, where they exist, parse as settings with every key; returns the application copy's bytes.
QByteArray verifyCopies() {
    const QStringList keys = FeatureSettingsPersistence::propertyList({}).keys();
    for (const QString& path :
         {FeatureSettingsPersistence::applicationFileURL(), FeatureSettingsPersistence::extensionFileURL()}) {
        const std::optional<QVariant> root = PropertyListFile::read(path);
        if (QFile::exists(path) && !(root && FeatureSettingsPersistence::settingsFromPropertyList(*root) &&
                                     root->toMap().keys() == keys))
            return {};
    }
    return readAll(FeatureSettingsPersistence::applicationFileURL());
}

} // namespace

class TestFeatureSettingsKill : public QObject {
    Q_OBJECT
private slots:
    // The process the test below kills: this executable run for this function alone, in that test's home.
    void saveUntilKilled() {
        if (qEnvironmentVariableIsEmpty("KESTRO_SAVE_UNTIL_KILLED"))
            QSKIP("only as the process killedMidSaveLeavesParsableCopies starts");
        FakePlatform::install();
        FeatureSettingsStore store;
        std::printf("ready\n");
        std::fflush(stdout);
        QElapsedTimer clock;
        clock.start();
        // Each process starts elsewhere in the cycle (42 states), so consecutive ones write different
        // states. The time limit is a safety net for a test that died before killing it.
        for (quint64 round = QRandomGenerator::global()->bounded(1'000'000); clock.elapsed() < 60'000;
             ++round) {
            store.moveFeatures({0}, 14);
            store.setGroupsFeaturesUnderKestro(round % 3 == 0);
        }
    }

    void killedMidSaveLeavesParsableCopies() {
        TestEnvironment environment;
        QRandomGenerator random(7);
        QSet<QByteArray> distinctContents;
        QProcessEnvironment saverEnvironment = QProcessEnvironment::systemEnvironment();
        saverEnvironment.insert(QStringLiteral("KESTRO_SAVE_UNTIL_KILLED"), QStringLiteral("1"));
        for (int round = 0; round < 200; ++round) {
            QProcess process;
            process.setProcessEnvironment(saverEnvironment);
            process.start(QCoreApplication::applicationFilePath(), {QStringLiteral("saveUntilKilled")});
            QVERIFY2(process.waitForStarted(), qPrintable(process.errorString()));
            // Most rounds kill inside the saving loop (a save takes some milliseconds: both copies are
            // synced); some during start-up, which saves as well.
            const bool duringStartUp = round % 5 == 0;
            QByteArray output;
            while (!duringStartUp && !output.contains("ready\n") && process.waitForReadyRead(10'000))
                output += process.readAllStandardOutput();
            QVERIFY2(duringStartUp || output.contains("ready\n"), output.constData());
            QThread::usleep(random.bounded(duringStartUp ? 20'000 : 40'000));
            QCOMPARE(process.state(), QProcess::Running);
            process.kill(); // SIGKILL
            QVERIFY(process.waitForFinished(10'000));
            // Only a kill before the first save can leave no file at all.
            if (duringStartUp && !QFile::exists(FeatureSettingsPersistence::applicationFileURL()))
                continue;
            const QByteArray contents = verifyCopies();
            QVERIFY2(!contents.isEmpty(), qPrintable(QString("round %1").arg(round)));
            distinctContents.insert(contents);
        }
        // The saver really was changing the files between kills.
        QVERIFY2(distinctContents.size() > 20, qPrintable(QString::number(distinctContents.size())));
    }
};

QTEST_GUILESS_MAIN(TestFeatureSettingsKill)
#include "test_feature_settings_kill.moc"
