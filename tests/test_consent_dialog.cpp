// The question a link from another program raises, opened for real through the URL road and answered with
// the mouse and keyboard the way a user would.
#include "app/ConsentDialog.h"
#include "app/WidgetPrompts.h"
#include "catalogue/FeatureSettingsDefaults.h"
#include "catalogue/KestroFeature.h"
#include "intake/FinderSelectionModel.h"
#include "platform/HeadlessPrompts.h"
#include "platform/Platform.h"
#include "support/KestroProcess.h"
#include "support/ModalAnswer.h"
#include "support/QuietPreferences.h"
#include "support/TestEnvironment.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QtTest>
#include <QUrl>
#include <QUrlQuery>

#include <functional>

using namespace std::chrono_literals;

namespace {

// Runs what the user does once the dialog is up, from the event loop the dialog itself runs.
ModalAnswer whenDialogShows(std::function<void(ConsentDialog&)> user) {
    return ModalAnswer([user](QWidget* dialog) { user(*qobject_cast<ConsentDialog*>(dialog)); });
}

QPushButton* buttonOf(ConsentDialog& dialog, const char* name) {
    return dialog.findChild<QPushButton*>(QLatin1String(name));
}

} // namespace

class TestConsentDialog : public QObject {
    Q_OBJECT

    std::unique_ptr<TestEnvironment> m_environment;
    std::unique_ptr<FinderSelectionModel> m_model;
    QString m_source;
    QString m_destination;

    QString request() const {
        return kestroActionURL(QStringLiteral("copyFilesToFolder"), {m_source}, std::nullopt, m_destination);
    }
    bool copied() const { return QFile::exists(m_destination + QStringLiteral("/secret.txt")); }

private slots:
    void init() {
        m_environment = std::make_unique<TestEnvironment>();
        QVERIFY(saveQuietPreferences());
        m_source = m_environment->writeFile(QStringLiteral("home/secret.txt"), "s");
        m_destination = m_environment->makeFolder(QStringLiteral("shared"));
        Platform::setPrompts(std::make_shared<WidgetPrompts>(ConsentTiming{300ms, 5s}));
        m_model = std::make_unique<FinderSelectionModel>();
        m_model->setSettingsSource([] {
            FeatureSettings settings = FeatureSettingsDefaults::settings();
            for (const KestroFeature& feature : KestroFeature::allCases())
                settings.enabledFeatureIDs.insert(feature.id());
            return settings;
        });
    }
    void cleanup() {
        m_model.reset();
        m_environment.reset();
    }

    void showsEverythingAndConfirmsOnlyAfterTheDelay() {
        // Forty items: all of them are listed, the list scrolls.
        QStringList items{m_source};
        for (int index = 1; index < 40; ++index)
            items.append(m_environment->writeFile(QStringLiteral("home/item %1.txt").arg(index), "x"));
        bool sawEverything = false;
        const ModalAnswer answer0 = whenDialogShows([&](ConsentDialog& dialog) {
            auto* confirm = buttonOf(dialog, "confirmButton");
            auto* list = dialog.findChild<QListWidget*>(QStringLiteral("itemList"));
            auto* destination = dialog.findChild<QListWidget*>(QStringLiteral("destinationList"));
            QVERIFY(confirm && list && destination);
            QVERIFY(!confirm->isEnabled());
            QVERIFY(buttonOf(dialog, "cancelButton")->isDefault());
            QCOMPARE(list->count(), 40);
            QCOMPARE(list->item(39)->text(), items.at(39));
            // The destination as the file system resolves it, not the link's text.
            QCOMPARE(destination->item(0)->text(), QFileInfo(m_destination).canonicalFilePath());
            QVERIFY(Modal::labelTexts(&dialog).contains(QStringLiteral("另一个程序请求 Kestro 执行此操作")));
            QVERIFY(dialog.findChild<QLabel*>(QStringLiteral("actionLabel"))
                        ->text()
                        .contains(QStringLiteral("复制到文件夹")));
            // A click on the sleeping button does nothing.
            Modal::click(confirm);
            QVERIFY(dialog.isVisible());
            sawEverything = true;
            QTRY_VERIFY_WITH_TIMEOUT(confirm->isEnabled(), 3000);
            Modal::click(confirm);
        });
        QVERIFY(m_model->handleIncomingURL(
            kestroActionURL(QStringLiteral("copyFilesToFolder"), items, std::nullopt,
                            m_destination + QString(300, QLatin1Char('/')) + QStringLiteral("../shared/.")),
            RequestOrigin::link));
        QVERIFY(sawEverything);
        QVERIFY(copied());
        QVERIFY(m_environment->logText().contains(
            QStringLiteral("link request confirmed: action=copyFilesToFolder")));
    }

