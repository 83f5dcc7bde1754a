// The progress window and the tray's progress entries, driven with the mouse, and a real pack in a running
// host that the user watches and stops.
#include "app/ActionProgressWindow.h"
#include "app/KestroHost.h"
#include "app/KestroMainWindow.h"
#include "app/MenuBarController.h"
#include "catalogue/FeatureSettingsStore.h"
#include "intake/FailureNotifier.h"
#include "intake/RunningActions.h"
#include "stores/CustomDestinationStore.h"
#include "support/FakePlatform.h"
#include "support/FolderListing.h"
#include "support/KestroProcess.h"
#include "support/ModalAnswer.h"
#include "support/ProgressDrivers.h"
#include "support/QuietPreferences.h"
#include "support/TestEnvironment.h"

#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QProgressBar>
#include <QPushButton>
#include <QSystemTrayIcon>
#include <QTest>

namespace {

QWidget* rowOf(const ActionProgressWindow& window, const QString& title) {
    for (QWidget* row : window.findChildren<QWidget*>(QStringLiteral("actionRow"))) {
        if (row->findChild<QLabel*>(QStringLiteral("titleLabel"))->text() == title)
            return row;
    }
    return nullptr;
}

QString detailOf(QWidget* row) {
    return row->findChild<QLabel*>(QStringLiteral("detailLabel"))->text();
}

void clickCancel(QWidget* row) {
    Modal::click(row->findChild<QPushButton*>(QStringLiteral("cancelButton")));
}

} // namespace

class TestProgressWindow : public QObject {
    Q_OBJECT

private slots:
    void init() { FakePlatform::install(); }

    void rowsFollowTheActionsAndCancelStopsOnlyTheOneClicked() {
        RunningActions board;
        ActionProgressWindow window(board);
        window.present();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QVERIFY(window.findChild<QLabel*>(QStringLiteral("emptyLabel"))->isVisible());

        SteppedAction copying(board, QStringLiteral("复制"), 10);
        SteppedAction hashing(board, QStringLiteral("计算 SHA-256"), 4);
        copying.step(3);
        QTRY_VERIFY(rowOf(window, QStringLiteral("复制")) && rowOf(window, QStringLiteral("计算 SHA-256")));
        QWidget* copyRow = rowOf(window, QStringLiteral("复制"));
        QTRY_COMPARE(copyRow->findChild<QProgressBar*>()->value(), 30);
        QCOMPARE(detailOf(copyRow), QStringLiteral("3 / 10 项 · item 3"));
        QVERIFY(!window.findChild<QLabel*>(QStringLiteral("emptyLabel"))->isVisible());
        // Unknown totals and names with line breaks still make one line.
        ActionProgressState unpacking;
        unpacking.itemsDone = 12;
        unpacking.currentItem = QStringLiteral("docs/read\nme.txt");
        QCOMPARE(ActionProgressWindow::detailText(unpacking), QStringLiteral("12 项 · read\uFFFDme.txt"));
        // Every input read, the result being written to an unknown size: not "100 %".
        ActionProgressState writing;
        writing.itemsDone = writing.itemsTotal = 3;
        writing.bytesDone = 4096;
        QCOMPARE(writing.percent(), -1);

        clickCancel(copyRow);
        QCOMPARE(detailOf(copyRow), QStringLiteral("正在取消……"));
        QVERIFY(!copyRow->findChild<QPushButton*>(QStringLiteral("cancelButton"))->isEnabled());
        copying.step();
        QTRY_VERIFY(copying.isDone());
        QVERIFY(copying.wasCancelled());
        QTRY_VERIFY(!rowOf(window, QStringLiteral("复制")));

        // The other one was not touched, and the window goes once the last action has ended.
        QVERIFY(window.isVisible());
        hashing.step(4);
        QTRY_VERIFY(hashing.isDone());
        QVERIFY(!hashing.wasCancelled());
        QTRY_VERIFY(!window.isVisible());
    }

    void opensByItselfOnlyForLongActionsAndNotAgainOnceClosed() {
        RunningActions board;
        const std::chrono::milliseconds openAfter{200};
        ActionProgressWindow window(board, openAfter);
        {
            SteppedAction quick(board, QStringLiteral("复制"), 1);
            quick.step();
            QTRY_VERIFY(quick.isDone());
        }
        QTest::qWait(int(openAfter.count()) * 3);
        QVERIFY(!window.isVisible());

        auto slow = std::make_unique<SteppedAction>(board, QStringLiteral("压缩为 ZIP"), 5);
        QTRY_VERIFY(window.isVisible());
        QVERIFY(rowOf(window, QStringLiteral("压缩为 ZIP")));
        window.close();
        QTest::qWait(int(openAfter.count()) * 3);
        QVERIFY(!window.isVisible());

        // A new action may open it again; the one the user saw and closed may not.
        SteppedAction another(board, QStringLiteral("解压"), 5);
        QTRY_VERIFY(window.isVisible());
        window.close();
        slow.reset();
        another.step(5);
        QTRY_VERIFY(another.isDone());
        QTRY_VERIFY(board.actions().isEmpty());
        // Opened from the tray with nothing running it says so, and stays.
        window.present();
        QVERIFY(window.findChild<QLabel*>(QStringLiteral("emptyLabel"))->isVisible());
        QTest::qWait(int(RunningActions::updateInterval.count()) * 2);
        QVERIFY(window.isVisible());
    }

