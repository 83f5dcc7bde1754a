// Checksums and sizes to the clipboard, and the hidden-files switches through a stand-in gsettings.
#include "actions/ByteCountText.h"
#include "actions/DeveloperToolActions.h"
#include "actions/FileDigest.h"
#include "support/ActionRequests.h"

#include <QCryptographicHash>
#include <QRandomGenerator>

namespace {

// A gsettings that keeps each key in a file of its own under FAKE_GSETTINGS_STORE; with a file "forgetful"
// there, it forgets what it is told to set, as gsettings does without dconf.
const char* const fakeGsettings = R"(#!/bin/sh
cd "$FAKE_GSETTINGS_STORE" || exit 1
case "$1" in
list-schemas) ls | cut -d" " -f1 ;;
list-keys) ls | sed -n "s|^$2 ||p" ;;
get) cat "$2 $3" ;;
set) [ -e forgetful ] || echo "$4" > "$2 $3" ;;
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
        // Exactly one block, and more than two: the end of the file on a block boundary and past it.
        QByteArray bytes(FileDigest::blockSize * 2 + 123, '\0');
        QRandomGenerator(7).fillRange(reinterpret_cast<quint32*>(bytes.data()), bytes.size() / 4);
        for (const qsizetype size : {qsizetype(FileDigest::blockSize), bytes.size()}) {
            const QString file = m_env->writeFile(m_folder + "/big.bin", bytes.left(size));
            QCOMPARE(FileDigest::hexDigest(file, FileDigest::Algorithm::sha256).toLatin1(),
                     QCryptographicHash::hash(bytes.left(size), QCryptographicHash::Sha256).toHex());
        }
        QCOMPARE(FileDigest::hexDigest(abc, FileDigest::Algorithm::md5), "900150983cd24fb0d6963f7d28e17f72");
    }

    // A folder, a missing item or a refused clipboard fails the whole action, naming the item.
    void unreadableItemsFailTheWholeAction() {
        const QString file = m_env->writeFile(m_folder + "/a.txt", "abc");
        for (const QString& bad : {m_env->makeFolder("files/sub"), m_folder + "/missing"}) {
            QVERIFY(names(failureText([&] {
                              DeveloperToolActions::copyChecksums({file, bad}, ChecksumAlgorithm::sha256);
                          }),
                          {bad}));
            QVERIFY(names(failureText([&] { DeveloperToolActions::copyFileSizes({bad + "/gone"}); }), {bad}));
        }
        QCOMPARE(FakePlatform::clipboard().writes, 0);
        QCOMPARE(caseOf([] { DeveloperToolActions::copyChecksums({}, ChecksumAlgorithm::md5); }),
                 Case::noSelection);
        QCOMPARE(caseOf([] { DeveloperToolActions::copyFileSizes({}); }), Case::noSelection);
        FakePlatform::clipboard().refuses = true;
        QCOMPARE(caseOf([&] { DeveloperToolActions::copyChecksums({file}, ChecksumAlgorithm::md5); }),
                 Case::pasteboardWriteFailed);
    }

    // Each row: bytes, English, Chinese (the same as English when empty).
    void sizeTexts() {
        const QLocale english(QLocale::English, QLocale::UnitedStates);
        const QLocale chinese(QLocale::Chinese, QLocale::China);
        for (const auto& [bytes, inEnglish, inChinese] :
             std::initializer_list<std::tuple<qint64, const char*, const char*>>{
                 {0, "Zero KB", "零 KB"},
                 {1, "1 byte", "1 字节"},
                 {999, "999 bytes", "999 字节"},
                 {999999, "1 MB", ""},
                 {1234567, "1.2 MB", ""},
                 {1234567890, "1.23 GB", ""}}) {
            QCOMPARE(ByteCountText::fileSize(bytes, english), inEnglish);
            QCOMPARE(ByteCountText::fileSize(bytes, chinese), *inChinese ? inChinese : inEnglish);
        }
    }

    // "schema key value" lines ("|" between them) before; the action; after, or "" where it must fail. The
    // schemas are written short: gtk4, gtk3, nemo and nautilus.
    void hiddenFilesSwitches_data() {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("actionID");
        QTest::addColumn<QString>("after");
        for (const auto& [row, before, actionID, after] : std::initializer_list<std::array<const char*, 4>>{
                 {"every installed setting flips", "gtk4 show-hidden false|gtk3 show-hidden false",
                  "toggleHiddenFiles", "gtk4 show-hidden true|gtk3 show-hidden true"},
                 {"the first one leads", "gtk3 show-hidden true|nautilus show-hidden-files false",
                  "toggleHiddenFiles", "gtk3 show-hidden false|nautilus show-hidden-files false"},
                 {"Nemo's own switch", "gtk4 show-hidden false|nemo show-hidden-files false",
                  "toggleNemoHiddenFiles", "gtk4 show-hidden false|nemo show-hidden-files true"},
                 {"no file manager's setting", "org.gnome.desktop.interface clock-format '24h'",
                  "toggleHiddenFiles", ""},
                 {"no setting of Nemo's", "gtk4 show-hidden false", "toggleNemoHiddenFiles", ""},
                 {"no gsettings", "", "toggleHiddenFiles", ""},
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
        const QString bin = m_env->makeFolder("bin");
        const QString store = m_env->makeFolder("gsettings-store");
        for (const QString& line : lines(before)) {
            const qsizetype value = line.lastIndexOf(' ');
            m_env->writeFile(store + '/' + line.left(value), line.mid(value + 1).toUtf8() + '\n');
        }
        if (!before.isEmpty()) {
            QFile::setPermissions(m_env->writeFile(bin + "/gsettings", fakeGsettings),
                                  QFile::ReadOwner | QFile::ExeOwner);
            qputenv("FAKE_GSETTINGS_STORE", store.toUtf8());
        }
        qputenv("PATH", bin.toUtf8() + (before.isEmpty() ? QByteArray() : ':' + m_savedPath));
        const bool wasShowing = DeveloperToolActions::isFinderShowingHiddenFiles();
        QCOMPARE(caseOf([&] { perform(actionID, {}); }), after.isEmpty() ? Case::commandFailed : Case(-1));
        // A refusal names the file manager whose setting is missing.
        if (after.isEmpty() && !before.isEmpty())
            QCOMPARE(failureText([&] { perform(actionID, {}); }).contains("Nemo"), actionID.contains("Nemo"));
        for (const QString& line : lines(after)) {
            const qsizetype value = line.lastIndexOf(' ');
            QCOMPARE(QString::fromUtf8(readAll(store + '/' + line.left(value)).trimmed()),
                     line.mid(value + 1));
        }
        const bool showing = DeveloperToolActions::isFinderShowingHiddenFiles();
        if (after.isEmpty())
            QVERIFY(!showing || before.contains("forgetful"));
        else
            QCOMPARE(showing, actionID == "toggleHiddenFiles" ? !wasShowing : wasShowing);
    }

private:
    std::optional<TestEnvironment> m_env;
    QString m_folder;
    QByteArray m_savedPath;
};

QTEST_GUILESS_MAIN(TestDeveloperTools)
#include "test_developer_tools.moc"
