// The URL road: how a kestro: URL becomes a request (query items, encoding, the duplicate filter, what the
// file manager fills in, feature requests), and what a link from another program may do and what no request
// on any road may carry: the attacks a web page would try, each against the real actions (only the user's
// session — the consent answer, the launched application — is a fake).
#include "catalogue/FeatureSettingsDefaults.h"
#include "catalogue/KestroFeature.h"
#include "intake/FeatureRequestMailer.h"
#include "intake/FinderSelectionModel.h"
#include "intake/KestroActionURL.h"
#include "platform/DiagnosticLog.h"
#include "platform/KestroPaths.h"
#include "support/FakePlatform.h"
#include "support/FolderListing.h"
#include "support/KestroProcess.h"
#include "support/QuietPreferences.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QtTest>
#include <QUrl>
#include <QUrlQuery>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

class TestUrlRoad : public QObject {
    Q_OBJECT

    std::unique_ptr<TestEnvironment> m_environment;
    std::unique_ptr<FinderSelectionModel> m_model;
    QDateTime m_now;
    FeatureSettings m_settings;

    // Each link a moment after the last, past the duplicate filter's second.
    bool openLink(const QString& url) {
        m_now = m_now.addSecs(2);
        return m_model->handleIncomingURL(url, RequestOrigin::link);
    }
    bool handle(const QString& url) { return m_model->handleIncomingURL(url); }
    QStringList logLines() const {
        QStringList lines;
        for (const QString& line : m_environment->logText().split(u'\n', Qt::SkipEmptyParts))
            lines.append(line.startsWith(u'[') ? line.mid(line.indexOf(u"] "_qs) + 2) : line);
        return lines;
    }
    QString home() const { return m_environment->home(); }

private slots:
    void init() {
        m_environment = std::make_unique<TestEnvironment>();
        QVERIFY(saveQuietPreferences(QuietReveal::actionResultsAndCreatedItems));
        // Everything switched on, so that only what a test switches off is off.
        m_settings = FeatureSettingsDefaults::settings();
        for (const KestroFeature& feature : KestroFeature::allCases()) {
            m_settings.enabledFeatureIDs.insert(feature.id());
            for (const QString& child : feature.childIDs())
                m_settings.enabledChildIDs.insert(child);
        }
        m_now = QDateTime(QDate(2026, 3, 1), QTime(12, 0), QTimeZone::utc());
        m_model = std::make_unique<FinderSelectionModel>(nullptr, [this] { return m_now; });
        m_model->setSettingsSource([this] { return m_settings; });
    }
    void cleanup() {
        m_model.reset();
        m_environment.reset();
    }

    void aLinkNeverRunsAProgramItNames() {
        const QString pwned = home() + u"/PWNED"_qs;
        // The shell with its arguments smuggled in as "paths"; a desktop entry the browser just downloaded.
        const QString downloaded = m_environment->writeFile(
            home() + u"/Downloads/evil.desktop"_qs,
            "[Desktop Entry]\nType=Application\nName=x\nExec=sh -c 'touch ~/PWNED'\n");
        // A link in the applications folder to that entry is no installed application either.
        const QString planted = home() + u"/.local/share/applications/evil.desktop"_qs;
        QVERIFY(QDir().mkpath(QFileInfo(planted).path()) && QFile::link(downloaded, planted));
        for (const QString& program : {u"/bin/sh"_qs, downloaded, planted}) {
            QVERIFY(!openLink(kestroActionURL(u"openWithApplicationPath"_qs, {u"-c"_qs, u"id > ~/PWNED"_qs},
                                              std::nullopt, program)));
            QVERIFY(!openLink(kestroActionURL(u"openWithApplicationPath"_qs, {home()}, home(), program)));
        }
        QVERIFY(FakePlatform::workspace().launches.isEmpty());
        QVERIFY(FakePlatform::prompts().consentRequests.isEmpty()); // refused without even asking
        QVERIFY(!QFile::exists(pwned));
        QCOMPARE(m_environment->logText().count(u"reason=not an installed application"_qs), 6);
    }

    void anInstalledApplicationStillNeedsConsent() {
        const QString entry =
            m_environment->writeFile(home() + u"/.local/share/applications/org.example.Viewer.desktop"_qs,
                                     "[Desktop Entry]\nType=Application\nName=Viewer\nExec=true %F\n");
        const QString document = m_environment->writeFile(home() + u"/report.pdf"_qs, "%PDF");

        QVERIFY(!openLink(kestroActionURL(u"openWithApplicationPath"_qs, {document}, std::nullopt,
                                          u"org.example.Viewer.desktop"_qs)));
        QCOMPARE(FakePlatform::prompts().consentRequests.size(), 1);
        QCOMPARE(FakePlatform::prompts().consentRequests.constFirst().destination, std::optional(entry));
        QVERIFY(FakePlatform::workspace().launches.isEmpty());

        FakePlatform::prompts().consentAnswers = {true};
        QVERIFY(openLink(kestroActionURL(u"openWithApplicationPath"_qs, {document}, std::nullopt, entry)));
        QCOMPARE(FakePlatform::workspace().launches,
                 (QList<std::pair<QString, QStringList>>{{entry, {document}}}));
    }

