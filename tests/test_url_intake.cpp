#include "intake/FeatureRequestMailer.h"
#include "intake/FinderCurrentContext.h"
#include "intake/FinderSelectionModel.h"
#include "support/FakePlatform.h"
#include "support/TestEnvironment.h"

#include <QtTest>
#include <QUrlQuery>

class UrlIntakeTest : public QObject {
    Q_OBJECT

    std::unique_ptr<TestEnvironment> m_environment;
    QDateTime m_now;
    std::unique_ptr<FinderSelectionModel> m_model;

    QStringList logLines() const {
        QStringList lines;
        for (const QString& line : m_environment->logText().split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            lines.append(line.startsWith(QLatin1Char('[')) ? line.mid(line.indexOf(QStringLiteral("] ")) + 2)
                                                           : line);
        return lines;
    }

    bool handle(const QString& url) { return m_model->handleIncomingURL(url); }

private slots:
    void init() {
        m_environment = std::make_unique<TestEnvironment>();
        m_now = QDateTime(QDate(2026, 3, 1), QTime(12, 0), QTimeZone::utc());
        m_model = std::make_unique<FinderSelectionModel>(nullptr, [this] { return m_now; });
    }
    void cleanup() {
        m_model.reset();
        m_environment.reset();
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

QTEST_GUILESS_MAIN(UrlIntakeTest)
#include "test_url_intake.moc"
