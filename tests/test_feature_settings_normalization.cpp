// How stored feature settings are brought in line with the catalogue at start-up.
#include "catalogue/FeatureSettingsDefaults.h"
#include "catalogue/FeatureSettingsNormalization.h"
#include "support/TestEnvironment.h"

#include <QTest>

using N = FeatureSettingsNormalization;

namespace {

QSet<QString> catalogueChildIDs() {
    QSet<QString> ids;
    for (const KestroFeature& feature : KestroFeature::allCases())
        for (const QString& id : feature.childIDs())
            ids.insert(id);
    return ids;
}

// A stored record as a user of the previous version would have it: every catalogue list complete.
FeatureSettings storedComplete() {
    FeatureSettings stored = FeatureSettingsDefaults::settings();
    stored.enabledChildIDs = N::validChildIDs(stored.enabledChildIDs);
    return stored;
}

} // namespace

class TestFeatureSettingsNormalization : public QObject {
    Q_OBJECT
private slots:
    void init() { m_environment = std::make_unique<TestEnvironment>(); }
    void cleanup() { m_environment.reset(); }

    void defaultSetsAreAsShipped() {
        const QSet<QString> children = FeatureSettingsDefaults::enabledChildIDs();
        QCOMPARE(children.size(), 58);
        // Two of them are no catalogue children; every other one is.
        QCOMPARE(children - catalogueChildIDs(), QSet<QString>({"copyFilesToFolder", "moveFilesToFolder"}));
        const QSet<QString> disabled = catalogueChildIDs() - children;
        QCOMPARE(disabled.size(), 17);
        for (const char* id : {"createJSONFile", "createSwiftFile", "openInTerminal", "renameLowercase",
                               "convertImageToTIFF", "stripImageMetadata", "copySHA256", "toggleHiddenFiles"})
            QVERIFY2(disabled.contains(id), id);
        QCOMPARE(FeatureSettingsDefaults::enabledFeatureIDs().size(), 13);
        QVERIFY(!FeatureSettingsDefaults::enabledFeatureIDs().contains("developerTools"));
        const QStringList order = FeatureSettingsDefaults::featureOrder();
        QCOMPARE(order.size(), 14);
        QCOMPARE(QSet<QString>(order.cbegin(), order.cend()).size(), 14);
        QCOMPARE(order.first(), QStringLiteral("quickOpen"));
        QCOMPARE(FeatureSettingsDefaults::childOrderByFeatureID().value("customActions"), QStringList());
        QCOMPARE(FeatureSettingsDefaults::childOrderByFeatureID().size(), 14);
    }

    void featureOrderDropsRepeatsAndUnknownsThenAppendsMissing() {
        QStringList expected = {"pdfTools"};
        for (const QString& id : FeatureSettingsDefaults::featureOrder())
            if (id != "pdfTools")
                expected.append(id);
        QCOMPARE(N::normalizedFeatureOrder({"pdfTools", "pdfTools", "retiredFeature"}), expected);
        QCOMPARE(N::normalizedFeatureOrder({}), FeatureSettingsDefaults::featureOrder());
        QCOMPARE(N::normalizedFeatureOrder({"", "PDFTOOLS"}), FeatureSettingsDefaults::featureOrder());
        const QStringList order = FeatureSettingsDefaults::featureOrder();
        const QStringList reversed(order.crbegin(), order.crend());
        QCOMPARE(N::normalizedFeatureOrder(reversed), reversed);
    }

    void childOrderKeepsRepeatsDropsStrangersAndCompletes() {
        const KestroFeature feature = KestroFeature::copyFile;
        QCOMPARE(N::normalizedChildOrder(std::nullopt, feature), feature.childIDs());
        QCOMPARE(N::normalizedChildOrder(QStringList(), feature), feature.childIDs());
        QCOMPARE(
            N::normalizedChildOrder(QStringList({"copyBesideOriginal", "copyBesideOriginal", "createFolder",
                                                 "copyFilesToFolder", "copyFilesToDocuments"}),
                                    feature),
            QStringList({"copyBesideOriginal", "copyBesideOriginal", "copyFilesToDocuments",
                         "copyFilesToDesktop", "copyFilesToDownloads"}));
        QCOMPARE(N::normalizedChildOrder(QStringList({"anything"}), KestroFeature::customActions),
                 QStringList());
    }