    void switchedOffAndNeverAllowedActionsAreRefusedWithoutAQuestion() {
        const QString file = m_environment->writeFile(home() + u"/a.txt"_qs, "a");
        m_settings.enabledChildIDs.remove(u"copySHA256"_qs);
        m_settings.enabledFeatureIDs.remove(u"batchRename"_qs);
        FakePlatform::prompts().consentAnswers = {true, true, true, true};
        for (const QString& actionID :
             {u"copySHA256"_qs, u"renameLowercase"_qs, u"runScript__X"_qs, u"toggleHiddenFiles"_qs})
            QVERIFY2(!openLink(kestroActionURL(actionID, {file}, home())), qPrintable(actionID));
        QVERIFY(FakePlatform::prompts().consentRequests.isEmpty());
        QVERIFY(FakePlatform::scripting().scriptsRun.isEmpty());
        QCOMPARE(FakePlatform::clipboard().writes, 0);
        const QString log = m_environment->logText();
        QCOMPARE(log.count(u"reason=action switched off"_qs), 2);
        QCOMPARE(log.count(u"reason=never taken from a link"_qs), 2);

        // The user's own command line may still run the switched-off action.
        QVERIFY(m_model->handleIncomingURL(kestroActionURL(u"copySHA256"_qs, {file}, home())));
        QCOMPARE(FakePlatform::clipboard().writes, 1);
    }

    void harmlessRequestsRunAtOnce() {
        const QString folder = m_environment->makeFolder(u"home/Notes"_qs);
        QVERIFY(openLink(kestroActionURL(u"createTextFile"_qs, {}, folder)));
        QVERIFY(openLink(kestroActionURL(u"createFolder"_qs, {}, folder)));
        const QString downloads = m_environment->makeFolder(u"home/Downloads"_qs);
        QVERIFY(openLink(kestroActionURL(u"quickOpenDownloads"_qs, {})));
        QCOMPARE(namesIn(folder), QStringList({u"Untitled Folder"_qs, u"Untitled.txt"_qs}));
        QCOMPARE(FakePlatform::workspace().openedUrls, QList<QUrl>({QUrl::fromLocalFile(downloads)}));
        QVERIFY(FakePlatform::prompts().consentRequests.isEmpty());

        // A quick-open item pointed elsewhere by the link is no longer a standard folder.
        QVERIFY(!openLink(kestroActionURL(u"quickOpenDownloads"_qs, {}, std::nullopt, folder)));
        // A new item with no folder named at all is no folder of the user's.
        QVERIFY(!openLink(kestroActionURL(u"createFolder"_qs, {})));
        QCOMPARE(FakePlatform::prompts().consentRequests.size(), 2);
        QCOMPARE(FakePlatform::workspace().openedUrls.size(), 1);
    }

    void aNewFileInSomeoneElsesFolderNeedsConsent() {
        // A folder of another account: when the tests run as root, make one; otherwise the root folder is.
        QString foreign = u"/"_qs;
        if (::getuid() == 0) {
            foreign = m_environment->makeFolder(u"foreign"_qs);
            QCOMPARE(::chown(QFile::encodeName(foreign).constData(), 65534, 65534), 0);
        }
        const QStringList before = namesIn(foreign);
        QVERIFY(!openLink(kestroActionURL(u"createTextFile"_qs, {}, foreign)));
        QCOMPARE(FakePlatform::prompts().consentRequests.size(), 1);
        QCOMPARE(FakePlatform::prompts().consentRequests.constFirst().items, QStringList({foreign}));
        QCOMPARE(namesIn(foreign), before);
    }

