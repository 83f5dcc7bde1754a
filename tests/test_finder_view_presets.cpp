#include "actions/FinderActionExecutor.h"
#include "actions/FinderViewPresetActions.h"
#include "actions/FinderViewPresetScripts.h"
#include "actions/ProcessRunner.h"
#include "platform/FinderActionExecutionError.h"
#include "platform/KestroPaths.h"
#include "platform/Platform.h"
#include "platform/PropertyListFile.h"
#include "stores/FinderViewPresetPersistence.h"
#include "stores/FinderViewPresetStore.h"
#include "support/FakePlatform.h"
#include "support/TestEnvironment.h"

#include <QFile>
#include <QSignalSpy>
#include <QTest>

namespace {

// Stands a recording program in for osascript, and puts the real path back afterwards.
struct AppleScriptRunnerStandIn {
    AppleScriptRunnerStandIn(const TestEnvironment& environment, int exitCode)
        : m_saved(ProcessRunner::appleScriptRunnerPath())
        , record(environment.root() + QStringLiteral("/osascript-arguments")) {
        const QString path = environment.writeFile(
            QStringLiteral("bin/osascript"),
            QStringLiteral(
                "#!/bin/sh\nprintf '%s' \"$2\" > '%1'\necho 'System Events got an error' >&2\nexit %2\n")
                .arg(record)
                .arg(exitCode)
                .toUtf8());
        QFile::setPermissions(path, QFile::permissions(path) | QFileDevice::ExeOwner);
        ProcessRunner::setAppleScriptRunnerPath(path);
    }
    ~AppleScriptRunnerStandIn() { ProcessRunner::setAppleScriptRunnerPath(m_saved); }

    QString m_saved;
    QString record;
};

QVariantMap element(const QVariantMap& fields) {
    return fields;
}

QStringList names(const QList<FinderViewPreset>& presets) {
    QStringList result;
    for (const FinderViewPreset& preset : presets)
        result.append(preset.name);
    return result;
}

QString extensionCopy() {
    return KestroPaths::extensionDirectory() + QStringLiteral("/FinderViewPresets.plist");
}

const char* const expectedSortMenuScriptForName =
    "tell application \"Finder\" to activate\n"
    "delay 0.1\n"
    "tell application \"System Events\"\n"
    "    tell process \"Finder\"\n"
    "        set sortNames to {\"名称\", \"Name\", \"名\", \"名前\", \"이름\", \"Nom\", \"Nombre\", "
    "\"Nome\", \"Название\", \"名稱\"}\n"
    "        set viewMenu to menu 1 of menu bar item 5 of menu bar 1\n"
    "        repeat with parentTitle in {\"排序方式\", \"Sort By\", \"整理方式\", \"Arrange By\", "
    "\"並べ替え\", \"表示順序\", \"정렬 방식\", \"정렬 기준\", \"Trier par\", \"Organiser par\", \"Sortieren "
    "nach\", \"Anordnen nach\", \"Ordenar por\", \"Organizar por\", \"Ordina per\", \"Disponi per\", "
    "\"Ordenar Por\", \"Organizar Por\", \"Сортировать по\", \"Упорядочить по\"}\n"
    "            try\n"
    "                set parentItem to first menu item of viewMenu whose name is parentTitle\n"
    "                set sortMenu to menu 1 of parentItem\n"
    "                repeat with sortName in sortNames\n"
    "                    try\n"
    "                        click (first menu item of sortMenu whose name is sortName)\n"
    "                        return\n"
    "                    end try\n"
    "                end repeat\n"
    "            end try\n"
    "        end repeat\n"
    "        error \"Sort menu item not found\"\n"
    "    end tell\n"
    "end tell";

const char* const expectedStateScript =
    "tell application \"Finder\"\n"
    "    if (count of Finder windows) is 0 then\n"
    "        return \"no-window\"\n"
    "    end if\n"
    "    set viewName to current view of front Finder window as text\n"
    "    set listColumnName to \"\"\n"
    "    set listDirection to \"\"\n"
    "    set iconArrangement to \"\"\n"
    "    try\n"
    "        set listColumnName to name of sort column of list view options of front Finder window\n"
    "        set listDirection to sort direction of sort column of list view options of front Finder window "
    "as text\n"
    "    end try\n"
    "    try\n"
    "        set iconArrangement to arrangement of icon view options of front Finder window as text\n"
    "    end try\n"
    "    return viewName & \" | list=\" & listColumnName & \"/\" & listDirection & \" | icon=\" & "
    "iconArrangement\n"
    "end tell";

} // namespace

