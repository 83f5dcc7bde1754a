// View presets: the stored list (defaults, cleaning, edits, automatic names) and which preset a request
// names; applying one needs a scriptable file manager, which this system has not.
#include "platform/KestroPaths.h"
#include "platform/PropertyListFile.h"
#include "stores/FinderViewPresetPersistence.h"
#include "stores/FinderViewPresetStore.h"
#include "support/ActionRequests.h"

namespace {

QStringList namesOf(const QList<FinderViewPreset>& presets) {
    QStringList result;
    for (const FinderViewPreset& preset : presets)
        result.append(preset.name);
    return result;
}

} // namespace

class TestFinderViewPresets : public QObject {
    Q_OBJECT

private slots:
    void init() { m_env.emplace(); }
    void cleanup() { m_env.reset(); }

    void theListStartsWithTheDefaultsAndKeepsBothCopiesInStep() {
        FinderViewPresetStore store;
        QCOMPARE(namesOf(store.presets()),
                 (QStringList{"列表 · 最近修改", "图标 · 按名称", "分栏 · 按名称"}));
        QCOMPARE(FinderViewPresetPersistence::load(), std::optional(store.presets()));
        QCOMPARE(FakePlatform::notifications().settingsReasons, QStringList{"finder-view-presets"});
        QSignalSpy changed(&store, &FinderViewPresetStore::presetsChanged);

        const FinderViewPreset added = store.addPreset();
        QCOMPARE(added.name, "列表 · 按修改日期");
        FinderViewPreset edited = added;
        edited.name = "我的方案";
        edited.viewMode = FinderViewMode::icon;
        store.update(edited);
        store.movePresets({3, 1}, 0);
        QCOMPARE(namesOf(store.presets()),
                 (QStringList{"图标 · 按名称", "我的方案", "列表 · 最近修改", "分栏 · 按名称"}));
        store.removePresets({0, 3});
        QCOMPARE(namesOf(store.presets()), (QStringList{"我的方案", "列表 · 最近修改"}));
        QCOMPARE(changed.size(), 4);

        QCOMPARE(FinderViewPresetPersistence::load(), std::optional(store.presets()));
        QCOMPARE(readAll(FinderViewPresetPersistence::settingsFilePath()),
                 readAll(KestroPaths::extensionDirectory() + "/FinderViewPresets.plist"));
    }

    // Entries of the wrong shape are dropped and numbered copies of a name lose the number (the file kept
    // aside is the stores' test); an empty list stays empty.
    void loadingCleansNamesAndSkipsBadEntries() {
        const auto entry = [](const char* id, const QVariant& name, const char* view, const char* sort) {
            QVariantMap map{{"id", id}, {"name", name}, {"viewMode", view}};
            if (sort)
                map.insert("sortMode", sort);
            return QVariant(map);
        };
        PropertyListFile::write(
            FinderViewPresetPersistence::settingsFilePath(),
            QVariantList{entry("a", "图标 · 按名称 3", "icon", "name"), entry("b", "Mine 2", "list", "none"),
                         entry("c", "Cover", "cover", "name"), entry("d", "No sort", "list", nullptr),
                         entry("e", " · 2", "gallery", "size"), entry("f", 5, "list", "size")});
        FinderViewPresetStore store;
        QCOMPARE(namesOf(store.presets()), (QStringList{"图标 · 按名称", "Mine 2", " · 2"}));
        QCOMPARE(store.presets().at(2).viewMode, FinderViewMode::gallery);

        PropertyListFile::write(FinderViewPresetPersistence::settingsFilePath(), QVariantList{});
        QVERIFY(FinderViewPresetStore().presets().isEmpty());
    }

    // The preset is named in the action, by presetID, or as the destination's last folder (written with or
    // without slashes); the view goes first, then the state is read back. A view alone is one script.
    void aRequestNamesItsPreset_data() {
        QTest::addColumn<QString>("actionID");
        QTest::addColumn<QString>("destination");
        QTest::addColumn<QString>("presetID");
        QTest::addColumn<QString>("view"); // empty: refused
        for (const auto& [row, actionID, destination, presetID, view] :
             std::initializer_list<std::array<const char*, 5>>{
                 {"in the action", "finderViewPreset__icon-name", "", "", "icon view"},
                 {"by id", "finderViewPreset", "", "column-name", "column view"},
                 {"destination", "finderViewPreset", "/presets/list-modified", "", "list view"},
                 {"slashes", "finderViewPreset", "/presets/icon-name//", "", "icon view"},
                 {"unknown", "finderViewPreset__nope", "", "", ""},
                 {"none", "finderViewPreset", "", "", ""},
                 {"the root", "finderViewPreset", "/", "", ""},
                 {"a view alone", "finderViewList", "", "", "list view"}})
            QTest::newRow(row) << actionID << destination << presetID << view;
    }
    void aRequestNamesItsPreset() {
        QFETCH(QString, actionID);
        QFETCH(QString, destination);
        QFETCH(QString, presetID);
        QFETCH(QString, view);
        FinderViewPresetStore store;
        const Case refusal = caseOf([&] { perform(actionID, {}, {}, given(destination), given(presetID)); });
        const QStringList scripts = FakePlatform::scripting().scriptsRun;
        QCOMPARE(refusal, view.isEmpty() ? Case::unsupportedAction : Case(-1));
        const bool preset = actionID.startsWith("finderViewPreset");
        QCOMPARE(scripts.size(), view.isEmpty() ? 0 : preset ? 2 : 1);
        if (!view.isEmpty())
            QVERIFY2(scripts[0].contains("to " + view) &&
                         m_env->logText().contains("finder view preset applied") == preset,
                     qPrintable(scripts[0]));
    }

    void theSystemFileManagerCannotBeScriptedAndSaysSo() {
        FinderViewPresetStore store;
        Platform::setFileManagerScripting(createSystemFileManagerScripting());
        if (Platform::fileManagerScripting().runStringScript("return \"\""))
            QSKIP("this system's file manager takes scripts");
        for (const char* id : {"finderViewPreset__list-modified", "finderViewList", "finderSortName"}) {
            QVERIFY2(caseOf([&] { perform(id, {}); }) == Case::commandFailed, id);
        }
        QVERIFY(!m_env->logText().contains("finder view preset applied"));
    }

private:
    std::optional<TestEnvironment> m_env;
};

QTEST_GUILESS_MAIN(TestFinderViewPresets)
#include "test_finder_view_presets.moc"
