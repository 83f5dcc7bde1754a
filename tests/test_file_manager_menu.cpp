// The one Kestro menu the file managers render: layouts, grouping, the user's lists, and what each place
// (a file manager, the folder background, a selection of some kind of file) is offered.
#include "catalogue/FeatureSettingsDefaults.h"
#include "catalogue/KestroFeature.h"
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

// Two features with a few children, nothing of the user's lists.
KestroMenuInput smallInput() {
    KestroMenuInput input;
    input.settings.featureOrder = {"copyPath", "createFile"};
    input.settings.enabledFeatureIDs = {"createFile", "copyPath"};
    input.settings.enabledChildIDs = {"createTextFile", "createFolder", "copyFileName"};
    input.settings.childOrderByFeatureID = {{"createFile", {"createTextFile", "createFolder"}}};
    return input;
}

// Every feature and child on, an entry in each of the user's lists, a script and a shortcut.
KestroMenuInput everything() {
    KestroMenuInput input;
    input.settings = FeatureSettingsDefaults::settings();
    input.settings.groupsFeaturesUnderKestro = false;
    for (const KestroFeature& feature : KestroFeature::allCases()) {
        input.settings.enabledFeatureIDs.insert(feature.id());
        for (const QString& id : feature.childIDs())
            input.settings.enabledChildIDs.insert(id);
    }
    // Entries without an id or a path lead nowhere.
    input.destinations["copy"] = {{"d1", "备份", "/srv/back up"}, {"d2", "空", ""}, {"", "无名", "/srv/x"}};
    input.destinations["quickOpen"] = {{"q1", "工作", "/srv/work"}};
    input.destinations["openApplication"] = {{"a1", "看图", "/usr/share/applications/viewer.desktop"}};
    CustomShortcutAction script;
    script.id = "s1";
    script.name = "我的脚本";
    script.kind = CustomShortcutAction::Kind::script;
    script.scriptPath = "/usr/local/bin/x.sh";
    CustomShortcutAction shortcut;
    shortcut.id = "s2";
    shortcut.name = "快捷指令";
    input.customActions = {shortcut, script};
    return input;
}

} // namespace

class TestFileManagerMenu : public QObject {
    Q_OBJECT

private slots:
    void layoutsAndGrouping() {
        // Collapsed: a submenu per feature in the user's order, its children in the user's order.
        const QList<KestroMenuItem> menu = KestroMenuModel::build(smallInput());
        QCOMPARE(titles(menu), QStringList({"复制名称与路径", "新建"}));
        QCOMPARE(titles(menu.at(1).children), QStringList({"新建文本文件", "新建文件夹"}));
        QVERIFY(menu.at(1).isSubmenu());
        // Disabled features and children stay out.
        KestroMenuInput input = smallInput();
        input.settings.enabledFeatureIDs.remove("copyPath");
        input.settings.enabledChildIDs.remove("createFolder");
        QCOMPARE(actionIDs(KestroMenuModel::build(input)), QStringList{"createTextFile"});
        // Expanded: every action directly; grouped: all of it under one "Kestro" entry, in either layout.
        for (FinderMenuLayout layout : {FinderMenuLayout::collapsed, FinderMenuLayout::expanded}) {
            input = smallInput();
            input.settings.menuLayout = layout;
            const QList<KestroMenuItem> plain = KestroMenuModel::build(input);
            if (layout == FinderMenuLayout::expanded)
                QCOMPARE(titles(plain), QStringList({"复制文件名", "新建文本文件", "新建文件夹"}));
            input.settings.groupsFeaturesUnderKestro = true;
            const QList<KestroMenuItem> grouped = KestroMenuModel::build(input);
            QCOMPARE(grouped.size(), 1);
            QCOMPARE(grouped.at(0).title, QStringLiteral("Kestro"));
            QCOMPARE(grouped.at(0).children, plain);
        }
        KestroMenuInput empty;
        empty.settings.groupsFeaturesUnderKestro = true;
        QVERIFY(KestroMenuModel::build(empty).isEmpty());
        // The defaults: one Kestro entry; without grouping every default feature that has items.
        input.settings = FeatureSettingsDefaults::settings();
        QCOMPARE(titles(KestroMenuModel::build(input)), QStringList{"Kestro"});
        input.settings.groupsFeaturesUnderKestro = false;
        QCOMPARE(KestroMenuModel::build(input).size(), 11);
    }

