// Damaged and hostile property lists: every store survives any file, loads what it can and keeps the
// file aside.
#include "catalogue/AppPreferencesPersistence.h"
#include "catalogue/AppPreferencesStore.h"
#include "catalogue/FeatureSettingsDefaults.h"
#include "catalogue/FeatureSettingsPersistence.h"
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
#include <QFile>
#include <QFileInfo>
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

// A binary list of the given objects (already encoded, references 4 bytes wide), the first at the top.
QByteArray binaryList(const QList<QByteArray>& objects) {
    QByteArray bytes("bplist00");
    QList<quint64> offsets;
    for (const QByteArray& object : objects) {
        offsets.append(quint64(bytes.size()));
        bytes += object;
    }
    const quint64 table = quint64(bytes.size());
    for (quint64 offset : offsets)
        bytes += bigEndian(offset, 4);
    bytes += QByteArray(6, '\0') + char(4) + char(4) + bigEndian(quint64(objects.size()), 8) +
             bigEndian(0, 8) + bigEndian(table, 8);
    return bytes;
}

// An array object holding references to the objects numbered refs.
QByteArray arrayObject(const QList<quint32>& refs) {
    QByteArray bytes;
    if (refs.size() < 15) {
        bytes += char(0xA0 | refs.size());
    } else {
        bytes += char(0xAF);
        bytes += char(0x12);
        bytes += bigEndian(quint64(refs.size()), 4);
    }
    for (quint32 ref : refs)
        bytes += bigEndian(ref, 4);
    return bytes;
}

QByteArray stringObject(const QByteArray& text) {
    return char(0x50 | text.size()) + text;
}

// Arrays inside arrays, depth levels deep, in binary.
QByteArray nestedBinary(int depth) {
    QList<QByteArray> objects;
    for (int level = 0; level < depth - 1; ++level)
        objects.append(arrayObject({quint32(level + 1)}));
    objects.append(arrayObject({}));
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
        objects.append(arrayObject({quint32(level + 1), quint32(level + 1)}));
    objects.append(stringObject("laugh"));
    return binaryList(objects);
}

struct HostileFile {
    const char* name;
    QByteArray bytes;
};

QList<HostileFile> hostileFiles() {
    return {
        {"XML nested 100,000 deep", nestedXml(100000)},
        {"XML dictionaries nested 100,000 deep", nestedXml(100000, "<dict><key>k</key>", "</dict>")},
        {"binary nested 100,000 deep", nestedBinary(100000)},
        {"binary whose shared objects expand to 2^60", doublingBinary(60)},
        {"binary array holding itself", binaryList({arrayObject({0})})},
        {"binary with a reference past its objects", binaryList({arrayObject({7})})},
        {"binary with a truncated trailer", QByteArray("bplist00\xa0", 9)},
        {"XML cut in the middle", "<plist><dict><key>enabledFeatureIDs</key><array><string>createFile"},
        {"XML whose comment hides closing tags",
         nestedXml(100000).replace("<plist version=\"1.0\">",
                                   "<plist><!--" + QByteArray("</array>").repeated(10) + "-->")},
        {"NUL bytes", QByteArray(4096, '\0')},
    };
}

} // namespace

class TestPropertyLists : public QObject {
    Q_OBJECT

private slots:
    void readerRefusesWhatWouldExhaustStackOrMemory() {
        for (const HostileFile& file : hostileFiles())
            QVERIFY2(!PropertyListFile::parse(file.bytes), file.name);
        // Within the limits the same shapes load.
        const std::optional<QVariant> deep =
            PropertyListFile::parse(nestedXml(PropertyListShape::maximumDepth));
        QVERIFY(deep && deep->typeId() == QMetaType::QVariantList);
        QVERIFY(PropertyListFile::parse(nestedBinary(PropertyListShape::maximumDepth)));
        QVERIFY(!PropertyListFile::parse(nestedBinary(PropertyListShape::maximumDepth + 2)));
        const std::optional<QVariant> shared = PropertyListFile::parse(doublingBinary(10));
        QVERIFY(shared && shared->toList().size() == 2);
        // A NUL character inside a string is kept; inside a dictionary key it is refused (libplist would
        // abort).
        const std::optional<QVariant> withNul =
            PropertyListFile::parse(binaryList({arrayObject({1}), stringObject(QByteArray("a\0b", 3))}));
        QVERIFY(withNul);
        QCOMPARE(withNul->toList().value(0).toString(), QStringLiteral("a"));
        QByteArray dictionary;
        dictionary += char(0xD1);
        dictionary += bigEndian(1, 4) + bigEndian(2, 4);
        QVERIFY(!PropertyListFile::parse(
            binaryList({dictionary, stringObject(QByteArray("k\0", 2)), stringObject("v")})));
        QVERIFY(PropertyListFile::parse(binaryList({dictionary, stringObject("k"), stringObject("v")})));
        // A comment or CDATA that looks like tags changes nothing.
        const std::optional<QVariant> commented = PropertyListFile::parse(
            "<plist><!-- <array><array> --><array><string><![CDATA[</array>]]></string></array></plist>");
        QVERIFY(commented);
        QCOMPARE(commented->toList(), QVariantList({QStringLiteral("</array>")}));
    }

