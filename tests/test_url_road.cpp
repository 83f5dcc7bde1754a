// The URL road: how a kestro: URL becomes a request (query items, encoding, the duplicate filter, what the
// file manager fills in, feature requests), and what a link from another program may do and what no request
// on any road may carry: the attacks a web page would try, each against the real actions (only the user's
// session — the consent answer, the launched application — is a fake).
#include "catalogue/FeatureSettingsDefaults.h"
#include "catalogue/KestroFeature.h"
#include "intake/FeatureRequestMailer.h"
#include "intake/FinderCurrentContext.h"
#include "intake/FinderSelectionModel.h"
#include "intake/LinkRequestPolicy.h"
#include "platform/DiagnosticLog.h"
#include "platform/KestroPaths.h"
#include "stores/ScheduledDeletionStore.h"
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
#include <sys/stat.h>
#include <unistd.h>

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
            lines.append(line.startsWith(u'[') ? line.mid(line.indexOf(QStringLiteral("] ")) + 2) : line);
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
        const QString pwned = home() + QStringLiteral("/PWNED");
        // The shell with its arguments smuggled in as "paths"; a desktop entry the browser just downloaded.
        const QString downloaded = m_environment->writeFile(
            home() + QStringLiteral("/Downloads/evil.desktop"),
            "[Desktop Entry]\nType=Application\nName=x\nExec=sh -c 'touch ~/PWNED'\n");
        // A link in the applications folder to that entry is no installed application either.
        const QString planted = home() + QStringLiteral("/.local/share/applications/evil.desktop");
        QVERIFY(QDir().mkpath(QFileInfo(planted).path()) && QFile::link(downloaded, planted));
        for (const QString& program : {QStringLiteral("/bin/sh"), downloaded, planted}) {
            QVERIFY(!openLink(kestroActionURL(QStringLiteral("openWithApplicationPath"),
                                              {QStringLiteral("-c"), QStringLiteral("id > ~/PWNED")},
                                              std::nullopt, program)));
            QVERIFY(!openLink(
                kestroActionURL(QStringLiteral("openWithApplicationPath"), {home()}, home(), program)));
        }
        QVERIFY(FakePlatform::workspace().launches.isEmpty());
        QVERIFY(FakePlatform::prompts().consentRequests.isEmpty()); // refused without even asking
        QVERIFY(!QFile::exists(pwned));
        QCOMPARE(m_environment->logText().count(QStringLiteral(
                     "link request refused: action=openWithApplicationPath reason=not an installed "
                     "application")),
                 6);
    }

    void anInstalledApplicationStillNeedsConsent() {
        const QString entry = m_environment->writeFile(
            home() + QStringLiteral("/.local/share/applications/org.example.Viewer.desktop"),
            "[Desktop Entry]\nType=Application\nName=Viewer\nExec=true %F\n");
        const QString document = m_environment->writeFile(home() + QStringLiteral("/report.pdf"), "%PDF");

        QVERIFY(!openLink(kestroActionURL(QStringLiteral("openWithApplicationPath"), {document}, std::nullopt,
                                          QStringLiteral("org.example.Viewer.desktop"))));
        QCOMPARE(FakePlatform::prompts().consentRequests.size(), 1);
        const ConsentRequest asked = FakePlatform::prompts().consentRequests.constFirst();
        QCOMPARE(asked.actionID, QStringLiteral("openWithApplicationPath"));
        QCOMPARE(asked.items, QStringList({document}));
        QCOMPARE(asked.destination, std::optional<QString>(entry));
        QVERIFY(FakePlatform::workspace().launches.isEmpty());

        FakePlatform::prompts().consentAnswers = {true};
        QVERIFY(openLink(
            kestroActionURL(QStringLiteral("openWithApplicationPath"), {document}, std::nullopt, entry)));
        QCOMPARE(FakePlatform::workspace().launches.size(), 1);
        QCOMPARE(FakePlatform::workspace().launches.constFirst().first, entry);
        QCOMPARE(FakePlatform::workspace().launches.constFirst().second, QStringList({document}));
    }

    void theUserSeesEveryItemBeforeAnythingHappens() {
        const QString shared = m_environment->makeFolder(QStringLiteral("shared"));
        const QString bait = m_environment->writeFile(shared + QStringLiteral("/photo.jpg"), "jpg");
        const QString notes = m_environment->writeFile(home() + QStringLiteral("/notes/list.txt"), "KEY");
        const QString documents = m_environment->makeFolder(QStringLiteral("home/Documents"));
        const QStringList items{bait, QFileInfo(notes).path(), documents};

        QVERIFY(!openLink(kestroActionURL(QStringLiteral("compressToZIP"), items, shared)));
        QVERIFY(!openLink(kestroActionURL(QStringLiteral("moveFilesToFolder"), items, std::nullopt, shared)));
        QVERIFY(!openLink(kestroActionURL(QStringLiteral("scheduleDelete1Hour"), items)));
        QVERIFY(!openLink(kestroActionURL(QStringLiteral("renameUppercase"), {QFileInfo(notes).path()})));

        const QList<ConsentRequest> asked = FakePlatform::prompts().consentRequests;
        QCOMPARE(asked.size(), 4);
        QCOMPARE(asked.at(0).items, items);
        QCOMPARE(asked.at(0).actionTitle, QStringLiteral("压缩为 ZIP"));
        QCOMPARE(asked.at(1).destination, std::optional<QString>(shared));
        QCOMPARE(asked.at(2).items, items);
        // Refused, so nothing at all changed.
        QCOMPARE(namesIn(shared), QStringList({QStringLiteral("photo.jpg")}));
        QCOMPARE(readAll(notes), QByteArray("KEY"));
        QVERIFY(QFileInfo(documents).isDir());
        QVERIFY(ScheduledDeletionStore::items().isEmpty());
        QCOMPARE(m_environment->logText().count(QStringLiteral("reason=not confirmed")), 4);
    }

    void switchedOffAndNeverAllowedActionsAreRefusedWithoutAQuestion() {
        const QString file = m_environment->writeFile(home() + QStringLiteral("/a.txt"), "a");
        m_settings.enabledChildIDs.remove(QStringLiteral("copySHA256"));
        m_settings.enabledFeatureIDs.remove(QStringLiteral("batchRename"));
        FakePlatform::prompts().consentAnswers = {true, true, true, true, true, true};
        for (const QString& actionID :
             {QStringLiteral("copySHA256"), QStringLiteral("renameLowercase"), QStringLiteral("runScript__X"),
              QStringLiteral("runShortcut__X"), QStringLiteral("finderViewPreset__X"),
              QStringLiteral("toggleHiddenFiles"), QStringLiteral("finderSortName")})
            QVERIFY2(!openLink(kestroActionURL(actionID, {file}, home())), qPrintable(actionID));
        QVERIFY(FakePlatform::prompts().consentRequests.isEmpty());
        QVERIFY(FakePlatform::scripting().scriptsRun.isEmpty());
        QCOMPARE(FakePlatform::clipboard().writes, 0);
        const QString log = m_environment->logText();
        QCOMPARE(log.count(QStringLiteral("reason=action switched off")), 2);
        QCOMPARE(log.count(QStringLiteral("reason=never taken from a link")), 5);

        // The user's own command line may still run the switched-off action.
        QVERIFY(m_model->handleIncomingURL(kestroActionURL(QStringLiteral("copySHA256"), {file}, home())));
        QCOMPARE(FakePlatform::clipboard().writes, 1);
    }

    void harmlessRequestsRunAtOnce() {
        const QString folder = m_environment->makeFolder(QStringLiteral("home/Notes"));
        QVERIFY(openLink(kestroActionURL(QStringLiteral("createTextFile"), {}, folder)));
        QVERIFY(openLink(kestroActionURL(QStringLiteral("createFolder"), {}, folder)));
        const QString downloads = m_environment->makeFolder(QStringLiteral("home/Downloads"));
        QVERIFY(openLink(kestroActionURL(QStringLiteral("quickOpenDownloads"), {})));
        QCOMPARE(namesIn(folder),
                 QStringList({QStringLiteral("Untitled Folder"), QStringLiteral("Untitled.txt")}));
        QCOMPARE(FakePlatform::workspace().openedUrls, QList<QUrl>({QUrl::fromLocalFile(downloads)}));
        QVERIFY(FakePlatform::prompts().consentRequests.isEmpty());

        // A quick-open item pointed elsewhere by the link is no longer a standard folder.
        QVERIFY(!openLink(kestroActionURL(QStringLiteral("quickOpenDownloads"), {}, std::nullopt, folder)));
        QCOMPARE(FakePlatform::prompts().consentRequests.size(), 1);
        QCOMPARE(FakePlatform::workspace().openedUrls.size(), 1);
    }

    void aNewFileInSomeoneElsesFolderNeedsConsent() {
        // A folder of another account: when the tests run as root, make one; otherwise the root folder is.
        QString foreign = QStringLiteral("/");
        if (::getuid() == 0) {
            foreign = m_environment->makeFolder(QStringLiteral("foreign"));
            QCOMPARE(::chown(QFile::encodeName(foreign).constData(), 65534, 65534), 0);
        }
        const QStringList before = namesIn(foreign);
        QVERIFY(!openLink(kestroActionURL(QStringLiteral("createTextFile"), {}, foreign)));
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
        const QString control = QStringLiteral("control, bidi or zero-width characters");
        const QString protectedFolder = QStringLiteral("reaches a protected folder");
        const QString hiddenInHome = QStringLiteral("would create a hidden item in the home folder");
        const QStringList json{QStringLiteral("~/Downloads/request.json")};
        // The dialog once showed only the start of this; the ".." run led into the queue folder.
        QTest::newRow("slashes then dots into the queue")
            << "copyFilesToFolder" << json << QString()
            << "~/Downloads" + QString(300, QLatin1Char('/')) + "../../kestro-tmp/kestro-action-queue"
            << protectedFolder;
        QTest::newRow("through a link into the extension folder")
            << "moveFilesToFolder" << json << QString() << "~/Downloads/photos" << protectedFolder;
        QTest::newRow("applications folder") << "copyFilesToFolder" << QStringList{"~/Downloads/x.desktop"}
                                             << QString() << "~/.local/share/applications" << protectedFolder;
        QTest::newRow("autostart") << "copyFilesToFolder" << json << QString() << "~/.config/autostart"
                                   << protectedFolder;
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
        QTest::newRow("zero width") << "copyFullPath" << QStringList{"~/Downloads/a\u200Bb"} << QString()
                                    << QString() << control;
        QTest::newRow("C1 control") << "copyFullPath" << QStringList{"~/Downloads/a\u009Bb"} << QString()
                                    << QString() << control;
        QTest::newRow("newline") << "copyFullPath" << QStringList{"~/Downloads/a\nb"} << QString()
                                 << QString() << control;
        QTest::newRow("escape in a target")
            << "createTextFile" << QStringList{} << "~/Downloads/\x1b[2J" << QString() << control;
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
            return text.startsWith(QLatin1Char('~')) ? home() + text.mid(1) : text;
        };
        for (QString& item : items)
            item = *expanded(item);
        const QString downloads = m_environment->makeFolder(home() + QStringLiteral("/Downloads"));
        for (const char* name : {"request.json", ".bashrc", "x.desktop"})
            m_environment->writeFile(downloads + QLatin1Char('/') + QLatin1String(name), "{}");
        m_environment->writeFile(home() + QStringLiteral("/.ssh/id_ed25519"), "KEY");
        m_environment->writeFile(home() + QStringLiteral("/a.zip"), "PK");
        for (const char* folder :
             {"/.local/share/applications", "/.config/autostart", "/.local/share/kestro/extension"})
            m_environment->makeFolder(home() + QLatin1String(folder));
        m_environment->makeFolder(m_environment->kestroTmp() + QStringLiteral("/kestro-action-queue"));
        QVERIFY(QFile::link(home() + QStringLiteral("/.local/share/kestro/extension"),
                            downloads + QStringLiteral("/photos")));
        const QStringList before = namesIn(home()) + namesIn(downloads);

        FakePlatform::prompts().consentAnswers = {true};
        QVERIFY(!openLink(kestroActionURL(actionID, items, expanded(target), expanded(destination))));
        QVERIFY(FakePlatform::prompts().consentRequests.isEmpty());
        QCOMPARE(namesIn(home()) + namesIn(downloads), before);
        QCOMPARE(FakePlatform::clipboard().writes, 0);
        const QString log = m_environment->logText();
        QVERIFY2(
            log.contains(QStringLiteral("link request refused: action=%1 reason=%2").arg(actionID, reason)),
            qPrintable(log));
        // The log reads as it is: no character in it reorders or hides text, one line per entry.
        QVERIFY(std::none_of(log.cbegin(), log.cend(), [](QChar c) {
            return c != QLatin1Char('\n') && DiagnosticLog::isHiddenOrControl(c.unicode());
        }));
        // The user hears of it: a refusal is never only a log line.
        QTRY_COMPARE(FakePlatform::desktopNotifications().shown.size(), 1);

        // The refusal took no slot of the duplicate filter: the user's own identical request is taken at
        // once (and succeeds or fails on its own).
        const QString url = kestroActionURL(actionID, items, expanded(target), expanded(destination));
        m_model->handleIncomingURL(url, RequestOrigin::user);
        QCOMPARE(m_environment->logText().count(QStringLiteral(" url=")), 2);
    }

    void theDialogAndTheActionUseTheResolvedPaths() {
        // A sibling whose name merely begins like a protected folder's is not protected.
        const QString sibling =
            m_environment->makeFolder(KestroPaths::sharedQueueDirectory() + QStringLiteral(" 2"));
        const QString real = m_environment->makeFolder(QStringLiteral("home/real"));
        const QString file = m_environment->writeFile(real + QStringLiteral("/a.txt"), "a");
        QVERIFY(QFile::link(real, home() + QStringLiteral("/shortcut")));
        FakePlatform::prompts().consentAnswers = {true};
        QVERIFY(openLink(kestroActionURL(QStringLiteral("copyFilesToFolder"),
                                         {home() + QStringLiteral("/shortcut/../real/./a.txt")}, std::nullopt,
                                         sibling + QStringLiteral("/.//"))));
        QCOMPARE(FakePlatform::prompts().consentRequests.size(), 1);
        QCOMPARE(FakePlatform::prompts().consentRequests.constFirst().items, QStringList{file});
        QCOMPARE(FakePlatform::prompts().consentRequests.constFirst().destination, std::optional(sibling));
        QCOMPARE(namesIn(sibling), QStringList{QStringLiteral("a.txt")});
    }

    void oneQuestionAtATime() {
        // While the user looks at one question, a page opening links in a loop gets no second dialog.
        const QString file = m_environment->writeFile(home() + QStringLiteral("/a.txt"), "a");
        bool nestedResult = true;
        FakePlatform::prompts().whileDialogOpen = [&] {
            nestedResult = openLink(kestroActionURL(QStringLiteral("copyMD5"), {file}));
        };
        QVERIFY(!openLink(kestroActionURL(QStringLiteral("copySHA256"), {file})));
        QVERIFY(!nestedResult);
        QCOMPARE(FakePlatform::prompts().consentRequests.size(), 1);
        QVERIFY(m_environment->logText().contains(
            QStringLiteral("action=copyMD5 reason=another request is waiting for an answer")));

        // The feature-request dialog counts too, in both directions.
        FakePlatform::prompts().whileDialogOpen = [&] {
            nestedResult = openLink(QStringLiteral("kestro://feature-request")) ||
                           openLink(kestroActionURL(QStringLiteral("copyMD5"), {file}));
        };
        QVERIFY(openLink(QStringLiteral("kestro://feature-request")));
        QVERIFY(!nestedResult);
        QCOMPARE(FakePlatform::prompts().asked.count(QStringLiteral("feature-request")), 1);
        QCOMPARE(FakePlatform::prompts().consentRequests.size(), 1);
    }

    void queryItemsBecomeTheRequest() {
        const QString url = QStringLiteral(
            "kestro://finder-action?path=/b%20c/2.txt&actionID=completed&target=/first&path=/a/%E6%96%87.txt"
            "&target=/second&path=&path=/line%0Abreak&destinationPath=/dest%20ination&destination=/ignored"
            "&action=%E5%A4%8D%E5%88%B6&unknown=x&presetID=p1");
        QVERIFY(handle(url));
        const QStringList expected{QStringLiteral("/b c/2.txt"), QStringLiteral("/a/文.txt"),
                                   QStringLiteral("/line\nbreak")};
        QCOMPARE(m_model->selectedFiles(), expected);
        QCOMPARE(m_model->lastActionTitle(), QStringLiteral("复制"));
        QVERIFY(FakePlatform::scripting().scriptsRun.isEmpty());
        const QStringList lines = logLines();
        // A line break in a path is escaped: one request is one line, and it cannot forge another.
        QCOMPARE(lines.size(), 2);
        QVERIFY(
            lines.at(0).startsWith(QStringLiteral("action=completed passed=3 selected=[\"/b c/2.txt\", "
                                                  "\"/a/文.txt\", \"/line\\nbreak\"] target=/first "
                                                  "destination=/dest ination url=kestro://finder-action?")));
        QCOMPARE(lines.at(1), QStringLiteral("action succeeded: completed"));
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
              "KESTRO://finder-action?actionID=createFolder&target=/tmp",
              "kestro://other-host?actionID=createFolder&target=/tmp", "kestro:finder-action",
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
            QCOMPARE(logLines().last(), QStringLiteral("action succeeded: completed"));
        QVERIFY(FakePlatform::prompts().asked.isEmpty() && !m_model->lastActionTitle());
    }

    void theSameUrlWithinASecondRunsOnce() {
        const QString url = QStringLiteral("kestro://finder-action?actionID=completed&path=/p&target=/t");
        QVERIFY(handle(url));
        m_now = m_now.addMSecs(500);
        QVERIFY(!handle(url));
        QVERIFY(handle(QStringLiteral("kestro://finder-action?actionID=completed&path=/q&target=/t")));
        QVERIFY(handle(url)); // a different URL came between
        m_now = m_now.addMSecs(1500);
        QVERIFY(handle(url));
        m_now = m_now.addMSecs(-5000); // the clock went back
        QVERIFY(!handle(url));
        QCOMPARE(m_environment->logText().count(QStringLiteral("action succeeded: completed")), 4);
    }

    void theFileManagerFillsInWhatIsMissing() {
        FakePlatform::scripting().selection = {QStringLiteral("/finder/one"), QStringLiteral("/finder/dir/")};
        FakePlatform::scripting().frontWindow = QStringLiteral("/finder/window/");

        QVERIFY(handle(QStringLiteral("kestro://finder-action?actionID=completed&path=/passed")));
        QCOMPARE(m_model->selectedFiles(), QStringList{QStringLiteral("/passed")});
        QVERIFY(logLines().at(0).contains(QStringLiteral(" target=/finder/window/ ")));
        QCOMPARE(FakePlatform::scripting().scriptsRun,
                 QStringList(
                     {FinderCurrentContext::selectionScript, FinderCurrentContext::frontWindowTargetScript}));

        QVERIFY(handle(QStringLiteral("kestro://finder-action?actionID=completed&target=/mine")));
        QCOMPARE(m_model->selectedFiles(),
                 QStringList({QStringLiteral("/finder/one"), QStringLiteral("/finder/dir/")}));
        QVERIFY(logLines().at(2).contains(QStringLiteral(" passed=0 ")));
        QVERIFY(logLines().at(2).contains(QStringLiteral(" target=/mine ")));
    }

    void failuresAreLoggedNotShown() {
        QVERIFY(!handle(QStringLiteral("kestro://finder-action?actionID=createFolder")));
        const QStringList lines = logLines();
        QCOMPARE(lines.at(1),
                 QStringLiteral("action=createFolder error=没有找到可以执行操作的文件管理器目录。"));
        QCOMPARE(lines.at(2),
                 QStringLiteral("suppressed error alert: 没有找到可以执行操作的文件管理器目录。"));
        QCOMPARE(m_model->lastErrorDescription(), QStringLiteral("没有找到可以执行操作的文件管理器目录。"));
    }

    void featureRequestsOpenAPrefilledMail() {
        FakePlatform::prompts().featureRequestAnswers = {QStringLiteral("批量加水印\n& more + 100%")};
        QVERIFY(handle(QStringLiteral("kestro://feature-request")));
        QVERIFY(!handle(QStringLiteral("kestro://feature-request"))); // the duplicate filter applies here too
        QCOMPARE(FakePlatform::workspace().openedUrls.size(), 1);
        const QUrl mail = FakePlatform::workspace().openedUrls.first();
        QCOMPARE(mail.scheme(), QStringLiteral("mailto"));
        QCOMPARE(mail.path(), FeatureRequestMailer::supportAddress);
        const QUrlQuery query(mail);
        QCOMPARE(query.queryItemValue(QStringLiteral("subject"), QUrl::FullyDecoded),
                 QStringLiteral("Kestro 新功能请求"));
        const QString body = query.queryItemValue(QStringLiteral("body"), QUrl::FullyDecoded);
        QVERIFY(body.startsWith(QStringLiteral(
            "我想请求 Kestro 增加这个功能：\n\n批量加水印\n& more + 100%\n\n---\nApp: Kestro ")));
        QCOMPARE(body, FeatureRequestMailer::mailBody(QStringLiteral("批量加水印\n& more + 100%")));

        m_now = m_now.addSecs(2);
        QVERIFY(handle(QStringLiteral("kestro://feature-request"))); // cancelled this time
        QCOMPARE(FakePlatform::workspace().openedUrls.size(), 1);
        QCOMPARE(FakePlatform::prompts().asked.size(), 2);

        // No mail program: the wish goes to the clipboard and the log says so (as the notice does).
        m_now = m_now.addSecs(2);
        FakePlatform::prompts().featureRequestAnswers = {QStringLiteral("水印")};
        FakePlatform::workspace().openUrlSucceeds = false;
        QVERIFY(handle(QStringLiteral("kestro://feature-request")));
        QCOMPARE(FakePlatform::clipboard().contents, FeatureRequestMailer::mailBody(QStringLiteral("水印")));
        QVERIFY(logLines().last().startsWith(
            QStringLiteral("suppressed error alert: 没有找到邮件程序。请求的文字已复制到剪贴板")));
    }
};

QTEST_GUILESS_MAIN(TestUrlRoad)
#include "test_url_road.moc"