    void hostileLinksAreRefusedWithoutAQuestion_data() {
        // "~" stands for the test's home, which lies beside its temporary root "kestro-tmp".
        QTest::addColumn<QString>("actionID");
        QTest::addColumn<QStringList>("items");
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("destination");
        QTest::addColumn<QString>("reason");
        const QString control = u"control, bidi or zero-width characters"_qs;
        const QString protectedFolder = u"reaches a protected folder"_qs;
        const QString hiddenInHome = u"would create a hidden item in the home folder"_qs;
        const QStringList json{u"~/Downloads/request.json"_qs};
        // The dialog once showed only the start of this; the ".." run led into the queue folder.
        QTest::newRow("slashes then dots into the queue")
            << "copyFilesToFolder" << json << QString()
            << "~/Downloads" + QString(300, u'/') + "../../kestro-tmp/kestro-action-queue" << protectedFolder;
        QTest::newRow("through a link into the extension folder")
            << "moveFilesToFolder" << json << QString() << "~/Downloads/photos" << protectedFolder;
        QTest::newRow("a hidden folder of the home")
            << "compressToZIP" << QStringList{"~/.ssh"} << QString() << QString() << "reaches a hidden item";
        QTest::newRow("a hidden file copied into the home")
            << "copyFilesToFolder" << QStringList{"~/Downloads/.bashrc"} << QString() << "~" << hiddenInHome;
        QTest::newRow(".gitignore made in the home")
            << "createGitignoreFile" << QStringList{} << "~" << QString() << hiddenInHome;
        QTest::newRow("unpacked into the home")
            << "extractZIPHere" << QStringList{"~/a.zip"} << QString() << QString() << hiddenInHome;
        QTest::newRow("bidi override") << "copyFullPath" << QStringList{"~/Downloads/report\u202Efdp.hs"}
                                       << QString() << QString() << control;
        QTest::newRow("missing folder")
            << "renameUppercase" << QStringList{"~/gone/x"} << QString() << QString() << "no such folder";
    }
    void hostileLinksAreRefusedWithoutAQuestion() {
        QFETCH(QString, actionID);
        QFETCH(QStringList, items);
        QFETCH(QString, target);
        QFETCH(QString, destination);
        QFETCH(QString, reason);
        const auto expanded = [this](QString text) -> std::optional<QString> {
            if (text.isEmpty())
                return std::nullopt;
            return text.startsWith(u'~') ? home() + text.mid(1) : text;
        };
        for (QString& item : items)
            item = *expanded(item);
        const QString downloads = m_environment->makeFolder(home() + u"/Downloads"_qs);
        for (const char* name : {"request.json", ".bashrc"})
            m_environment->writeFile(downloads + u'/' + QLatin1String(name), "{}");
        m_environment->writeFile(home() + u"/.ssh/id_ed25519"_qs, "KEY");
        m_environment->writeFile(home() + u"/a.zip"_qs, "PK");
        m_environment->makeFolder(home() + u"/.local/share/kestro/extension"_qs);
        m_environment->makeFolder(m_environment->kestroTmp() + u"/kestro-action-queue"_qs);
        QVERIFY(QFile::link(home() + u"/.local/share/kestro/extension"_qs, downloads + u"/photos"_qs));
        const QStringList before = namesIn(home()) + namesIn(downloads);

        FakePlatform::prompts().consentAnswers = {true};
        QVERIFY(!openLink(kestroActionURL(actionID, items, expanded(target), expanded(destination))));
        QVERIFY(FakePlatform::prompts().consentRequests.isEmpty());
        QCOMPARE(namesIn(home()) + namesIn(downloads), before);
        QCOMPARE(FakePlatform::clipboard().writes, 0);
        const QString log = m_environment->logText();
        QVERIFY2(log.contains(u"link request refused: action=%1 reason=%2"_qs.arg(actionID, reason)),
                 qPrintable(log));
        // The log reads as it is: no character in it reorders or hides text, one line per entry.
        QVERIFY(std::none_of(log.cbegin(), log.cend(), [](QChar c) {
            return c != u'\n' && DiagnosticLog::isHiddenOrControl(c.unicode());
        }));
        // The user hears of it: a refusal is never only a log line.
        QTRY_COMPARE(FakePlatform::desktopNotifications().shown.size(), 1);

        // The refusal took no slot of the duplicate filter: the user's own identical request is taken at
        // once (and succeeds or fails on its own).
        const QString url = kestroActionURL(actionID, items, expanded(target), expanded(destination));
        m_model->handleIncomingURL(url, RequestOrigin::user);
        QCOMPARE(m_environment->logText().count(u" url="_qs), 2);
    }

    void theDialogAndTheActionUseTheResolvedPaths() {
        // A sibling whose name merely begins like a protected folder's is not protected.
        const QString sibling = m_environment->makeFolder(KestroPaths::sharedQueueDirectory() + u" 2"_qs);
        const QString real = m_environment->makeFolder(u"home/real"_qs);
        const QString file = m_environment->writeFile(real + u"/a.txt"_qs, "a");
        QVERIFY(QFile::link(real, home() + u"/shortcut"_qs));
        FakePlatform::prompts().consentAnswers = {true};
        QVERIFY(openLink(kestroActionURL(u"copyFilesToFolder"_qs, {home() + u"/shortcut/../real/./a.txt"_qs},
                                         std::nullopt, sibling + u"/.//"_qs)));
        QCOMPARE(FakePlatform::prompts().consentRequests.size(), 1);
        QCOMPARE(FakePlatform::prompts().consentRequests.constFirst().items, QStringList{file});
        QCOMPARE(FakePlatform::prompts().consentRequests.constFirst().destination, std::optional(sibling));
        QCOMPARE(namesIn(sibling), QStringList{u"a.txt"_qs});
    }

