// Damaged and hostile property lists: the reader refuses what would exhaust it, every store survives any
// file, loads what it can and keeps the file aside.
#include "catalogue/AppPreferencesPersistence.h"
#include "catalogue/AppPreferencesStore.h"
#include "catalogue/FeatureSettingsDefaults.h"
#include "catalogue/FeatureSettingsStore.h"
#include "platform/KestroPaths.h"
#include "platform/PropertyListFile.h"
#include "platform/PropertyListShape.h"
#include "stores/CustomDestinationStore.h"
#include "stores/CustomShortcutActionStore.h"
#include "stores/FinderViewPresetStore.h"
#include "stores/ScheduledDeletionListStore.h"
#include "stores/ScheduledDeletionPersistence.h"
#include "stores/ScheduledDeletionStore.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QProcess>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

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

QByteArray nestedBinary(int depth) {
    QList<QByteArray> objects;
    for (int level = 0; level < depth - 1; ++level)
        objects.append(container({quint32(level + 1)}));
    objects.append(container({}));
    return binaryList(objects);
}

QByteArray nestedXml(int depth, const QByteArray& open = "<array>", const QByteArray& close = "</array>") {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + open.repeated(depth) +
           close.repeated(depth) + "</plist>\n";
}

// Each level an array holding the next level twice: expanded, 2^levels strings.
QByteArray doublingBinary(int levels) {
    QList<QByteArray> objects;
    for (int level = 0; level < levels; ++level)
        objects.append(container({quint32(level + 1), quint32(level + 1)}));
    objects.append(ascii("laugh"));
    return binaryList(objects);
}

QList<std::pair<const char*, QByteArray>> hostileFiles() {
    return {
        {"XML nested 100,000 deep", nestedXml(100000)},
        {"binary whose shared objects expand to 2^60", doublingBinary(60)},
        {"binary array holding itself", binaryList({container({0})})},
        {"XML cut in the middle", "<plist><dict><key>enabledFeatureIDs</key><array><string>createFile"},
        {"NUL bytes", QByteArray(4096, '\0')},
    };
}

const QVariant anyValue = QStringLiteral("(any value)");

} // namespace

