// The settings stores: the property-list reader, which refuses what would exhaust it, and every store
// surviving any file, loading what it can and keeping the file aside; the compiled-in catalogue
// (identities, dispatch, the desktop's own words); the feature settings from good, missing and bad files
// with every operation on both copies, and how a stored record is brought in line with the catalogue at
// start-up; the app preferences with the login item that must agree with the system; and the user's lists
// of places and applications.
#include "catalogue/AppPreferencesPersistence.h"
#include "catalogue/AppPreferencesStore.h"
#include "catalogue/FeatureSettingsDefaults.h"
#include "catalogue/FeatureSettingsNormalization.h"
#include "catalogue/FeatureSettingsPersistence.h"
#include "catalogue/FeatureSettingsStore.h"
#include "catalogue/ListMove.h"
#include "platform/linux/AutostartLoginItems.h"
#include "platform/PropertyListFile.h"
#include "platform/PropertyListShape.h"
#include "stores/CustomDestinationPersistence.h"
#include "stores/CustomDestinationStore.h"
#include "stores/CustomShortcutActionStore.h"
#include "stores/FinderViewPresetStore.h"
#include "stores/ScheduledDeletionListStore.h"
#include "stores/ScheduledDeletionPersistence.h"
#include "stores/ScheduledDeletionStore.h"
#include "support/FakePlatform.h"
#include "support/TestEnvironment.h"

#include <plist/plist.h>
#include <QProcess>
#include <QTest>
#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

using N = FeatureSettingsNormalization;
using Order = std::optional<QStringList>;
using Kind = CustomDestinationKind;

namespace {

QByteArray bigEndian(quint64 value, int size) {
    QByteArray bytes(size, '\0');
    for (int index = size - 1; index >= 0; --index, value >>= 8)
        bytes[index] = char(value & 0xFF);
    return bytes;
}

// A binary list of the given objects (already encoded), the first at the top, its offset table written
// offsetSize bytes wide; the trailer declares offsetSize and referenceSize as given.
QByteArray binaryList(const QList<QByteArray>& objects, int offsetSize = 4, int referenceSize = 4) {
    QByteArray bytes("bplist00");
    QList<quint64> offsets;
    for (const QByteArray& object : objects) {
        offsets.append(quint64(bytes.size()));
        bytes += object;
    }
    const quint64 table = quint64(bytes.size());
    for (quint64 offset : offsets)
        bytes += bigEndian(offset, std::clamp(offsetSize, 1, 8));
    return bytes + QByteArray(6, '\0') + char(offsetSize) + char(referenceSize) +
           bigEndian(quint64(objects.size()), 8) + bigEndian(0, 8) + bigEndian(table, 8);
}

// An array (or with marker 0xD0, a dictionary: keys, then values) of references size bytes wide.
QByteArray container(const QList<quint32>& refs, int size = 4, uchar marker = 0xA0) {
    const qsizetype count = marker == 0xD0 ? refs.size() / 2 : refs.size();
    QByteArray bytes(1, char(marker | (count < 15 ? count : 0x0F)));
    if (count >= 15)
        bytes += char(0x12) + bigEndian(quint64(count), 4);
    for (quint32 ref : refs)
        bytes += bigEndian(ref, size);
    return bytes;
}

QByteArray ascii(const QByteArray& text) {
    return char(0x50 | text.size()) + text;
}
QByteArray utf16(const QByteArray& bigEndianUnits) {
    return char(0x60 | bigEndianUnits.size() / 2) + bigEndianUnits;
}

// Arrays levels deep, each holding the next level width times, the last holding leaf.
QByteArray chain(int levels, int width, const QByteArray& leaf) {
    QList<QByteArray> objects;
    for (int level = 0; level < levels; ++level)
        objects.append(container(QList<quint32>(width, quint32(level + 1))));
    return binaryList(objects << leaf);
}

QByteArray nestedXml(int depth, const QByteArray& open = "<array>", const QByteArray& close = "</array>") {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + open.repeated(depth) +
           close.repeated(depth) + "</plist>\n";
}

const QVariant anyValue = u"(any value)"_qs;

QString appCopy() {
    return CustomDestinationPersistence::settingsFilePath();
}

QVariantMap entry(const QString& id, const QString& name, const QString& path) {
    return {{u"id"_qs, id}, {u"name"_qs, name}, {u"path"_qs, path}};
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
        return {{u"copies differ"_qs, {}}};
    return CustomDestinationPersistence::load().value_or(CustomDestinationsByKind());
}

QByteArray binaryPlist(const QVariant& value) {
    const QByteArray xml = PropertyListFile::toXml(value);
    plist_t root = nullptr;
    plist_from_xml(xml.constData(), uint32_t(xml.size()), &root);
    char* bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(root, &bytes, &length);
    QByteArray result(bytes, qsizetype(length));
    std::free(bytes);
    plist_free(root);
    return result;
}

QString applicationCopy() {
    return FeatureSettingsPersistence::applicationFileURL();
}

} // namespace

