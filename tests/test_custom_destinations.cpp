// The user's lists of places and applications: defaults on a first start, what a damaged file keeps, the
// installed applications merged in, and every edit on both copies.
#include "app/WidgetPrompts.h"
#include "platform/PropertyListFile.h"
#include "stores/CustomDestinationPersistence.h"
#include "stores/CustomDestinationStore.h"
#include "support/FakePlatform.h"
#include "support/ModalAnswer.h"
#include "support/TestEnvironment.h"

#include <QSignalSpy>
#include <QUuid>

namespace {

QString appCopy() {
    return CustomDestinationPersistence::settingsFilePath();
}

QVariantMap entry(const QString& id, const QString& name, const QString& path) {
    return {{QStringLiteral("id"), id}, {QStringLiteral("name"), name}, {QStringLiteral("path"), path}};
}

QStringList field(const QList<CustomDestination>& list, QString CustomDestination::*member) {
    QStringList result;
    for (const CustomDestination& destination : list)
        result.append(destination.*member);
    return result;
}

// What a later start would read: the application's copy, which must equal the extension's byte for byte.
CustomDestinationsByKind storedAndMirrored() {
    const QByteArray first = readAll(appCopy());
    if (first.isEmpty() || first != readAll(CustomDestinationPersistence::finderExtensionSettingsFilePath()))
        return {{QStringLiteral("copies differ"), {}}};
    return CustomDestinationPersistence::load().value_or(CustomDestinationsByKind());
}

} // namespace

class TestCustomDestinations : public QObject {
    Q_OBJECT
    std::unique_ptr<TestEnvironment> m_environment;
    QString m_applications; // the system's folder of application entries, the test's own
    QByteArray m_savedDataDirs;

    QString install(const QString& fileName) const {
        return m_environment->writeFile(m_applications + u'/' + fileName, "[Desktop Entry]\nName=App\n");
    }

private slots:
    void init() {
        m_environment = std::make_unique<TestEnvironment>();
        m_applications = m_environment->makeFolder(QStringLiteral("system-share/applications"));
        m_savedDataDirs = qgetenv("XDG_DATA_DIRS");
        qputenv("XDG_DATA_DIRS", QFileInfo(m_applications).absolutePath().toUtf8());
    }
    void cleanup() {
        qputenv("XDG_DATA_DIRS", m_savedDataDirs);
        m_environment.reset();
    }

    void firstStartWritesTheDefaultsToBothCopies() {
        const QString editor = install(QStringLiteral("org.gnome.TextEditor.desktop"));
        const QString calc = install(QStringLiteral("libreoffice-calc.desktop"));
        install(QStringLiteral("unrelated.desktop"));
        CustomDestinationStore store;
        const QString home = m_environment->home();
        const QStringList files{home + "/Desktop", home + "/Downloads", home + "/Documents"};
        QCOMPARE(field(store.destinations(CustomDestinationKind::copy), &CustomDestination::path), files);
        QCOMPARE(field(store.destinations(CustomDestinationKind::copy), &CustomDestination::name),
                 QStringList({"桌面", "下载", "文档"}));
        QCOMPARE(store.destinations(CustomDestinationKind::move),
                 store.destinations(CustomDestinationKind::copy));
        const QList<CustomDestination> quickOpen = store.destinations(CustomDestinationKind::quickOpen);
        QCOMPARE(field(quickOpen, &CustomDestination::path).mid(0, 5),
                 files + QStringList({home, home + "/Pictures"}));
        QCOMPARE(quickOpen.at(3).name, QStringLiteral("用户目录"));
        // Only installed applications, in the defaults' order (text editor before spreadsheet).
        QCOMPARE(field(store.destinations(CustomDestinationKind::openApplication), &CustomDestination::path),
                 QStringList({editor, calc}));
        QCOMPARE(storedAndMirrored(), store.destinationsByKind());
        QCOMPARE(FakePlatform::notifications().settingsReasons, QStringList{"custom-destinations"});
    }

