// The feature settings store: start-up from good, missing and bad files, every operation, the two copies
// and the announcement.
#include "catalogue/FeatureSettingsDefaults.h"
#include "catalogue/FeatureSettingsNormalization.h"
#include "catalogue/FeatureSettingsPersistence.h"
#include "catalogue/FeatureSettingsStore.h"
#include "catalogue/ListMove.h"
#include "platform/PropertyListFile.h"
#include "support/FakePlatform.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

#include <plist/plist.h>

namespace {

QByteArray binaryPlist(const QVariant& value) {
    const QByteArray xml = PropertyListFile::toXml(value);
    plist_t root = nullptr;
    plist_from_xml(xml.constData(), uint32_t(xml.size()), &root);
    char* bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(root, &bytes, &length);
    QByteArray result(bytes, qsizetype(length));
    std::free(bytes);
    plist_free(root);
    return result;
}

void writeApplicationCopy(const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(FeatureSettingsPersistence::applicationFileURL()).absolutePath());
    QFile file(FeatureSettingsPersistence::applicationFileURL());
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

QVariantMap storedMap(const FeatureSettings& settings) {
    return FeatureSettingsPersistence::propertyList(settings);
}

QStringList strings(const QVariant& value) {
    return value.toStringList();
}

QStringList sorted(QStringList list) {
    list.sort();
    return list;
}

// What every started store must satisfy, whatever the file held: either the defaults as they stand (nothing
// could be loaded) or a record brought in line with the catalogue.
void verifyNormalised(const FeatureSettings& settings) {
    if (settings == FeatureSettingsDefaults::settings())
        return;
    QCOMPARE(sorted(settings.featureOrder), sorted(FeatureSettingsDefaults::featureOrder()));
    QCOMPARE(settings.childOrderByFeatureID.size(), 14);
    for (const KestroFeature& feature : KestroFeature::allCases()) {
        const QStringList order = settings.childOrderByFeatureID.value(feature.id());
        for (const QString& id : feature.childIDs())
            QVERIFY2(order.contains(id), qPrintable(id));
        for (const QString& id : order)
            QVERIFY2(feature.childIDs().contains(id), qPrintable(id));
        if (settings.enabledFeatureIDs.contains(feature.id()) && !order.isEmpty())
            QVERIFY2(std::any_of(order.cbegin(), order.cend(),
                                 [&](const QString& id) { return settings.enabledChildIDs.contains(id); }),
                     qPrintable(feature.id()));
    }
    QCOMPARE(FeatureSettingsNormalization::validChildIDs(settings.enabledChildIDs), settings.enabledChildIDs);
}

} // namespace

class TestFeatureSettingsStore : public QObject {
    Q_OBJECT
private slots:
    void init() { m_environment = std::make_unique<TestEnvironment>(); }
    void cleanup() { m_environment.reset(); }

