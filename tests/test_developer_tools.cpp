// Checksums and sizes to the clipboard, and the hidden-files toggle through a stand-in gsettings.
#include "actions/ByteCountText.h"
#include "actions/DeveloperToolActions.h"
#include "actions/FileDigest.h"
#include "actions/FinderActionExecutor.h"
#include "platform/ActionProgress.h"
#include "platform/FinderActionExecutionError.h"
#include "support/FakePlatform.h"
#include "support/RecordingProgress.h"
#include "support/TestEnvironment.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QtTest>

namespace {

// A gsettings that keeps each key in a file of its own under FAKE_GSETTINGS_STORE and records its calls.
const char* const fakeGsettings = R"(#!/bin/sh
store="$FAKE_GSETTINGS_STORE"
echo "$*" >> "$store/calls"
case "$1" in
list-schemas) cat "$store/schemas" ;;
list-keys)
    grep -qx "$2" "$store/schemas" || { echo "No such schema “$2”" >&2; exit 1; }
    for f in "$store/$2 "*; do [ -e "$f" ] && echo "${f##*/$2 }"; done ;;
get)
    [ -e "$store/$2 $3" ] || { echo "No such key “$3”" >&2; exit 1; }
    cat "$store/$2 $3" ;;
set)
    [ -e "$store/$2 $3" ] || { echo "No such key “$3”" >&2; exit 1; }
    [ -e "$store/forgetful" ] || echo "$4" > "$store/$2 $3" ;;
*) exit 1 ;;
esac
)";

} // namespace

