#include "app/WidgetPrompts.h"
#include "platform/KestroPaths.h"
#include "platform/PropertyListFile.h"
#include "stores/CustomDestinationPersistence.h"
#include "stores/CustomDestinationStore.h"
#include "support/FakePlatform.h"
#include "support/ModalAnswer.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTest>
#include <QUuid>

namespace {

// Points the system's folders of application entries at a folder of the test's own.
class ApplicationEntries {
public:
    explicit ApplicationEntries(const TestEnvironment& environment)
        : m_saved(qgetenv("XDG_DATA_DIRS"))
        , m_hadValue(qEnvironmentVariableIsSet("XDG_DATA_DIRS"))
        , m_folder(environment.makeFolder(QStringLiteral("system-share/applications"))) {
        qputenv("XDG_DATA_DIRS", QFileInfo(m_folder).absolutePath().toUtf8());
    }
    ~ApplicationEntries() {
        if (m_hadValue)
            qputenv("XDG_DATA_DIRS", m_saved);
        else
            qunsetenv("XDG_DATA_DIRS");
    }
    QString install(const QString& fileName,
                    const QByteArray& contents = "[Desktop Entry]\nName=App\n") const {
        const QString path = m_folder + QLatin1Char('/') + fileName;
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.write(contents);
        return path;
    }

private:
    QByteArray m_saved;
    bool m_hadValue;
    QString m_folder;
};

QString appCopy() {
    return CustomDestinationPersistence::settingsFilePath();
}
QString extensionCopy() {
    return CustomDestinationPersistence::finderExtensionSettingsFilePath();
}

QVariantMap entry(const QString& id, const QString& name, const QString& path) {
    return {{QStringLiteral("id"), id}, {QStringLiteral("name"), name}, {QStringLiteral("path"), path}};
}

QStringList paths(const QList<CustomDestination>& list) {
    QStringList result;
    for (const CustomDestination& destination : list)
        result.append(destination.path);
    return result;
}

QStringList ids(const QList<CustomDestination>& list) {
    QStringList result;
    for (const CustomDestination& destination : list)
        result.append(destination.id);
    return result;
}

// What a later start would read: the application's copy, which must equal the extension's byte for byte.
CustomDestinationsByKind storedAndMirrored() {
    const QByteArray first = readAll(appCopy());
    if (first.isEmpty() || first != readAll(extensionCopy()))
        return {{QStringLiteral("copies differ"), {}}};
    return CustomDestinationPersistence::load().value_or(CustomDestinationsByKind());
}

} // namespace

class TestCustomDestinations : public QObject {
    Q_OBJECT

private slots:
    void firstStartWritesTheDefaultsToBothCopies() {
        TestEnvironment environment;
        ApplicationEntries applications(environment);
        const QString editor = applications.install(QStringLiteral("org.gnome.TextEditor.desktop"));
        const QString calc = applications.install(QStringLiteral("libreoffice-calc.desktop"));
        applications.install(QStringLiteral("unrelated.desktop"));

        CustomDestinationStore store;
        const QString home = environment.home();
        const QStringList files{home + QStringLiteral("/Desktop"), home + QStringLiteral("/Downloads"),
                                home + QStringLiteral("/Documents")};
        QCOMPARE(paths(store.destinations(CustomDestinationKind::copy)), files);
        QCOMPARE(ids(store.destinations(CustomDestinationKind::copy)),
                 (QStringList{QStringLiteral("桌面"), QStringLiteral("下载"), QStringLiteral("文档")}));
        QCOMPARE(store.destinations(CustomDestinationKind::copy).at(0).name, QStringLiteral("桌面"));
        QCOMPARE(store.destinations(CustomDestinationKind::move),
                 store.destinations(CustomDestinationKind::copy));

        const QList<CustomDestination> quickOpen = store.destinations(CustomDestinationKind::quickOpen);
        QCOMPARE(ids(quickOpen).mid(3), (QStringList{QStringLiteral("home"), QStringLiteral("pictures"),
                                                     QStringLiteral("applications")}));
        QCOMPARE(paths(quickOpen).mid(0, 5), (files + QStringList{home, home + QStringLiteral("/Pictures")}));
        QCOMPARE(quickOpen.at(3).name, QStringLiteral("用户目录"));
        QVERIFY(QFileInfo(quickOpen.at(5).path).isDir() ||
                quickOpen.at(5).path == QLatin1String("/usr/share/applications"));

        // Only installed applications, in the defaults' order (text editor before spreadsheet).
        const QList<CustomDestination> apps = store.destinations(CustomDestinationKind::openApplication);
        QCOMPARE(ids(apps), (QStringList{QStringLiteral("textedit"), QStringLiteral("numbers")}));
        QCOMPARE(paths(apps), (QStringList{editor, calc}));

        QCOMPARE(storedAndMirrored(), store.destinationsByKind());
        QCOMPARE(FakePlatform::notifications().settingsReasons,
                 QStringList{QStringLiteral("custom-destinations")});
    }