    void storedListsLoadEntryByEntry() {
        const QString mine = m_environment->makeFolder(QStringLiteral("my \"projects\"\nfolder"));
        PropertyListFile::write(appCopy(), QVariantMap{{"move", QVariantList{}},
                                                       {"copy", QVariantList{entry("a", "Mine", mine)}},
                                                       {"future", QVariantList{entry("x", "X", "/x")}}});
        CustomDestinationStore store;
        QVERIFY(store.destinations(CustomDestinationKind::move).isEmpty()); // an empty list stays empty
        QCOMPARE(field(store.destinations(CustomDestinationKind::copy), &CustomDestination::path),
                 QStringList{mine});
        QCOMPARE(store.destinationsByKind().value(QStringLiteral("future")).size(), 1); // a later version's
        QCOMPARE(storedAndMirrored(), store.destinationsByKind());
        QVERIFY(!QFileInfo::exists(appCopy() + QStringLiteral(".unreadable")));

        // Malformed entries drop one by one, a wrongly typed list falls back to its defaults, and the file
        // is kept aside beside any earlier copy.
        m_environment->writeFile(appCopy() + QStringLiteral(".unreadable"), "an earlier copy");
        const QVariantList copy{entry("a", "A", "/a"), QVariantMap{{"id", "b"}, {"path", "/b"}},
                                QStringLiteral("text"), QVariantMap{{"id", "c"}, {"name", "C"}, {"path", 42}},
                                entry("d", "D", "/d")};
        PropertyListFile::write(appCopy(),
                                QVariantMap{{"copy", copy}, {"move", QStringLiteral("not a list")}});
        const QByteArray original = readAll(appCopy());
        CustomDestinationStore damaged;
        QCOMPARE(field(damaged.destinations(CustomDestinationKind::copy), &CustomDestination::path),
                 QStringList({"/a", "/d"}));
        QCOMPARE(damaged.destinations(CustomDestinationKind::move).size(), 3);
        QCOMPARE(readAll(appCopy() + QStringLiteral(".unreadable")), QByteArray("an earlier copy"));
        QCOMPARE(readAll(appCopy() + QStringLiteral(".unreadable 2")), original);
        PropertyListFile::write(appCopy(), QVariantList{entry("a", "A", "/a")});
        QVERIFY(!CustomDestinationPersistence::load()); // no dictionary at the top
    }

    void applicationListIsMergedWithTheInstalledDefaults() {
        const QString viewer = install(QStringLiteral("org.gnome.Evince.desktop"));
        const QString writer = install(QStringLiteral("libreoffice-writer.desktop"));
        PropertyListFile::write(
            appCopy(),
            QVariantMap{{"openApplication",
                         QVariantList{entry("mine", "My viewer", viewer), // the viewer again: no second entry
                                      entry("vscode", "VS Code", "/opt/code/code"),
                                      entry("x1", "Cursor", "/Applications/Cursor.app"),
                                      entry("x2", "Code", install(QStringLiteral("code.desktop"))),
                                      entry("gimp", "GIMP", "/usr/bin/gimp")}},
                        {"quickOpen", QVariantList{entry("kestro-project", "Kestro", "/somewhere"),
                                                   entry("keep", "Keep", "/keep")}}});
        CustomDestinationStore store;
        // The installed word processor that the list lacks goes ahead of everything stored.
        QCOMPARE(field(store.destinations(CustomDestinationKind::openApplication), &CustomDestination::id),
                 QStringList({"pages", "mine", "gimp"}));
        QCOMPARE(store.destinations(CustomDestinationKind::openApplication).at(0).path, writer);
        QCOMPARE(field(store.destinations(CustomDestinationKind::quickOpen), &CustomDestination::id),
                 QStringList{"keep"});
    }