class TestDeveloperTools : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_env.reset(new TestEnvironment);
        m_folder = m_env->makeFolder(QStringLiteral("files"));
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    }
    void cleanup() {
        if (!m_savedPath.isNull())
            qputenv("PATH", m_savedPath);
        m_savedPath.clear();
        m_env.reset();
    }

    void checksumLinesMatchKnownDigests() {
        const QString abc = m_env->writeFile(m_folder + QStringLiteral("/-n 'a b'\n\"c\" 文件"), "abc");
        const QString empty = m_env->writeFile(m_folder + QStringLiteral("/e"));
        DeveloperToolActions::copyChecksums({abc, empty}, ChecksumAlgorithm::sha256);
        QCOMPARE(
            FakePlatform::clipboard().contents,
            QStringLiteral(
                "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad  -n 'a b'\n\"c\" 文件\n"
                "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855  e"));
        DeveloperToolActions::copyChecksums({empty, abc}, ChecksumAlgorithm::md5);
        QCOMPARE(FakePlatform::clipboard().contents,
                 QStringLiteral("d41d8cd98f00b204e9800998ecf8427e  e\n"
                                "900150983cd24fb0d6963f7d28e17f72  -n 'a b'\n\"c\" 文件"));
    }

    void checksumsOfFilesLongerThanOneBlock() {
        QByteArray bytes(FileDigest::blockSize * 2 + 123, Qt::Uninitialized);
        QRandomGenerator generator(7);
        for (char& byte : bytes)
            byte = char(generator.generate() & 0xff);
        const QString big = m_env->writeFile(m_folder + QStringLiteral("/big.bin"), bytes);
        QCOMPARE(FileDigest::hexDigest(big, FileDigest::Algorithm::sha256),
                 QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex()));
        QCOMPARE(FileDigest::hexDigest(big, FileDigest::Algorithm::md5),
                 QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex()));
        // Exactly one block long: the end of the file falls on a block boundary.
        const QString exact =
            m_env->writeFile(m_folder + QStringLiteral("/exact.bin"), bytes.left(FileDigest::blockSize));
        QCOMPARE(FileDigest::hexDigest(exact, FileDigest::Algorithm::sha256),
                 QString::fromLatin1(
                     QCryptographicHash::hash(bytes.left(FileDigest::blockSize), QCryptographicHash::Sha256)
                         .toHex()));
    }

    void checksumsReportProgressAndStopWhenAsked() {
        // What a long checksum tells whoever shows progress, and what it does when the user stops it.
        RecordingProgress recorder;
        const ActionProgressScope scope(recorder);
        const QString a =
            m_env->writeFile(m_folder + QStringLiteral("/a.bin"), QByteArray(FileDigest::blockSize * 3, 'a'));
        const QString b = m_env->writeFile(m_folder + QStringLiteral("/b.bin"), QByteArray(100, 'b'));
        DeveloperToolActions::copyChecksums({a, b}, ChecksumAlgorithm::sha256);
        QCOMPARE(recorder.titles, QStringList({QStringLiteral("复制 SHA-256")}));
        QCOMPARE(recorder.finishedCount, 1);
        QVERIFY(recorder.states.size() >= 5);
        QVERIFY(recorder.isMonotonic());
        const ActionProgressState last = recorder.states.constLast();
        QCOMPARE(last.bytesTotal, qint64(FileDigest::blockSize * 3 + 100));
        QCOMPARE(last.bytesDone, last.bytesTotal);
        QCOMPARE(last.itemsDone, qint64(2));
        QCOMPARE(FakePlatform::clipboard().writes, 1);

        // Stopped in the middle of the first file: nothing reaches the clipboard.
        recorder.states.clear();
        recorder.stopAfterBytes = FileDigest::blockSize;
        QVERIFY_THROWS_EXCEPTION(ActionCancelled,
                                 DeveloperToolActions::copyChecksums({a, b}, ChecksumAlgorithm::md5));
        QCOMPARE(recorder.finishedCount, 2);
        QCOMPARE(FakePlatform::clipboard().writes, 1);
    }

    void unreadableItemsFailTheWholeActionWithoutTouchingTheClipboard() {
        const QString file = m_env->writeFile(m_folder + QStringLiteral("/a.txt"), "abc");
        const QString folder = m_env->makeFolder(QStringLiteral("files/sub"));
        FakePlatform::clipboard().contents = QStringLiteral("before");
        for (const QString& bad : {folder, m_folder + QStringLiteral("/missing")}) {
            try {
                DeveloperToolActions::copyChecksums({file, bad}, ChecksumAlgorithm::sha256);
                QFAIL("must fail");
            } catch (const KestroError& error) {
                QVERIFY2(error.errorDescription().contains(bad), qPrintable(error.errorDescription()));
            }
        }
        QCOMPARE(FakePlatform::clipboard().writes, 0);
        QCOMPARE(FakePlatform::clipboard().contents, QStringLiteral("before"));
        QVERIFY_THROWS_EXCEPTION(FinderActionExecutionError,
                                 DeveloperToolActions::copyChecksums({}, ChecksumAlgorithm::md5));

        FakePlatform::clipboard().refuses = true;
        try {
            DeveloperToolActions::copyChecksums({file}, ChecksumAlgorithm::md5);
            QFAIL("a refused clipboard must fail");
        } catch (const FinderActionExecutionError& error) {
            QCOMPARE(error.errorCase(), FinderActionExecutionError::Case::pasteboardWriteFailed);
        }
    }

    void sizeTexts_data() {
        QTest::addColumn<qint64>("bytes");
        QTest::addColumn<QString>("english");
        QTest::addColumn<QString>("chinese");
        QTest::newRow("zero") << qint64(0) << "Zero KB"
                              << "零 KB";
        QTest::newRow("one") << qint64(1) << "1 byte"
                             << "1 字节";
        QTest::newRow("bytes") << qint64(999) << "999 bytes"
                               << "999 字节";
        QTest::newRow("one kilobyte") << qint64(1000) << "1 KB"
                                      << "1 KB";
        QTest::newRow("kilobytes") << qint64(12345) << "12 KB"
                                   << "12 KB";
        QTest::newRow("rounds up a unit") << qint64(999999) << "1 MB"
                                          << "1 MB";
        QTest::newRow("megabytes") << qint64(1234567) << "1.2 MB"
                                   << "1.2 MB";
        QTest::newRow("thousands") << qint64(123456789) << "123.5 MB"
                                   << "123.5 MB";
        QTest::newRow("gigabytes") << qint64(1500000000) << "1.5 GB"
                                   << "1.5 GB";
        QTest::newRow("two decimals") << qint64(1234567890) << "1.23 GB"
                                      << "1.23 GB";
        QTest::newRow("terabytes") << qint64(2000000000000) << "2 TB"
                                   << "2 TB";
    }
    void sizeTexts() {
        QFETCH(qint64, bytes);
        QFETCH(QString, english);
        QFETCH(QString, chinese);
        QCOMPARE(ByteCountText::fileSize(bytes, QLocale(QLocale::English, QLocale::UnitedStates)), english);
        QCOMPARE(ByteCountText::fileSize(bytes, QLocale(QLocale::Chinese, QLocale::China)), chinese);
    }

    void fileSizesCountFoldersAsZero() {
        const QString file =
            m_env->writeFile(m_folder + QStringLiteral("/\"x\"\n.bin"), QByteArray(12345, 'x'));
        const QString folder = m_env->makeFolder(QStringLiteral("files/-dir"));
        m_env->writeFile(folder + QStringLiteral("/inside"), QByteArray(50000, 'y'));
        DeveloperToolActions::copyFileSizes({file, folder});
        QCOMPARE(FakePlatform::clipboard().contents, QStringLiteral("12 KB\nZero KB"));
        QVERIFY_THROWS_EXCEPTION(PlatformError,
                                 DeveloperToolActions::copyFileSizes({m_folder + QStringLiteral("/gone")}));
        QVERIFY_THROWS_EXCEPTION(FinderActionExecutionError, DeveloperToolActions::copyFileSizes({}));
    }

    void toggleFlipsEveryInstalledSetting() {
        const QString store =
            standGsettings({"org.gtk.gtk4.Settings.FileChooser", "org.gtk.Settings.FileChooser"},
                           {{"org.gtk.gtk4.Settings.FileChooser", "show-hidden", "false"},
                            {"org.gtk.gtk4.Settings.FileChooser", "sort-directories-first", "true"},
                            {"org.gtk.Settings.FileChooser", "show-hidden", "false"}});
        QVERIFY(!DeveloperToolActions::isFinderShowingHiddenFiles());
        DeveloperToolActions::toggleHiddenFiles();
        QCOMPARE(value(store, "org.gtk.gtk4.Settings.FileChooser show-hidden"), QByteArray("true"));
        QCOMPARE(value(store, "org.gtk.Settings.FileChooser show-hidden"), QByteArray("true"));
        QCOMPARE(value(store, "org.gtk.gtk4.Settings.FileChooser sort-directories-first"),
                 QByteArray("true"));
        QVERIFY(DeveloperToolActions::isFinderShowingHiddenFiles());
        DeveloperToolActions::toggleHiddenFiles();
        QCOMPARE(value(store, "org.gtk.gtk4.Settings.FileChooser show-hidden"), QByteArray("false"));
        QCOMPARE(value(store, "org.gtk.Settings.FileChooser show-hidden"), QByteArray("false"));
    }

    void nemoHasASwitchOfItsOwn() {
        const QString store = standGsettings({"org.gtk.gtk4.Settings.FileChooser", "org.nemo.preferences"},
                                             {{"org.gtk.gtk4.Settings.FileChooser", "show-hidden", "false"},
                                              {"org.nemo.preferences", "show-hidden-files", "false"}});
        FinderActionExecutor::perform(QStringLiteral("toggleNemoHiddenFiles"), {}, {}, {}, {});
        QCOMPARE(value(store, "org.nemo.preferences show-hidden-files"), QByteArray("true"));
        QCOMPARE(value(store, "org.gtk.gtk4.Settings.FileChooser show-hidden"), QByteArray("false"));
        DeveloperToolActions::toggleHiddenFiles();
        QCOMPARE(value(store, "org.nemo.preferences show-hidden-files"), QByteArray("true"));
        QCOMPARE(value(store, "org.gtk.gtk4.Settings.FileChooser show-hidden"), QByteArray("true"));
    }

    void toggleFollowsTheFirstInstalledSettingWhenTheyDisagree() {
        const QString store =
            standGsettings({"org.gtk.Settings.FileChooser", "org.gnome.nautilus.preferences"},
                           {{"org.gtk.Settings.FileChooser", "show-hidden", "true"},
                            {"org.gnome.nautilus.preferences", "show-hidden-files", "false"}});
        DeveloperToolActions::toggleHiddenFiles();
        QCOMPARE(value(store, "org.gtk.Settings.FileChooser show-hidden"), QByteArray("false"));
        QCOMPARE(value(store, "org.gnome.nautilus.preferences show-hidden-files"), QByteArray("false"));
    }

    void toggleWithoutTheSettingFailsClearly() {
        // Schemas present, but none of them the file manager's.
        standGsettings({"org.gnome.desktop.interface"},
                       {{"org.gnome.desktop.interface", "clock-format", "'24h'"}});
        expectToggleFailure(QStringLiteral("隐藏文件设置不可用"));
        // No gsettings at all.
        qputenv("PATH", m_env->makeFolder(QStringLiteral("empty-bin")).toUtf8());
        expectToggleFailure(QStringLiteral("隐藏文件设置不可用"));
        QVERIFY(!DeveloperToolActions::isFinderShowingHiddenFiles());
    }

    void toggleThatDoesNotStickFailsClearly() {
        const QString store = standGsettings({"org.gtk.gtk4.Settings.FileChooser"},
                                             {{"org.gtk.gtk4.Settings.FileChooser", "show-hidden", "false"}});
        m_env->writeFile(store + QStringLiteral("/forgetful"));
        expectToggleFailure(QStringLiteral("没有保存"));
    }