class TestSettingsStores : public QObject {
    Q_OBJECT
    std::unique_ptr<TestEnvironment> m_environment;
    QString m_applications; // the system's folder of application entries, the test's own
    QByteArray m_savedDataDirs;

    void writeApplicationCopy(const QByteArray& bytes) const {
        m_environment->writeFile(applicationCopy(), bytes);
    }
    QString install(const QString& fileName) const {
        return m_environment->writeFile(m_applications + u'/' + fileName, "[Desktop Entry]\nName=App\n");
    }

private slots:
    void init() {
        m_environment = std::make_unique<TestEnvironment>();
        m_applications = m_environment->makeFolder(u"system-share/applications"_qs);
        m_savedDataDirs = qgetenv("XDG_DATA_DIRS");
        qputenv("XDG_DATA_DIRS", QFileInfo(m_applications).absolutePath().toUtf8());
    }
    void cleanup() {
        qputenv("XDG_DATA_DIRS", m_savedDataDirs);
        m_environment.reset();
    }

    void unusableFilesLoadAsDefaultsAndAreKeptAside_data() {
        QTest::addColumn<QByteArray>("bytes");
        // What does not parse at all is everyStoreLoadsDefaultsAndKeepsTheBadFileAside's.
        QTest::newRow("array at the top") << PropertyListFile::toXml(QVariantList{"createFile"});
        QTest::newRow("no enabledFeatureIDs")
            << PropertyListFile::toXml(QVariantMap{{"menuLayout", "expanded"}});
    }
    void unusableFilesLoadAsDefaultsAndAreKeptAside() {
        QFETCH(QByteArray, bytes);
        writeApplicationCopy(bytes);
        QVERIFY(!FeatureSettingsPersistence::loadSettings());
        FeatureSettingsStore store;
        QCOMPARE(store.settings(), FeatureSettingsDefaults::settings());
        QCOMPARE(readAll(applicationCopy() + ".unreadable"), bytes);
        QVERIFY(PropertyListFile::read(applicationCopy()));
        QCOMPARE(readAll(FeatureSettingsPersistence::extensionFileURL()), readAll(applicationCopy()));
    }

    void wrongTypedKeysLoadAsTheirEmptyValues() {
        QVariantMap root = FeatureSettingsPersistence::propertyList(FeatureSettingsDefaults::settings());
        root["groupsFeaturesUnderKestro"] = "true";
        root["menuLayout"] = "Expanded";
        root["featureOrder"] = QVariantMap{{"pdfTools", 1}};
        root["enabledChildIDs"] = QVariantList{"createFolder", 7};
        QVariantMap childOrder = root.value("childOrderByFeatureID").toMap();
        childOrder["quickOpen"] = QVariantList{"quickOpenTypedPath"};
        childOrder["pdfTools"] = "splitPDFs";
        root["childOrderByFeatureID"] = childOrder;
        root["enabledFeatureIDs"] = QVariantList{"pdfTools", QVariantList{"createFile"}};
        writeApplicationCopy(binaryPlist(root));
        const std::optional<FeatureSettings> loaded = FeatureSettingsPersistence::loadSettings();
        QVERIFY(loaded);
        FeatureSettings empty;
        empty.menuLayout = FinderMenuLayout::collapsed;
        // One bad entry spoils a whole list or map.
        QCOMPARE(*loaded, empty);
    }

