#include "app/MenuBarController.h"

#include "actions/FinderActionExecutor.h"
#include "app/ActionProgressWindow.h"
#include "app/KestroMainWindow.h"
#include "intake/FinderCurrentContext.h"
#include "platform/KestroError.h"

#include <QApplication>
#include <QDialog>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QSystemTrayIcon>

MenuBarController::MenuBarController(FeatureSettingsStore& featureSettings,
                                     CustomDestinationStore& destinations, WindowFactory createWindow,
                                     QObject* parent)
    : QObject(parent)
    , m_featureSettings(featureSettings)
    , m_destinations(destinations)
    , m_createWindow(std::move(createWindow)) {
    m_presentError = [](const QString& description) {
        QMessageBox alert(QMessageBox::Warning, QStringLiteral("Kestro"), tr("Kestro 操作失败"));
        alert.setInformativeText(description);
        alert.addButton(tr("确定"), QMessageBox::AcceptRole);
        alert.setWindowFlag(Qt::WindowStaysOnTopHint);
        alert.exec();
    };
}

MenuBarController::~MenuBarController() {
    delete m_menu;
}

bool MenuBarController::install() {
    if (!m_menu) {
        m_menu = new QMenu;
        m_menu->setObjectName(QStringLiteral("KestroStatusMenu"));
        // Built anew at every opening, so it always shows the stores as they are.
        connect(m_menu, &QMenu::aboutToShow, this, [this] { buildMenu(m_menu); });
        buildMenu(m_menu);
    }
    if (!m_tray) {
        m_tray = new QSystemTrayIcon(QIcon(QStringLiteral(":/kestro/kestro-tray.svg")), this);
        m_tray->setToolTip(toolTipText());
        m_tray->setContextMenu(m_menu);
        connect(m_tray, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
            if (reason == QSystemTrayIcon::Trigger)
                handleStatusItemClick();
        });
        // Shown even without a tray now: one that appears later (an indicator loaded after login) picks it
        // up.
        m_tray->show();
    }
    return QSystemTrayIcon::isSystemTrayAvailable();
}

void MenuBarController::buildMenu(QMenu* menu) {
    menu->clear();
    // clear() leaves the sub-menus the menu owns; they go with their items.
    for (QMenu* submenu : menu->findChildren<QMenu*>(Qt::FindDirectChildrenOnly))
        delete submenu;
    const StatusMenuContent content = StatusMenuContent::gather(m_featureSettings, m_destinations);

    m_progressEntries.clear();
    if (m_runningActions && !m_runningActions->actions().isEmpty()) {
        for (const RunningActions::Action& running : m_runningActions->actions()) {
            QAction* entry = menu->addAction(ActionProgressWindow::shortText(running), this,
                                             &MenuBarController::showProgress);
            entry->setData(running.id);
            m_progressEntries.insert(running.id, entry);
        }
        menu->addSeparator();
    }

    menu->addAction(tr("打开 Kestro"), this, &MenuBarController::resetAndOpenMainWindow);

    QMenu* quickOpen = menu->addMenu(tr("打开"));
    for (const auto& entry : content.quickOpenDestinations) {
        QAction* action = quickOpen->addAction(entry.title);
        action->setData(entry.payload);
        connect(action, &QAction::triggered, this,
                [this, path = entry.payload] { openQuickOpenDestination(path); });
    }
    for (const auto& entry : content.quickOpenActions) {
        QAction* action = quickOpen->addAction(entry.title);
        action->setData(entry.payload);
        connect(action, &QAction::triggered, this,
                [this, id = entry.payload] { performQuickOpenAction(id); });
    }
    if (quickOpen->isEmpty())
        quickOpen->addAction(tr("没有已启用的打开功能"))->setEnabled(false);

    if (content.customActionsEnabled) {
        QMenu* custom = menu->addMenu(tr("自定义动作"));
        for (const auto& entry : content.customActions) {
            QAction* action = custom->addAction(entry.title);
            action->setData(entry.payload);
            connect(action, &QAction::triggered, this,
                    [this, id = entry.payload] { performCustomAction(id); });
        }
        if (custom->isEmpty())
            custom->addAction(tr("还没有自定义动作"))->setEnabled(false);
    }

    // Updates come with the distribution's packages here, so there is no update item.
    menu->addSeparator();
    QAction* quit = menu->addAction(tr("退出 Kestro"), this, &MenuBarController::quitApp);
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
}

void MenuBarController::setRunningActions(RunningActions* actions, std::function<void()> openProgress) {
    m_runningActions = actions;
    m_openProgress = std::move(openProgress);
    if (!m_runningActions)
        return;
    connect(m_runningActions, &RunningActions::actionsChanged, this, [this] {
        if (m_tray)
            m_tray->setToolTip(toolTipText());
        // An open menu keeps its entries (rebuilding it would move them under the pointer): their texts
        // follow, and an ended action's entry turns grey until the menu opens again.
        for (auto it = m_progressEntries.cbegin(); it != m_progressEntries.cend(); ++it) {
            QAction* entry = it.value();
            if (!entry)
                continue;
            if (const RunningActions::Action* running = m_runningActions->find(it.key()))
                entry->setText(ActionProgressWindow::shortText(*running));
            else
                entry->setEnabled(false);
        }
    });
}

QString MenuBarController::toolTipText() const {
    QStringList lines{QStringLiteral("Kestro")};
    if (m_runningActions) {
        for (const RunningActions::Action& running : m_runningActions->actions())
            lines.append(ActionProgressWindow::shortText(running));
    }
    return lines.join(QLatin1Char('\n'));
}

void MenuBarController::showProgress() {
    if (m_openProgress)
        m_openProgress();
}

void MenuBarController::showMainWindow() {
    if (!m_window && m_createWindow)
        m_window = m_createWindow();
    if (m_window)
        m_window->present();
}

void MenuBarController::resetAndOpenMainWindow() {
    resetTransientWindowState();
    showMainWindow();
}

void MenuBarController::resetTransientWindowState() {
    // A modal dialog left open (a sheet, a prompt nobody answered) would keep the window from coming forward.
    if (QWidget* modal = QApplication::activeModalWidget()) {
        if (auto* dialog = qobject_cast<QDialog*>(modal))
            dialog->reject();
        else
            modal->close();
    }
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->isVisible() && qobject_cast<QMenu*>(widget))
            widget->hide();
    }
}

void MenuBarController::handleStatusItemClick() {
    if (m_window && m_window->isVisible() && m_window->isActiveWindow()) {
        m_window->hide();
        return;
    }
    showMainWindow();
}

void MenuBarController::openQuickOpenDestination(const QString& path) {
    run([&] {
        FinderActionExecutor::perform(QStringLiteral("quickOpenPath"), {}, std::nullopt, path, std::nullopt);
    });
}

void MenuBarController::performQuickOpenAction(const QString& actionID) {
    performWithContext(actionID);
}

void MenuBarController::performCustomAction(const QString& actionID) {
    performWithContext(actionID);
}

void MenuBarController::performWithContext(const QString& actionID) {
    run([&] {
        const QStringList selection = FinderCurrentContext::readSelectedURLs();
        const std::optional<QString> target = FinderCurrentContext::readTargetedURL();
        FinderActionExecutor::perform(actionID, selection, target, std::nullopt, std::nullopt);
    });
}

void MenuBarController::run(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::exception& error) {
        showActionError(describeError(error));
    }
}

void MenuBarController::quitApp() {
    QCoreApplication::quit();
}

void MenuBarController::showActionError(const QString& description) {
    if (m_presentError)
        m_presentError(description);
}
