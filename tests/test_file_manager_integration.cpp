// The file-manager integration: the one Kestro menu the file managers render (layouts, grouping, the user's
// lists, what each place offers), what each file manager is given (Thunar's merged uca.xml, the quoting of
// every command line, the files written and removed), the real kestro-handoff, and the host's rewrite after
// a settings change.
#include "app/SingleInstance.h"
#include "catalogue/FeatureSettingsDefaults.h"
#include "catalogue/FeatureSettingsPersistence.h"
#include "catalogue/KestroFeature.h"
#include "intake/KestroQueuedAction.h"
#include "integration/FileManagerCommands.h"
#include "integration/FileManagerIntegration.h"
#include "integration/FileManagerMenuFiles.h"
#include "integration/KestroMenuModel.h"
#include "integration/ThunarActions.h"
#include "platform/KestroPaths.h"
#include "settings-ui/FileManagerIntegrationSection.h"
#include "support/KestroProcess.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <optional>

// GLib names a field "signals", which Qt defines as a word of its own.
#pragma push_macro("signals")
#undef signals
#include <gio/gdesktopappinfo.h>
#pragma pop_macro("signals")
#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

namespace {

using FM = FileManagerIntegration::FileManager;

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

// The small menu and image tools, all under one Kestro entry.
QList<KestroMenuItem> groupedMenu() {
    KestroMenuInput input = smallInput();
    input.settings.groupsFeaturesUnderKestro = true;
    input.settings.enabledFeatureIDs.insert("imageTools");
    input.settings.featureOrder.append("imageTools");
    input.settings.enabledChildIDs.insert("resizeImages");
    return KestroMenuModel::build(input);
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
    input.customActions = {{.id = "s2", .name = "快捷指令"},
                           {.id = "s1",
                            .name = "我的脚本",
                            .kind = CustomShortcutAction::Kind::script,
                            .scriptPath = "/usr/local/bin/x.sh"}};
    return input;
}

// Names a user or an attacker would pick: blanks, both quotes, "$", ";", "&", "%", a newline, a leading
// dash, non-Latin text.
const QStringList awkwardNames = {
    "with blank.txt",    "quote'single\"double.txt", "dollar$HOME;semi&amp%F.txt", "new\nline.txt", "-rf",
    "ünïcødé — 日本.txt"};

// The user's own Thunar actions, with a comment, an entity and spacing of their own.
const QByteArray userActions =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<actions>\n<!-- my own -->\n"
    "<action>\n\t<icon>utilities-terminal</icon>\n\t<name>Terminal &amp; Here</name>\n"
    "\t<unique-id>1234567890-1</unique-id>\n\t<command>exo-open %f</command>\n"
    "\t<description>Example   for a custom action</description>\n"
    "\t<patterns>*</patterns>\n\t<startup-notify/>\n\t<directories/>\n</action>\n"
    "  <action><name>Zweite</name><unique-id>99-2</unique-id><command>true</command>"
    "<patterns>*.md</patterns><text-files/></action>\n</actions>\n";

// A program that writes its arguments, NUL-terminated, into the file named by RECORD_TO.
QString writeRecorder(const QString& folder, const QString& name) {
    const QString path = folder + u'/' + name;
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write("#!/bin/sh\nfor argument in \"$@\"; do printf '%s\\0' \"$argument\"; done > \"$RECORD_TO\"\n");
    file.close();
    QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    return path;
}

QStringList recorded(const QString& path) {
    QStringList arguments;
    const QList<QByteArray> parts = readAll(path).split('\0');
    for (qsizetype i = 0; i + 1 < parts.size(); ++i)
        arguments.append(QString::fromUtf8(parts[i]));
    return arguments;
}

// Executables named like the file managers, on a PATH of the test's own: what Kestro looks for to tell
// which are installed.
class InstalledFileManagers {
public:
    InstalledFileManagers(const TestEnvironment& environment, const QStringList& programs)
        : m_saved(qgetenv("PATH")) {
        const QString folder = environment.makeFolder(u"bin"_qs);
        for (const QString& program : programs)
            writeRecorder(folder, program);
        qputenv("PATH", folder.toUtf8());
    }
    ~InstalledFileManagers() { qputenv("PATH", m_saved); }

private:
    QByteArray m_saved;
};

QString handoffBinary() {
    return QFileInfo(KestroProcess::binary()).absolutePath() + u"/kestro-handoff"_qs;
}

int runHandoff(const QStringList& arguments, const QString& workingDirectory = {}) {
    QProcess process;
    process.setWorkingDirectory(workingDirectory);
    process.start(handoffBinary(), arguments);
    process.waitForFinished(10000);
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

QStringList queuedFiles() {
    return QDir(KestroPaths::extensionQueueDirectory()).entryList({u"*.json"_qs}, QDir::Files);
}

KestroQueuedAction onlyQueuedAction() {
    const QStringList files = queuedFiles();
    if (files.size() != 1)
        qFatal("expected one queued request, found %d", int(files.size()));
    const QString path = KestroPaths::extensionQueueDirectory() + u'/' + files.first();
    const std::optional<KestroQueuedAction> action = KestroQueuedAction::decode(readAll(path));
    QFile::remove(path);
    if (!action)
        qFatal("the queued request does not decode");
    return *action;
}

} // namespace

class TestFileManagerIntegration : public QObject {
    Q_OBJECT