class TestFinderViewPresets : public QObject {
    Q_OBJECT

private slots:
    void firstStartWritesTheThreeDefaults() {
        TestEnvironment environment;
        FinderViewPresetStore store;
        QCOMPARE(names(store.presets()),
                 (QStringList{QStringLiteral("列表 · 最近修改"), QStringLiteral("图标 · 按名称"),
                              QStringLiteral("分栏 · 按名称")}));
        QCOMPARE(store.presets().at(0).id, QStringLiteral("list-modified"));
        QCOMPARE(store.presets().at(2).viewMode, FinderViewMode::column);
        QCOMPARE(FinderViewPresetPersistence::load(), std::optional(store.presets()));
        QCOMPARE(readAll(FinderViewPresetPersistence::settingsFilePath()), readAll(extensionCopy()));
        QCOMPARE(FakePlatform::notifications().settingsReasons,
                 QStringList{QStringLiteral("finder-view-presets")});
        const QVariantMap first = PropertyListFile::read(extensionCopy())->toList().at(0).toMap();
        QCOMPARE(first.value("viewMode").toString(), QStringLiteral("list"));
        QCOMPARE(first.value("sortMode").toString(), QStringLiteral("modificationDate"));
    }

    void loadingCleansNamesAndSkipsBadEntries() {
        TestEnvironment environment;
        const QVariantList root{
            element({{"id", "a"}, {"name", "图标 · 按名称 3"}, {"viewMode", "icon"}, {"sortMode", "name"}}),
            element({{"id", "b"}, {"name", "Mine 2"}, {"viewMode", "list"}, {"sortMode", "none"}}),
            element({{"id", "c"}, {"name", "Cover"}, {"viewMode", "cover"}, {"sortMode", "name"}}),
            element({{"id", "d"}, {"name", "No sort"}, {"viewMode", "list"}}),
            element({{"id", "e"}, {"name", " · 2"}, {"viewMode", "gallery"}, {"sortMode", "size"}}),
            element({{"id", "f"}, {"name", 5}, {"viewMode", "list"}, {"sortMode", "size"}}),
        };
        PropertyListFile::write(FinderViewPresetPersistence::settingsFilePath(), root);
        const QByteArray original = readAll(FinderViewPresetPersistence::settingsFilePath());
        FinderViewPresetStore store;
        QCOMPARE(names(store.presets()), (QStringList{QStringLiteral("图标 · 按名称"), "Mine 2", " · 2"}));
        QCOMPARE(store.presets().at(2).viewMode, FinderViewMode::gallery);
        QCOMPARE(readAll(FinderViewPresetPersistence::settingsFilePath() + QStringLiteral(".unreadable")),
                 original);
    }

    void anEmptyListStaysEmptyAndAnUnreadableFileGivesTheDefaults() {
        TestEnvironment environment;
        PropertyListFile::write(FinderViewPresetPersistence::settingsFilePath(), QVariantList{});
        QVERIFY(FinderViewPresetStore().presets().isEmpty());
        environment.writeFile(FinderViewPresetPersistence::settingsFilePath(), "{not a plist");
        QCOMPARE(FinderViewPresetStore().presets().size(), 3);
        QCOMPARE(readAll(FinderViewPresetPersistence::settingsFilePath() + QStringLiteral(".unreadable")),
                 QByteArray("{not a plist"));
    }

    void editsSaveBothCopies() {
        TestEnvironment environment;
        FinderViewPresetStore store;
        QSignalSpy changed(&store, &FinderViewPresetStore::presetsChanged);
        const FinderViewPreset added = store.addPreset();
        QCOMPARE(added.name, QStringLiteral("列表 · 按修改日期"));
        QCOMPARE(store.presets().last(), added);

        FinderViewPreset edited = added;
        edited.name = QStringLiteral("我的方案");
        edited.viewMode = FinderViewMode::icon;
        edited.sortMode = FinderSortMode::none;
        store.update(edited);
        QCOMPARE(store.presets().last(), edited);
        store.update(FinderViewPreset{QStringLiteral("unknown"), QStringLiteral("x")});
        QCOMPARE(store.presets().size(), 4);

        store.movePresets({3, 1}, 0);
        QCOMPARE(names(store.presets()),
                 (QStringList{"图标 · 按名称", "我的方案", "列表 · 最近修改", "分栏 · 按名称"}));
        store.removePresets({0, 3});
        QCOMPARE(names(store.presets()), (QStringList{"我的方案", "列表 · 最近修改"}));
        QCOMPARE(changed.size(), 4);
        QCOMPARE(FakePlatform::notifications().settingsReasons.size(), 5);
        QCOMPARE(FinderViewPresetPersistence::load(), std::optional(store.presets()));
        QCOMPARE(readAll(FinderViewPresetPersistence::settingsFilePath()), readAll(extensionCopy()));
    }