    void scheduledDeletionMigration_data() {
        QTest::addColumn<std::optional<QStringList>>("stored");
        QTest::addColumn<QStringList>("expected");
        const QStringList catalogue = {"scheduleDelete1Hour", "scheduleDelete7Days", "scheduleDelete30Days",
                                       "scheduleDelete90Days"};
        QTest::newRow("order before the one-hour choice moved")
            << std::optional<QStringList>({"scheduleDelete7Days", "scheduleDelete30Days",
                                           "scheduleDelete90Days", "scheduleDelete1Hour"})
            << catalogue;
        QTest::newRow("kept and completed")
            << std::optional<QStringList>({"scheduleDelete90Days", "scheduleDelete1Hour"})
            << QStringList({"scheduleDelete90Days", "scheduleDelete1Hour", "scheduleDelete7Days",
                            "scheduleDelete30Days"});
        QTest::newRow("no one-hour entry")
            << std::optional<QStringList>({"scheduleDelete90Days", "scheduleDelete7Days"}) << catalogue;
        QTest::newRow("empty") << std::optional<QStringList>(QStringList()) << catalogue;
        QTest::newRow("missing") << std::optional<QStringList>() << catalogue;
        QTest::newRow("legacy plus a stranger is no longer the legacy order")
            << std::optional<QStringList>({"scheduleDelete7Days", "scheduleDelete30Days",
                                           "scheduleDelete90Days", "scheduleDelete1Hour", "createFolder"})
            << QStringList({"scheduleDelete7Days", "scheduleDelete30Days", "scheduleDelete90Days",
                            "scheduleDelete1Hour"});
        QTest::newRow("one hour twice")
            << std::optional<QStringList>({"scheduleDelete1Hour", "scheduleDelete1Hour"})
            << QStringList({"scheduleDelete1Hour", "scheduleDelete1Hour", "scheduleDelete7Days",
                            "scheduleDelete30Days", "scheduleDelete90Days"});
    }

    void scheduledDeletionMigration() {
        QFETCH(std::optional<QStringList>, stored);
        QFETCH(QStringList, expected);
        QCOMPARE(N::normalizedChildOrder(stored, KestroFeature::scheduledDeletion), expected);
    }

    void childOrderMapCoversEveryFeatureOnly() {
        const QMap<QString, QStringList> map = N::normalizedChildOrderByFeatureID(
            {{"retired", {"createFolder"}}, {"quickOpen", {"quickOpenTypedPath"}}});
        QCOMPARE(map.size(), 14);
        QVERIFY(!map.contains("retired"));
        QCOMPARE(map.value("quickOpen").first(), QStringLiteral("quickOpenTypedPath"));
        QCOMPARE(map.value("quickOpen").size(), 7);
        QCOMPARE(map.value("createFile"), KestroFeature(KestroFeature::createFile).childIDs());
        QVERIFY(map.contains("customActions"));
    }

    void newFeaturesAreDefaultEnabledOnesTheOrderLacks() {
        QCOMPARE(N::newFeatureIDs({}), QSet<QString>());
        QCOMPARE(N::newFeatureIDs(FeatureSettingsDefaults::featureOrder()), QSet<QString>());
        QStringList withoutTwo = FeatureSettingsDefaults::featureOrder();
        withoutTwo.removeAll("imageTools");
        withoutTwo.removeAll("developerTools");
        // developerTools is off by default, so an update never switches it on.
        QCOMPARE(N::newFeatureIDs(withoutTwo), QSet<QString>({"imageTools"}));
    }

    void newChildrenAreDefaultEnabledOnesNoListNames() {
        QCOMPARE(N::newChildIDs({}), QSet<QString>());
        QMap<QString, QStringList> stored = FeatureSettingsDefaults::childOrderByFeatureID();
        stored["createFile"].removeAll("createReadmeFile");
        stored["createFile"].removeAll("createSwiftFile");
        QCOMPARE(N::newChildIDs(stored),
                 QSet<QString>({"createReadmeFile", "copyFilesToFolder", "moveFilesToFolder"}));
        // A child listed under the wrong feature still counts as known.
        stored["quickOpen"].append("createReadmeFile");
        QCOMPARE(N::newChildIDs(stored), QSet<QString>({"copyFilesToFolder", "moveFilesToFolder"}));
    }

    void validChildrenAreCatalogueChildren() {
        QCOMPARE(N::validChildIDs({"createFolder", "copyFilesToFolder", "quickOpenKestroProject", "",
                                   "createfolder", "toggleHiddenFiles"}),
                 QSet<QString>({"createFolder", "toggleHiddenFiles"}));
        QCOMPARE(N::validChildIDs(catalogueChildIDs()), catalogueChildIDs());
    }

    void enabledFeaturesAlwaysShowAChild() {
        const QMap<QString, QStringList> order = FeatureSettingsDefaults::childOrderByFeatureID();
        const QStringList pdfIDs = KestroFeature(KestroFeature::pdfTools).childIDs();
        const QSet<QString> pdf(pdfIDs.cbegin(), pdfIDs.cend());
        // Enabled with none: all come on.
        QCOMPARE(
            N::enabledChildIDsWithVisibleEnabledFeatures({"createFolder"}, {"createFile", "pdfTools"}, order),
            pdf | QSet<QString>({"createFolder"}));
        // Enabled with one: nothing changes.
        QCOMPARE(N::enabledChildIDsWithVisibleEnabledFeatures({"mergePDFs"}, {"pdfTools"}, order),
                 QSet<QString>({"mergePDFs"}));
        // Disabled features and features without children are left alone.
        QCOMPARE(N::enabledChildIDsWithVisibleEnabledFeatures({}, {"customActions", "retired"}, order),
                 QSet<QString>());
        // Without an entry in the map the catalogue list is used.
        QCOMPARE(N::enabledChildIDsWithVisibleEnabledFeatures({}, {"pdfTools"}, {}), pdf);
        // With an entry, that entry is what comes on.
        QCOMPARE(
            N::enabledChildIDsWithVisibleEnabledFeatures({}, {"pdfTools"}, {{"pdfTools", {"splitPDFs"}}}),
            QSet<QString>({"splitPDFs"}));
    }