    void binaryFilesLoadLikeXmlAndAreSavedAsXml() {
        FeatureSettings stored = FeatureSettingsDefaults::settings();
        stored.menuLayout = FinderMenuLayout::expanded;
        stored.groupsFeaturesUnderKestro = true;
        stored.enabledFeatureIDs = {"pdfTools", "copyPath", "视图"};
        stored.enabledChildIDs = {"mergePDFs", "copyShellPath"};
        stored.featureOrder.move(stored.featureOrder.indexOf("copyPath"), 0);
        stored.featureOrder.move(stored.featureOrder.indexOf("pdfTools"), 0);
        stored.childOrderByFeatureID = {{"pdfTools", {"compressPDF", "mergePDFs"}}};
        writeApplicationCopy(binaryPlist(FeatureSettingsPersistence::propertyList(stored)));
        QCOMPARE(FeatureSettingsPersistence::loadSettings(), std::optional(stored));
        FeatureSettingsStore store;
        const QByteArray saved = readAll(applicationCopy());
        QVERIFY(saved.startsWith("<?xml"));
        QCOMPARE(PropertyListFile::parse(saved)->toMap().value("enabledFeatureIDs").toStringList(),
                 QStringList({"copyPath", "pdfTools", "视图"}));
    }

    void listMoveRule_data() {
        QTest::addColumn<QList<qsizetype>>("offsets");
        QTest::addColumn<qsizetype>("destination");
        QTest::addColumn<QString>("expected");
        QTest::newRow("one down") << QList<qsizetype>{0} << qsizetype(2) << "bacde";
        QTest::newRow("past the end appends") << QList<qsizetype>{0} << qsizetype(99) << "bcdea";
        QTest::newRow("scattered block keeps its order")
            << QList<qsizetype>{4, 0, 2} << qsizetype(1) << "acebd";
        QTest::newRow("destination inside the block") << QList<qsizetype>{1, 2} << qsizetype(2) << "abcde";
        QTest::newRow("offsets out of range are ignored")
            << QList<qsizetype>{-1, 9, 4} << qsizetype(0) << "eabcd";
    }
    void listMoveRule() {
        QFETCH(QList<qsizetype>, offsets);
        QFETCH(qsizetype, destination);
        QFETCH(QString, expected);
        const QStringList moved = movedList(QStringList{"a", "b", "c", "d", "e"},
                                            QSet<qsizetype>(offsets.cbegin(), offsets.cend()), destination);
        QCOMPARE(moved.join(QString()), expected);
    }

