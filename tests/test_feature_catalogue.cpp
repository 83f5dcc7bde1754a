// The compiled-in catalogue: its shape, its identities and its agreement with the dispatcher.
#include "actions/ActionDispatchTable.h"
#include "catalogue/FinderMenuLayout.h"
#include "catalogue/KestroFeature.h"
#include "platform/PlatformWords.h"
#include "support/TestEnvironment.h"

#include <QRegularExpression>
#include <QSet>
#include <QTest>

class TestFeatureCatalogue : public QObject {
    Q_OBJECT
private slots:
    void init() { m_environment = std::make_unique<TestEnvironment>(); }
    void cleanup() { m_environment.reset(); }

    void countsPerFeature() {
        const QList<KestroFeature> features = KestroFeature::allCases();
        QCOMPARE(features.size(), 14);
        const QHash<QString, int> expected = {
            {"createFile", 22}, {"quickOpen", 7},     {"copyFile", 4},          {"copyPath", 6},
            {"openWith", 2},    {"viewOptions", 1},   {"customActions", 0},     {"organizeFile", 4},
            {"batchRename", 6}, {"archiveTools", 3},  {"scheduledDeletion", 4}, {"imageTools", 6},
            {"pdfTools", 4},    {"developerTools", 4}};
        int total = 0;
        for (const KestroFeature& feature : features) {
            QVERIFY2(expected.contains(feature.id()), qPrintable(feature.id()));
            QCOMPARE(feature.children().size(), expected.value(feature.id()));
            total += feature.children().size();
        }
        QCOMPARE(total, 73);
        QVERIFY(KestroFeature(KestroFeature::customActions).children().isEmpty());
    }

    void allCasesFollowTheCatalogueOrder() {
        QStringList ids;
        for (const KestroFeature& feature : KestroFeature::allCases())
            ids.append(feature.id());
        QCOMPARE(ids,
                 QStringList({"createFile", "quickOpen", "copyFile", "copyPath", "openWith", "viewOptions",
                              "customActions", "organizeFile", "batchRename", "archiveTools",
                              "scheduledDeletion", "imageTools", "pdfTools", "developerTools"}));
    }

    void identifiersAreUniqueAndOwnedOnce() {
        QSet<QString> featureIDs;
        QSet<QString> actionIDs;
        for (const KestroFeature& feature : KestroFeature::allCases()) {
            QVERIFY2(!featureIDs.contains(feature.id()), qPrintable(feature.id()));
            featureIDs.insert(feature.id());
            QCOMPARE(feature.rawValue(), feature.id());
            QCOMPARE(KestroFeature::fromRawValue(feature.id()), std::optional(feature));
            for (const KestroFeatureChild& child : feature.children()) {
                QVERIFY2(!actionIDs.contains(child.actionID), qPrintable(child.actionID));
                actionIDs.insert(child.actionID);
                QCOMPARE(child.id(), child.actionID);
                QCOMPARE(KestroFeature::owning(child.actionID), std::optional(feature));
            }
            QCOMPARE(feature.childIDs().size(), feature.children().size());
        }
        QCOMPARE(actionIDs.size(), 73);
        // A feature identifier is never also an action identifier.
        QVERIFY(!featureIDs.intersects(actionIDs));
    }

    void everyChildIsHandledByTheDispatcher() {
        for (const KestroFeature& feature : KestroFeature::allCases()) {
            for (const KestroFeatureChild& child : feature.children())
                QVERIFY2(ActionDispatchTable::find(child.actionID) != nullptr, qPrintable(child.actionID));
        }
        // The dispatcher accepts more than the catalogue shows: those have no switch.
        QVERIFY(ActionDispatchTable::find("quickOpenKestroProject") != nullptr);
        QVERIFY(!KestroFeature::owning("quickOpenKestroProject"));
    }

    void unknownIdentifiersYieldNothing() {
        for (const QString& text : {QString(), QString(""), QString("createfile"), QString(" createFile"),
                                    QString("createFile "), QString("新建"), QString("createFolder")})
            QVERIFY2(!KestroFeature::fromRawValue(text), qPrintable(text));
        QVERIFY(!KestroFeature::owning(""));
        QVERIFY(!KestroFeature::owning("createfolder"));
    }