    void addingThroughThePanelOnceAndNamingByTheEntry() {
        CustomDestinationStore store;
        FakePlatform::notifications().settingsReasons.clear();
        QSignalSpy changed(&store, &CustomDestinationStore::destinationsChanged);
        const QString folder = m_environment->makeFolder(QStringLiteral("-rf 项目 'one'"));
        Platform::setPrompts(std::make_shared<WidgetPrompts>());
        for (int attempt = 0; attempt < 2; ++attempt) { // the same path twice: listed once
            ModalAnswer panel([&](QWidget* dialog) { Modal::typeIntoFilePanel(dialog, folder); });
            store.addDestination(CustomDestinationKind::move);
            QCOMPARE(panel.answered(), 1);
        }
        ModalAnswer cancelled([](QWidget* dialog) { Modal::cancel(dialog); });
        store.addDestination(CustomDestinationKind::move);
        QCOMPARE(cancelled.answered(), 1);
        const CustomDestination added = store.destinations(CustomDestinationKind::move).last();
        QVERIFY(added.path == folder && added.name == QStringLiteral("-rf 项目 'one'"));
        QVERIFY(!QUuid::fromString(added.id).isNull());
        QCOMPARE(store.destinations(CustomDestinationKind::move).size(), 4);
        QCOMPARE(storedAndMirrored(), store.destinationsByKind());
        QCOMPARE(changed.size(), 1);
        QCOMPARE(changed.at(0).at(0).value<CustomDestinationKind>(), CustomDestinationKind::move);
        QCOMPARE(FakePlatform::notifications().settingsReasons, QStringList{"custom-destinations"});
        // The path is compared as written: a trailing slash is another entry, named after the folder.
        QVERIFY(store.addDestinationPath(CustomDestinationKind::move, folder + u'/'));
        QCOMPARE(store.destinations(CustomDestinationKind::move).last().name,
                 QStringLiteral("-rf 项目 'one'"));
        QVERIFY(store.addDestinationPath(CustomDestinationKind::copy, QStringLiteral("/")));
        QCOMPARE(store.destinations(CustomDestinationKind::copy).last().name, QStringLiteral("/"));
    }

    void anApplicationIsNamedByItsMainGroup_data() {
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<QString>("name");
        QTest::newRow("Chinese name first")
            << QByteArray("[Desktop Entry]\nName=Viewer\nName[zh_CN]=查看器\n") << "查看器";
        QTest::newRow("an action's name does not count")
            << QByteArray("[Desktop Entry]\nName=Viewer\n\n[Desktop Action new]\nName[zh_CN]=新窗口\n")
            << "Viewer";
        QTest::newRow("nor a group's before the main one")
            << QByteArray("[Other]\nName[zh]=别的\n[Desktop Entry]\n# Name=comment\nName = Viewer \n")
            << "Viewer";
        QTest::newRow("no name: the file's") << QByteArray("x") << "nameless";
    }
    void anApplicationIsNamedByItsMainGroup() {
        QFETCH(QByteArray, entry);
        QFETCH(QString, name);
        const QString path = m_environment->writeFile(QStringLiteral("apps/nameless.desktop"), entry);
        QCOMPARE(CustomDestinationStore::displayName(path, CustomDestinationKind::openApplication), name);
        QCOMPARE(CustomDestinationStore::displayName(path, CustomDestinationKind::copy),
                 QStringLiteral("nameless.desktop"));
        QCOMPARE(CustomDestinationStore::displayName(QStringLiteral("/Applications/Pages.app"),
                                                     CustomDestinationKind::openApplication),
                 QStringLiteral("Pages"));
    }

    void removingAndMovingSaveBothCopies() {
        QVariantList five;
        for (const char* id : {"1", "2", "3", "4", "5"})
            five.append(entry(id, id, QStringLiteral("/") + id));
        PropertyListFile::write(appCopy(), QVariantMap{{"copy", five}});
        CustomDestinationStore store;
        FakePlatform::notifications().settingsReasons.clear();
        const auto ids = [&] {
            return field(store.destinations(CustomDestinationKind::copy), &CustomDestination::id);
        };
        // 1 and 4 go, as one block, before what stood at offset 3 ("4" itself moves, so: where it was).
        store.moveDestinations(CustomDestinationKind::copy, {0, 3}, 3);
        QCOMPARE(ids(), QStringList({"2", "3", "1", "4", "5"}));
        store.moveDestinations(CustomDestinationKind::copy, {0}, 99); // past the end appends
        QCOMPARE(ids(), QStringList({"3", "1", "4", "5", "2"}));
        store.removeDestinations(CustomDestinationKind::copy, {1, 4, 17});
        QCOMPARE(ids(), QStringList({"3", "4", "5"}));
        QCOMPARE(storedAndMirrored(), store.destinationsByKind());
        QCOMPARE(FakePlatform::notifications().settingsReasons, QStringList(3, "custom-destinations"));
        QCOMPARE(store.destinations(CustomDestinationKind::move).size(), 3); // other lists untouched
        for (CustomDestinationKind kind : CustomDestinationKinds::allCases())
            QCOMPARE(CustomDestinationKinds::fromRawValue(CustomDestinationKinds::rawValue(kind)), kind);
        QVERIFY(!CustomDestinationKinds::fromRawValue(QStringLiteral("Copy")));
    }
};

QTEST_MAIN(TestCustomDestinations)
#include "test_custom_destinations.moc"