    void missingOrBrokenFilesLoadAsDefaultsKeyByKey() {
        QCOMPARE(AppPreferencesPersistence::load(), AppPreferences({false, true, false}));
        // A file that parses but holds no dictionary is kept aside like one that does not parse.
        const QByteArray array = "<?xml version=\"1.0\"?><plist><array/></plist>";
        m_environment->writeFile(AppPreferencesPersistence::fileURL(), array);
        QCOMPARE(AppPreferencesPersistence::load(), AppPreferences({false, true, false}));
        AppPreferencesStore start; // which keeps such a file aside
        QCOMPARE(readAll(AppPreferencesPersistence::fileURL() + u".unreadable"_qs), array);
        PropertyListFile::write(
            AppPreferencesPersistence::fileURL(),
            QVariantMap{{"revealCreatedItems", true}, {"revealActionResults", "no"}, {"launchAtLogin", 1}});
        QCOMPARE(AppPreferencesPersistence::load(), AppPreferences({true, true, false}));
        AppPreferencesStore store;
        store.setRevealActionResults(false);
        QCOMPARE(AppPreferencesPersistence::load(), AppPreferences({true, false, false}));
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
        validate.start(u"desktop-file-validate"_qs, {AutostartLoginItems::entryPath()});
        QVERIFY(validate.waitForFinished(10000) && validate.exitCode() == 0 && validate.readAll().isEmpty());
        QCOMPARE(AutostartLoginItems::entryPath(),
                 m_environment->home() + u"/.config/autostart/kestro.desktop"_qs);
        // Turned off in the desktop's own settings, in either of their words.
        m_environment->writeFile(AutostartLoginItems::entryPath(),
                                 entry + "X-GNOME-Autostart-enabled=false\n");
        QVERIFY(!items.isEnabled());
        m_environment->writeFile(AutostartLoginItems::entryPath(), entry + "Hidden=true\n");
        QVERIFY(!items.isEnabled());
        items.setEnabled(false);
        QVERIFY(!QFile::exists(AutostartLoginItems::entryPath()));
        items.setEnabled(false);
    }

    void storedListsLoadEntryByEntry() {
        const QString mine = m_environment->makeFolder(u"my \"projects\"\nfolder"_qs);
        PropertyListFile::write(appCopy(), QVariantMap{{"move", QVariantList{}},
                                                       {"copy", QVariantList{entry("a", "Mine", mine)}},
                                                       {"future", QVariantList{entry("x", "X", "/x")}}});
        CustomDestinationStore store;
        QVERIFY(store.destinations(Kind::move).isEmpty()); // an empty list stays empty
        QCOMPARE(field(store.destinations(Kind::copy), &CustomDestination::path), QStringList{mine});
        QCOMPARE(store.destinationsByKind().value(u"future"_qs).size(), 1); // a later version's
        QCOMPARE(storedAndMirrored(), store.destinationsByKind());
        QVERIFY(!QFileInfo::exists(appCopy() + u".unreadable"_qs));

        // Malformed entries drop one by one, a wrongly typed list falls back to its defaults, and the file
        // is kept aside beside any earlier copy.
        m_environment->writeFile(appCopy() + u".unreadable"_qs, "an earlier copy");
        const QVariantList copy{entry("a", "A", "/a"), QVariantMap{{"id", "b"}, {"path", "/b"}}, u"text"_qs,
                                QVariantMap{{"id", "c"}, {"name", "C"}, {"path", 42}}, entry("d", "D", "/d")};
        PropertyListFile::write(appCopy(), QVariantMap{{"copy", copy}, {"move", u"not a list"_qs}});
        const QByteArray original = readAll(appCopy());
        CustomDestinationStore damaged;
        QCOMPARE(field(damaged.destinations(Kind::copy), &CustomDestination::path),
                 QStringList({"/a", "/d"}));
        QCOMPARE(damaged.destinations(Kind::move).size(), 3);
        QCOMPARE(readAll(appCopy() + u".unreadable"_qs), QByteArray("an earlier copy"));
        QCOMPARE(readAll(appCopy() + u".unreadable 2"_qs), original);
        PropertyListFile::write(appCopy(), QVariantList{entry("a", "A", "/a")});
        QVERIFY(!CustomDestinationPersistence::load()); // no dictionary at the top
    }

    // The installed defaults the list lacks go first; retired entries and the old project place go.
    void storedListsAreMergedWithTheInstalledDefaults() {
        const QString viewer = install(u"org.gnome.Evince.desktop"_qs);
        const QString writer = install(u"libreoffice-writer.desktop"_qs);
        const QVariantList applications{entry("mine", "Mine", viewer),
                                        entry("x", "X", "/Applications/Cursor.app"),
                                        entry("gimp", "GIMP", "/usr/bin/gimp")};
        PropertyListFile::write(appCopy(),
                                QVariantMap{{"openApplication", applications},
                                            {"quickOpen", QVariantList{entry("kestro-project", "K", "/k")}}});
        CustomDestinationStore store;
        QCOMPARE(field(store.destinations(Kind::openApplication), &CustomDestination::path),
                 QStringList({writer, viewer, "/usr/bin/gimp"}));
        QVERIFY(store.destinations(Kind::quickOpen).isEmpty());
    }