    void enterAndCancelRefuse() {
        // Return goes to the default button, which is Cancel, even once confirming is possible.
        const ModalAnswer answer1 = whenDialogShows([](ConsentDialog& dialog) {
            QTest::qWait(400);
            QTest::keyClick(&dialog, Qt::Key_Return);
        });
        QVERIFY(!m_model->handleIncomingURL(request(), RequestOrigin::link));
        // A refused request leaves the duplicate filter alone: the same link at once is asked again.
        const ModalAnswer answer2 =
            whenDialogShows([](ConsentDialog& dialog) { Modal::click(buttonOf(dialog, "cancelButton")); });
        QVERIFY(!m_model->handleIncomingURL(request(), RequestOrigin::link));
        QVERIFY(!copied());
        QCOMPARE(m_environment->logText().count(QStringLiteral("reason=not confirmed")), 2);
    }

    void theConfirmButtonSleepsAgainWhenTheDialogComesBack() {
        QWidget other;
        other.show();
        const ModalAnswer answer3 = whenDialogShows([&](ConsentDialog& dialog) {
            auto* confirm = buttonOf(dialog, "confirmButton");
            QTRY_VERIFY_WITH_TIMEOUT(confirm->isEnabled(), 3000);
            // The user switches away and back: clicks aimed at the other window must not confirm.
            other.activateWindow();
            QTRY_VERIFY(!dialog.isActiveWindow());
            dialog.activateWindow();
            QTRY_VERIFY(dialog.isActiveWindow());
            QVERIFY(!confirm->isEnabled());
            Modal::click(confirm);
            QVERIFY(dialog.isVisible());
            QTRY_VERIFY_WITH_TIMEOUT(confirm->isEnabled(), 3000);
            Modal::click(confirm);
        });
        QVERIFY(m_model->handleIncomingURL(request(), RequestOrigin::link));
        QVERIFY(copied());
    }

    void noAnswerRefusesByItself() {
        Platform::setPrompts(std::make_shared<WidgetPrompts>(ConsentTiming{100ms, 600ms}));
        QElapsedTimer clock;
        clock.start();
        QVERIFY(!m_model->handleIncomingURL(request(), RequestOrigin::link));
        QVERIFY(clock.elapsed() >= 500);
        QVERIFY(!QApplication::activeModalWidget());
        QVERIFY(!copied());
    }

    void withNoDisplayNothingIsAskedAndNothingRuns() {
        Platform::setPrompts(std::make_shared<HeadlessPrompts>());
        QVERIFY(!m_model->handleIncomingURL(request(), RequestOrigin::link));
        QVERIFY(!copied());
        QVERIFY(m_environment->logText().contains(
            QStringLiteral("link request refused: action=copyFilesToFolder reason=not confirmed")));
    }

    void theUsersOwnRequestAsksNothing() {
        QVERIFY(m_model->handleIncomingURL(request(), RequestOrigin::user));
        QVERIFY(copied());
        QVERIFY(!m_environment->logText().contains(QStringLiteral("link request")));
    }

    void textsFromTheLinkAreNeverMarkup() {
        const QString folder = m_environment->makeFolder(QStringLiteral("<b>bold</b> <a href='x'>link</a>"));
        ConsentDialog dialog(
            {QStringLiteral("拷贝到"), QStringLiteral("copyFilesToFolder"), {folder}, folder});
        for (QLabel* label : dialog.findChildren<QLabel*>())
            QCOMPARE(label->textFormat(), Qt::PlainText);
    }
};

QTEST_MAIN(TestConsentDialog)
#include "test_consent_dialog.moc"