    void changingModesRenamesOnlyAutomaticNames() {
        TestEnvironment environment;
        FinderViewPresetStore store;
        store.changeModes(QStringLiteral("list-modified"), FinderViewMode::icon, FinderSortMode::size);
        QCOMPARE(store.presets().at(0).name, QStringLiteral("图标 · 按大小"));
        QCOMPARE(store.presets().at(0).sortMode, FinderSortMode::size);
        store.changeModes(QStringLiteral("list-modified"), FinderViewMode::list, FinderSortMode::none);
        QCOMPARE(store.presets().at(0).name, QStringLiteral("列表 · 不改变排序"));

        FinderViewPreset typed = store.presets().at(1);
        typed.name = QStringLiteral("照片");
        store.update(typed);
        store.changeModes(typed.id, FinderViewMode::gallery, FinderSortMode::creationDate);
        QCOMPARE(store.presets().at(1).name, QStringLiteral("照片"));
        QCOMPARE(store.presets().at(1).viewMode, FinderViewMode::gallery);
        QCOMPARE(FinderViewPresetPersistence::preset(typed.id)->sortMode, FinderSortMode::creationDate);
    }

    void presetScriptsAreExact() {
        QCOMPARE(
            FinderViewPresetScripts::viewScript(FinderViewMode::list, FinderSortMode::modificationDate),
            QStringLiteral("tell application \"Finder\"\nactivate\nif (count of Finder windows) is 0 then\n"
                           "make new Finder window to desktop\nend if\n"
                           "set current view of front Finder window to list view\ndelay 0.15\ndelay 0.15\n"
                           "tell list view options of front Finder window\n"
                           "set visible of column modification date column to true\n"
                           "set sort column to column modification date column\n"
                           "set sort direction of sort column to reversed\nend tell\nend tell"));
        QCOMPARE(
            FinderViewPresetScripts::viewScript(FinderViewMode::icon, FinderSortMode::kind),
            QStringLiteral("tell application \"Finder\"\nactivate\nif (count of Finder windows) is 0 then\n"
                           "make new Finder window to desktop\nend if\n"
                           "set current view of front Finder window to icon view\ndelay 0.15\n"
                           "set arrangement of icon view options of front Finder window to arranged by kind\n"
                           "end tell"));
        const QString galleryByName =
            QStringLiteral("tell application \"Finder\"\nactivate\nif (count of Finder windows) is 0 then\n"
                           "make new Finder window to desktop\nend if\n"
                           "set current view of front Finder window to flow view\ndelay 0.15\nend tell");
        QCOMPARE(FinderViewPresetScripts::viewScript(FinderViewMode::gallery, FinderSortMode::name),
                 galleryByName);
        QCOMPARE(FinderViewPresetScripts::viewScript(FinderViewMode::list, FinderSortMode::none),
                 QString(galleryByName).replace(QStringLiteral("flow view"), QStringLiteral("list view")));
        QCOMPARE(FinderViewPresetScripts::sortMenuScript(FinderSortMode::name),
                 QString::fromUtf8(expectedSortMenuScriptForName));
        QVERIFY(FinderViewPresetScripts::sortMenuScript(FinderSortMode::none).isEmpty());
        QCOMPARE(FinderViewPresetScripts::sortMenuItemNames(FinderSortMode::label).size(), 11);
        QCOMPARE(FinderViewPresetScripts::stateScript(), QString::fromUtf8(expectedStateScript));
    }

    void applyingAPresetRunsBothScriptsAndLogsTheState() {
        TestEnvironment environment;
        PropertyListFile::write(
            FinderViewPresetPersistence::settingsFilePath(),
            QVariantList{
                element({{"id", "g"}, {"name", "G"}, {"viewMode", "gallery"}, {"sortMode", "name"}}),
                element({{"id", "n"}, {"name", "N"}, {"viewMode", "column"}, {"sortMode", "none"}})});
        {
            AppleScriptRunnerStandIn osascript(environment, 0);
            FinderActionExecutor::perform(QStringLiteral("finderViewPreset__g"), {}, {}, {}, {});
            QCOMPARE(FakePlatform::scripting().scriptsRun,
                     (QStringList{
                         FinderViewPresetScripts::viewScript(FinderViewMode::gallery, FinderSortMode::name),
                         FinderViewPresetScripts::stateScript()}));
            QCOMPARE(QString::fromUtf8(readAll(osascript.record)),
                     QString::fromUtf8(expectedSortMenuScriptForName));
            QVERIFY(environment.logText().contains(
                QStringLiteral("] finder sort view options succeeded mode=name\n")));
            QVERIFY(environment.logText().contains(
                QStringLiteral("] finder view preset applied view=gallery sort=name state=\n")));
        }
        {
            // Finder's own menu failing does not fail the preset; it is only logged.
            AppleScriptRunnerStandIn osascript(environment, 1);
            FinderActionExecutor::perform(QStringLiteral("finderViewPreset"), {}, {}, std::nullopt,
                                          QStringLiteral("g"));
            QVERIFY(environment.logText().contains(QStringLiteral(
                "finder sort view options failed mode=name error=System Events got an error\n")));
            QFile::remove(osascript.record);
            // No sort: no System Events at all.
            FinderActionExecutor::perform(QStringLiteral("finderViewPreset"), {}, {},
                                          QStringLiteral("/presets/n"), {});
            QVERIFY(!QFile::exists(osascript.record));
            QVERIFY(environment.logText().contains(
                QStringLiteral("finder view preset applied view=column sort=none state=\n")));
        }
    }