    void anApplicationIsNamedByItsMainGroup_data() {
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<QString>("name");
        QTest::newRow("only the main group's, not an action's nor one before it")
            << QByteArray("[Other]\nName[zh]=别的\n[Desktop Entry]\n# Name=comment\nName = Viewer \n"
                          "[Desktop Action new]\nName[zh_CN]=新窗口\n")
            << "Viewer";
        QTest::newRow("no name: the file's") << QByteArray("x") << "nameless";
    }
    void anApplicationIsNamedByItsMainGroup() {
        QFETCH(QByteArray, entry);
        QFETCH(QString, name);
        const QString path = m_environment->writeFile(u"apps/nameless.desktop"_qs, entry);
        QCOMPARE(CustomDestinationStore::displayName(path, Kind::openApplication), name);
        QCOMPARE(CustomDestinationStore::displayName(path, Kind::copy), u"nameless.desktop"_qs);
    }

    void removingAndMovingSaveBothCopies() {
        QVariantList five;
        for (const char* id : {"1", "2", "3", "4", "5"})
            five.append(entry(id, id, u"/"_qs + id));
        PropertyListFile::write(appCopy(), QVariantMap{{"copy", five}});
        CustomDestinationStore store;
        FakePlatform::notifications().settingsReasons.clear();
        // The move is the list rule's (above): 2 3 1 4 5, then the second and fifth go.
        store.moveDestinations(Kind::copy, {0, 3}, 3);
        store.removeDestinations(Kind::copy, {1, 4, 17});
        QCOMPARE(field(store.destinations(Kind::copy), &CustomDestination::id), QStringList({"2", "1", "4"}));
        QCOMPARE(storedAndMirrored(), store.destinationsByKind());
        QCOMPARE(FakePlatform::notifications().settingsReasons, QStringList(2, "custom-destinations"));
        QCOMPARE(store.destinations(Kind::move).size(), 3); // other lists untouched
    }