    void queryItemsBecomeTheRequest() {
        const QString url = QStringLiteral(
            "kestro://finder-action?path=/b%20c/2.txt&actionID=completed&target=/first&path=/a/%E6%96%87.txt"
            "&target=/second&path=&path=/line%0Abreak&destinationPath=/dest%20ination&destination=/ignored"
            "&action=%E5%A4%8D%E5%88%B6&unknown=x&presetID=p1");
        QVERIFY(handle(url));
        const QStringList expected{u"/b c/2.txt"_qs, u"/a/文.txt"_qs, u"/line\nbreak"_qs};
        QCOMPARE(m_model->selectedFiles(), expected);
        QCOMPARE(m_model->lastActionTitle(), u"复制"_qs);
        QCOMPARE(KestroActionURL::parse(url)->presetID, std::optional(u"p1"_qs));
        QVERIFY(FakePlatform::scripting().scriptsRun.isEmpty());
        const QStringList lines = logLines();
        // A line break in a path is escaped: one request is one line, and it cannot forge another.
        QCOMPARE(lines.size(), 2);
        QVERIFY(
            lines.at(0).startsWith(QStringLiteral("action=completed passed=3 selected=[\"/b c/2.txt\", "
                                                  "\"/a/文.txt\", \"/line\\nbreak\"] target=/first "
                                                  "destination=/dest ination url=kestro://finder-action?")));
        QCOMPARE(lines.at(1), u"action succeeded: completed"_qs);
    }

    void onlyKestroLinksWithSoundEncodingAreTaken_data() {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QStringList>("selection"); // empty: ignored, nothing logged
        QTest::newRow("broken percent-encoding")
            << "kestro://finder-action?%zz%=%%&path=/50%25%20off%G1&target=/t" << QStringList();
        QTest::newRow("sound encoding")
            << "kestro://finder-action?path=/50%25%20off%2B'%22q%22&path=/raw space/文件&target=/t"
            << QStringList({"/50% off+'\"q\"", "/raw space/文件"});
        QTest::newRow("no action: the no-op")
            << "kestro://finder-action?path=/x&target=/y&actionID=" << QStringList{"/x"};
        for (const char* foreign :
             {"https://finder-action?actionID=createFolder&target=/tmp",
              "kestro://other-host?actionID=createFolder&target=/tmp",
              // Found by fuzzing: a port that is no number made an invalid URL that ran.
              "kestro://finder-action:actionI&destination=/t&path=/x&actionID=completed"})
            QTest::newRow(foreign) << foreign << QStringList();
    }
    void onlyKestroLinksWithSoundEncodingAreTaken() {
        QFETCH(QString, url);
        QFETCH(QStringList, selection);
        QCOMPARE(handle(url), !selection.isEmpty());
        QCOMPARE(m_model->selectedFiles(), selection);
        QCOMPARE(m_environment->logText().isEmpty(), selection.isEmpty());
        if (!selection.isEmpty())
            QCOMPARE(logLines().last(), u"action succeeded: completed"_qs);
        QVERIFY(FakePlatform::prompts().asked.isEmpty() && !m_model->lastActionTitle());
    }

    void featureRequestsOpenAPrefilledMail() {
        FakePlatform::prompts().featureRequestAnswers = {u"批量加水印\n& more + 100%"_qs};
        QVERIFY(handle(u"kestro://feature-request"_qs));
        QVERIFY(!handle(u"kestro://feature-request"_qs)); // the duplicate filter applies here too
        QCOMPARE(FakePlatform::workspace().openedUrls.size(), 1);
        const QUrl mail = FakePlatform::workspace().openedUrls.first();
        QCOMPARE(mail.scheme(), u"mailto"_qs);
        const QString body = QUrlQuery(mail).queryItemValue(u"body"_qs, QUrl::FullyDecoded);
        QVERIFY(body.contains(u"\n批量加水印\n& more + 100%\n"_qs) && body.contains(u"\nLinux: "_qs));
        // No mail program: the wish goes to the clipboard and the log says so (as the notice does).
        m_now = m_now.addSecs(2);
        FakePlatform::prompts().featureRequestAnswers = {u"水印"_qs};
        FakePlatform::workspace().openUrlSucceeds = false;
        QVERIFY(handle(u"kestro://feature-request"_qs));
        QCOMPARE(FakePlatform::clipboard().contents, FeatureRequestMailer::mailBody(u"水印"_qs));
        QVERIFY(logLines().last().startsWith(
            u"suppressed error alert: 没有找到邮件程序。请求的文字已复制到剪贴板"_qs));
    }
};

QTEST_GUILESS_MAIN(TestUrlRoad)
#include "test_url_road.moc"