    void storedListsSurviveARestartAndAnEmptyListStaysEmpty() {
        TestEnvironment environment;
        const QString mine = environment.makeFolder(QStringLiteral("my \"projects\"\nfolder"));
        PropertyListFile::write(appCopy(),
                                QVariantMap{{QStringLiteral("move"), QVariantList{}},
                                            {QStringLiteral("copy"), QVariantList{entry("a", "Mine", mine)}},
                                            {QStringLiteral("future"), QVariantList{entry("x", "X", "/x")}}});
        CustomDestinationStore store;
        QVERIFY(store.destinations(CustomDestinationKind::move).isEmpty());
        QCOMPARE(paths(store.destinations(CustomDestinationKind::copy)), QStringList{mine});
        QVERIFY(!store.destinations(CustomDestinationKind::quickOpen).isEmpty());
        // A key of a later version is kept for it.
        QCOMPARE(store.destinationsByKind().value(QStringLiteral("future")).size(), 1);
        QCOMPARE(storedAndMirrored(), store.destinationsByKind());
        // Nothing was wrong with the file, so nothing was copied aside.
        QVERIFY(!QFileInfo::exists(appCopy() + QStringLiteral(".unreadable")));
    }

    void malformedEntriesAreDroppedOneByOneAndTheFileIsKeptAside() {
        TestEnvironment environment;
        const QVariantMap nameless{{QStringLiteral("id"), QStringLiteral("b")},
                                   {QStringLiteral("path"), QStringLiteral("/b")}};
        const QVariantMap numericPath{{QStringLiteral("id"), QStringLiteral("c")},
                                      {QStringLiteral("name"), QStringLiteral("C")},
                                      {QStringLiteral("path"), 42}};
        const QVariantMap root{
            {QStringLiteral("copy"), QVariantList{entry("a", "A", "/a"), nameless, QStringLiteral("text"),
                                                  numericPath, entry("d", "D", "/d")}},
            {QStringLiteral("move"), QStringLiteral("not a list")},
        };
        PropertyListFile::write(appCopy(), root);
        const QByteArray original = readAll(appCopy());

        CustomDestinationStore store;
        QCOMPARE(paths(store.destinations(CustomDestinationKind::copy)), (QStringList{"/a", "/d"}));
        // The wrongly typed list falls back to its defaults.
        QCOMPARE(store.destinations(CustomDestinationKind::move).size(), 3);
        QCOMPARE(readAll(appCopy() + QStringLiteral(".unreadable")), original);
    }

    void anUnreadableFileLoadsAsDefaultsWithoutLosingIt() {
        TestEnvironment environment;
        const QByteArray garbage("<?xml version=\"1.0\"?><plist><dict><key>copy</key><array><dict>");
        environment.writeFile(appCopy(), garbage);
        environment.writeFile(appCopy() + QStringLiteral(".unreadable"), "an earlier copy");

        CustomDestinationStore store;
        QCOMPARE(store.destinations(CustomDestinationKind::copy).size(), 3);
        QCOMPARE(readAll(appCopy() + QStringLiteral(".unreadable")), QByteArray("an earlier copy"));
        QCOMPARE(readAll(appCopy() + QStringLiteral(".unreadable 2")), garbage);

        // An array at the top is no dictionary either.
        PropertyListFile::write(appCopy(), QVariantList{entry("a", "A", "/a")});
        QVERIFY(!CustomDestinationPersistence::load());
    }

