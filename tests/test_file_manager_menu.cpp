// The one Kestro menu the file managers render: layouts, grouping, the user's lists, where items apply.
#include "catalogue/FeatureSettingsDefaults.h"
#include "integration/KestroMenuModel.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTest>

namespace {

QStringList titles(const QList<KestroMenuItem>& items) {
    QStringList result;
    for (const KestroMenuItem& item : items)
        result.append(item.title);
    return result;
}

QStringList actionIDs(const QList<KestroMenuItem>& items) {
    QStringList result;
    for (const KestroMenuItem& item : KestroMenuModel::actions(items))
        result.append(item.actionID);
    return result;
}

// A small, hand-made choice: two features with a few children, nothing of the user's lists.
KestroMenuInput smallInput() {
    KestroMenuInput input;
    input.settings.featureOrder = {QStringLiteral("copyPath"), QStringLiteral("createFile")};
    input.settings.enabledFeatureIDs = {QStringLiteral("createFile"), QStringLiteral("copyPath")};
    input.settings.enabledChildIDs = {QStringLiteral("createTextFile"), QStringLiteral("createFolder"),
                                      QStringLiteral("copyFileName")};
    input.settings.childOrderByFeatureID = {
        {QStringLiteral("createFile"), {QStringLiteral("createTextFile"), QStringLiteral("createFolder")}}};
    return input;
}

const KestroMenuItem* findByAction(const QList<KestroMenuItem>& menu, const QString& actionID) {
    for (const KestroMenuItem& item : menu) {
        if (item.actionID == actionID)
            return &item;
        if (const KestroMenuItem* found = findByAction(item.children, actionID))
            return found;
    }
    return nullptr;
}

} // namespace

class TestFileManagerMenu : public QObject {
    Q_OBJECT

private slots:
    void collapsedGivesOneSubmenuPerFeatureInTheUsersOrder() {
        const QList<KestroMenuItem> menu = KestroMenuModel::build(smallInput());
        QCOMPARE(titles(menu), (QStringList{QStringLiteral("复制名称与路径"), QStringLiteral("新建")}));
        QCOMPARE(titles(menu.at(0).children), QStringList{QStringLiteral("复制文件名")});
        // The user's child order first, the rest of the catalogue after it; only enabled ones show.
        QCOMPARE(titles(menu.at(1).children),
                 (QStringList{QStringLiteral("新建文本文件"), QStringLiteral("新建文件夹")}));
        QVERIFY(menu.at(1).isSubmenu());
        QCOMPARE(menu.at(1).children.at(0).actionID, QStringLiteral("createTextFile"));
    }

    void expandedListsEveryActionDirectly() {
        KestroMenuInput input = smallInput();
        input.settings.menuLayout = FinderMenuLayout::expanded;
        const QList<KestroMenuItem> menu = KestroMenuModel::build(input);
        QCOMPARE(titles(menu), (QStringList{QStringLiteral("复制文件名"), QStringLiteral("新建文本文件"),
                                            QStringLiteral("新建文件夹")}));
        for (const KestroMenuItem& item : menu)
            QVERIFY(!item.isSubmenu());
    }

    void groupingPutsEverythingUnderOneKestroEntry() {
        for (FinderMenuLayout layout : {FinderMenuLayout::collapsed, FinderMenuLayout::expanded}) {
            KestroMenuInput input = smallInput();
            input.settings.menuLayout = layout;
            const QList<KestroMenuItem> plain = KestroMenuModel::build(input);
            input.settings.groupsFeaturesUnderKestro = true;
            const QList<KestroMenuItem> grouped = KestroMenuModel::build(input);
            QCOMPARE(grouped.size(), 1);
            QCOMPARE(grouped.at(0).title, QStringLiteral("Kestro"));
            QCOMPARE(grouped.at(0).children, plain);
        }
        // Nothing enabled: no empty Kestro entry either.
        KestroMenuInput empty;
        empty.settings.groupsFeaturesUnderKestro = true;
        QVERIFY(KestroMenuModel::build(empty).isEmpty());
    }