    void firstStartWritesTheDefaultsAsTheyStand() {
        FeatureSettingsStore store;
        QCOMPARE(store.settings(), FeatureSettingsDefaults::settings());
        QCOMPARE(FakePlatform::notifications().settingsReasons, QStringList({"feature-settings"}));
        const QByteArray application = readAll(FeatureSettingsPersistence::applicationFileURL());
        QVERIFY(application.startsWith("<?xml"));
        QCOMPARE(readAll(FeatureSettingsPersistence::extensionFileURL()), application);
        QVERIFY(FeatureSettingsPersistence::applicationFileURL().startsWith(m_environment->root()));
        const QVariantMap root =
            PropertyListFile::read(FeatureSettingsPersistence::applicationFileURL())->toMap();
        QCOMPARE(root.keys(), QStringList({"childOrderByFeatureID", "enabledChildIDs", "enabledFeatureIDs",
                                           "featureOrder", "groupsFeaturesUnderKestro", "menuLayout"}));
        QVERIFY(strings(root.value("enabledChildIDs")).contains("copyFilesToFolder"));
        QCOMPARE(strings(root.value("enabledChildIDs")), sorted(strings(root.value("enabledChildIDs"))));
        QCOMPARE(strings(root.value("enabledFeatureIDs")), sorted(strings(root.value("enabledFeatureIDs"))));
        QCOMPARE(root.value("menuLayout").toString(), QStringLiteral("collapsed"));
        QCOMPARE(root.value("groupsFeaturesUnderKestro").typeId(), QMetaType::Bool);

        // The next start validates: the two non-catalogue identifiers go, and the file is stable from then
        // on.
        FeatureSettingsStore second;
        QVERIFY(!second.isChildEnabled("copyFilesToFolder"));
        QVERIFY(!second.isChildEnabled("moveFilesToFolder"));
        QCOMPARE(second.settings().enabledChildIDs.size(), 56);
        const QByteArray validated = readAll(FeatureSettingsPersistence::applicationFileURL());
        FeatureSettingsStore third;
        QCOMPARE(readAll(FeatureSettingsPersistence::applicationFileURL()), validated);
        QCOMPARE(FakePlatform::notifications().settingsReasons.size(), 3);
    }

    void unusableFilesLoadAsDefaults_data() {
        QTest::addColumn<QByteArray>("bytes");
        const QByteArray valid = PropertyListFile::toXml(storedMap(FeatureSettingsDefaults::settings()));
        QTest::newRow("empty file") << QByteArray();
        QTest::newRow("truncated XML") << valid.left(valid.size() / 2);
        QTest::newRow("not a property list") << QByteArray("enabledFeatureIDs = createFile\n");
        QTest::newRow("random bytes") << QByteArray::fromHex("00ff13deadbeef0a0d00c3a9");
        QTest::newRow("JSON") << QByteArray(R"({"enabledFeatureIDs": ["createFile"]})");
        QTest::newRow("array at the top") << PropertyListFile::toXml(QVariantList{"createFile"});
        QTest::newRow("string at the top") << PropertyListFile::toXml(QString("enabledFeatureIDs"));
        QTest::newRow("empty dictionary") << PropertyListFile::toXml(QVariantMap());
        QTest::newRow("no enabledFeatureIDs") << PropertyListFile::toXml(
            QVariantMap{{"menuLayout", "expanded"}, {"groupsFeaturesUnderKestro", true}});
        QTest::newRow("binary without enabledFeatureIDs")
            << binaryPlist(QVariantMap{{"menuLayout", "expanded"}});
        QTest::newRow("truncated binary")
            << binaryPlist(storedMap(FeatureSettingsDefaults::settings())).left(200);
        QTest::newRow("binary magic only") << QByteArray("bplist00");
    }

    void unusableFilesLoadAsDefaults() {
        QFETCH(QByteArray, bytes);
        writeApplicationCopy(bytes);
        QVERIFY(!FeatureSettingsPersistence::loadSettings());
        FeatureSettingsStore store;
        QCOMPARE(store.settings(), FeatureSettingsDefaults::settings());
        // The unreadable file is kept beside the new one rather than lost.
        if (!bytes.isEmpty())
            QCOMPARE(readAll(FeatureSettingsPersistence::applicationFileURL() + ".unreadable"), bytes);
        QVERIFY(PropertyListFile::read(FeatureSettingsPersistence::applicationFileURL()));
        QCOMPARE(readAll(FeatureSettingsPersistence::extensionFileURL()),
                 readAll(FeatureSettingsPersistence::applicationFileURL()));
    }