private:
    struct Entry {
        const char* schema;
        const char* key;
        const char* value;
    };

    QString standGsettings(const QStringList& schemas, const QList<Entry>& entries) {
        const QString bin = m_env->makeFolder(QStringLiteral("bin"));
        const QString store = m_env->makeFolder(QStringLiteral("gsettings-store"));
        const QString tool = m_env->writeFile(bin + QStringLiteral("/gsettings"), fakeGsettings);
        QFile::setPermissions(tool, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        m_env->writeFile(store + QStringLiteral("/schemas"),
                         (schemas.join(QLatin1Char('\n')) + QLatin1Char('\n')).toUtf8());
        for (const Entry& entry : entries)
            m_env->writeFile(store + QLatin1Char('/') + QLatin1String(entry.schema) + QLatin1Char(' ') +
                                 QLatin1String(entry.key),
                             QByteArray(entry.value) + '\n');
        qputenv("FAKE_GSETTINGS_STORE", store.toUtf8());
        if (m_savedPath.isNull())
            m_savedPath = qgetenv("PATH");
        qputenv("PATH", (bin + QLatin1Char(':')).toUtf8() + m_savedPath);
        return store;
    }

    static QByteArray value(const QString& store, const char* name) {
        return readAll(store + QLatin1Char('/') + QLatin1String(name)).trimmed();
    }

    void expectToggleFailure(const QString& fragment) {
        try {
            DeveloperToolActions::toggleHiddenFiles();
            QFAIL("the toggle must fail");
        } catch (const FinderActionExecutionError& error) {
            QCOMPARE(error.errorCase(), FinderActionExecutionError::Case::commandFailed);
            QVERIFY2(error.errorDescription().contains(fragment), qPrintable(error.errorDescription()));
        }
    }

    std::unique_ptr<TestEnvironment> m_env;
    QString m_folder;
    QByteArray m_savedPath;
};

QTEST_GUILESS_MAIN(TestDeveloperTools)
#include "test_developer_tools.moc"
