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

    static QVariantMap stored() {
        return PropertyListFile::read(AppPreferencesPersistence::fileURL()).value_or(QVariant()).toMap();
    }

private slots:
    void init() { m_environment = std::make_unique<TestEnvironment>(); }
    void cleanup() { m_environment.reset(); }

    void missingOrBrokenFilesLoadAsDefaults() {
        QCOMPARE(AppPreferencesPersistence::load(), AppPreferences({false, true, false}));
        for (const QByteArray& junk :
             {QByteArray("not a plist"), QByteArray("bplist00\x01\x02"), QByteArray(),
              QByteArray("<?xml version=\"1.0\"?><plist><array><true/></array></plist>")}) {
            m_environment->writeFile(AppPreferencesPersistence::fileURL(), junk);
            QCOMPARE(AppPreferencesPersistence::load(), AppPreferences({false, true, false}));
        }
        // Wrong-typed keys fall back one by one.
        PropertyListFile::write(AppPreferencesPersistence::fileURL(),
                                QVariantMap{{QStringLiteral("revealCreatedItems"), true},
                                            {QStringLiteral("revealActionResults"), QStringLiteral("no")},
                                            {QStringLiteral("launchAtLogin"), 1}});
        QCOMPARE(AppPreferencesPersistence::load(), AppPreferences({true, true, false}));
    }

    void theLoginItemFollowsTheSystem() {
        FakePlatform::loginItems().enabled = false;
        AppPreferencesPersistence::save({true, false, true});
        AppPreferencesStore store;
        QVERIFY(store.revealCreatedItems());
        QVERIFY(!store.revealActionResults());
        QVERIFY(!store.launchAtLogin());
        // The file is rewritten at start-up to agree with the system.
        QCOMPARE(stored().value(QStringLiteral("launchAtLogin")), QVariant(false));
        QCOMPARE(stored().value(QStringLiteral("revealCreatedItems")), QVariant(true));
    }

    void aRefusedRegistrationIsRolledBack() {
        AppPreferencesStore store;
        QSignalSpy changes(&store, &AppPreferencesStore::launchAtLoginChanged);
        QSignalSpy refusals(&store, &AppPreferencesStore::launchAtLoginRefused);
        FakePlatform::loginItems().refuses = true;
        store.setLaunchAtLogin(true);
        QVERIFY(!store.launchAtLogin());
        QCOMPARE(changes.size(), 2); // on, then back off for the switch to follow
        // The user is told why (the page shows it under the switch).
        QCOMPARE(refusals.size(), 1);
        QVERIFY(!refusals.constFirst().constFirst().toString().isEmpty());
        QVERIFY(!QFile::exists(AppPreferencesPersistence::fileURL()));

        FakePlatform::loginItems().refuses = false;
        store.setLaunchAtLogin(true);
        QVERIFY(store.launchAtLogin());
        QCOMPARE(FakePlatform::loginItems().registrations, 1);
        QCOMPARE(stored().value(QStringLiteral("launchAtLogin")), QVariant(true));
    }

    void turningOffWhatTheSystemAlreadyHasOffStillSaves() {
        FakePlatform::loginItems().enabled = true;
        AppPreferencesStore store;
        QVERIFY(store.launchAtLogin());
        FakePlatform::loginItems().enabled = false; // turned off behind our back
        store.setLaunchAtLogin(false);
        QCOMPARE(FakePlatform::loginItems().unregistrations, 0);
        QCOMPARE(stored().value(QStringLiteral("launchAtLogin")), QVariant(false));
    }

    void revealSwitchesSaveAtOnce() {
        AppPreferencesStore store;
        store.setRevealCreatedItems(true);
        QCOMPARE(AppPreferencesPersistence::load().revealCreatedItems, true);
        store.setRevealActionResults(false);
        QCOMPARE(AppPreferencesPersistence::load(), AppPreferences({true, false, false}));
    }

    void autostartEntryStartsKestroAsALoginItem() {
        AutostartLoginItems items;
        QVERIFY(!items.isEnabled());
        items.setEnabled(true);
        QVERIFY(items.isEnabled());
        const QByteArray entry =
            readAll(m_environment->home() + QStringLiteral("/.config/autostart/kestro.desktop"));
        QVERIFY(entry.startsWith("[Desktop Entry]\n"));
        QVERIFY(entry.contains("\" --login-item\n"));
        QVERIFY(entry.contains("\nType=Application\n"));
        QProcess validate; // as every desktop entry Kestro writes, a valid one
        validate.start(QStringLiteral("desktop-file-validate"), {AutostartLoginItems::entryPath()});
        QVERIFY(validate.waitForFinished(10000));
        QVERIFY2(validate.exitCode() == 0 && validate.readAll().isEmpty(), "desktop-file-validate");

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
