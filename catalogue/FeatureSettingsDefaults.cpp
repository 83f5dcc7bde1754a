#include "catalogue/FeatureSettingsDefaults.h"

#include "catalogue/KestroFeature.h"

QStringList FeatureSettingsDefaults::featureOrder() {
    return {
        QStringLiteral("quickOpen"),         QStringLiteral("createFile"),    QStringLiteral("organizeFile"),
        QStringLiteral("copyFile"),          QStringLiteral("batchRename"),   QStringLiteral("archiveTools"),
        QStringLiteral("scheduledDeletion"), QStringLiteral("imageTools"),    QStringLiteral("pdfTools"),
        QStringLiteral("copyPath"),          QStringLiteral("openWith"),      QStringLiteral("viewOptions"),
        QStringLiteral("customActions"),     QStringLiteral("developerTools")};
}

QSet<QString> FeatureSettingsDefaults::enabledFeatureIDs() {
    QSet<QString> ids;
    for (const KestroFeature& feature : KestroFeature::allCases()) {
        if (feature != KestroFeature::developerTools)
            ids.insert(feature.id());
    }
    return ids;
}

QSet<QString> FeatureSettingsDefaults::enabledChildIDs() {
    return {
        QStringLiteral("quickOpenHome"),
        QStringLiteral("quickOpenDesktop"),
        QStringLiteral("quickOpenDownloads"),
        QStringLiteral("quickOpenDocuments"),
        QStringLiteral("quickOpenApplications"),
        QStringLiteral("quickOpenClipboardPath"),
        QStringLiteral("quickOpenTypedPath"),
        QStringLiteral("createFolder"),
        QStringLiteral("createTextFile"),
        QStringLiteral("createRTFDocument"),
        QStringLiteral("createMarkdownFile"),
        QStringLiteral("createWordDocument"),
        QStringLiteral("createExcelSpreadsheet"),
        QStringLiteral("createPowerPointPresentation"),
        QStringLiteral("createPDFDocument"),
        QStringLiteral("createCSVFile"),
        QStringLiteral("createXMLFile"),
        QStringLiteral("createYAMLFile"),
        QStringLiteral("createPNGImage"),
        QStringLiteral("createJPEGImage"),
        QStringLiteral("createReadmeFile"),
        QStringLiteral("copyFilesToFolder"),
        QStringLiteral("copyFilesToDesktop"),
        QStringLiteral("copyFilesToDownloads"),
        QStringLiteral("copyFilesToDocuments"),
        QStringLiteral("copyBesideOriginal"),
        QStringLiteral("copyFullPath"),
        QStringLiteral("copyFileName"),
        QStringLiteral("copyParentPath"),
        QStringLiteral("copyShellPath"),
        QStringLiteral("copyMarkdownLink"),
        QStringLiteral("copyFileNameList"),
        QStringLiteral("revealInFinder"),
        QStringLiteral("finderViewPreset"),
        QStringLiteral("moveFilesToFolder"),
        QStringLiteral("moveFilesToDesktop"),
        QStringLiteral("moveFilesToDownloads"),
        QStringLiteral("moveFilesToDocuments"),
        QStringLiteral("moveSelectionToNewFolder"),
        QStringLiteral("renameAddPrefix"),
        QStringLiteral("renameAddSuffix"),
        QStringLiteral("renameFindReplace"),
        QStringLiteral("renameSequential"),
        QStringLiteral("compressToZIP"),
        QStringLiteral("extractZIPHere"),
        QStringLiteral("extractZIPToFolder"),
        QStringLiteral("scheduleDelete1Hour"),
        QStringLiteral("scheduleDelete7Days"),
        QStringLiteral("scheduleDelete30Days"),
        QStringLiteral("scheduleDelete90Days"),
        QStringLiteral("resizeImages"),
        QStringLiteral("convertImageToJPEG"),
        QStringLiteral("convertImageToPNG"),
        QStringLiteral("compressJPEG"),
        QStringLiteral("mergePDFs"),
        QStringLiteral("splitPDFs"),
        QStringLiteral("imagesToPDF"),
        QStringLiteral("compressPDF"),
    };
}

QMap<QString, QStringList> FeatureSettingsDefaults::childOrderByFeatureID() {
    QMap<QString, QStringList> order;
    for (const KestroFeature& feature : KestroFeature::allCases())
        order.insert(feature.id(), feature.childIDs());
    return order;
}

FeatureSettings FeatureSettingsDefaults::settings() {
    FeatureSettings settings;
    settings.enabledFeatureIDs = enabledFeatureIDs();
    // One "Kestro" entry in the file managers' menus: fourteen features side by side push the file manager's
    // own items (Properties included) off an 800-pixel-high screen in GNOME Files.
    settings.groupsFeaturesUnderKestro = true;
    settings.menuLayout = FinderMenuLayout::collapsed;
    settings.enabledChildIDs = enabledChildIDs();
    settings.featureOrder = featureOrder();
    settings.childOrderByFeatureID = childOrderByFeatureID();
    return settings;
}
