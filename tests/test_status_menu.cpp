// The tray menu as it is built at each opening, against real stores in a private home.
#include "app/KestroMainWindow.h"
#include "app/MenuBarController.h"
#include "catalogue/FeatureSettingsStore.h"
#include "stores/CustomDestinationStore.h"
#include "stores/CustomShortcutActionStore.h"
#include "support/FakePlatform.h"
#include "support/TestEnvironment.h"

#include <QApplication>
#include <QDir>
#include <QEventLoop>
#include <QIcon>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QTest>
#include <QTimer>

#include <cmath>

namespace {

QStringList titles(const QMenu* menu) {
    QStringList result;
    for (const QAction* action : menu->actions())
        result.append(action->isSeparator() ? QStringLiteral("---") : action->text());
    return result;
}

QMenu* submenu(const QMenu* menu, const QString& title) {
    for (const QAction* action : menu->actions())
        if (action->text() == title)
            return action->menu();
    return nullptr;
}

const KestroFeatureChild& childOf(const QList<KestroFeatureChild>& children, const QString& id) {
    for (const KestroFeatureChild& child : children)
        if (child.actionID == id)
            return child;
    static const KestroFeatureChild none;
    return none;
}

struct Tray {
    FeatureSettingsStore featureSettings;
    CustomDestinationStore destinations;
    QStringList errors;
    MenuBarController controller{featureSettings, destinations, [] {
                                     return new KestroMainWindow(new QLabel(QStringLiteral("settings")));
                                 }};
    QMenu menu;

    Tray() {
        controller.setErrorPresenter([this](const QString& text) { errors.append(text); });
    }
    ~Tray() { delete controller.mainWindow(); }
    void build() { controller.buildMenu(&menu); }
};

} // namespace

class TestStatusMenu : public QObject {
    Q_OBJECT

private slots:
    void defaultMenuOffersWindowQuickOpenCustomActionsAndQuit() {
        TestEnvironment environment;
        for (const char* folder : {"Desktop", "Downloads", "Documents"})
            QDir(environment.home()).mkpath(QLatin1String(folder));
        Tray tray;
        tray.build();
        QCOMPARE(titles(&tray.menu), (QStringList{QStringLiteral("打开 Kestro"), QStringLiteral("打开"),
                                                  QStringLiteral("自定义动作"), QStringLiteral("---"),
                                                  QStringLiteral("退出 Kestro")}));
        QMenu* open = submenu(&tray.menu, QStringLiteral("打开"));
        QStringList expected;
        for (const CustomDestination& destination :
             tray.destinations.destinations(CustomDestinationKind::quickOpen))
            if (QFileInfo::exists(destination.path))
                expected.append(destination.name);
        QVERIFY(expected.contains(QStringLiteral("桌面")));
        expected << QStringLiteral("打开剪贴板路径") << QStringLiteral("打开指定路径...");
        QCOMPARE(titles(open), expected);
        QCOMPARE(open->actions().constLast()->data().toString(), QStringLiteral("quickOpenTypedPath"));

        QMenu* custom = submenu(&tray.menu, QStringLiteral("自定义动作"));
        QCOMPARE(titles(custom), QStringList{QStringLiteral("还没有自定义动作")});
        QVERIFY(!custom->actions().constFirst()->isEnabled());
    }

    void quickOpenFollowsTheChildrenAndDropsVanishedFolders() {
        TestEnvironment environment;
        const QString kept = environment.makeFolder(QStringLiteral("kept"));
        const QString gone = environment.makeFolder(QStringLiteral("gone"));
        Tray tray;
        tray.destinations.removeDestinations(CustomDestinationKind::quickOpen, {0, 1, 2, 3, 4, 5, 6, 7});
        QVERIFY(tray.destinations.addDestinationPath(CustomDestinationKind::quickOpen, gone));
        QVERIFY(tray.destinations.addDestinationPath(CustomDestinationKind::quickOpen, kept));
        QVERIFY(QDir(gone).removeRecursively());
        const QList<KestroFeatureChild> children =
            tray.featureSettings.orderedChildren(KestroFeature::quickOpen);
        // Typed path before clipboard path, clipboard path switched off.
        const qsizetype typed = children.indexOf(childOf(children, QStringLiteral("quickOpenTypedPath")));
        tray.featureSettings.moveChildren(KestroFeature::quickOpen, {typed}, 0);
        tray.featureSettings.setEnabled(false, childOf(children, QStringLiteral("quickOpenClipboardPath")));
        tray.build();
        QMenu* open = submenu(&tray.menu, QStringLiteral("打开"));
        QCOMPARE(titles(open), (QStringList{QStringLiteral("kept"), QStringLiteral("打开指定路径...")}));
        QCOMPARE(open->actions().constFirst()->data().toString(), kept);

        tray.featureSettings.setEnabled(true, childOf(children, QStringLiteral("quickOpenClipboardPath")));
        tray.build(); // built anew: the change shows at once
        QCOMPARE(titles(open = submenu(&tray.menu, QStringLiteral("打开"))),
                 (QStringList{QStringLiteral("kept"), QStringLiteral("打开指定路径..."),
                              QStringLiteral("打开剪贴板路径")}));
        // The feature off: only a note that cannot be chosen.
        tray.featureSettings.setEnabled(false, KestroFeature::quickOpen);
        tray.build();
        open = submenu(&tray.menu, QStringLiteral("打开"));
        QCOMPARE(titles(open), QStringList{QStringLiteral("没有已启用的打开功能")});
        QVERIFY(!open->actions().constFirst()->isEnabled());
    }