    void applicationListIsMergedWithTheInstalledDefaults() {
        TestEnvironment environment;
        ApplicationEntries applications(environment);
        const QString viewer = applications.install(QStringLiteral("org.gnome.Evince.desktop"));
        const QString writer = applications.install(QStringLiteral("libreoffice-writer.desktop"));
        const QVariantList stored{
            entry("mine", "My viewer", viewer), // the viewer under another id: no second entry
            entry("vscode", "VS Code", "/opt/code/code"),
            entry("x1", "Cursor", "/Applications/Cursor.app"),
            entry("x2", "Code", applications.install(QStringLiteral("code.desktop"))),
            entry("gimp", "GIMP", "/usr/bin/gimp"),
        };
        const QVariantList quickOpen{entry("kestro-project", "Kestro", "/somewhere"),
                                     entry("keep", "Keep", "/keep")};
        PropertyListFile::write(appCopy(), QVariantMap{{QStringLiteral("openApplication"), stored},
                                                       {QStringLiteral("quickOpen"), quickOpen}});

        CustomDestinationStore store;
        // The installed word processor that the list lacks goes ahead of everything stored.
        QCOMPARE(ids(store.destinations(CustomDestinationKind::openApplication)),
                 (QStringList{QStringLiteral("pages"), QStringLiteral("mine"), QStringLiteral("gimp")}));
        QCOMPARE(store.destinations(CustomDestinationKind::openApplication).at(0).path, writer);
        QCOMPARE(ids(store.destinations(CustomDestinationKind::quickOpen)),
                 QStringList{QStringLiteral("keep")});
    }

    void addingAsksWithAPanelAndIgnoresAPathAlreadyListed() {
        TestEnvironment environment;
        CustomDestinationStore store;
        FakePlatform::notifications().settingsReasons.clear();
        QSignalSpy changed(&store, &CustomDestinationStore::destinationsChanged);
        const QString folder = environment.makeFolder(QStringLiteral("-rf 项目 'one'"));

        Platform::setPrompts(std::make_shared<WidgetPrompts>());
        const auto choose = [&](QWidget* dialog) {
            auto* panel = qobject_cast<QFileDialog*>(dialog);
            QCOMPARE(panel->windowTitle(), QStringLiteral("选择要添加到“移动到文件夹”的文件夹"));
            QCOMPARE(panel->labelText(QFileDialog::Accept), QStringLiteral("添加"));
            QCOMPARE(panel->fileMode(), QFileDialog::Directory);
            QVERIFY(!panel->testOption(QFileDialog::ReadOnly)); // folders can be made here
            Modal::typeIntoFilePanel(dialog, folder);
        };
        ModalAnswer first(choose);
        store.addDestination(CustomDestinationKind::move);
        QCOMPARE(first.answered(), 1);

        const CustomDestination added = store.destinations(CustomDestinationKind::move).last();
        QCOMPARE(added.path, folder);
        QCOMPARE(added.name, QStringLiteral("-rf 项目 'one'"));
        QVERIFY(!QUuid::fromString(added.id).isNull());
        QCOMPARE(storedAndMirrored(), store.destinationsByKind());
        QCOMPARE(changed.size(), 1);
        QCOMPARE(changed.at(0).at(0).value<CustomDestinationKind>(), CustomDestinationKind::move);
        QCOMPARE(FakePlatform::notifications().settingsReasons,
                 QStringList{QStringLiteral("custom-destinations")});

        // The same path again, then a cancelled panel: nothing changes.
        ModalAnswer again(choose);
        store.addDestination(CustomDestinationKind::move);
        ModalAnswer cancel([](QWidget* dialog) { Modal::cancel(dialog); });
        store.addDestination(CustomDestinationKind::move);
        QCOMPARE(again.answered() + cancel.answered(), 2);
        QCOMPARE(store.destinations(CustomDestinationKind::move).size(), 4);
        QCOMPARE(changed.size(), 1);
        // The path is compared as written: a trailing slash is another entry, named after the folder.
        QVERIFY(store.addDestinationPath(CustomDestinationKind::move, folder + QLatin1Char('/')));
        QCOMPARE(store.destinations(CustomDestinationKind::move).last().name,
                 QStringLiteral("-rf 项目 'one'"));
        QVERIFY(store.addDestinationPath(CustomDestinationKind::copy, QStringLiteral("/")));
        QCOMPARE(store.destinations(CustomDestinationKind::copy).last().name, QStringLiteral("/"));
    }