    void trayShowsTheRunningActionsAndOpensTheWindow() {
        TestEnvironment environment;
        FeatureSettingsStore featureSettings;
        CustomDestinationStore destinations;
        MenuBarController controller(featureSettings, destinations, [] {
            return new KestroMainWindow(new QLabel(QStringLiteral("settings")));
        });
        RunningActions board;
        ActionProgressWindow window(board);
        controller.setRunningActions(&board, [&window] { window.present(); });
        controller.install();
        QCOMPARE(controller.trayIcon()->toolTip(), QStringLiteral("Kestro"));

        SteppedAction copying(board, QStringLiteral("复制"), 4);
        copying.step(2);
        QTRY_COMPARE(controller.trayIcon()->toolTip(), QStringLiteral("Kestro\n复制 50%"));

        // The entry's text moves on while the menu is open.
        QMenu* menu = controller.menu();
        menu->popup(QPoint(40, 40));
        QVERIFY(QTest::qWaitForWindowExposed(menu));
        QCOMPARE(menu->actions().constFirst()->text(), QStringLiteral("复制 50%"));
        copying.step();
        QTRY_COMPARE(menu->actions().constFirst()->text(), QStringLiteral("复制 75%"));
        QTest::mouseClick(menu, Qt::LeftButton, {},
                          menu->actionGeometry(menu->actions().constFirst()).center());
        QTRY_VERIFY(window.isVisible());
        QVERIFY(rowOf(window, QStringLiteral("复制")));

        copying.step();
        QTRY_VERIFY(copying.isDone());
        QTRY_COMPARE(controller.trayIcon()->toolTip(), QStringLiteral("Kestro"));
        // Nothing running: the menu starts with the window's item again.
        controller.buildMenu(menu);
        QCOMPARE(menu->actions().constFirst()->text(), QStringLiteral("打开 Kestro"));
        delete controller.mainWindow();
    }

    void packingABigFolderShowsProgressAndTheUserCanStopIt() {
        TestEnvironment environment;
        QVERIFY(saveQuietPreferences(QuietReveal::actionResultsAndCreatedItems));
        FailureNotifier::startNewBurst();
        const QString folder = environment.makeFolder(QStringLiteral("照片 2026 'backup'"));
        QVERIFY(writeRandomFile(folder + QStringLiteral("/a.bin"), 96));
        QVERIFY(writeRandomFile(folder + QStringLiteral("/b.bin"), 96));
        const QString parent = QFileInfo(folder).absolutePath();
        const QStringList before = namesIn(parent);

        KestroHost host(true);
        host.finishLaunching();
        host.openURL(kestroActionURL(QStringLiteral("compressToZIP"), {folder}));

        // The tray says what runs and how far it is.
        QTRY_VERIFY_WITH_TIMEOUT(!host.runningActions().actions().isEmpty() &&
                                     host.runningActions().actions().constFirst().state.bytesDone > 0,
                                 30000);
        const QString toolTip = host.menuBar().trayIcon()->toolTip();
        QVERIFY2(toolTip.startsWith(QStringLiteral("Kestro\n压缩为 ZIP ")) &&
                     toolTip.endsWith(QLatin1Char('%')),
                 qPrintable(toolTip));

        // The user opens the window from the tray and stops the pack there.
        host.menuBar().menu()->popup(QPoint(40, 40));
        QVERIFY(QTest::qWaitForWindowExposed(host.menuBar().menu()));
        QAction* first = host.menuBar().menu()->actions().constFirst();
        QVERIFY2(first->text().startsWith(QStringLiteral("压缩为 ZIP ")), qPrintable(first->text()));
        QTest::mouseClick(host.menuBar().menu(), Qt::LeftButton, {},
                          host.menuBar().menu()->actionGeometry(first).center());
        ActionProgressWindow* window = host.progressWindow();
        QTRY_VERIFY(window->isVisible());
        QWidget* row = rowOf(*window, QStringLiteral("压缩为 ZIP"));
        QVERIFY(row);
        QTRY_VERIFY(row->findChild<QProgressBar*>()->value() < 100);
        clickCancel(row);

        QTRY_VERIFY_WITH_TIMEOUT(host.runningActions().actions().isEmpty(), 30000);
        QTRY_VERIFY(!window->isVisible());
        QTRY_VERIFY(environment.logText().contains(QStringLiteral("action cancelled: compressToZIP")));
        // Nothing was left beside the folder: no archive, no hidden half of one; the folder is as it was.
        QCOMPARE(namesIn(parent), before);
        QCOMPARE(namesIn(folder), (QStringList{QStringLiteral("a.bin"), QStringLiteral("b.bin")}));
        QTest::qWait(int(FailureNotifier::gatherTime.count()) + 300);
        QCOMPARE(FakePlatform::desktopNotifications().shown.size(), 0);
    }
};

QTEST_MAIN(TestProgressWindow)
#include "test_progress_window.moc"
