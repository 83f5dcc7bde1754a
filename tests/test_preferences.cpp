// The app preferences: what a bad file loads as, and the login item that must agree with the system.
#include "catalogue/AppPreferencesPersistence.h"
#include "catalogue/AppPreferencesStore.h"
#include "platform/linux/AutostartLoginItems.h"
#include "platform/PropertyListFile.h"
#include "support/FakePlatform.h"
#include "support/TestEnvironment.h"

#include <QProcess>
#include <QtTest>

class PreferencesTest : public QObject {
    Q_OBJECT

    std::unique_ptr<TestEnvironment> m_environment;

    static QVariant stored(const char* key) {
        return PropertyListFile::read(AppPreferencesPersistence::fileURL())
            .value_or(QVariant())
            .toMap()
            .value(key);
    }

private slots:
    void init() { m_environment = std::make_unique<TestEnvironment>(); }
    void cleanup() { m_environment.reset(); }

    void missingOrBrokenFilesLoadAsDefaultsKeyByKey() {
        QCOMPARE(AppPreferencesPersistence::load(), AppPreferences({false, true, false}));
        for (const QByteArray& junk :
             {QByteArray("not a plist"), QByteArray("bplist00\x01\x02"), QByteArray(),
              QByteArray("<?xml version=\"1.0\"?><plist><array><true/></array></plist>")}) {
            m_environment->writeFile(AppPreferencesPersistence::fileURL(), junk);
            QCOMPARE(AppPreferencesPersistence::load(), AppPreferences({false, true, false}));
        }
        PropertyListFile::write(
            AppPreferencesPersistence::fileURL(),
            QVariantMap{{"revealCreatedItems", true}, {"revealActionResults", "no"}, {"launchAtLogin", 1}});
        QCOMPARE(AppPreferencesPersistence::load(), AppPreferences({true, true, false}));
        AppPreferencesStore store;
        store.setRevealActionResults(false);
        QCOMPARE(AppPreferencesPersistence::load(), AppPreferences({true, false, false}));
    }

    void theLoginItemFollowsTheSystem() {
        // At start-up the file is rewritten to agree with the system.
        AppPreferencesPersistence::save({true, false, true});
        {
            AppPreferencesStore store;
            QVERIFY(store.revealCreatedItems() && !store.revealActionResults() && !store.launchAtLogin());
            QCOMPARE(stored("launchAtLogin"), QVariant(false));
        }
        QFile::remove(AppPreferencesPersistence::fileURL());
        // A refused registration is rolled back, and the user is told why.
        AppPreferencesStore store;
        QSignalSpy changes(&store, &AppPreferencesStore::launchAtLoginChanged);
        QSignalSpy refusals(&store, &AppPreferencesStore::launchAtLoginRefused);
        FakePlatform::loginItems().refuses = true;
        store.setLaunchAtLogin(true);
        QVERIFY(!store.launchAtLogin());
        QCOMPARE(changes.size(), 2); // on, then back off for the switch to follow
        QCOMPARE(refusals.size(), 1);
        QVERIFY(!refusals.constFirst().constFirst().toString().isEmpty());
        QVERIFY(!QFile::exists(AppPreferencesPersistence::fileURL()));
        FakePlatform::loginItems().refuses = false;
        store.setLaunchAtLogin(true);
        QVERIFY(store.launchAtLogin() && FakePlatform::loginItems().registrations == 1);
        QCOMPARE(stored("launchAtLogin"), QVariant(true));
        // Turned off behind our back: turning it off asks the system nothing and still saves.
        FakePlatform::loginItems().enabled = false;
        store.setLaunchAtLogin(false);
        QCOMPARE(FakePlatform::loginItems().unregistrations, 0);
        QCOMPARE(stored("launchAtLogin"), QVariant(false));
    }

    void autostartEntryStartsKestroAsALoginItem() {
        AutostartLoginItems items;
        QVERIFY(!items.isEnabled());
        items.setEnabled(true);
        QVERIFY(items.isEnabled());
        const QByteArray entry = readAll(AutostartLoginItems::entryPath());
        QVERIFY(entry.startsWith("[Desktop Entry]\n") && entry.contains("\" --login-item\n") &&
                entry.contains("\nType=Application\n"));
        QProcess validate;
        validate.start(QStringLiteral("desktop-file-validate"), {AutostartLoginItems::entryPath()});
        QVERIFY(validate.waitForFinished(10000) && validate.exitCode() == 0 && validate.readAll().isEmpty());
        QCOMPARE(AutostartLoginItems::entryPath(),
                 m_environment->home() + QStringLiteral("/.config/autostart/kestro.desktop"));
        // Turned off in the desktop's own settings.
        m_environment->writeFile(AutostartLoginItems::entryPath(), entry + "Hidden=true\n");
        QVERIFY(!items.isEnabled());
        items.setEnabled(false);
        QVERIFY(!QFile::exists(AutostartLoginItems::entryPath()));
        items.setEnabled(false);
    }
};

QTEST_GUILESS_MAIN(PreferencesTest)
#include "test_preferences.moc"