    void addingAnApplicationNamesItAfterTheApplication() {
        TestEnvironment environment;
        CustomDestinationStore store;
        const QString entryFile = environment.writeFile(
            QStringLiteral("apps/org.example.Viewer.desktop"),
            "[Desktop Entry]\nName=Viewer\nName[zh_CN]=查看器\n\n[Desktop Action new]\nName[zh_CN]=新窗口\n");
        Platform::setPrompts(std::make_shared<WidgetPrompts>());
        ModalAnswer answer([&](QWidget* picker) {
            QCOMPARE(Modal::throughOtherApplications(
                         picker,
                         [&](QWidget* dialog) {
                             auto* panel = qobject_cast<QFileDialog*>(dialog);
                             QCOMPARE(panel->windowTitle(), QStringLiteral("选择常用应用"));
                             QCOMPARE(panel->fileMode(), QFileDialog::ExistingFile);
                             // No new folders among the applications.
                             QVERIFY(panel->testOption(QFileDialog::ReadOnly));
                             Modal::typeIntoFilePanel(dialog, entryFile);
                         }),
                     1);
        });
        store.addDestination(CustomDestinationKind::openApplication);
        QCOMPARE(answer.answered(), 1);
        QCOMPARE(store.destinations(CustomDestinationKind::openApplication).last().name,
                 QStringLiteral("查看器"));

        QCOMPARE(CustomDestinationStore::displayName(QStringLiteral("/Applications/Pages.app"),
                                                     CustomDestinationKind::openApplication),
                 QStringLiteral("Pages"));
        QCOMPARE(CustomDestinationStore::displayName(QStringLiteral("/Applications/Pages.app"),
                                                     CustomDestinationKind::copy),
                 QStringLiteral("Pages.app"));
        QCOMPARE(CustomDestinationStore::displayName(
                     environment.writeFile(QStringLiteral("apps/nameless.desktop"), "x"),
                     CustomDestinationKind::openApplication),
                 QStringLiteral("nameless"));
    }

    void removingAndMovingSaveBothCopies() {
        TestEnvironment environment;
        const QVariantList five{entry("1", "1", "/1"), entry("2", "2", "/2"), entry("3", "3", "/3"),
                                entry("4", "4", "/4"), entry("5", "5", "/5")};
        PropertyListFile::write(appCopy(), QVariantMap{{QStringLiteral("copy"), five}});
        CustomDestinationStore store;
        FakePlatform::notifications().settingsReasons.clear();

        // 1 and 4 go, as one block, before what stood at offset 3 ("4" itself moves, so: where it was).
        store.moveDestinations(CustomDestinationKind::copy, {0, 3}, 3);
        QCOMPARE(ids(store.destinations(CustomDestinationKind::copy)),
                 (QStringList{"2", "3", "1", "4", "5"}));
        // Past the end appends.
        store.moveDestinations(CustomDestinationKind::copy, {0}, 99);
        QCOMPARE(ids(store.destinations(CustomDestinationKind::copy)),
                 (QStringList{"3", "1", "4", "5", "2"}));

        store.removeDestinations(CustomDestinationKind::copy, {1, 4, 17});
        QCOMPARE(ids(store.destinations(CustomDestinationKind::copy)), (QStringList{"3", "4", "5"}));
        QCOMPARE(storedAndMirrored(), store.destinationsByKind());
        QCOMPARE(FakePlatform::notifications().settingsReasons.size(), 3);
        QCOMPARE(FakePlatform::notifications().settingsReasons.last(), QStringLiteral("custom-destinations"));
        // Other lists are untouched by an edit of one.
        QCOMPARE(store.destinations(CustomDestinationKind::move).size(), 3);
    }

    void kindTexts() {
        QCOMPARE(CustomDestinationKinds::sectionTitle(CustomDestinationKind::quickOpen),
                 QStringLiteral("打开列表"));
        QCOMPARE(CustomDestinationKinds::sectionTitle(CustomDestinationKind::openApplication),
                 QStringLiteral("常用应用"));
        QCOMPARE(CustomDestinationKinds::addButtonTitle(CustomDestinationKind::copy),
                 QStringLiteral("添加常用路径"));
        QCOMPARE(CustomDestinationKinds::addButtonTitle(CustomDestinationKind::openApplication),
                 QStringLiteral("添加应用"));
        for (CustomDestinationKind kind : CustomDestinationKinds::allCases())
            QCOMPARE(CustomDestinationKinds::fromRawValue(CustomDestinationKinds::rawValue(kind)), kind);
        QVERIFY(!CustomDestinationKinds::fromRawValue(QStringLiteral("Copy")));
    }
};

QTEST_MAIN(TestCustomDestinations)
#include "test_custom_destinations.moc"