    void disabledFeaturesAndChildrenStayOut() {
        KestroMenuInput input = smallInput();
        input.settings.enabledFeatureIDs.remove(QStringLiteral("copyPath"));
        input.settings.enabledChildIDs.remove(QStringLiteral("createFolder"));
        QCOMPARE(actionIDs(KestroMenuModel::build(input)), QStringList{QStringLiteral("createTextFile")});
    }

    void defaultsShowEveryEnabledFeatureWithItems() {
        // developerTools is off on a first start; customActions has nothing without the user's actions and
        // viewOptions nothing without presets.
        KestroMenuInput input;
        input.settings = FeatureSettingsDefaults::settings();
        // By default all of it sits under one "Kestro" entry.
        QCOMPARE(titles(KestroMenuModel::build(input)), QStringList{QStringLiteral("Kestro")});
        input.settings.groupsFeaturesUnderKestro = false;
        const QList<KestroMenuItem> menu = KestroMenuModel::build(input);
        QCOMPARE(menu.size(), 11);
        QCOMPARE(menu.first().title, QStringLiteral("打开"));
        QVERIFY(!findByAction(menu, QStringLiteral("copySHA256")));
        QVERIFY(findByAction(menu, QStringLiteral("compressPDF")));
    }

    void usersListsBecomeItems() {
        KestroMenuInput input;
        input.settings.featureOrder = {QStringLiteral("copyFile"), QStringLiteral("viewOptions"),
                                       QStringLiteral("customActions"), QStringLiteral("organizeFile")};
        input.settings.enabledFeatureIDs = {QStringLiteral("copyFile"), QStringLiteral("viewOptions"),
                                            QStringLiteral("customActions"), QStringLiteral("organizeFile")};
        input.settings.enabledChildIDs = {QStringLiteral("copyFilesToDesktop"),
                                          QStringLiteral("copyFilesToDownloads"),
                                          QStringLiteral("finderViewPreset")};
        // The desktop listed by the user: "复制到桌面" would offer the same place a second time.
        const QString desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
        input.destinations[QStringLiteral("copy")] = {
            {QStringLiteral("d1"), QStringLiteral("项目 备份"), QStringLiteral("/srv/back up")},
            {QStringLiteral("d1"), QStringLiteral("repeated id"), QStringLiteral("/elsewhere")},
            {QStringLiteral("d2"), QStringLiteral("桌面"), desktop + QStringLiteral("/")}};
        input.destinations[QStringLiteral("move")] = {
            {QStringLiteral("m1"), QStringLiteral("归档"), QStringLiteral("/srv/archive")}};
        CustomShortcutAction script;
        script.id = QStringLiteral("s1");
        script.name = QStringLiteral("我的脚本");
        script.kind = CustomShortcutAction::Kind::script;
        script.scriptPath = QStringLiteral("/usr/local/bin/x.sh");
        CustomShortcutAction shortcut;
        shortcut.id = QStringLiteral("s2");
        shortcut.name = QStringLiteral("快捷指令");
        input.customActions = {shortcut, script};

        // No view presets and no Shortcuts on Linux: that feature has nothing, the shortcut is not offered.
        const QList<KestroMenuItem> menu = KestroMenuModel::build(input);
        QCOMPARE(titles(menu), (QStringList{QStringLiteral("复制到"), QStringLiteral("自定义动作"),
                                            QStringLiteral("移动到")}));
        // Destinations first, then the children; a repeated id keeps its first entry only.
        QCOMPARE(
            titles(menu.at(0).children),
            (QStringList{QStringLiteral("项目 备份"), QStringLiteral("桌面"), QStringLiteral("复制到下载")}));
        const KestroMenuItem& copy = menu.at(0).children.at(0);
        QCOMPARE(copy.actionID, QStringLiteral("copyFilesToFolder"));
        QCOMPARE(copy.destinationPath, std::optional<QString>(QStringLiteral("/srv/back up")));
        QCOMPARE(copy.id, QStringLiteral("copyFilesToFolder@d1"));
        QCOMPARE(titles(menu.at(1).children), QStringList{QStringLiteral("我的脚本")});
        QCOMPARE(menu.at(1).children.at(0).actionID, QStringLiteral("runScript__s1"));
        QCOMPARE(menu.at(2).children.at(0).actionID, QStringLiteral("moveFilesToFolder"));

        // Flat, a destination says what it does.
        input.settings.menuLayout = FinderMenuLayout::expanded;
        const QList<KestroMenuItem> flat = KestroMenuModel::build(input);
        QCOMPARE(flat.at(0).title, QStringLiteral("复制到 项目 备份"));
        QCOMPARE(flat.last().title, QStringLiteral("移动到 归档"));

        // The item ids stay unique throughout.
        QSet<QString> ids;
        for (const KestroMenuItem& item : KestroMenuModel::actions(flat))
            ids.insert(item.id);
        QCOMPARE(ids.size(), KestroMenuModel::actions(flat).size());
    }