    void usersListsBecomeItems() {
        KestroMenuInput input = everything();
        // The desktop listed by the user: "复制到桌面" would offer the same place a second time.
        input.destinations["copy"].append(
            {"d3", "桌面", QStandardPaths::writableLocation(QStandardPaths::DesktopLocation) + "/"});
        input.destinations["copy"].append({"d1", "repeated id", "/elsewhere"});
        const QList<KestroMenuItem> menu = KestroMenuModel::build(input);
        const auto submenu = [&](const QString& title) {
            for (const KestroMenuItem& item : menu)
                if (item.title == title)
                    return item.children;
            return QList<KestroMenuItem>();
        };
        // Entries first, then the children; a repeated id keeps its first entry only.
        QCOMPARE(titles(submenu("复制到")),
                 QStringList({"备份", "桌面", "复制到下载", "复制到文档", "在旁边创建副本"}));
        const KestroMenuItem copy = submenu("复制到").at(0);
        QCOMPARE(copy.actionID, QStringLiteral("copyFilesToFolder"));
        QCOMPARE(copy.id, QStringLiteral("copyFilesToFolder@d1"));
        QCOMPARE(copy.destinationPath, std::optional<QString>("/srv/back up"));
        // Scripts only (no Shortcuts here); no view presets either, so that feature has nothing.
        QCOMPARE(titles(submenu("自定义动作")), QStringList{"我的脚本"});
        QCOMPARE(submenu("自定义动作").at(0).actionID, QStringLiteral("runScript__s1"));
        QVERIFY(submenu("显示方式").isEmpty());
        // Flat, a destination says what it does; item ids stay unique throughout.
        input.settings.menuLayout = FinderMenuLayout::expanded;
        const QList<KestroMenuItem> flat = KestroMenuModel::actions(KestroMenuModel::build(input));
        QSet<QString> ids;
        for (const KestroMenuItem& item : flat) {
            ids.insert(item.id);
            if (item.actionID == QLatin1String("copyFilesToFolder"))
                QCOMPARE(item.title, QStringLiteral("复制到 ") + (item.id.endsWith("d1") ? "备份" : "桌面"));
        }
        QCOMPARE(ids.size(), flat.size());
    }

