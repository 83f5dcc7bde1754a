#include "app/KestroMainWindow.h"

#include "app/InitialWindowPositioning.h"

#include <QCloseEvent>
#include <QIcon>
#include <QTimer>
#include <QVBoxLayout>

const QString KestroMainWindow::identifier = QStringLiteral("KestroMainWindow");

KestroMainWindow::KestroMainWindow(QWidget* content, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_content(content) {
    setObjectName(identifier);
    setWindowTitle(QStringLiteral("Kestro"));
    setWindowIcon(QIcon(QStringLiteral(":/kestro/kestro.svg")));
    setAttribute(Qt::WA_DeleteOnClose, false);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(content);
    resize(InitialWindowPositioning::defaultWidth, InitialWindowPositioning::defaultHeight);
}

void KestroMainWindow::present() {
    if (isMinimized())
        showNormal();
    show();
    raise();
    activateWindow();
}

void KestroMainWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (m_positioned)
        return;
    m_positioned = true;
    // Once now and once more when the window manager has given the window its frame.
    InitialWindowPositioning::apply(this);
    QTimer::singleShot(0, this, [this] { InitialWindowPositioning::apply(this); });
}

void KestroMainWindow::closeEvent(QCloseEvent* event) {
    if (objectName() != identifier) {
        QWidget::closeEvent(event);
        return;
    }
    hide();
    event->ignore();
}