class TestPropertyLists : public QObject {
    Q_OBJECT

private slots:
    void readerTakesWhatIsSafeOnly_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QVariant>("expected"); // invalid: refused
        const QVariantList a{QStringLiteral("a")};
        for (int size : {1, 2, 8})
            QTest::addRow("offsets and references %d bytes wide", size)
                << binaryList({container({1}, size), ascii("a")}, size, size) << QVariant(a);
        for (int size : {0, 9}) {
            QTest::addRow("offsets %d bytes wide", size)
                << binaryList({container({1}), ascii("a")}, size, 4) << QVariant();
            QTest::addRow("references %d bytes wide", size)
                << binaryList({container({1}), ascii("a")}, 4, size) << QVariant();
        }
        QTest::newRow("trailer cut short") << QByteArray("bplist00\xa0", 9) << QVariant();
        QTest::newRow("reference past the objects") << binaryList({container({7})}) << QVariant();
        QTest::newRow("array holding itself") << binaryList({container({0})}) << QVariant();
        QTest::newRow("binary nested 100,000 deep") << nestedBinary(100000) << QVariant();
        QTest::newRow("binary nested as deep as allowed")
            << nestedBinary(PropertyListShape::maximumDepth) << anyValue;
        QTest::newRow("binary nested past it")
            << nestedBinary(PropertyListShape::maximumDepth + 2) << QVariant();
        QTest::newRow("shared objects expanding to 2^60") << doublingBinary(60) << QVariant();
        QTest::newRow("shared objects expanding to 2^10") << doublingBinary(10) << anyValue;
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
            << QVariant(QVariantMap{{QStringLiteral("é\u0100"), QStringLiteral("v")}});
        QTest::newRow("XML nested 100,000 deep") << nestedXml(100000) << QVariant();
        QTest::newRow("XML dictionaries nested 100,000 deep")
            << nestedXml(100000, "<dict><key>k</key>", "</dict>") << QVariant();
        QTest::newRow("XML nested as deep as allowed")
            << nestedXml(PropertyListShape::maximumDepth) << anyValue;
        QTest::newRow("XML whose comment hides closing tags")
            << nestedXml(100000).replace("<plist version=\"1.0\">",
                                         "<plist><!--" + QByteArray("</array>").repeated(10) + "-->")
            << QVariant();
        QTest::newRow("comment and CDATA that look like tags")
            << QByteArray("<plist><!-- <array><array> "
                          "--><array><string><![CDATA[</array>]]></string></array></plist>")
            << QVariant(QVariantList{QStringLiteral("</array>")});
    }
    void readerTakesWhatIsSafeOnly() {
        QFETCH(QByteArray, bytes);
        QFETCH(QVariant, expected);
        const std::optional<QVariant> parsed = PropertyListFile::parse(bytes);
        QCOMPARE(parsed.has_value(), expected.isValid());
        if (parsed && expected != anyValue)
            QCOMPARE(*parsed, expected);
    }

    void readerDoesNotReadHugeFilesOrPipes() {
        TestEnvironment environment;
        // 300 MB without using the disk: a sparse file.
        const QString huge = environment.writeFile(QStringLiteral("huge.plist"), "<plist><array>");
        QVERIFY(QFile::resize(huge, 300LL * 1024 * 1024));
        QVERIFY(!PropertyListFile::read(huge));
        const QString pipe = environment.root() + QStringLiteral("/pipe.plist");
        QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        QVERIFY(!PropertyListFile::read(pipe));
    }

    void aStartRewritesNoSettingsFileItLoadedUnchanged() {
        TestEnvironment environment;
        const auto inodes = [] {
            QMap<QString, ino_t> found;
            for (const QString& folder :
                 {KestroPaths::applicationSupportDirectory(), KestroPaths::extensionDirectory()}) {
                for (const QFileInfo& file :
                     QDir(folder).entryInfoList({QStringLiteral("*.plist")}, QDir::Files)) {
                    struct stat status {};
                    if (::stat(QFile::encodeName(file.filePath()).constData(), &status) == 0)
                        found.insert(file.filePath(), status.st_ino);
                }
            }
            return found;
        };
        const auto start = [] {
            FeatureSettingsStore features;
            CustomDestinationStore destinations;
            FinderViewPresetStore presets;
            CustomShortcutActionStore actions;
        };
        // The first start writes the defaults, which the second one's normalisation still trims.
        start();
        start();
        const QMap<QString, ino_t> written = inodes();
        QVERIFY(written.size() >= 6);
        start(); // a file replaced (even by the same bytes) would have a new inode
        QCOMPARE(inodes(), written);
    }

    void everyStoreLoadsDefaultsAndKeepsTheBadFileAside() {
        for (const auto& [name, bytes] : hostileFiles()) {
            TestEnvironment environment;
            const QString folder = environment.home() + QStringLiteral("/.config/kestro/");
            const QStringList names{
                QStringLiteral("FeatureSettings.plist"), QStringLiteral("AppPreferences.plist"),
                QStringLiteral("CustomDestinations.plist"), QStringLiteral("CustomShortcutActions.plist"),
                QStringLiteral("FinderViewPresets.plist")};
            for (const QString& file : names)
                environment.writeFile(folder + file, bytes);
            const QString schedule =
                environment.writeFile(folder + QStringLiteral("ScheduledDeletions.plist"), bytes);

            FeatureSettingsStore features;
            AppPreferencesStore preferences;
            CustomDestinationStore destinations;
            CustomShortcutActionStore actions;
            FinderViewPresetStore presets;
            QCOMPARE(features.settings().enabledFeatureIDs,
                     FeatureSettingsDefaults::settings().enabledFeatureIDs);
            QVERIFY(preferences.revealActionResults() && !preferences.revealCreatedItems());
            QVERIFY(!destinations.destinations(CustomDestinationKind::quickOpen).isEmpty());
            QVERIFY(actions.actions().isEmpty());
            QCOMPARE(presets.presets().size(), 3);
            for (const QString& file : names)
                QVERIFY2(readAll(folder + file + QStringLiteral(".unreadable")) == bytes,
                         qPrintable(QStringLiteral("%1: %2").arg(QLatin1String(name), file)));
            // A schedule that cannot be read shows as empty and is never rewritten: nothing due is lost.
            ScheduledDeletionListStore deletions;
            QVERIFY(deletions.items().isEmpty());
            QCOMPARE(readAll(schedule), bytes);
            QCOMPARE(AppPreferencesPersistence::load(), AppPreferences({false, true, false}));
        }
    }

    // Root reads any file, so this runs again as an unprivileged account, in a process of its own.
    void settingsFileThisAccountCannotReadIsMovedAsideNotLost() {
        if (::geteuid() == 0) {
            QTemporaryDir runtime; // or Qt would make /tmp/runtime-nobody and leave it
            QCOMPARE(::chown(QFile::encodeName(runtime.path()).constData(), 65534, 65534), 0);
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime.path());
            QProcess child;
            child.setProcessEnvironment(environment);
            child.setProcessChannelMode(QProcess::MergedChannels);
            child.start(QStringLiteral("setpriv"),
                        {QStringLiteral("--reuid=nobody"), QStringLiteral("--regid=nogroup"),
                         QStringLiteral("--clear-groups"), QCoreApplication::applicationFilePath(),
                         QStringLiteral("settingsFileThisAccountCannotReadIsMovedAsideNotLost")});
            if (!child.waitForStarted())
                QSKIP("setpriv is not available to drop root's rights");
            QVERIFY(child.waitForFinished(120000));
            const QByteArray output = child.readAll();
            QVERIFY2(child.exitCode() == 0 && output.contains("PASS   : TestPropertyLists::settingsFile"),
                     output.constData());
            return;
        }
        TestEnvironment environment;
        const QString path =
            environment.home() + QStringLiteral("/.config/kestro/CustomShortcutActions.plist");
        const QByteArray bytes = "<plist><array></array></plist>";
        environment.writeFile(path, bytes);
        QVERIFY(QFile::setPermissions(path, QFileDevice::WriteOwner));
        QVERIFY(!QFile(path).open(QIODevice::ReadOnly));
        CustomShortcutActionStore store;
        QVERIFY(store.actions().isEmpty());
        QVERIFY(store.addScript(environment.writeFile(QStringLiteral("tidy.sh"), "#!/bin/sh\n")));
        // The new list is written; the file that could not be read is beside it, whole.
        const QString aside = path + QStringLiteral(".unreadable");
        QVERIFY(QFile::setPermissions(aside, QFileDevice::ReadOwner | QFileDevice::WriteOwner));
        QCOMPARE(readAll(aside), bytes);
        QVERIFY(readAll(path).contains("tidy.sh"));
    }

    void scheduleWithAMalformedEntryIsKeptAsideBeforeItIsRewritten() {
        TestEnvironment environment;
        const QString file = environment.writeFile(QStringLiteral("files/a.txt"), "a");
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
        QVERIFY(!QFileInfo::exists(path + QStringLiteral(".unreadable")));
        ScheduledDeletionStore::cancel(QStringLiteral("good"));
        QCOMPARE(readAll(path + QStringLiteral(".unreadable")), original);
        QVERIFY(ScheduledDeletionStore::items().isEmpty());
        // The next change has nothing left out, so nothing more is copied.
        ScheduledDeletionStore::schedule({file}, 3600);
        QVERIFY(!QFileInfo::exists(path + QStringLiteral(".unreadable 2")));
    }
};

QTEST_MAIN(TestPropertyLists)
#include "test_property_lists.moc"
