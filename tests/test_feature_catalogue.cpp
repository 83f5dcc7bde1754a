// The compiled-in catalogue: identities found both ways, every child dispatched, the desktop's own words.
#include "actions/ActionDispatchTable.h"
#include "catalogue/KestroFeature.h"
#include "platform/PlatformWords.h"

#include <QRegularExpression>
#include <QSet>
#include <QTest>

class TestFeatureCatalogue : public QObject {
    Q_OBJECT
private slots:
    void everyIdentityIsFoundBothWaysAndDispatched() {
        QSet<QString> featureIDs;
        QSet<QString> actionIDs;
        for (const KestroFeature& feature : KestroFeature::allCases()) {
            QVERIFY2(!featureIDs.contains(feature.id()), qPrintable(feature.id()));
            featureIDs.insert(feature.id());
            QCOMPARE(KestroFeature::fromRawValue(feature.id()), std::optional(feature));
            for (const KestroFeatureChild& child : feature.children()) {
                QVERIFY2(!actionIDs.contains(child.actionID), qPrintable(child.actionID));
                actionIDs.insert(child.actionID);
                QCOMPARE(KestroFeature::owning(child.actionID), std::optional(feature));
                QVERIFY2(ActionDispatchTable::find(child.actionID), qPrintable(child.actionID));
            }
        }
        QCOMPARE(featureIDs.size(), 14);
        QCOMPARE(actionIDs.size(), 73);
        QVERIFY(!featureIDs.intersects(actionIDs));
        // Dispatched without a switch of its own.
        QVERIFY(ActionDispatchTable::find("quickOpenKestroProject") &&
                !KestroFeature::owning("quickOpenKestroProject"));
        for (const QString& text :
             {QString(), QString("createfile"), QString(" createFile"), QString("createFolder")})
            QVERIFY2(!KestroFeature::fromRawValue(text), qPrintable(text));
        QVERIFY(!KestroFeature::owning("createfolder"));
    }

    void textsAreChineseInTheDesktopsOwnWords() {
        static const QRegularExpression han("\\p{Han}");
        static const QRegularExpression macWords("Finder|废纸篓|文稿|Terminal");
        for (int text = 0; text <= int(PlatformText::toggleHiddenFilesSummary); ++text)
            QVERIFY2(!platformText(PlatformText(text)).contains(macWords), qPrintable(QString::number(text)));
        for (const KestroFeature& feature : KestroFeature::allCases()) {
            QVERIFY2(feature.title().contains(han) && feature.summary().endsWith(u'。'),
                     qPrintable(feature.id()));
            QVERIFY2(!(feature.title() + feature.summary()).contains(macWords), qPrintable(feature.id()));
            for (const KestroFeatureChild& child : feature.children())
                QVERIFY2(child.title.contains(han) && !(child.title + child.summary).contains(macWords),
                         qPrintable(child.actionID));
        }
    }
};

QTEST_GUILESS_MAIN(TestFeatureCatalogue)
#include "test_feature_catalogue.moc"