    void startUpEnablesNewDefaultChildrenOnly() {
        FeatureSettings stored = storedComplete();
        stored.childOrderByFeatureID["createFile"].removeAll("createReadmeFile");
        stored.childOrderByFeatureID["createFile"].removeAll("createSwiftFile");
        stored.enabledChildIDs.remove("createReadmeFile");
        stored.enabledChildIDs.remove("createSwiftFile");
        const FeatureSettings settings = N::atStartUp(stored);
        QVERIFY(settings.enabledChildIDs.contains("createReadmeFile"));
        QVERIFY(!settings.enabledChildIDs.contains("createSwiftFile"));
        QVERIFY(!settings.enabledChildIDs.contains("copyFilesToFolder"));
        QVERIFY(!settings.enabledChildIDs.contains("moveFilesToFolder"));
        // A child the user switched off and that the order lists stays off.
        stored.enabledChildIDs.remove("createFolder");
        QVERIFY(!N::atStartUp(stored).enabledChildIDs.contains("createFolder"));
    }

    void startUpTreatsAnEmptyChildSetAsNeverConfigured() {
        FeatureSettings stored = storedComplete();
        stored.enabledChildIDs.clear();
        stored.enabledFeatureIDs = {"createFile"};
        stored.childOrderByFeatureID = {{"createFile", {"createSwiftFile"}}};
        const FeatureSettings settings = N::atStartUp(stored);
        QCOMPARE(settings.enabledChildIDs, N::validChildIDs(FeatureSettingsDefaults::enabledChildIDs()));
        QCOMPARE(settings.enabledChildIDs.size(), 56);
        QCOMPARE(settings.childOrderByFeatureID.value("createFile").first(),
                 QStringLiteral("createSwiftFile"));
    }

    void startUpReenablesChildrenOfAnEnabledFeature() {
        FeatureSettings stored = storedComplete();
        for (const QString& id : KestroFeature(KestroFeature::batchRename).childIDs())
            stored.enabledChildIDs.remove(id);
        stored.enabledFeatureIDs.remove("imageTools");
        for (const QString& id : KestroFeature(KestroFeature::imageTools).childIDs())
            stored.enabledChildIDs.remove(id);
        const FeatureSettings settings = N::atStartUp(stored);
        for (const QString& id : KestroFeature(KestroFeature::batchRename).childIDs())
            QVERIFY2(settings.enabledChildIDs.contains(id), qPrintable(id));
        // A disabled feature may keep all its children off.
        for (const QString& id : KestroFeature(KestroFeature::imageTools).childIDs())
            QVERIFY2(!settings.enabledChildIDs.contains(id), qPrintable(id));
        QVERIFY(!settings.enabledFeatureIDs.contains("imageTools"));
    }

    void startUpAddsFeaturesOfALaterVersion() {
        FeatureSettings stored = storedComplete();
        stored.featureOrder = {"pdfTools", "quickOpen"};
        stored.enabledFeatureIDs = {"pdfTools"};
        const FeatureSettings settings = N::atStartUp(stored);
        // Everything default-enabled that the order did not list comes on; quickOpen was listed and stays
        // off.
        QCOMPARE(settings.enabledFeatureIDs,
                 FeatureSettingsDefaults::enabledFeatureIDs() - QSet<QString>({"quickOpen"}));
        QCOMPARE(settings.featureOrder.mid(0, 3), QStringList({"pdfTools", "quickOpen", "createFile"}));
        // An empty stored order means nothing is new.
        stored.featureOrder.clear();
        QCOMPARE(N::atStartUp(stored).enabledFeatureIDs, QSet<QString>({"pdfTools"}));
    }

    void startUpKeepsFlagLayoutAndIsStable() {
        FeatureSettings stored = storedComplete();
        stored.groupsFeaturesUnderKestro = true;
        stored.menuLayout = FinderMenuLayout::expanded;
        stored.childOrderByFeatureID["createFile"].prepend("createTextFile");
        const FeatureSettings once = N::atStartUp(stored);
        QVERIFY(once.groupsFeaturesUnderKestro);
        QCOMPARE(once.menuLayout, FinderMenuLayout::expanded);
        QCOMPARE(once.childOrderByFeatureID.value("createFile").count("createTextFile"), 2);
        QCOMPARE(N::atStartUp(once), once);
    }

private:
    std::unique_ptr<TestEnvironment> m_environment;
};

QTEST_GUILESS_MAIN(TestFeatureSettingsNormalization)
#include "test_feature_settings_normalization.moc"