    void thePresetIsTheDestinationsLastFolderWithOrWithoutSlashes() {
        // The URL road hands the destination over as written; the queue road cleans it first. Both end here.
        for (const char* destination :
             {"/presets/icon-name", "/presets/icon-name/", "/presets/icon-name//"}) {
            TestEnvironment environment;
            FinderViewPresetStore store;
            FinderActionExecutor::perform(QStringLiteral("finderViewPreset"), {}, {},
                                          QString::fromLatin1(destination), {});
            QVERIFY2(!FakePlatform::scripting().scriptsRun.isEmpty(), destination);
            QVERIFY(FakePlatform::scripting().scriptsRun.constFirst().contains(
                QStringLiteral("set current view of front Finder window to icon view")));
        }
        TestEnvironment environment;
        FinderViewPresetStore store;
        try {
            FinderActionExecutor::perform(QStringLiteral("finderViewPreset"), {}, {}, QStringLiteral("/"),
                                          {});
            QFAIL("the root folder names no preset");
        } catch (const FinderActionExecutionError& error) {
            QCOMPARE(error.payload(), QStringLiteral("finderViewPreset__"));
        }
    }

    void unknownPresetsAreUnsupported() {
        TestEnvironment environment;
        FinderViewPresetStore store;
        try {
            FinderActionExecutor::perform(QStringLiteral("finderViewPreset__nope"), {}, {}, {}, {});
            QFAIL("an unknown preset was applied");
        } catch (const FinderActionExecutionError& error) {
            QCOMPARE(error.errorDescription(),
                     QStringLiteral("暂不支持这个右键动作：finderViewPreset__nope。"));
        }
        try {
            FinderActionExecutor::perform(QStringLiteral("finderViewPreset"), {}, {}, {}, {});
            QFAIL("a preset was applied without an id");
        } catch (const FinderActionExecutionError& error) {
            QCOMPARE(error.payload(), QStringLiteral("finderViewPreset"));
        }
        QVERIFY(FakePlatform::scripting().scriptsRun.isEmpty());
    }

    void viewAndSortActionsFailClearlyWhereTheFileManagerCannotBeScripted() {
        TestEnvironment environment;
        FinderViewPresetStore store;
        // The single actions run their own small scripts.
        FinderActionExecutor::perform(QStringLiteral("finderViewGallery"), {}, {}, {}, {});
        FinderActionExecutor::perform(QStringLiteral("finderSortSize"), {}, {}, {}, {});
        QCOMPARE(FakePlatform::scripting().scriptsRun.size(), 2);
        QVERIFY(FakePlatform::scripting().scriptsRun.at(0).contains(
            QStringLiteral("set current view of front Finder window to flow view")));
        QVERIFY(FakePlatform::scripting().scriptsRun.at(1).contains(QStringLiteral(
            "set sort column to column size column\nset sort direction of sort column to reversed")));

        Platform::setFileManagerScripting(createSystemFileManagerScripting());
        for (const char* id : {"finderViewPreset__list-modified", "finderViewList", "finderSortName"}) {
            try {
                FinderActionExecutor::perform(QString::fromLatin1(id), {}, {}, {}, {});
                if (Platform::fileManagerScripting().runStringScript(QStringLiteral("return \"\"")))
                    continue; // a system whose file manager takes scripts
                QFAIL("the action claimed success without a scriptable file manager");
            } catch (const FinderActionExecutionError& error) {
                QCOMPARE(error.errorCase(), FinderActionExecutionError::Case::commandFailed);
                QCOMPARE(error.errorDescription(), QStringLiteral("这个系统的文件管理器不支持脚本控制。"));
            }
        }
        QVERIFY(!environment.logText().contains(QStringLiteral("finder view preset applied")));
    }
};

QTEST_GUILESS_MAIN(TestFinderViewPresets)
#include "test_finder_view_presets.moc"
