#include "app/SettingsScreenshots.h"

#include "app/ActionProgressWindow.h"
#include "app/KestroHost.h"
#include "app/KestroMainWindow.h"
#include "app/MenuBarController.h"
#include "catalogue/FeatureSettingsStore.h"
#include "intake/RunningActions.h"
#include "settings-ui/SettingsContentView.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QDialog>
#include <QDir>
#include <QMenu>
#include <QScreen>
#include <QThread>
#include <QUrl>
#include <QUrlQuery>

#include <cstdio>

namespace {

void settle() {
    for (int round = 0; round < 5; ++round) {
        QApplication::processEvents();
        QThread::msleep(40);
    }
}

bool save(const QPixmap& picture, const QString& path) {
    if (!picture.isNull() && picture.save(path, "PNG"))
        return true;
    std::fprintf(stderr, "kestro: could not save %s\n", qPrintable(path));
    return false;
}

bool waitFor(const std::function<bool()>& condition) {
    const QDeadlineTimer deadline(30000);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return true;
}

// Packs the folder for real, pictures the progress window while it runs, and stops it there.
bool captureProgress(KestroHost& host, const QString& folderToPack, const QString& path) {
    QUrl url(QStringLiteral("kestro://finder-action"));
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("actionID"), QStringLiteral("compressToZIP"));
    query.addQueryItem(QStringLiteral("path"), QString::fromUtf8(QUrl::toPercentEncoding(folderToPack)));
    url.setQuery(query);
    host.openURL(url.toString(QUrl::FullyEncoded));
    RunningActions& running = host.runningActions();
    const auto movedOn = [&running] {
        return !running.actions().isEmpty() && running.actions().constFirst().state.percent() >= 10;
    };
    if (!waitFor(movedOn)) {
        std::fprintf(stderr, "kestro: packing %s did not show progress\n", qPrintable(folderToPack));
        return false;
    }
    ActionProgressWindow* window = host.progressWindow();
    window->present();
    window->move(60, 60);
    settle();
    const bool saved = save(window->grab(), path);
    for (const RunningActions::Action& action : running.actions())
        running.cancel(action.id);
    return waitFor([&running] { return running.actions().isEmpty(); }) && saved;
}

} // namespace

bool SettingsScreenshots::capture(KestroHost& host, const QString& directory) {
    if (!QDir().mkpath(directory)) {
        std::fprintf(stderr, "kestro: could not create %s\n", qPrintable(directory));
        return false;
    }
    const QDir folder(directory);
    host.menuBar().showMainWindow();
    KestroMainWindow* window = host.mainWindow();
    SettingsContentView* content = host.contentView();
    if (!window || !content)
        return false;
    window->move(40, 40);
    settle();

    bool saved = true;
    const QList<KestroFeature> features = host.featureSettings().orderedFeatures();
    for (qsizetype index = 0; index < features.size(); ++index) {
        content->showPage(SettingsPage::of(features.at(index)));
        settle();
        const QString name = QStringLiteral("feature-%1-%2.png")
                                 .arg(index + 1, 2, 10, QLatin1Char('0'))
                                 .arg(features.at(index).id());
        saved &= save(window->grab(), folder.filePath(name));
    }
    content->showPage(SettingsPage::preferences());
    settle();
    saved &= save(window->grab(), folder.filePath(QStringLiteral("preferences.png")));

    content->openFeatureRequestSheet();
    settle();
    if (auto* sheet = window->findChild<QDialog*>(QStringLiteral("FeatureRequestSheet"))) {
        saved &= save(sheet->grab(), folder.filePath(QStringLiteral("feature-request.png")));
        sheet->reject();
    }
    window->hide();
    settle();

    // The tray menu as it opens, with its quick-open sub-menu unfolded, taken from the screen so both show.
    QMenu menu;
    host.menuBar().buildMenu(&menu);
    QScreen* screen = QGuiApplication::primaryScreen();
    const QRect area = screen->availableGeometry();
    const QPoint corner(area.right() - 520, area.top() + 8);
    menu.popup(corner);
    settle();
    for (QAction* action : menu.actions()) {
        if (action->menu()) {
            menu.setActiveAction(action);
            break;
        }
    }
    settle();
    QRect shot = menu.geometry();
    for (QMenu* submenu : menu.findChildren<QMenu*>()) {
        if (submenu->isVisible())
            shot = shot.united(submenu->geometry());
    }
    shot = shot.adjusted(-8, -8, 8, 8).intersected(screen->geometry());
    saved &= save(screen->grabWindow(0, shot.x(), shot.y(), shot.width(), shot.height()),
                  folder.filePath(QStringLiteral("tray-menu.png")));
    menu.close();

    const QString toPack = qEnvironmentVariable("KESTRO_SCREENSHOT_PACK");
    if (!toPack.isEmpty())
        saved &= captureProgress(host, toPack, folder.filePath(QStringLiteral("progress-window.png")));
    return saved;
}