    std::optional<TestEnvironment> m_env;

private slots:
    void init() { m_env.emplace(); }
    void cleanup() { m_env.reset(); }

    void layoutsAndGrouping() {
        // Collapsed: a submenu per feature in the user's order, its children in the user's order.
        const QList<KestroMenuItem> menu = KestroMenuModel::build(smallInput());
        QCOMPARE(titles(menu), QStringList({"复制名称与路径", "新建"}));
        QCOMPARE(titles(menu.at(1).children), QStringList({"新建文本文件", "新建文件夹"}));
        QVERIFY(menu.at(1).isSubmenu());
        // Disabled features and children stay out, and so does a feature with nothing to offer.
        KestroMenuInput input = smallInput();
        input.settings.enabledFeatureIDs.remove("copyPath");
        input.settings.enabledChildIDs.remove("createFolder");
        input.settings.enabledFeatureIDs.insert("customActions"); // on, but the user has none
        input.settings.featureOrder.append("customActions");
        QCOMPARE(titles(KestroMenuModel::build(input)), QStringList{"新建"});
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
            QCOMPARE(titles(grouped), QStringList{"Kestro"});
            QCOMPARE(grouped.at(0).children, plain);
        }
        KestroMenuInput empty;
        empty.settings.groupsFeaturesUnderKestro = true;
        QVERIFY(KestroMenuModel::build(empty).isEmpty());
    }

