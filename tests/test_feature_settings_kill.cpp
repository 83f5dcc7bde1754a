// Killing a process in the middle of saving the feature settings never leaves a copy that fails to parse.
#include "catalogue/FeatureSettingsPersistence.h"
#include "platform/PropertyListFile.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QProcess>
#include <QRandomGenerator>
#include <QSet>
#include <QTest>
#include <QThread>

namespace {

const QStringList keys = {"childOrderByFeatureID", "enabledChildIDs",           "enabledFeatureIDs",
                          "featureOrder",          "groupsFeaturesUnderKestro", "menuLayout"};

// Both copies parse and carry every key with its type; returns the application copy's bytes.
QByteArray verifyCopies() {
    for (const QString& path :
         {FeatureSettingsPersistence::applicationFileURL(), FeatureSettingsPersistence::extensionFileURL()}) {
        if (!QFile::exists(path))
            continue;
        const std::optional<QVariant> root = PropertyListFile::read(path);
        if (!root || root->typeId() != QMetaType::QVariantMap) {
            qWarning() << "unparsable:" << path << readAll(path).right(200);
            return {};
        }
        const QVariantMap map = root->toMap();
        if (map.keys() != keys || map.value("enabledFeatureIDs").typeId() != QMetaType::QVariantList ||
            map.value("childOrderByFeatureID").toMap().size() != 14) {
            qWarning() << "incomplete:" << path << map.keys();
            return {};
        }
    }
    if (!FeatureSettingsPersistence::loadSettings())
        return {};
    return readAll(FeatureSettingsPersistence::applicationFileURL());
}

} // namespace

class TestFeatureSettingsKill : public QObject {
    Q_OBJECT
private slots:
    void killedMidSaveLeavesParsableCopies() {
        TestEnvironment environment;
        const QString saver = QStringLiteral(KESTRO_FEATURE_SETTINGS_SAVER);
        QVERIFY(QFileInfo(saver).isExecutable());
        QRandomGenerator random(7);
        QSet<QByteArray> distinctContents;
        int killedWhileSaving = 0;
        for (int round = 0; round < 200; ++round) {
            QProcess process;
            process.setProcessEnvironment(QProcessEnvironment::systemEnvironment());
            process.start(saver, {});
            QVERIFY2(process.waitForStarted(), qPrintable(process.errorString()));
            // Most rounds kill inside the saving loop (a save takes some milliseconds: both copies are
            // synced); some during start-up, which saves as well.
            const bool duringStartUp = round % 5 == 0;
            if (!duringStartUp) {
                QVERIFY2(process.waitForReadyRead(10'000), qPrintable(process.readAllStandardError()));
                QCOMPARE(process.readAllStandardOutput(), QByteArray("ready\n"));
            }
            QThread::usleep(random.bounded(duringStartUp ? 20'000 : 40'000));
            QCOMPARE(process.state(), QProcess::Running);
            process.kill(); // SIGKILL
            QVERIFY(process.waitForFinished(10'000));
            QCOMPARE(process.exitStatus(), QProcess::CrashExit);
            if (!duringStartUp)
                ++killedWhileSaving;
            if (!QFile::exists(FeatureSettingsPersistence::applicationFileURL())) {
                // Only a kill before the first save can leave no file at all.
                QVERIFY(duringStartUp);
                continue;
            }
            const QByteArray contents = verifyCopies();
            QVERIFY2(!contents.isEmpty(), qPrintable(QString("round %1").arg(round)));
            distinctContents.insert(contents);
        }
        QCOMPARE(killedWhileSaving, 160);
        // The saver really was changing the files between kills.
        QVERIFY2(distinctContents.size() > 20, qPrintable(QString::number(distinctContents.size())));
        // Temporary files of interrupted atomic writes may be left beside the copies; they are never read.
        const QStringList leftovers =
            QDir(QFileInfo(FeatureSettingsPersistence::applicationFileURL()).absolutePath())
                .entryList(QDir::Files)
                .filter(QRegularExpression("^FeatureSettings\\.plist\\..+"));
        qInfo() << "distinct saved states seen:" << distinctContents.size()
                << "temporary files left in the application folder:" << leftovers.size();
    }
};

QTEST_GUILESS_MAIN(TestFeatureSettingsKill)
#include "test_feature_settings_kill.moc"