    void textsAreChineseAndSymbolsAreNames() {
        static const QRegularExpression symbol("^[a-z0-9]+(\\.[a-z0-9]+)*$");
        static const QRegularExpression han("\\p{Han}");
        // The desktop's own words (文件管理器, 回收站, 文档), never macOS's.
        static const QRegularExpression macWords("Finder|废纸篓|文稿|Terminal");
        for (int text = 0; text <= int(PlatformText::toggleHiddenFilesSummary); ++text)
            QVERIFY2(!platformText(PlatformText(text)).contains(macWords), qPrintable(QString::number(text)));
        for (const KestroFeature& feature : KestroFeature::allCases()) {
            QVERIFY2(feature.title().contains(han), qPrintable(feature.id()));
            QVERIFY2(feature.summary().endsWith(QStringLiteral("。")), qPrintable(feature.id()));
            QVERIFY2(!(feature.title() + feature.summary()).contains(macWords), qPrintable(feature.id()));
            QVERIFY2(symbol.match(feature.systemImage()).hasMatch(), qPrintable(feature.systemImage()));
            for (const KestroFeatureChild& child : feature.children()) {
                QVERIFY2(!child.title.isEmpty() && child.summary.endsWith(QStringLiteral("。")),
                         qPrintable(child.actionID));
                QVERIFY2(!(child.title + child.summary).contains(macWords), qPrintable(child.actionID));
                QVERIFY2(symbol.match(child.systemImage).hasMatch(), qPrintable(child.systemImage));
            }
        }
    }

    void sampledRowsCarryTheirTexts() {
        const KestroFeature pdf = KestroFeature::pdfTools;
        QCOMPARE(pdf.title(), QStringLiteral("处理 PDF"));
        QCOMPARE(pdf.summary(), QStringLiteral("合并、拆分、压缩 PDF，或把图片变成 PDF。"));
        QCOMPARE(pdf.systemImage(), QStringLiteral("doc.richtext"));
        const QList<KestroFeatureChild> created = KestroFeature(KestroFeature::createFile).children();
        QCOMPARE(created.first(),
                 (KestroFeatureChild{QStringLiteral("新建文件夹"), QStringLiteral("创建一个新的空文件夹。"),
                                     "folder.badge.plus", "createFolder"}));
        const KestroFeatureChild jpeg = created.at(13);
        QCOMPARE(jpeg.actionID, QStringLiteral("createJPEGImage"));
        QCOMPARE(jpeg.title, QStringLiteral("新建 JPG 图片"));
        QCOMPARE(created.last().actionID, QStringLiteral("createGitignoreFile"));
        const QList<KestroFeatureChild> scheduled =
            KestroFeature(KestroFeature::scheduledDeletion).children();
        QCOMPARE(scheduled.first().actionID, QStringLiteral("scheduleDelete1Hour"));
        for (const KestroFeatureChild& child : scheduled)
            QCOMPARE(child.summary, QStringLiteral("到期后自动把选中文件移到回收站。"));
        QCOMPARE(KestroFeature(KestroFeature::viewOptions).children().first().systemImage,
                 KestroFeature(KestroFeature::viewOptions).systemImage());
    }

    void childEqualityComparesEveryField() {
        const KestroFeatureChild child = KestroFeature(KestroFeature::copyPath).children().first();
        KestroFeatureChild retitled = child;
        retitled.title = QStringLiteral("别的标题");
        QCOMPARE(retitled.id(), child.id());
        QVERIFY(retitled != child);
        QCOMPARE(qHash(retitled), qHash(child));
        // children() builds a fresh list each time with equal values.
        QCOMPARE(KestroFeature(KestroFeature::copyPath).children().first(), child);
    }

    void menuLayoutRawValues() {
        QCOMPARE(finderMenuLayoutRawValue(FinderMenuLayout::collapsed), QStringLiteral("collapsed"));
        QCOMPARE(finderMenuLayoutRawValue(FinderMenuLayout::expanded), QStringLiteral("expanded"));
        QCOMPARE(finderMenuLayoutFromRawValue("expanded"), std::optional(FinderMenuLayout::expanded));
        QVERIFY(!finderMenuLayoutFromRawValue("Expanded"));
        QVERIFY(!finderMenuLayoutFromRawValue(""));
    }

private:
    std::unique_ptr<TestEnvironment> m_environment;
};

QTEST_GUILESS_MAIN(TestFeatureCatalogue)
#include "test_feature_catalogue.moc"