    // What each place's menu offers, from a probe of actions: the background never acts on the folder in
    // view (that would need a selection), file-kind tools only for their kind, and what no file manager
    // here can do nowhere.
    void whatEachPlaceShows_data() {
        QTest::addColumn<QString>("fileManager");
        QTest::addColumn<QStringList>("selection"); // empty: the folder background
        QTest::addColumn<QString>("shown");
        const QString background = u"createTextFile createFolder quickOpenPath quickOpenDesktop copyFullPath "
                                   "openInTerminal"_qs;
        QTest::newRow("Thunar, background") << "thunar" << QStringList() << background;
        QTest::newRow("GNOME Files, background")
            << "nautilus" << QStringList() << background + " toggleHiddenFiles";
        QTest::newRow("Nemo, background") << "nemo" << QStringList() << background + " toggleNemoHiddenFiles";
        // On a selection: what works on any file, what only fits this kind, then the tail of every menu.
        const auto selected = [](const QString& kind) {
            return u"createTextFile createFolder quickOpenPath quickOpenDesktop copyFullPath "
                   u"copyFilesToFolder "
                   "copyFilesToDesktop openWithApplicationPath compressToZIP "_qs +
                   kind + u" openInTerminal revealInFinder runScript__s1"_qs;
        };
        const QString any = u"renameAddPrefix scheduleDelete1Hour"_qs;
        QTest::newRow("a text file") << "dolphin" << QStringList{"/x/notes.txt"} << selected(any);
        QTest::newRow("images of every kind")
            << "dolphin" << QStringList{"/x/A.PNG", "/x/b.jpeg", "/x/IMG_1.HEIC"}
            << selected(any + " resizeImages imagesToPDF");
        QTest::newRow("an image among other files")
            << "dolphin" << QStringList{"/x/a.png", "/x/b.txt"} << selected(any);
        QTest::newRow("a PDF") << "dolphin" << QStringList{"/x/report.pdf"}
                               << selected(any + " mergePDFs splitPDFs");
        for (const char* archive : {"a.zip", "a.TGZ", "a.tar.gz"})
            QTest::addRow("archive %s", archive)
                << "dolphin" << QStringList{archive} << selected("extractZIPHere " + any);
        for (const char* notArchive : {"a.gz", ".tar.gz", "/x/.tar.gz"})
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
        const auto context =
            selection.isEmpty() ? KestroMenuModel::Context::background : KestroMenuModel::Context::selection;
        const QList<KestroMenuItem> offered = KestroMenuModel::shownOn(menu, context, selection);
        const QStringList ids = actionIDs(offered);
        QStringList found;
        for (const QString& id : probe)
            if (ids.contains(id))
                found.append(id);
        QCOMPARE(found.join(u' '), shown);
        // Only entries that lead somewhere: the copy list's entry without a path or an id is no item.
        QCOMPARE(ids.count("copyFilesToFolder"), shown.contains("copyFilesToFolder") ? 1 : 0);
    }