    void wrongTypedKeysLoadAsTheirEmptyValues() {
        QVariantMap root = storedMap(FeatureSettingsDefaults::settings());
        root["groupsFeaturesUnderKestro"] = "true";
        root["menuLayout"] = "Expanded";
        root["featureOrder"] = QVariantMap{{"pdfTools", 1}};
        root["enabledChildIDs"] = QVariantList{"createFolder", 7};
        QVariantMap childOrder = root.value("childOrderByFeatureID").toMap();
        childOrder["quickOpen"] = QVariantList{"quickOpenTypedPath"};
        childOrder["pdfTools"] = "splitPDFs";
        root["childOrderByFeatureID"] = childOrder;
        root["enabledFeatureIDs"] = QVariantList{"pdfTools", QVariantList{"createFile"}};
        writeApplicationCopy(binaryPlist(root));

        const std::optional<FeatureSettings> loaded = FeatureSettingsPersistence::loadSettings();
        QVERIFY(loaded);
        QCOMPARE(loaded->enabledFeatureIDs, QSet<QString>());
        QVERIFY(!loaded->groupsFeaturesUnderKestro);
        QCOMPARE(loaded->menuLayout, FinderMenuLayout::collapsed);
        QCOMPARE(loaded->enabledChildIDs, QSet<QString>());
        QCOMPARE(loaded->featureOrder, QStringList());
        // One bad entry spoils the whole map, the good quickOpen entry included.
        QCOMPARE(loaded->childOrderByFeatureID, (QMap<QString, QStringList>()));

        FeatureSettingsStore store;
        QCOMPARE(store.settings().enabledFeatureIDs, QSet<QString>());
        QCOMPARE(store.settings().enabledChildIDs,
                 FeatureSettingsNormalization::validChildIDs(FeatureSettingsDefaults::enabledChildIDs()));
        QCOMPARE(store.settings().featureOrder, FeatureSettingsDefaults::featureOrder());
        verifyNormalised(store.settings());
    }

    void binaryFilesLoadLikeXml() {
        FeatureSettings stored = FeatureSettingsDefaults::settings();
        stored.menuLayout = FinderMenuLayout::expanded;
        stored.groupsFeaturesUnderKestro = true;
        stored.enabledFeatureIDs = {"pdfTools", "copyPath", "视图"};
        stored.enabledChildIDs = {"mergePDFs", "copyShellPath"};
        stored.featureOrder = FeatureSettingsDefaults::featureOrder();
        stored.featureOrder.move(stored.featureOrder.indexOf("copyPath"), 0);
        stored.featureOrder.move(stored.featureOrder.indexOf("pdfTools"), 0);
        stored.childOrderByFeatureID = {{"pdfTools", {"compressPDF", "mergePDFs"}}};
        writeApplicationCopy(binaryPlist(storedMap(stored)));
        QCOMPARE(FeatureSettingsPersistence::loadSettings(), std::optional(stored));

        FeatureSettingsStore store;
        QCOMPARE(store.menuLayout(), FinderMenuLayout::expanded);
        QVERIFY(store.groupsFeaturesUnderKestro());
        QCOMPARE(store.orderedFeatures().mid(0, 2),
                 QList<KestroFeature>({KestroFeature::pdfTools, KestroFeature::copyPath}));
        QCOMPARE(store.orderedChildren(KestroFeature::pdfTools).first().actionID,
                 QStringLiteral("compressPDF"));
        // Saved back as XML, with the unknown feature ID kept and the sets sorted by bytes.
        const QByteArray saved = readAll(FeatureSettingsPersistence::applicationFileURL());
        QVERIFY(saved.startsWith("<?xml"));
        const QVariantMap root = PropertyListFile::parse(saved)->toMap();
        QCOMPARE(strings(root.value("enabledFeatureIDs")), QStringList({"copyPath", "pdfTools", "视图"}));
    }

