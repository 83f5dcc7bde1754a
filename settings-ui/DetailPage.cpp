#include "settings-ui/DetailPage.h"

#include "settings-ui/DetailHeader.h"

#include <QScrollArea>
#include <QVBoxLayout>

namespace DetailPage {

QVBoxLayout* begin(QScrollArea* view, DetailHeader* header) {
    view->setWidgetResizable(true);
    view->setFrameShape(QFrame::NoFrame);
    auto* page = new QWidget;
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(24, 20, 24, 24);
    column->setSpacing(16);
    column->addWidget(header);
    return column;
}

void finish(QScrollArea* view, QVBoxLayout* column) {
    column->addStretch(1);
    view->setWidget(column->parentWidget());
}

} // namespace DetailPage