    // What each place's menu offers, from a probe of actions: the background never acts on the folder in
    // view (that would need a selection), file-kind tools only for their kind, and what no file manager
    // here can do nowhere.
    void whatEachPlaceShows_data() {
        QTest::addColumn<QString>("fileManager");
        QTest::addColumn<QStringList>("selection"); // empty: the folder background
        QTest::addColumn<QString>("shown");
        QTest::newRow("Thunar, background")
            << "thunar" << QStringList()
            << "createTextFile createFolder quickOpenPath quickOpenDesktop copyFullPath openInTerminal";
        QTest::newRow("GNOME Files, background")
            << "nautilus" << QStringList()
            << "createTextFile createFolder quickOpenPath quickOpenDesktop copyFullPath openInTerminal "
               "toggleHiddenFiles";
        QTest::newRow("Nemo, background") << "nemo" << QStringList()
                                          << "createTextFile createFolder quickOpenPath quickOpenDesktop "
                                             "copyFullPath openInTerminal toggleNemoHiddenFiles";
        // On a selection: what works on any file, what only fits this kind, then the tail of every menu.
        const auto selected = [](const QString& kind) {
            return QStringLiteral(
                       "createTextFile createFolder quickOpenPath quickOpenDesktop copyFullPath "
                       "copyFilesToFolder copyFilesToDesktop openWithApplicationPath compressToZIP ") +
                   kind + QStringLiteral(" openInTerminal revealInFinder runScript__s1");
        };
        const QString any = QStringLiteral("renameAddPrefix scheduleDelete1Hour");
        QTest::newRow("a text file") << "dolphin" << QStringList{"/x/notes.txt"} << selected(any);
        QTest::newRow("images of every kind")
            << "dolphin" << QStringList{"/x/A.PNG", "/x/b.jpeg", "/x/IMG_1.HEIC", "/x/c.avif"}
            << selected(any + " resizeImages imagesToPDF");
        QTest::newRow("an image among other files")
            << "dolphin" << QStringList{"/x/a.png", "/x/b.txt"} << selected(any);
        QTest::newRow("a PDF") << "dolphin" << QStringList{"/x/report.pdf"}
                               << selected(any + " mergePDFs splitPDFs");
        for (const char* archive : {"a.zip", "a.tar", "a.tar.gz", "a.TGZ", "a.tar.xz", "a.tar.bz2", "a.7z"})
            QTest::addRow("archive %s", archive)
                << "dolphin" << QStringList{archive} << selected("extractZIPHere " + any);
        for (const char* notArchive : {"a.gz", "zip", ".tar.gz", "/x/.tar.gz", "a.zip.txt", "tar.gz"})
            QTest::addRow("no archive: %s", notArchive)
                << "dolphin" << QStringList{notArchive} << selected(any);
    }
    void whatEachPlaceShows() {
        QFETCH(QString, fileManager);
        QFETCH(QStringList, selection);
        QFETCH(QString, shown);
        static const QStringList probe{
            "createTextFile",        "createFolder",      "quickOpenPath",      "quickOpenDesktop",
            "copyFullPath",          "copyFilesToFolder", "copyFilesToDesktop", "openWithApplicationPath",
            "compressToZIP",         "extractZIPHere",    "renameAddPrefix",    "scheduleDelete1Hour",
            "resizeImages",          "imagesToPDF",       "mergePDFs",          "splitPDFs",
            "openInTerminal",        "revealInFinder",    "finderViewPreset",   "toggleHiddenFiles",
            "toggleNemoHiddenFiles", "runScript__s1",     "runScript__s2"};
        const QList<KestroMenuItem> menu =
            KestroMenuModel::shownIn(KestroMenuModel::build(everything()), fileManager);
        const QList<KestroMenuItem> offered = KestroMenuModel::shownOn(
            menu,
            selection.isEmpty() ? KestroMenuModel::Context::background : KestroMenuModel::Context::selection,
            selection);
        const QStringList ids = actionIDs(offered);
        QStringList found;
        for (const QString& id : probe)
            if (ids.contains(id))
                found.append(id);
        QCOMPARE(found.join(u' '), shown);
        // Only entries that lead somewhere: the copy list's entry without a path or an id is no item.
        QCOMPARE(ids.count("copyFilesToFolder"), shown.contains("copyFilesToFolder") ? 1 : 0);
        for (const KestroMenuItem& item : KestroMenuModel::actions(offered))
            QVERIFY2(!item.destinationPath || !item.destinationPath->isEmpty(), qPrintable(item.id));
    }

    void descriptionCarriesWhatTheExtensionNeeds() {
        KestroMenuInput input = smallInput();
        input.settings.groupsFeaturesUnderKestro = true;
        input.settings.enabledFeatureIDs.insert("imageTools");
        input.settings.featureOrder.append("imageTools");
        input.settings.enabledChildIDs.insert("resizeImages");
        const QJsonObject root =
            QJsonDocument::fromJson(KestroMenuModel::toJson(KestroMenuModel::build(input))).object();
        QCOMPARE(root.value("version").toInt(), 1);
        const QJsonObject kestro = root.value("items").toArray().at(0).toObject();
        QCOMPARE(kestro.value("title").toString(), QStringLiteral("Kestro"));
        const QJsonArray features = kestro.value("children").toArray();
        QCOMPARE(features.size(), 3);
        const auto first = [&](int feature) {
            return features.at(feature).toObject().value("children").toArray().at(0).toObject();
        };
        QCOMPARE(first(1).value("actionID").toString(), QStringLiteral("createTextFile"));
        QVERIFY(first(1).value("background").toBool() && first(1).value("suffixes").toArray().isEmpty());
        QVERIFY(!first(2).value("background").toBool());
        QVERIFY(first(2).value("suffixes").toArray().contains(".png"));
    }
};

QTEST_GUILESS_MAIN(TestFileManagerMenu)
#include "test_file_manager_menu.moc"