    void damagedBinaryFilesNeverBreakStartUp() {
        FeatureSettings stored = FeatureSettingsDefaults::settings();
        stored.menuLayout = FinderMenuLayout::expanded;
        const QByteArray binary = binaryPlist(storedMap(stored));
        // Every truncation is refused.
        for (qsizetype length = 0; length < binary.size(); ++length) {
            writeApplicationCopy(binary.left(length));
            QVERIFY2(!FeatureSettingsPersistence::loadSettings(), qPrintable(QString::number(length)));
        }
        // Flipped bytes load as something or as nothing, and the store always starts normalised.
        QRandomGenerator random(20240611);
        int loaded = 0;
        for (int round = 0; round < 200; ++round) {
            QByteArray damaged = binary;
            for (int flips = 0; flips < 1 + round % 4; ++flips)
                damaged[random.bounded(int(damaged.size()))] = char(random.bounded(256));
            writeApplicationCopy(damaged);
            if (FeatureSettingsPersistence::loadSettings())
                ++loaded;
            FeatureSettingsStore store;
            verifyNormalised(store.settings());
            if (QTest::currentTestFailed())
                QFAIL(qPrintable("round " + QString::number(round) + ": " + damaged.toHex()));
        }
        // Both roads were taken: damage the loader refused and damage it read past.
        qInfo() << "damaged files that still loaded:" << loaded << "of 200";
        QVERIFY(loaded > 0 && loaded < 200);
    }

    void damagedXmlFilesNeverBreakStartUp() {
        FeatureSettings stored = FeatureSettingsDefaults::settings();
        stored.featureOrder = {"pdfTools"};
        const QByteArray xml = PropertyListFile::toXml(storedMap(stored));
        int loaded = 0;
        for (qsizetype length = 0; length < xml.size(); length += 3) {
            writeApplicationCopy(xml.left(length));
            if (const std::optional<FeatureSettings> settings = FeatureSettingsPersistence::loadSettings()) {
                ++loaded;
                verifyNormalised(FeatureSettingsNormalization::atStartUp(*settings));
            }
        }
        qInfo() << "truncated XML files that still loaded:" << loaded;
        // Unicode, control characters and entities where identifiers belong.
        QByteArray odd = xml;
        odd.replace("<string>pdfTools</string>", "<string>pdf&#10;Tools&amp;\xe2\x80\x8b</string>");
        odd.replace("<string>createFolder</string>", "<string>\x01</string>");
        writeApplicationCopy(odd);
        FeatureSettingsStore store;
        verifyNormalised(store.settings());
    }

    void enablingAFeatureShowsItsChildren() {
        FeatureSettingsStore store;
        const KestroFeature tools = KestroFeature::developerTools;
        QVERIFY(!store.isEnabled(tools));
        for (const KestroFeatureChild& child : tools.children())
            QVERIFY(!store.isEnabled(child));
        QSignalSpy changed(&store, &FeatureSettingsStore::changed);
        store.setEnabled(true, tools);
        QVERIFY(store.isEnabled(tools));
        for (const KestroFeatureChild& child : tools.children())
            QVERIFY2(store.isEnabled(child), qPrintable(child.actionID));
        QCOMPARE(changed.count(), 1);

        // With one child on, enabling changes no child; disabling keeps the children's switches.
        store.setAllChildrenEnabled(false, tools);
        QVERIFY(store.isEnabled(tools));
        store.setEnabled(true, tools.children().at(1));
        store.setEnabled(false, tools);
        QVERIFY(!store.isEnabled(tools));
        QVERIFY(store.isEnabled(tools.children().at(1)));
        store.setEnabled(true, tools);
        const QStringList toolIDs = tools.childIDs();
        QCOMPARE(store.settings().enabledChildIDs & QSet<QString>(toolIDs.cbegin(), toolIDs.cend()),
                 QSet<QString>({toolIDs.at(1)}));

        // Every change is on disk at once.
        const std::optional<FeatureSettings> saved = FeatureSettingsPersistence::loadSettings();
        QCOMPARE(saved, std::optional(store.settings()));
        QCOMPARE(readAll(FeatureSettingsPersistence::extensionFileURL()),
                 readAll(FeatureSettingsPersistence::applicationFileURL()));
        for (const QString& reason : FakePlatform::notifications().settingsReasons)
            QCOMPARE(reason, QStringLiteral("feature-settings"));
    }