    void customActionsItemFollowsTheFeatureAndTheFile() {
        TestEnvironment environment;
        const QString script = environment.writeFile(QStringLiteral("scripts/resize.py"), "print(1)\n");
        Tray tray;
        CustomShortcutActionStore actions;
        const auto added = actions.addScript(script);
        QVERIFY(added);
        // Not offered: what cannot run here (no Shortcuts on Linux, no AppleScript interpreter).
        actions.addShortcut(QStringLiteral("整理照片"), QStringLiteral("整理照片"));
        QVERIFY(
            actions.addScript(environment.writeFile(QStringLiteral("scripts/tell.applescript"), "beep\n")));
        tray.build();
        QMenu* custom = submenu(&tray.menu, QStringLiteral("自定义动作"));
        QCOMPARE(titles(custom), QStringList{QStringLiteral("resize")});
        QCOMPARE(custom->actions().constFirst()->data().toString(),
                 QStringLiteral("runScript__") + added->id);

        tray.featureSettings.setEnabled(false, KestroFeature::customActions);
        tray.build();
        QVERIFY(!titles(&tray.menu).contains(QStringLiteral("自定义动作")));
    }

    void failingMenuActionShowsTheAlertText() {
        TestEnvironment environment;
        Tray tray;
        tray.controller.performCustomAction(QStringLiteral("runScript__no-such-id"));
        QCOMPARE(tray.errors.size(), 1);
        QVERIFY2(tray.errors.constFirst().contains(QStringLiteral("runScript__no-such-id")),
                 qPrintable(tray.errors.constFirst()));

        // A quick-open place that vanished after the menu was built fails with the action's own message.
        const QString folder = environment.makeFolder(QStringLiteral("soon gone"));
        QVERIFY(QDir(folder).removeRecursively());
        tray.controller.openQuickOpenDestination(folder);
        QCOMPARE(tray.errors.size(), 2);
        QVERIFY(FakePlatform::workspace().openedUrls.isEmpty());
        // One that is there opens through the dispatcher.
        const QString place = environment.makeFolder(QStringLiteral("place with 空格"));
        tray.controller.openQuickOpenDestination(place);
        QCOMPARE(tray.errors.size(), 2);
        QCOMPARE(FakePlatform::workspace().openedUrls, QList<QUrl>{QUrl::fromLocalFile(place)});
    }

    void leftClickShowsAndHidesTheWindow() {
        TestEnvironment environment;
        Tray tray;
        QVERIFY(!tray.controller.mainWindow());
        tray.controller.handleStatusItemClick();
        KestroMainWindow* window = tray.controller.mainWindow();
        QVERIFY(window);
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QApplication::setActiveWindow(window);
        QTRY_VERIFY(window->isActiveWindow());
        tray.controller.handleStatusItemClick();
        QVERIFY(window->isHidden());
        tray.controller.handleStatusItemClick();
        QVERIFY(window->isVisible());
        QCOMPARE(tray.controller.mainWindow(), window); // the same window, not a new one
    }

    void trayIconStandsOutOnLightAndDarkPanels_data() {
        QTest::addColumn<QColor>("panel");
        QTest::newRow("light panel") << QColor(0xf2, 0xf2, 0xf2);
        QTest::newRow("dark panel") << QColor(0x1e, 0x1e, 0x1e);
    }

    void trayIconStandsOutOnLightAndDarkPanels() {
        QFETCH(QColor, panel);
        const QImage icon = QIcon(QStringLiteral(":/kestro/kestro-tray.svg")).pixmap(22, 22).toImage();
        QVERIFY(!icon.isNull());
        QImage drawn(icon.size(), QImage::Format_ARGB32);
        drawn.fill(panel);
        QPainter(&drawn).drawImage(0, 0, icon);
        // WCAG's contrast ratio against the panel along the icon's outline, where its shape meets the panel.
        const auto luminance = [](QColor colour) {
            const auto channel = [](double value) {
                return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
            };
            return 0.2126 * channel(colour.redF()) + 0.7152 * channel(colour.greenF()) +
                   0.0722 * channel(colour.blueF());
        };
        const auto covered = [&icon](int x, int y) {
            return icon.valid(x, y) && qAlpha(icon.pixel(x, y)) >= 128;
        };
        const double background = luminance(panel);
        int outline = 0;
        int distinct = 0;
        for (int y = 0; y < icon.height(); ++y) {
            for (int x = 0; x < icon.width(); ++x) {
                if (!covered(x, y) ||
                    (covered(x - 1, y) && covered(x + 1, y) && covered(x, y - 1) && covered(x, y + 1)))
                    continue;
                ++outline;
                const double pixel = luminance(drawn.pixelColor(x, y));
                distinct +=
                    (std::max(pixel, background) + 0.05) / (std::min(pixel, background) + 0.05) >= 3.0;
            }
        }
        QVERIFY(outline > 22 * 2);
        QVERIFY2(distinct >= outline * 9 / 10,
                 qPrintable(QStringLiteral("%1 of %2").arg(distinct).arg(outline)));
    }

    void quitItemQuitsTheApplication() {
        TestEnvironment environment;
        Tray tray;
        tray.build();
        QAction* quit = tray.menu.actions().constLast();
        QCOMPARE(quit->text(), QStringLiteral("退出 Kestro"));
        // The application's own event loop, as the host runs it: the item ends it with status 0.
        QTimer::singleShot(0, quit, &QAction::trigger);
        QTimer::singleShot(10000, qApp, [] { QCoreApplication::exit(7); });
        QCOMPARE(QCoreApplication::exec(), 0);
    }
};

QTEST_MAIN(TestStatusMenu)
#include "test_status_menu.moc"
