// Checksums and sizes to the clipboard, and the hidden-files switches through a stand-in gsettings.
#include "actions/ByteCountText.h"
#include "actions/DeveloperToolActions.h"
#include "actions/FileDigest.h"
#include "platform/ActionProgress.h"
#include "support/ActionRequests.h"
#include "support/RecordingProgress.h"

#include <QCryptographicHash>
#include <QRandomGenerator>

namespace {

// A gsettings that keeps each key in a file of its own under FAKE_GSETTINGS_STORE.
const char* const fakeGsettings = R"(#!/bin/sh
store="$FAKE_GSETTINGS_STORE"
case "$1" in
list-schemas) ls "$store" | cut -d" " -f1 | sort -u ;;
list-keys)
    ls "$store" | grep -q "^$2 " || { echo "No such schema “$2”" >&2; exit 1; }
    ls "$store" | sed -n "s|^$2 ||p" ;;
get)
    [ -e "$store/$2 $3" ] || { echo "No such key “$3”" >&2; exit 1; }
    cat "$store/$2 $3" ;;
set)
    [ -e "$store/$2 $3" ] || { echo "No such key “$3”" >&2; exit 1; }
    [ -e "$store/forgetful" ] || echo "$4" > "$store/$2 $3" ;;
*) exit 1 ;;
esac
)";

const QString gtk4 = "org.gtk.gtk4.Settings.FileChooser";
const QString gtk3 = "org.gtk.Settings.FileChooser";
const QString nemo = "org.nemo.preferences";
const QString nautilus = "org.gnome.nautilus.preferences";

} // namespace