    void allChildrenOffSurvivesOnlyUntilTheNextStart() {
        {
            FeatureSettingsStore store;
            store.setAllChildrenEnabled(false, KestroFeature::batchRename);
            QVERIFY(store.isEnabled(KestroFeature::batchRename));
            QVERIFY(!store.isChildEnabled("renameAddPrefix"));
        }
        FeatureSettingsStore restarted;
        for (const QString& id : KestroFeature(KestroFeature::batchRename).childIDs())
            QVERIFY2(restarted.isChildEnabled(id), qPrintable(id));
    }

    void flagAndLayoutAreSavedAndAnnounced() {
        {
            FeatureSettingsStore store;
            QSignalSpy layout(&store, &FeatureSettingsStore::menuLayoutChanged);
            store.setMenuLayout(FinderMenuLayout::expanded);
            store.setGroupsFeaturesUnderKestro(true);
            QCOMPARE(layout.count(), 1);
            QCOMPARE(FakePlatform::notifications().settingsReasons.size(), 3);
        }
        const QVariantMap root =
            PropertyListFile::read(FeatureSettingsPersistence::extensionFileURL())->toMap();
        QCOMPARE(root.value("menuLayout").toString(), QStringLiteral("expanded"));
        QCOMPARE(root.value("groupsFeaturesUnderKestro"), QVariant(true));
        FeatureSettingsStore restarted;
        QCOMPARE(restarted.menuLayout(), FinderMenuLayout::expanded);
        QVERIFY(restarted.groupsFeaturesUnderKestro());
    }

    void movingFeaturesAndChildren() {
        {
            FeatureSettingsStore store;
            // quickOpen, createFile, organizeFile, copyFile, ...: the first and third go before copyFile.
            store.moveFeatures({0, 2}, 3);
            QCOMPARE(store.settings().featureOrder.mid(0, 5),
                     QStringList({"createFile", "quickOpen", "organizeFile", "copyFile", "batchRename"}));
            store.moveFeatures({0}, 99);
            QCOMPARE(store.settings().featureOrder.last(), QStringLiteral("createFile"));
            QCOMPARE(store.settings().featureOrder.size(), 14);

            store.moveChildren(KestroFeature::scheduledDeletion, {0}, 4);
            QCOMPARE(store.settings().childOrderByFeatureID.value("scheduledDeletion"),
                     QStringList({"scheduleDelete7Days", "scheduleDelete30Days", "scheduleDelete90Days",
                                  "scheduleDelete1Hour"}));
        }
        // That order is the one older versions wrote, so the next start puts one hour back on top.
        FeatureSettingsStore restarted;
        QCOMPARE(restarted.orderedChildren(KestroFeature::scheduledDeletion).first().actionID,
                 QStringLiteral("scheduleDelete1Hour"));
        QCOMPARE(restarted.orderedFeatures().last(), KestroFeature(KestroFeature::createFile));
        restarted.moveChildren(KestroFeature::archiveTools, {2}, 0);
        QCOMPARE(restarted.orderedChildren(KestroFeature::archiveTools).first().actionID,
                 QStringLiteral("extractZIPToFolder"));
        QCOMPARE(FeatureSettingsPersistence::loadSettings()->childOrderByFeatureID.value("archiveTools"),
                 QStringList({"extractZIPToFolder", "compressToZIP", "extractZIPHere"}));
    }