    void readerDoesNotReadHugeFilesOrPipes() {
        TestEnvironment environment;
        // 300 MB without using the disk: a sparse file.
        const QString huge = environment.writeFile(QStringLiteral("huge.plist"), "<plist><array>");
        QVERIFY(QFile::resize(huge, 300LL * 1024 * 1024));
        QVERIFY(!PropertyListFile::read(huge));
        // A pipe where a file should be would block a reader for ever.
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
        // The first start writes the defaults, which the next one's normalisation still trims (two child IDs
        // that the default list enables are dropped on loading); from then on the files are settled.
        start();
        start();
        const QMap<QString, ino_t> written = inodes();
        QVERIFY(written.size() >= 6);
        start(); // a file replaced (even by the same bytes) would have a new inode
        QCOMPARE(inodes(), written);
    }

    void everyStoreLoadsDefaultsAndKeepsTheBadFileAside() {
        for (const HostileFile& file : hostileFiles()) {
            TestEnvironment environment;
            const QString folder = environment.home() + QStringLiteral("/.config/kestro/");
            const QStringList names{
                QStringLiteral("FeatureSettings.plist"), QStringLiteral("AppPreferences.plist"),
                QStringLiteral("CustomDestinations.plist"), QStringLiteral("CustomShortcutActions.plist"),
                QStringLiteral("FinderViewPresets.plist")};
            for (const QString& name : names)
                environment.writeFile(folder + name, file.bytes);
            const QString schedule =
                environment.writeFile(folder + QStringLiteral("ScheduledDeletions.plist"), file.bytes);

            FeatureSettingsStore features;
            AppPreferencesStore preferences;
            CustomDestinationStore destinations;
            CustomShortcutActionStore actions;
            FinderViewPresetStore presets;
            QCOMPARE(features.settings().enabledFeatureIDs,
                     FeatureSettingsDefaults::settings().enabledFeatureIDs);
            QVERIFY(preferences.revealActionResults());
            QVERIFY(!preferences.revealCreatedItems());
            QVERIFY(!destinations.destinations(CustomDestinationKind::quickOpen).isEmpty());
            QVERIFY(actions.actions().isEmpty());
            QCOMPARE(presets.presets().size(), 3);
            for (const QString& name : names) {
                QVERIFY2(readAll(folder + name + QStringLiteral(".unreadable")) == file.bytes,
                         qPrintable(QStringLiteral("%1: %2").arg(QLatin1String(file.name), name)));
            }
            // A schedule that cannot be read shows as empty and is never rewritten: nothing due is lost.
            ScheduledDeletionListStore deletions;
            QVERIFY(deletions.items().isEmpty());
            QCOMPARE(readAll(schedule), file.bytes);
            // Actions read the preferences at every run: a bad file reads as the defaults there too.
            QCOMPARE(AppPreferencesPersistence::load(), AppPreferences({false, true, false}));
        }
    }

    void settingsFileThisAccountCannotReadIsMovedAsideNotLost() {
        // Root reads any file, so the check runs as an unprivileged account: this test, in a process of its
        // own.
        if (::geteuid() == 0) {
            // A runtime folder of its own, or Qt would make /tmp/runtime-nobody and leave it there.
            QTemporaryDir runtime;
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
            QVERIFY2(child.exitCode() == 0, output.constData());
            QVERIFY2(output.contains(
                         "PASS   : TestPropertyLists::settingsFileThisAccountCannotReadIsMovedAsideNotLost"),
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
        const QString script = environment.writeFile(QStringLiteral("tidy.sh"), "#!/bin/sh\n");
        QVERIFY(store.addScript(script));
        // The new list is written; the file that could not be read is beside it, whole.
        const QString aside = path + QStringLiteral(".unreadable");
        QVERIFY(QFileInfo::exists(aside));
        QVERIFY(QFile::setPermissions(aside, QFileDevice::ReadOwner | QFileDevice::WriteOwner));
        QCOMPARE(readAll(aside), bytes);
        QVERIFY(readAll(path).contains("tidy.sh"));
    }

    void scheduleWithAMalformedEntryIsKeptAsideBeforeItIsRewritten() {
        TestEnvironment environment;
        const QString file = environment.writeFile(QStringLiteral("files/a.txt"), "a");
        const QDateTime now = QDateTime::currentDateTimeUtc();
        const QVariantList stored{
            QVariantMap{{"id", "good"}, {"path", file}, {"scheduledAt", now}, {"deleteAt", now.addDays(1)}},
            QVariantMap{{"id", "bad"}, {"path", "/somewhere/else"}, {"scheduledAt", "yesterday"}},
        };
        QVERIFY(PropertyListFile::write(ScheduledDeletionPersistence::fileURL(), stored));
        const QByteArray original = readAll(ScheduledDeletionPersistence::fileURL());
        // Reading alone writes nothing.
        QCOMPARE(ScheduledDeletionStore::items().size(), 1);
        QVERIFY(!QFileInfo::exists(ScheduledDeletionPersistence::fileURL() + QStringLiteral(".unreadable")));

        ScheduledDeletionStore::cancel(QStringLiteral("good"));
        QCOMPARE(readAll(ScheduledDeletionPersistence::fileURL() + QStringLiteral(".unreadable")), original);
        QVERIFY(ScheduledDeletionStore::items().isEmpty());
        // The next change has nothing left out, so nothing more is copied.
        ScheduledDeletionStore::schedule({file}, 3600);
        QVERIFY(
            !QFileInfo::exists(ScheduledDeletionPersistence::fileURL() + QStringLiteral(".unreadable 2")));
    }
};

QTEST_MAIN(TestPropertyLists)
#include "test_property_lists.moc"