    void backgroundShowsOnlyWhatNeedsNoSelection() {
        KestroMenuInput input;
        input.settings = FeatureSettingsDefaults::settings();
        input.settings.groupsFeaturesUnderKestro = false;
        input.settings.enabledChildIDs.insert(QStringLiteral("openInTerminal"));
        input.destinations[QStringLiteral("quickOpen")] = {
            {QStringLiteral("q1"), QStringLiteral("工作"), QStringLiteral("/srv/work")}};
        input.settings.enabledFeatureIDs.insert(QStringLiteral("developerTools"));
        input.settings.enabledChildIDs.insert(QStringLiteral("toggleHiddenFiles"));
        const QList<KestroMenuItem> menu = KestroMenuModel::build(input);
        // The hidden-files switch acts on the settings of GNOME Files and of Nemo, each in its own menu; the
        // other file managers would not read what it changes, so it is not offered there.
        const QStringList switches = {QStringLiteral("toggleHiddenFiles"),
                                      QStringLiteral("toggleNemoHiddenFiles")};
        for (const char* fileManager : {"nautilus", "nemo", "thunar", "dolphin", "pcmanfm-qt"}) {
            QStringList offered;
            for (const QString& id : switches) {
                if (findByAction(KestroMenuModel::shownIn(menu, QLatin1String(fileManager)), id))
                    offered.append(id);
            }
            const QString name = QLatin1String(fileManager);
            QCOMPARE(offered, name == QLatin1String("nautilus") ? switches.mid(0, 1)
                              : name == QLatin1String("nemo")   ? switches.mid(1, 1)
                                                                : QStringList());
        }
        const QList<KestroMenuItem> background = KestroMenuModel::shownOn(
            KestroMenuModel::shownIn(menu, QStringLiteral("thunar")), KestroMenuModel::Context::background);
        QCOMPARE(titles(background),
                 (QStringList{QStringLiteral("打开"), QStringLiteral("新建"),
                              QStringLiteral("复制名称与路径"), QStringLiteral("用应用打开")}));
        const QStringList ids = actionIDs(background);
        QVERIFY(ids.contains(QStringLiteral("quickOpenPath")));
        QVERIFY(ids.contains(QStringLiteral("createTextFile")));
        QVERIFY(ids.contains(QStringLiteral("copyParentPath")));
        QVERIFY(ids.contains(QStringLiteral("openInTerminal")));
        for (const char* selectionOnly : {"copyFilesToDesktop", "compressToZIP", "renameAddPrefix",
                                          "scheduleDelete1Hour", "copyFileNameList", "revealInFinder"})
            QVERIFY2(!ids.contains(QLatin1String(selectionOnly)), selectionOnly);
        // On a selection everything enabled that fits the files shows, new files too.
        const QStringList onText = actionIDs(
            KestroMenuModel::shownOn(menu, KestroMenuModel::Context::selection, {QStringLiteral("a.txt")}));
        for (const char* id : {"createTextFile", "copyFilesToDesktop", "compressToZIP", "revealInFinder"})
            QVERIFY2(onText.contains(QLatin1String(id)), id);
    }