    void repeatedChildrenStayRepeated() {
        FeatureSettings stored = FeatureSettingsDefaults::settings();
        stored.childOrderByFeatureID["copyFile"] = {"copyBesideOriginal", "copyBesideOriginal"};
        stored.featureOrder = {"copyFile", "copyFile", "pdfTools"};
        writeApplicationCopy(PropertyListFile::toXml(storedMap(stored)));
        FeatureSettingsStore store;
        QCOMPARE(store.orderedFeatures().mid(0, 3),
                 QList<KestroFeature>(
                     {KestroFeature::copyFile, KestroFeature::pdfTools, KestroFeature::quickOpen}));
        QCOMPARE(store.orderedFeatures().size(), 14);
        const QList<KestroFeatureChild> children = store.orderedChildren(KestroFeature::copyFile);
        QCOMPARE(children.size(), 5);
        QCOMPARE(children.at(0), children.at(1));
        QCOMPARE(children.at(0).actionID, QStringLiteral("copyBesideOriginal"));
    }

    void aBlockedExtensionFolderStopsTheAnnouncement() {
        // A plain file where the extension's folder should be: even root cannot create the folder.
        m_environment->writeFile(QFileInfo(FeatureSettingsPersistence::extensionFileURL()).absolutePath(),
                                 "x");
        FeatureSettingsStore store;
        QVERIFY(PropertyListFile::read(FeatureSettingsPersistence::applicationFileURL()));
        QVERIFY(FakePlatform::notifications().settingsReasons.isEmpty());
        store.setMenuLayout(FinderMenuLayout::expanded);
        QCOMPARE(FeatureSettingsPersistence::loadSettings()->menuLayout, FinderMenuLayout::expanded);
        QVERIFY(FakePlatform::notifications().settingsReasons.isEmpty());
    }

    void aBlockedApplicationFolderWritesNothing() {
        m_environment->writeFile(QFileInfo(FeatureSettingsPersistence::applicationFileURL()).absolutePath(),
                                 "x");
        FeatureSettingsStore store;
        store.setEnabled(true, KestroFeature::developerTools);
        // The store keeps working in memory.
        QVERIFY(store.isEnabled(KestroFeature::developerTools));
        QVERIFY(!QFile::exists(FeatureSettingsPersistence::extensionFileURL()));
        QVERIFY(FakePlatform::notifications().settingsReasons.isEmpty());
        QVERIFY(!FeatureSettingsPersistence::save(store.settings()));
    }

    void listMoveRule_data() {
        QTest::addColumn<QList<qsizetype>>("offsets");
        QTest::addColumn<qsizetype>("destination");
        QTest::addColumn<QString>("expected");
        QTest::newRow("one down") << QList<qsizetype>{0} << qsizetype(2) << "bacde";
        QTest::newRow("one up") << QList<qsizetype>{3} << qsizetype(1) << "adbce";
        QTest::newRow("to the end") << QList<qsizetype>{1} << qsizetype(5) << "acdeb";
        QTest::newRow("past the end") << QList<qsizetype>{0, 1} << qsizetype(50) << "cdeab";
        QTest::newRow("scattered block keeps its order") << QList<qsizetype>{4, 0, 2} << qsizetype(1)
                                                         << "aceb"
                                                            "d";
        QTest::newRow("destination inside the block") << QList<qsizetype>{1, 2} << qsizetype(2) << "abcde";
        QTest::newRow("nothing to move") << QList<qsizetype>{} << qsizetype(0) << "abcde";
        QTest::newRow("offsets out of range are ignored")
            << QList<qsizetype>{-1, 9, 4} << qsizetype(0) << "eabcd";
    }

    void listMoveRule() {
        QFETCH(QList<qsizetype>, offsets);
        QFETCH(qsizetype, destination);
        QFETCH(QString, expected);
        const QStringList list = {"a", "b", "c", "d", "e"};
        const QStringList moved =
            movedList(list, QSet<qsizetype>(offsets.cbegin(), offsets.cend()), destination);
        QCOMPARE(moved.join(QString()), expected);
    }

private:
    std::unique_ptr<TestEnvironment> m_environment;
};

QTEST_GUILESS_MAIN(TestFeatureSettingsStore)
#include "test_feature_settings_store.moc"