class TestDeveloperTools : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_env.emplace();
        m_folder = m_env->makeFolder("files");
        m_savedPath = qgetenv("PATH");
    }
    void cleanup() {
        qputenv("PATH", m_savedPath);
        m_env.reset();
    }

    void checksumsMatchKnownDigestsAcrossBlocks() {
        const QString abc = m_env->writeFile(m_folder + "/-n 'a b'\n\"c\" 文件", "abc");
        const QString empty = m_env->writeFile(m_folder + "/e");
        DeveloperToolActions::copyChecksums({abc, empty}, ChecksumAlgorithm::sha256);
        QCOMPARE(FakePlatform::clipboard().contents,
                 "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad  -n 'a b'\n\"c\" 文件\n"
                 "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855  e");
        DeveloperToolActions::copyChecksums({empty, abc}, ChecksumAlgorithm::md5);
        QCOMPARE(
            FakePlatform::clipboard().contents,
            "d41d8cd98f00b204e9800998ecf8427e  e\n900150983cd24fb0d6963f7d28e17f72  -n 'a b'\n\"c\" 文件");
        // Exactly one block, and more than two: the end of the file on a block boundary and past it.
        QByteArray bytes(FileDigest::blockSize * 2 + 123, '\0');
        QRandomGenerator(7).fillRange(reinterpret_cast<quint32*>(bytes.data()), bytes.size() / 4);
        for (const qsizetype size : {qsizetype(FileDigest::blockSize), bytes.size()}) {
            const QString file = m_env->writeFile(m_folder + "/big.bin", bytes.left(size));
            for (const auto [algorithm, reference] :
                 {std::pair{FileDigest::Algorithm::sha256, QCryptographicHash::Sha256},
                  {FileDigest::Algorithm::md5, QCryptographicHash::Md5}})
                QCOMPARE(FileDigest::hexDigest(file, algorithm).toLatin1(),
                         QCryptographicHash::hash(bytes.left(size), reference).toHex());
        }
    }

    // A long checksum shows its bytes; stopped in the middle, nothing reaches the clipboard.
    void checksumsReportProgressAndStopWhenAsked() {
        RecordingProgress recorder;
        const ActionProgressScope scope(recorder);
        const QString a = m_env->writeFile(m_folder + "/a.bin", QByteArray(FileDigest::blockSize * 3, 'a'));
        const QString b = m_env->writeFile(m_folder + "/b.bin", QByteArray(100, 'b'));
        DeveloperToolActions::copyChecksums({a, b}, ChecksumAlgorithm::sha256);
        QCOMPARE(recorder.titles, QStringList({"复制 SHA-256"}));
        QVERIFY(recorder.states.size() >= 5 && recorder.isMonotonic());
        const ActionProgressState last = recorder.states.constLast();
        QCOMPARE(last.bytesTotal, qint64(FileDigest::blockSize * 3 + 100));
        QCOMPARE(last.bytesDone, last.bytesTotal);
        QCOMPARE(last.itemsDone, qint64(2));
        recorder.states.clear();
        recorder.stopAfterBytes = FileDigest::blockSize;
        QVERIFY_THROWS_EXCEPTION(ActionCancelled,
                                 DeveloperToolActions::copyChecksums({a, b}, ChecksumAlgorithm::md5));
        QCOMPARE(recorder.finishedCount, 2);
        QCOMPARE(FakePlatform::clipboard().writes, 1);
    }

    // A folder, a missing item or a refused clipboard fails the whole action, naming the item.
    void unreadableItemsFailTheWholeAction() {
        const QString file = m_env->writeFile(m_folder + "/a.txt", "abc");
        FakePlatform::clipboard().contents = "before";
        for (const QString& bad : {m_env->makeFolder("files/sub"), m_folder + "/missing"}) {
            QVERIFY(names(failureText([&] {
                              DeveloperToolActions::copyChecksums({file, bad}, ChecksumAlgorithm::sha256);
                          }),
                          {bad}));
            QVERIFY(names(failureText([&] { DeveloperToolActions::copyFileSizes({bad + "/gone"}); }), {bad}));
        }
        QCOMPARE(FakePlatform::clipboard().writes, 0);
        QCOMPARE(FakePlatform::clipboard().contents, "before");
        QCOMPARE(caseOf([] { DeveloperToolActions::copyChecksums({}, ChecksumAlgorithm::md5); }),
                 Case::noSelection);
        QCOMPARE(caseOf([] { DeveloperToolActions::copyFileSizes({}); }), Case::noSelection);
        FakePlatform::clipboard().refuses = true;
        QCOMPARE(caseOf([&] { DeveloperToolActions::copyChecksums({file}, ChecksumAlgorithm::md5); }),
                 Case::pasteboardWriteFailed);
    }

    void sizeTexts_data() {
        QTest::addColumn<qint64>("bytes");
        QTest::addColumn<QString>("english");
        QTest::addColumn<QString>("chinese"); // the same as in English when empty
        for (const auto& [bytes, english, chinese] :
             std::initializer_list<std::tuple<qint64, const char*, const char*>>{
                 {0, "Zero KB", "零 KB"},
                 {1, "1 byte", "1 字节"},
                 {999, "999 bytes", "999 字节"},
                 {999999, "1 MB", ""},
                 {1234567, "1.2 MB", ""},
                 {1234567890, "1.23 GB", ""},
                 {2000000000000, "2 TB", ""}})
            QTest::newRow(english) << bytes << english << (*chinese ? chinese : english);
    }
    void sizeTexts() {
        QFETCH(qint64, bytes);
        QFETCH(QString, english);
        QFETCH(QString, chinese);
        QCOMPARE(ByteCountText::fileSize(bytes, QLocale(QLocale::English, QLocale::UnitedStates)), english);
        QCOMPARE(ByteCountText::fileSize(bytes, QLocale(QLocale::Chinese, QLocale::China)), chinese);
    }

    void fileSizesCountFoldersAsZero() {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        const QString file = m_env->writeFile(m_folder + "/\"x\"\n.bin", QByteArray(12345, 'x'));
        const QString folder = m_env->makeFolder("files/-dir");
        m_env->writeFile(folder + "/inside", QByteArray(50000, 'y'));
        DeveloperToolActions::copyFileSizes({file, folder});
        QLocale::setDefault(QLocale::system());
        QCOMPARE(FakePlatform::clipboard().contents, "12 KB\nZero KB");
    }

    // "schema key value" lines ("|" between them) before; the action; after, or "" where it must fail. The
    // schemas are written short: gtk4, gtk3, nemo and nautilus.
    void hiddenFilesSwitches_data() {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("actionID");
        QTest::addColumn<QString>("after");
        for (const auto& [row, before, actionID, after] : std::initializer_list<std::array<const char*, 4>>{
                 {"every installed setting flips",
                  "gtk4 show-hidden false|gtk4 sort-directories-first true|gtk3 show-hidden false",
                  "toggleHiddenFiles",
                  "gtk4 show-hidden true|gtk4 sort-directories-first true|gtk3 show-hidden true"},
                 {"the first one leads", "gtk3 show-hidden true|nautilus show-hidden-files false",
                  "toggleHiddenFiles", "gtk3 show-hidden false|nautilus show-hidden-files false"},
                 {"Nemo's own switch", "gtk4 show-hidden false|nemo show-hidden-files false",
                  "toggleNemoHiddenFiles", "gtk4 show-hidden false|nemo show-hidden-files true"},
                 {"Nemo follows the others", "gtk4 show-hidden false|nemo show-hidden-files true",
                  "toggleHiddenFiles", "gtk4 show-hidden true|nemo show-hidden-files true"},
                 {"no file manager's setting", "org.gnome.desktop.interface clock-format '24h'",
                  "toggleHiddenFiles", ""},
                 {"no gsettings", "", "toggleHiddenFiles", ""},
                 {"no Nemo setting", "gtk4 show-hidden false", "toggleNemoHiddenFiles", ""},
                 {"a setting that does not stick", "gtk4 show-hidden false|forgetful", "toggleHiddenFiles",
                  ""}})
            QTest::newRow(row) << before << actionID << after;
    }
    void hiddenFilesSwitches() {
        QFETCH(QString, before);
        QFETCH(QString, actionID);
        QFETCH(QString, after);
        const auto lines = [](QString text) {
            for (const auto& [name, schema] :
                 {std::pair{"gtk4 ", gtk4}, {"gtk3 ", gtk3}, {"nemo ", nemo}, {"nautilus ", nautilus}})
                text.replace(name, schema + ' ');
            return text.split('|', Qt::SkipEmptyParts);
        };
        const QStringList present = lines(before), expected = lines(after);
        const QString bin = m_env->makeFolder("bin");
        const QString store = m_env->makeFolder("gsettings-store");
        for (const QString& line : present) {
            const QStringList parts = line.split(' ');
            m_env->writeFile(store + '/' + parts.mid(0, 2).join(' '), parts.value(2).toUtf8() + '\n');
        }
        if (!before.isEmpty()) {
            QFile::setPermissions(m_env->writeFile(bin + "/gsettings", fakeGsettings),
                                  QFile::ReadOwner | QFile::ExeOwner);
            qputenv("FAKE_GSETTINGS_STORE", store.toUtf8());
        }
        qputenv("PATH", bin.toUtf8() + (before.isEmpty() ? QByteArray() : ':' + m_savedPath));
        const bool wasShowing = DeveloperToolActions::isFinderShowingHiddenFiles();
        const auto error = failureOf<FinderActionExecutionError>([&] { perform(actionID, {}); });
        QCOMPARE(error.has_value(), after.isEmpty());
        if (error) {
            // The message names the file manager whose setting is missing.
            const QString fileManager = actionID.contains("Nemo") ? "Nemo" : "Nautilus";
            QVERIFY(error->errorCase() == Case::commandFailed &&
                    (before.contains("forgetful") || error->errorDescription().contains(fileManager)));
            QVERIFY(!DeveloperToolActions::isFinderShowingHiddenFiles() || before.contains("forgetful"));
            return;
        }
        for (const QString& line : expected) {
            const qsizetype value = line.lastIndexOf(' ');
            QCOMPARE(QString::fromUtf8(readAll(store + '/' + line.left(value)).trimmed()),
                     line.mid(value + 1));
        }
        QCOMPARE(DeveloperToolActions::isFinderShowingHiddenFiles(),
                 actionID == QLatin1String("toggleHiddenFiles") ? !wasShowing : wasShowing);
    }

private:
    std::optional<TestEnvironment> m_env;
    QString m_folder;
    QByteArray m_savedPath;
};

QTEST_GUILESS_MAIN(TestDeveloperTools)
#include "test_developer_tools.moc"