    void fileTypesKeepMenusShort() {
        KestroMenuInput input;
        input.settings = FeatureSettingsDefaults::settings();
        const QList<KestroMenuItem> menu = KestroMenuModel::build(input);
        const auto on = [&](const QStringList& names) {
            return actionIDs(KestroMenuModel::shownOn(menu, KestroMenuModel::Context::selection, names));
        };
        const QStringList text = on({QStringLiteral("/x/notes.txt")});
        for (const char* hidden :
             {"resizeImages", "convertImageToPNG", "mergePDFs", "imagesToPDF", "extractZIPHere"})
            QVERIFY2(!text.contains(QLatin1String(hidden)), hidden);
        QVERIFY(!titles(KestroMenuModel::shownOn(menu, KestroMenuModel::Context::selection,
                                                 {QStringLiteral("a.txt")}))
                     .contains(QStringLiteral("处理图片")));

        const QStringList images = on({QStringLiteral("/x/A.PNG"), QStringLiteral("/x/b.jpeg"),
                                       QStringLiteral("/x/IMG_1.HEIC"), QStringLiteral("/x/c.avif")});
        QVERIFY(images.contains(QStringLiteral("resizeImages")));
        QVERIFY(images.contains(QStringLiteral("imagesToPDF")));
        QVERIFY(!images.contains(QStringLiteral("mergePDFs")));
        // One image among other files is not an image selection.
        QVERIFY(!on({QStringLiteral("/x/a.png"), QStringLiteral("/x/b.txt")})
                     .contains(QStringLiteral("resizeImages")));

        const QStringList pdfs = on({QStringLiteral("/x/report.pdf")});
        QVERIFY(pdfs.contains(QStringLiteral("splitPDFs")));
        QVERIFY(!pdfs.contains(QStringLiteral("imagesToPDF")));

        for (const char* archive : {"a.zip", "a.tar", "a.tar.gz", "a.TGZ", "a.tar.xz", "a.tar.bz2", "a.7z"})
            QVERIFY2(on({QLatin1String(archive)}).contains(QStringLiteral("extractZIPHere")), archive);
        for (const char* notArchive : {"a.gz", "zip", ".tar.gz", "/x/.tar.gz", "a.zip.txt", "tar.gz"})
            QVERIFY2(!on({QLatin1String(notArchive)}).contains(QStringLiteral("extractZIPHere")), notArchive);
        // Packing works on anything.
        QVERIFY(text.contains(QStringLiteral("compressToZIP")));
    }

    void descriptionCarriesWhatTheExtensionNeeds() {
        KestroMenuInput input = smallInput();
        input.settings.groupsFeaturesUnderKestro = true;
        input.settings.enabledFeatureIDs.insert(QStringLiteral("imageTools"));
        input.settings.featureOrder.append(QStringLiteral("imageTools"));
        input.settings.enabledChildIDs.insert(QStringLiteral("resizeImages"));
        const QJsonObject root =
            QJsonDocument::fromJson(KestroMenuModel::toJson(KestroMenuModel::build(input))).object();
        QCOMPARE(root.value(QStringLiteral("version")).toInt(), 1);
        const QJsonObject kestro = root.value(QStringLiteral("items")).toArray().at(0).toObject();
        QCOMPARE(kestro.value(QStringLiteral("title")).toString(), QStringLiteral("Kestro"));
        const QJsonArray features = kestro.value(QStringLiteral("children")).toArray();
        QCOMPARE(features.size(), 3);
        const QJsonObject text =
            features.at(1).toObject().value(QStringLiteral("children")).toArray().at(0).toObject();
        QCOMPARE(text.value(QStringLiteral("actionID")).toString(), QStringLiteral("createTextFile"));
        QCOMPARE(text.value(QStringLiteral("background")).toBool(), true);
        QCOMPARE(text.value(QStringLiteral("suffixes")).toArray().size(), 0);
        const QJsonObject resize =
            features.at(2).toObject().value(QStringLiteral("children")).toArray().at(0).toObject();
        QCOMPARE(resize.value(QStringLiteral("background")).toBool(), false);
        QVERIFY(resize.value(QStringLiteral("suffixes")).toArray().contains(QStringLiteral(".png")));
    }
};

QTEST_GUILESS_MAIN(TestFileManagerMenu)
#include "test_file_manager_menu.moc"