    void readerTakesWhatIsSafeOnly_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QVariant>("expected"); // invalid: refused
        const QVariantList a{u"a"_qs};
        for (int size : {1, 8})
            QTest::addRow("offsets and references %d bytes wide", size)
                << binaryList({container({1}, size), ascii("a")}, size, size) << QVariant(a);
        for (int size : {0, 9}) {
            QTest::addRow("offsets %d bytes wide", size)
                << binaryList({container({1}), ascii("a")}, size, 4) << QVariant();
            QTest::addRow("references %d bytes wide", size)
                << binaryList({container({1}), ascii("a")}, 4, size) << QVariant();
        }
        QTest::newRow("larger than any settings file")
            << QByteArray(PropertyListShape::maximumFileSize + 1, ' ') << QVariant();
        QTest::newRow("trailer cut short") << QByteArray("bplist00\xa0", 9) << QVariant();
        QTest::newRow("reference past the objects") << binaryList({container({7})}) << QVariant();
        QTest::newRow("object of no known type") << binaryList({QByteArray(1, '\x70')}) << QVariant();
        QTest::newRow("count wider than the objects")
            << binaryList({QByteArray("\x5F\x13", 2)}) << QVariant();
        QTest::newRow("array count past the objects") << binaryList({QByteArray("\xAF", 1)}) << QVariant();
        QTest::newRow("text longer than the objects")
            << binaryList({'\x5A' + QByteArray("ab")}) << QVariant();
        // Two objects in the table, one declared, the top the second.
        QByteArray topPastTheObjects = binaryList({container({}), ascii("x")});
        topPastTheObjects.replace(topPastTheObjects.size() - 24, 16, bigEndian(1, 8) + bigEndian(1, 8));
        QTest::newRow("top object past the objects") << topPastTheObjects << QVariant();
        QTest::newRow("array holding itself") << binaryList({container({0})}) << QVariant();
        QTest::newRow("binary nested as deep as allowed")
            << chain(PropertyListShape::maximumDepth - 1, 1, container({})) << anyValue;
        QTest::newRow("binary nested past it")
            << chain(PropertyListShape::maximumDepth + 1, 1, container({})) << QVariant();
        // Objects 1-61 nest 61 deep under the top; 62-71 lead there again from ten levels further down.
        QList<QByteArray> shared{container({1, 62})};
        for (quint32 object = 1; object <= 71; ++object)
            shared.append(object == 61 ? container({}) : container({object == 71 ? 1 : object + 1}));
        QTest::newRow("shared object reached past the limit") << binaryList(shared) << QVariant();
        // Each level holds the next twice: 2^levels strings once expanded.
        QTest::newRow("shared objects expanding to 2^60") << chain(60, 2, ascii("laugh")) << QVariant();
        QTest::newRow("shared objects expanding to 2^10") << chain(10, 2, ascii("laugh")) << anyValue;
        // libplist would abort on a key with a NUL character; in a value it only ends the text.
        QTest::newRow("NUL in an ASCII value")
            << binaryList({container({1}), ascii(QByteArray("a\0b", 3))}) << QVariant(a);
        QTest::newRow("NUL in an ASCII key")
            << binaryList({container({1, 2}, 4, 0xD0), ascii(QByteArray("k\0", 2)), ascii("v")})
            << QVariant();
        QTest::newRow("NUL in a UTF-16 key")
            << binaryList({container({1, 2}, 4, 0xD0), utf16(QByteArray("\0k\0\0", 4)), ascii("v")})
            << QVariant();
        QTest::newRow("UTF-16 key with zero high and low bytes")
            << binaryList({container({1, 2}, 4, 0xD0), utf16(QByteArray("\0\xe9\x01\0", 4)), ascii("v")})
            << QVariant(QVariantMap{{u"é\u0100"_qs, u"v"_qs}});
        const int tooDeep = PropertyListShape::maximumDepth + 1;
        QTest::newRow("XML nested past the limit") << nestedXml(tooDeep) << QVariant();
        QTest::newRow("XML dictionaries nested past it")
            << nestedXml(tooDeep, "<dict><key>k</key>", "</dict>") << QVariant();
        QTest::newRow("XML nested as deep as allowed")
            << nestedXml(PropertyListShape::maximumDepth) << anyValue;
        QTest::newRow("XML empty arrays side by side")
            << nestedXml(1).replace("<array></array>",
                                    "<array>" + QByteArray("<array/>").repeated(80) + "</array>")
            << anyValue;
        // Closing tags inside a comment or CDATA, between the opening ones, close nothing.
        const QByteArray closing = QByteArray("</array>").repeated(10);
        const QByteArray hidden = "<!--" + closing + "--><![CDATA[" + closing + "]]>";
        QTest::newRow("XML whose comment and CDATA hide closing tags")
            << nestedXml(tooDeep).replace("<array><array>", "<array>" + hidden + "<array>") << QVariant();
    }
    void readerTakesWhatIsSafeOnly() {
        QFETCH(QByteArray, bytes);
        QFETCH(QVariant, expected);
        const std::optional<QVariant> parsed = PropertyListFile::parse(bytes);
        // Refused before the parser sees it, not by the parser's own luck.
        QCOMPARE(PropertyListShape::isWithinLimits(bytes), expected.isValid());
        QCOMPARE(parsed.has_value(), expected.isValid());
        if (parsed && expected != anyValue)
            QCOMPARE(*parsed, expected);
    }

    void readerDoesNotReadHugeFilesOrPipes() {
        TestEnvironment& environment = *m_environment;
        // 300 MB without using the disk: a sparse file.
        const QString huge = environment.writeFile(u"huge.plist"_qs, "<plist><array>");
        QVERIFY(QFile::resize(huge, 300LL * 1024 * 1024));
        QVERIFY(!PropertyListFile::read(huge));
        QVERIFY(!PropertyListFile::writeBytes(huge, {})); // nothing to write never empties a file
        QCOMPARE(QFileInfo(huge).size(), 300LL * 1024 * 1024);
        const QString pipe = environment.root() + u"/pipe.plist"_qs;
        QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        QVERIFY(!PropertyListFile::read(pipe));
    }

    // A file nested too deep for the reader: every store starts with its defaults and keeps the file aside.
    void everyStoreLoadsDefaultsAndKeepsTheBadFileAside() {
        TestEnvironment& environment = *m_environment;
        const QByteArray bytes = nestedXml(100000);
        const QString folder = environment.home() + u"/.config/kestro/"_qs;
        const QStringList names{u"FeatureSettings.plist"_qs, u"AppPreferences.plist"_qs,
                                u"CustomDestinations.plist"_qs, u"CustomShortcutActions.plist"_qs,
                                u"FinderViewPresets.plist"_qs};
        for (const QString& file : names)
            environment.writeFile(folder + file, bytes);
        const QString schedule = environment.writeFile(folder + u"ScheduledDeletions.plist"_qs, bytes);

        FeatureSettingsStore features;
        AppPreferencesStore preferences;
        CustomDestinationStore destinations;
        CustomShortcutActionStore actions;
        FinderViewPresetStore presets;
        QCOMPARE(features.settings(), FeatureSettingsDefaults::settings());
        QVERIFY(preferences.revealActionResults() && !preferences.revealCreatedItems());
        QVERIFY(!destinations.destinations(Kind::quickOpen).isEmpty());
        QVERIFY(actions.actions().isEmpty());
        QCOMPARE(presets.presets().size(), 3);
        for (const QString& file : names)
            QVERIFY2(readAll(folder + file + u".unreadable"_qs) == bytes, qPrintable(file));
        // A schedule that cannot be read shows as empty and is never rewritten: nothing due is lost.
        QVERIFY(ScheduledDeletionListStore().items().isEmpty());
        QCOMPARE(readAll(schedule), bytes);
    }

    void scheduleWithAMalformedEntryIsKeptAsideBeforeItIsRewritten() {
        TestEnvironment& environment = *m_environment;
        const QString file = environment.writeFile(u"files/a.txt"_qs, "a");
        const QDateTime now = QDateTime::currentDateTimeUtc();
        const QString path = ScheduledDeletionPersistence::fileURL();
        QVERIFY(PropertyListFile::write(
            path,
            QVariantList{
                QVariantMap{
                    {"id", "good"}, {"path", file}, {"scheduledAt", now}, {"deleteAt", now.addDays(1)}},
                QVariantMap{{"id", "bad"}, {"path", "/somewhere/else"}, {"scheduledAt", "yesterday"}}}));
        const QByteArray original = readAll(path);
        // Reading alone writes nothing.
        QCOMPARE(ScheduledDeletionStore::items().size(), 1);
        QVERIFY(!QFileInfo::exists(path + u".unreadable"_qs));
        ScheduledDeletionStore::cancel(u"good"_qs);
        QCOMPARE(readAll(path + u".unreadable"_qs), original);
        QVERIFY(ScheduledDeletionStore::items().isEmpty());
        // The next change has nothing left out, so nothing more is copied.
        ScheduledDeletionStore::schedule({file}, 3600);
        QVERIFY(!QFileInfo::exists(path + u".unreadable 2"_qs));
    }
};

QTEST_MAIN(TestSettingsStores)
#include "test_settings_stores.moc"