    void thunarMergeKeepsTheUsersActionsByteForByte() {
        QString error;
        const QString handoff = u"/opt/kestro/kestro-handoff"_qs;
        const std::optional<QByteArray> merged =
            ThunarActions::merged(userActions, groupedMenu(), handoff, error);
        QVERIFY2(merged, qPrintable(error));
        // The user's text is all there, in one piece, ahead of Kestro's actions.
        QVERIFY(merged->startsWith(userActions.left(userActions.indexOf("</actions>"))));
        QVERIFY(merged->contains("<unique-id>kestro-createTextFile</unique-id>"));
        QVERIFY(merged->contains("<submenu>Kestro/新建</submenu>"));
        QVERIFY(merged->endsWith("</action>\n</actions>\n"));
        // Image tools only for image names, and never on folders (the background).
        const qsizetype resize = merged->indexOf("<unique-id>kestro-resizeImages</unique-id>");
        const QByteArray resizeAction = merged->mid(resize, merged->indexOf("</action>", resize) - resize);
        QVERIFY(resizeAction.contains("<patterns>*.png;*.PNG;") && !resizeAction.contains("<directories/>"));
        // Rewriting is stable, and taking Kestro's actions out gives the user's file back exactly.
        QCOMPARE(ThunarActions::merged(*merged, groupedMenu(), handoff, error), merged);
        QCOMPARE(ThunarActions::merged(*merged, {}, {}, error), std::optional<QByteArray>(userActions));
        QVERIFY(ThunarActions::containsKestroActions(*merged) &&
                !ThunarActions::containsKestroActions(userActions));
        // A missing file becomes a fresh one that Thunar can read back.
        const std::optional<QByteArray> fresh = ThunarActions::merged({}, groupedMenu(), u"/h"_qs, error);
        QVERIFY(fresh && fresh->startsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<actions>\n"));
        // What Kestro cannot read it leaves alone, and says why.
        for (const QByteArray& broken : {QByteArray("<actions><action><name>unclosed</actions>"),
                                         QByteArray("<menu></menu>"), QByteArray("not xml at all"),
                                         QByteArray("<?xml version=\"1.0\"?><actions>\xff\xfe</actions>")}) {
            error.clear();
            QVERIFY2(!ThunarActions::merged(broken, groupedMenu(), u"/h"_qs, error), broken.constData());
            QVERIFY(!error.isEmpty());
        }
    }

    // Each file manager's own rules take the command line apart: GIO parses Exec by freedesktop.org's
    // desktop-entry rules, as Dolphin and PCManFM-Qt do; Thunar puts each path in shell quotes for %F and
    // runs the line through sh -c. The hand-off is a recorder in a folder whose name needs quoting itself.
    void commandLinesReachTheHandoffExactly_data() {
        QTest::addColumn<bool>("thunar");
        QTest::newRow("a desktop entry") << false;
        QTest::newRow("Thunar") << true;
    }
    void commandLinesReachTheHandoffExactly() {
        QFETCH(bool, thunar);
        qputenv("GIO_USE_VFS", "local"); // plain local files: no GIO daemon on the test's session bus
        const QString recorder = writeRecorder(m_env->makeFolder(u"bin $x 'q' \"d\""_qs), u"hand off"_qs);
        const QString record = m_env->root() + u"/record"_qs;
        qputenv("RECORD_TO", record.toUtf8());
        const QString itemID = u"copyFilesToFolder@id with 'quotes' $and %percent;e&f"_qs;
        const QStringList command = QStringList{recorder} + FileManagerCommands::handoffArguments(itemID);
        QStringList expected{itemID, u"--"_qs};
        GList* files = nullptr;
        QStringList quotedPaths;
        for (const QString& name : awkwardNames) {
            const QByteArray path = QFile::encodeName(m_env->writeFile(u"files/"_qs + name));
            expected.append(QFile::decodeName(path));
            files = g_list_append(files, g_file_new_for_path(path.constData()));
            gchar* quoted = g_shell_quote(path.constData());
            quotedPaths.append(QString::fromUtf8(quoted));
            g_free(quoted);
        }
        if (thunar) {
            QString line = FileManagerCommands::thunarCommand(command, u"%F"_qs);
            QProcess::execute(
                u"/bin/sh"_qs,
                {u"-c"_qs, line.replace(u"%F"_qs, quotedPaths.join(u' ')).replace(u"%%"_qs, u"%"_qs)});
        } else {
            const QByteArray entry = "[Desktop Entry]\nType=Application\nName=t\nExec=" +
                                     FileManagerCommands::desktopExec(command, u"%F"_qs).toUtf8() + "\n";
            GKeyFile* keyFile = g_key_file_new();
            QVERIFY(g_key_file_load_from_data(keyFile, entry.constData(), gsize(entry.size()),
                                              G_KEY_FILE_NONE, nullptr));
            GDesktopAppInfo* application = g_desktop_app_info_new_from_keyfile(keyFile);
            QVERIFY(application && g_app_info_launch(G_APP_INFO(application), files, nullptr, nullptr));
            g_object_unref(application);
            g_key_file_unref(keyFile);
        }
        QTRY_COMPARE(recorded(record), expected);
        g_list_free_full(files, g_object_unref);
        qunsetenv("RECORD_TO");
    }

    void integrationWritesAndRemovesExactlyKestrosFiles() {
        InstalledFileManagers installed(
            *m_env, {u"nautilus"_qs, u"nemo"_qs, u"dolphin"_qs, u"thunar"_qs, u"pcmanfm-qt"_qs});
        // The user's own service menu, PCManFM-Qt action and Thunar actions.
        const QByteArray mine = "[Desktop Entry]\nType=Action\nName=mine under a name Kestro might use\n";
        const QString usersServiceMenu =
            m_env->writeFile(FileManagerIntegration::dolphinFolder() + u"/mine.desktop"_qs, mine);
        const QString usersAction =
            m_env->writeFile(FileManagerIntegration::pcmanfmFolder() + u"/kestro-000.desktop"_qs, mine);
        m_env->writeFile(FileManagerIntegration::thunarActionsPath(), userActions);

        FileManagerIntegration::install();
        for (const FileManagerIntegration::Status& status : FileManagerIntegration::status())
            QVERIFY2(status.installed && status.integrated, qPrintable(status.name));
        QVERIFY(readAll(FileManagerIntegration::iconPath()).contains("<svg"));
        // Dolphin refuses a service menu that is not executable; nobody else may change it.
        const auto permissions =
            QFile::permissions(FileManagerIntegration::dolphinFolder() + u"/kestro-000.desktop"_qs);
        QVERIFY((permissions & QFileDevice::ExeOwner) &&
                !(permissions & (QFileDevice::WriteGroup | QFileDevice::WriteOther)));
        QVERIFY(readAll(FileManagerIntegration::pythonExtensionPath(FM::nemo))
                    .contains(QFile::encodeName(FileManagerIntegration::menuDescriptionPath())));
        // The extension folder holds the user's requests: private.
        QCOMPARE(QFile::permissions(KestroPaths::extensionDirectory()) & 0x0077, QFileDevice::Permissions());

        // A rewrite with nothing changed leaves the files as they are (the same file, not a copy).
        const auto inode = [](const QString& path) {
            struct stat status {};
            return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_ino : ino_t(0);
        };
        const ino_t before = inode(FileManagerIntegration::menuDescriptionPath());
        FileManagerIntegration::refresh();
        QCOMPARE(inode(FileManagerIntegration::menuDescriptionPath()), before);

        FileManagerIntegration::uninstall();
        for (const FileManagerIntegration::Status& status : FileManagerIntegration::status())
            QVERIFY2(!status.integrated, qPrintable(status.name));
        QVERIFY(QDir(FileManagerIntegration::dolphinFolder()).entryList({u"kestro-*"_qs}).isEmpty());
        QCOMPARE(readAll(usersServiceMenu), mine); // so its folder stays
        QCOMPARE(readAll(usersAction), mine);
        QCOMPARE(readAll(FileManagerIntegration::thunarActionsPath()), userActions);
        // The folders Kestro made go when they are empty.
        for (const char* folder : {"nautilus-python", "nemo-python", "icons"})
            QVERIFY2(!QFileInfo::exists(KestroPaths::dataHome() + u'/' + QLatin1String(folder)), folder);
        // Removed stays removed through later settings changes, until installed again.
        FileManagerIntegration::refresh();
        QVERIFY(!FileManagerIntegration::isIntegrated(FM::dolphin));
        FileManagerIntegration::install();
        QVERIFY(FileManagerIntegration::isIntegrated(FM::dolphin));
    }

    // The package's menus for every user: the user's own files replace or hide each system service menu, and
    // no user copy of the module sits beside the system one, so nothing shows twice or against the settings.
    void systemWideMenusAreNeverShownTwice() {
        InstalledFileManagers installed(*m_env, {u"nemo"_qs, u"dolphin"_qs});
        FileManagerIntegration::install(); // a user copy of the module, from before the package
        const QString system = m_env->makeFolder(u"usr/share"_qs);
        QVERIFY(FileManagerIntegration::writeSystemFiles(system, u"/usr/bin/kestro-handoff"_qs));
        QVERIFY(readAll(system + u"/nemo-python/extensions/kestro_menu.py"_qs)
                    .contains("HANDOFF = \"/usr/bin/kestro-handoff\""));
        const QStringList systemMenus = QDir(system + u"/kio/servicemenus"_qs).entryList(QDir::Files);
        FeatureSettings few = FeatureSettingsDefaults::settings();
        few.enabledFeatureIDs = {u"createFile"_qs};
        QVERIFY(FeatureSettingsPersistence::save(few));
        const QByteArray dataFolders = qgetenv("XDG_DATA_DIRS");
        const auto restore = qScopeGuard([&] { qputenv("XDG_DATA_DIRS", dataFolders); });
        qputenv("XDG_DATA_DIRS", system.toUtf8());
        const auto hidden = [&] {
            return std::count_if(systemMenus.cbegin(), systemMenus.cend(), [](const QString& name) {
                return FileManagerMenuFiles::isDolphinHidingFile(
                    readAll(FileManagerIntegration::dolphinFolder() + u'/' + name));
            });
        };
        FileManagerIntegration::refresh();
        QVERIFY(!QFileInfo::exists(FileManagerIntegration::pythonExtensionPath(FM::nemo)));
        QVERIFY(FileManagerIntegration::isIntegrated(FM::nemo));
        QCOMPARE(QDir(FileManagerIntegration::dolphinFolder()).entryList(QDir::Files), systemMenus);
        QVERIFY(hidden() > 0 && hidden() < systemMenus.size());
        FileManagerIntegration::uninstall();
        QCOMPARE(hidden(), systemMenus.size());
    }

    void onlyInstalledFileManagersGetFilesAndThunarsOwnAreLeftAlone() {
        InstalledFileManagers installed(*m_env, {u"thunar"_qs});
        const QString path = FileManagerIntegration::thunarActionsPath();
        // "kestro --install-integration" says what it did in each file manager.
        KestroProcess run = KestroProcess::run({u"--install-integration"_qs});
        QCOMPARE(run.exitCode, 0);
        QVERIFY(run.standardOutput.contains("Thunar：已加入 Kestro 菜单\n"));
        QVERIFY(run.standardOutput.contains("Dolphin：未安装\n"));
        QVERIFY(QFileInfo::exists(path) && QFileInfo::exists(FileManagerIntegration::menuDescriptionPath()));
        QVERIFY(!QFileInfo::exists(FileManagerIntegration::dolphinFolder()));
        QVERIFY(!QFileInfo::exists(FileManagerIntegration::pythonExtensionPath(FM::nemo)));
        // Kestro made Thunar's folder for its file: uninstalling leaves neither.
        QCOMPARE(KestroProcess::run({u"--uninstall-integration"_qs}).exitCode, 0);
        QVERIFY(!QFileInfo::exists(QFileInfo(path).absolutePath()));
        // The user's own empty list, though just what Kestro would start a file with, is theirs.
        QString error;
        const QByteArray empty = ThunarActions::merged({}, {}, {}, error).value();
        m_env->writeFile(path, empty);
        FileManagerIntegration::uninstall();
        QCOMPARE(readAll(path), empty);
        // A file Kestro cannot read stays as it was, and the log says why.
        const QByteArray broken = "<actions><action><name>mine, half typed";
        m_env->writeFile(path, broken);
        run = KestroProcess::run({u"--install-integration"_qs});
        QVERIFY(run.standardOutput.contains("Thunar：没有 Kestro 菜单\n"));
        QCOMPARE(readAll(path), broken);
        QVERIFY(m_env->logText().contains(u"file manager integration: left %1 alone"_qs.arg(path)));
    }

    void handoffQueuesTheClickedItemWithThePathsExactly() {
        FileManagerIntegration::refresh();
        // Stands in for the host, so the requests stay in the queue to be read here; it is told to drain.
        SingleInstance host;
        QVERIFY(host.listen());
        QVERIFY(!SingleInstance().listen()); // one host at a time
        QSignalSpy messages(&host, &SingleInstance::messageReceived);
        QStringList paths;
        for (const QString& name : awkwardNames)
            paths.append(m_env->writeFile(u"files/"_qs + name));
        QCOMPARE(runHandoff(QStringList{u"copyFullPath"_qs, u"--"_qs} + paths), 0);
        QTRY_COMPARE(messages.size(), 1);
        QCOMPARE(messages.first().first().toStringList(), QStringList{u"drain"_qs});
        KestroQueuedAction action = onlyQueuedAction();
        QCOMPARE(action.actionID, u"copyFullPath"_qs);
        QCOMPARE(action.selectedURLs, paths);
        QVERIFY(!action.targetedURL);
        // The background: nothing selected, the folder is the target.
        QCOMPARE(runHandoff({u"--folder"_qs, u"createTextFile"_qs, u"--"_qs, m_env->root() + u"/files"_qs}),
                 0);
        action = onlyQueuedAction();
        QVERIFY(action.selectedURLs.isEmpty());
        QCOMPARE(action.targetedURL, std::optional<QString>(m_env->root() + u"/files"_qs));
        // A destination comes from the menu Kestro wrote, not from the command line.
        const CustomDestination destination = KestroMenuInput::saved().destinations.value(u"copy"_qs).first();
        QCOMPARE(runHandoff({u"copyFilesToFolder@"_qs + destination.id, u"--"_qs, paths.first()}), 0);
        action = onlyQueuedAction();
        QCOMPARE(action.actionID, u"copyFilesToFolder"_qs);
        QCOMPARE(action.destinationURL, std::optional<QString>(destination.path));
        // A relative path is taken from where the file manager ran the command.
        QCOMPARE(runHandoff({u"copyFileName"_qs, u"--"_qs, u"-rf"_qs}, m_env->root() + u"/files"_qs), 0);
        QCOMPARE(onlyQueuedAction().selectedURLs, QStringList{m_env->root() + u"/files/-rf"_qs});
    }

    // Each refusal reaches the user as the host's failure notice, queued as a request that runs nothing; a
    // malformed command line (status 2) and an unsafe queue folder queue nothing at all.
    void handoffRefusesWhatItCannotTrust_data() {
        QTest::addColumn<QString>("plant");         // what is changed before the hand-off runs
        QTest::addColumn<QStringList>("arguments"); // "FILE" and "FOLDER" stand for a file and a folder
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("said"); // on standard error, and in the notice when one is queued
        const QStringList copyName{"copyFileName", "--", "FILE"};
        const QStringList removeEverything{"removeEverything", "--", "FILE"};
        QTest::newRow("an item not in the menu") << "" << removeEverything << 1 << "这个菜单项已不存在";
        QTest::newRow("a selection item on the background")
            << "" << QStringList{"--folder", "renameAddPrefix", "--", "FOLDER"} << 1
            << "在文件夹的空白处不能使用";
        QTest::newRow("two folders for the background")
            << "" << QStringList{"--folder", "createTextFile", "--", "FOLDER", "FOLDER"} << 1
            << "一次只能用于一个文件夹";
        // No lead byte, a cut-off sequence, a bad continuation, an overlong form, a surrogate.
        for (const char* bytes : {"\\377", "\\303", "\\303A", "\\300\\200", "\\355\\240\\200"})
            QTest::addRow("bytes that are no UTF-8: %s", bytes)
                << "" << QStringList{"copyFileName", "--", bytes} << 1 << "不是有效的 UTF-8";
        QTest::newRow("no paths") << "" << QStringList{"copyFileName"} << 2 << "";
        QTest::newRow("two items") << "" << QStringList{"copyFileName", "copyFullPath", "--", "FILE"} << 2
                                   << "";
        QTest::newRow("no folder") << "" << QStringList{"--folder", "createTextFile", "--"} << 2 << "";
        QTest::newRow("a menu description others may write") << "description 0666" << copyName << 1 << "";
        QTest::newRow("an extension folder others may write") << "extension 0777" << copyName << 1 << "";
        QTest::newRow("a queue folder others may write") << "queue 0777" << copyName << 1 << "";
        QTest::newRow("a link for the queue folder") << "queue link" << copyName << 1 << "";
        QTest::newRow("a link for the shared log") << "log link" << removeEverything << 1 << "";
    }
    void handoffRefusesWhatItCannotTrust() {
        QFETCH(QString, plant);
        QFETCH(QStringList, arguments);
        QFETCH(int, status);
        QFETCH(QString, said);
        FileManagerIntegration::refresh();
        SingleInstance host;
        QVERIFY(host.listen());
        const QString file = m_env->writeFile(u"a.txt"_qs);
        const QString folder = m_env->makeFolder(u"in view"_qs);
        const QString elsewhere = m_env->makeFolder(u"elsewhere"_qs);
        const QString queue = KestroPaths::extensionQueueDirectory();
        const auto setMode = [](const QString& path, mode_t mode) {
            return ::chmod(QFile::encodeName(path).constData(), mode) == 0;
        };
        if (plant == u"description 0666"_qs)
            QVERIFY(setMode(FileManagerIntegration::menuDescriptionPath(), 0666));
        if (plant == u"extension 0777"_qs)
            QVERIFY(setMode(KestroPaths::extensionDirectory(), 0777));
        if (plant == u"queue 0777"_qs)
            QVERIFY(QDir().mkpath(queue) && setMode(queue, 0777));
        if (plant == u"queue link"_qs)
            QVERIFY(QDir(queue).removeRecursively() && QFile::link(elsewhere, queue));
        if (plant == u"log link"_qs) {
            QFile::remove(KestroPaths::diagnosticLogPath());
            QVERIFY(QFile::link(file, KestroPaths::diagnosticLogPath()));
        }
        // Through a shell, so that a path can hold bytes that are no UTF-8 (given as printf escapes).
        QStringList words;
        for (const QString& argument : arguments)
            words.append(argument == u"FILE"_qs       ? "'" + file + "'"
                         : argument == u"FOLDER"_qs   ? "'" + folder + "'"
                         : argument.startsWith(u'\\') ? "\"$(printf '/tmp/a" + argument + "')\""
                                                      : argument);
        QProcess handoff;
        handoff.start(u"/bin/sh"_qs, {u"-c"_qs, "exec \"$0\" " + words.join(u' '), handoffBinary()});
        QVERIFY(handoff.waitForFinished(10000));
        QCOMPARE(handoff.exitCode(), status);
        QVERIFY(QString::fromUtf8(handoff.readAllStandardError()).contains(said));
        const bool notice = status == 1 && !plant.startsWith(u"queue"_qs);
        QCOMPARE(queuedFiles().size(), notice ? 1 : 0);
        if (notice)
            QVERIFY(onlyQueuedAction().handoffError.value_or(QString()).contains(said));
        QVERIFY(QDir(elsewhere).isEmpty() && QFileInfo::exists(folder) && readAll(file).isEmpty());
        if (arguments.constFirst() == u"removeEverything"_qs)
            QVERIFY((m_env->logText() + readAll(KestroPaths::privateLogPath()))
                        .contains(u"file manager hand-off failed: no menu item removeEverything"_qs));
    }

    void preferencesShowEachFileManagerAndReintegrate() {
        InstalledFileManagers installed(*m_env, {u"dolphin"_qs, u"thunar"_qs});
        FileManagerIntegration::uninstall();
        FileManagerIntegrationSection section;
        section.resize(600, 400);
        section.show();
        QVERIFY(QTest::qWaitForWindowExposed(&section));
        // GNOME Files, Nemo, Dolphin, Thunar, PCManFM-Qt.
        const QString missing = u"未安装"_qs;
        const QString found = u"已找到，未集成"_qs;
        const QString integrated = u"已集成"_qs;
        QCOMPARE(section.statusTexts(), (QStringList{missing, missing, found, found, missing}));
        QTest::mouseClick(section.reintegrateButton(), Qt::LeftButton);
        QCOMPARE(section.statusTexts(), (QStringList{missing, missing, integrated, integrated, missing}));
        QVERIFY(!FileManagerIntegration::isSwitchedOff());
        QVERIFY(readAll(FileManagerIntegration::thunarActionsPath()).contains("<unique-id>kestro-"));
        // The page follows what others do meanwhile: "kestro --uninstall-integration", a new file manager.
        FileManagerIntegration::uninstall();
        QTRY_COMPARE(section.statusTexts(), (QStringList{missing, missing, found, found, missing}));
        writeRecorder(QFileInfo(QStandardPaths::findExecutable(u"dolphin"_qs)).absolutePath(),
                      u"pcmanfm-qt"_qs);
        QTRY_COMPARE(section.statusTexts(), (QStringList{missing, missing, found, found, found}));
        // A menu that cannot be written is named under the button, until a click that writes everything.
        const QString dolphin = FileManagerIntegration::dolphinFolder();
        QVERIFY(QDir(dolphin).removeRecursively());
        m_env->writeFile(dolphin, "not a folder");
        QTest::mouseClick(section.reintegrateButton(), Qt::LeftButton);
        const auto* problems = section.findChild<QLabel*>(u"integrationProblems"_qs);
        QVERIFY(problems->isVisible() && problems->text().contains(dolphin));
        QVERIFY(QFile::remove(dolphin));
        QTest::mouseClick(section.reintegrateButton(), Qt::LeftButton);
        QVERIFY(problems->isHidden());
    }

};

QTEST_MAIN(TestFileManagerIntegration)
#include "test_file_manager_integration.moc"
