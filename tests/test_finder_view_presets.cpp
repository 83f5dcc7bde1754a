// View presets: the stored list (defaults, cleaning, edits, automatic names) and which preset a request
// names; applying one needs a scriptable file manager, which this system has not.
#include "platform/KestroPaths.h"
#include "platform/PropertyListFile.h"
#include "stores/FinderViewPresetPersistence.h"
#include "stores/FinderViewPresetStore.h"
#include "support/ActionRequests.h"

class TestFinderViewPresets : public QObject {
    Q_OBJECT

private slots:
    void init() { m_env.emplace(); }
    void cleanup() { m_env.reset(); }

    // Entries of the wrong shape are dropped and numbered copies of a name lose the number (the file kept
    // aside is the stores' test); an empty list stays empty. Editing is the settings window's test; here
    // the two stored copies stay in step. The defaults are the presets the requests below name.
    void loadingCleansNamesAndSkipsBadEntries() {
        const auto entry = [](const char* id, const QVariant& name, const char* view) {
            return QVariantMap{{"id", id}, {"name", name}, {"viewMode", view}, {"sortMode", "name"}};
        };
        PropertyListFile::write(FinderViewPresetPersistence::settingsFilePath(),
                                QVariantList{entry("a", "图标 · 按名称 3", "icon"),
                                             entry("b", "Mine 2", "list"), entry("c", "Cover", "cover"),
                                             entry("e", 5, "list")});
        FinderViewPresetStore store;
        QCOMPARE(store.presets()[0].name, "图标 · 按名称");
        QCOMPARE(store.presets().last().name, "Mine 2");
        store.removePresets({0});
        QCOMPARE(FinderViewPresetPersistence::load(), std::optional(store.presets()));
        QCOMPARE(readAll(FinderViewPresetPersistence::settingsFilePath()),
                 readAll(KestroPaths::extensionDirectory() + "/FinderViewPresets.plist"));

        PropertyListFile::write(FinderViewPresetPersistence::settingsFilePath(), QVariantList{});
        QVERIFY(FinderViewPresetStore().presets().isEmpty());
    }

    // The preset is named in the action, by presetID, or as the destination's last folder; a view
    // goes first. A view alone is one script; an empty view: refused.
    void aRequestNamesItsPreset() {
        for (const auto& [actionID, destination, presetID, view] :
             std::initializer_list<std::array<const char*, 4>>{
                 {"finderViewPreset__icon-name", "", "", "icon view"},
                 {"finderViewPreset", "", "column-name", "column view"},
                 {"finderViewPreset", "/presets/icon-name//", "", "icon view"},
                 {"finderViewPreset__nope", "", "", ""},
                 {"finderViewPreset", "/", "", ""},
                 {"finderViewList", "", "", "list view"}}) {
            m_env.emplace();
            FinderViewPresetStore store;
            const Case refusal =
                caseOf([&] { perform(actionID, {}, {}, given(destination), given(presetID)); });
            QCOMPARE(refusal, *view ? Case(-1) : Case::unsupportedAction);
            const QStringList scripts = FakePlatform::scripting().scriptsRun;
            // A preset reads the view's state back after setting it.
            QCOMPARE(scripts.size(), *view ? 1 + QString(actionID).startsWith("finderViewPreset") : 0);
            QVERIFY2(scripts.value(0).contains(QString("to ") + view) == bool(*view), actionID);
        }
    }

    void theSystemFileManagerCannotBeScriptedAndSaysSo() {
        FinderViewPresetStore store;
        Platform::setFileManagerScripting(createSystemFileManagerScripting());
        if (Platform::fileManagerScripting().runStringScript("return \"\""))
            QSKIP("this system's file manager takes scripts");
        QCOMPARE(caseOf([&] { perform("finderViewPreset__list-modified", {}); }), Case::commandFailed);
    }

private:
    std::optional<TestEnvironment> m_env;
};

QTEST_GUILESS_MAIN(TestFinderViewPresets)
#include "test_finder_view_presets.moc"
