#include "settings-ui/SettingsRowDelegate.h"

#include "settings-ui/ToggleSwitch.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

namespace {
constexpr int handleWidth = 22;
constexpr int tileSize = 28;
constexpr int padding = 8;

bool draggable(const QModelIndex& index) {
    return index.flags().testFlag(Qt::ItemIsDragEnabled);
}
bool checkable(const QModelIndex& index) {
    return index.data(Qt::CheckStateRole).isValid();
}
} // namespace

QRect SettingsRowDelegate::switchRect(const QRect& row) {
    const QSize size = ToggleSwitch::switchSize();
    return {row.right() - padding - size.width() + 1, row.center().y() - size.height() / 2 + 1, size.width(),
            size.height()};
}

QRect SettingsRowDelegate::handleRect(const QRect& row) {
    return {row.left() + 2, row.top(), handleWidth, row.height()};
}

QString SettingsRowDelegate::handleHelpText() {
    return tr("拖拽调整顺序");
}

QSize SettingsRowDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    QFont titleFont = option.font;
    titleFont.setBold(true);
    const int title = QFontMetrics(titleFont).height();
    const bool twoLines = !index.data(SubtitleRole).toString().isEmpty();
    const int text =
        twoLines ? title + 2 + QFontMetrics(option.font).height() + 2 * padding : title + 2 * padding + 8;
    const int switchHeight = checkable(index) ? ToggleSwitch::switchSize().height() + 2 * padding : 0;
    return {200, std::max({text, tileSize + 2 * padding, switchHeight})};
}

void SettingsRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& styleOption,
                                const QModelIndex& index) const {
    QStyleOptionViewItem option = styleOption;
    initStyleOption(&option, index);
    painter->save();
    // The background: selection and hover as the style draws them, without the text.
    option.text.clear();
    option.icon = QIcon();
    option.features &= ~QStyleOptionViewItem::HasCheckIndicator;
    const QWidget* widget = option.widget;
    QStyle* style = widget ? widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &option, painter, widget);

    const QRect row = styleOption.rect;
    int left = row.left() + padding;
    const QColor textColor = option.palette.color(
        option.state.testFlag(QStyle::State_Selected) ? QPalette::HighlightedText : QPalette::Text);
    if (draggable(index)) {
        // Three short bars: the handle.
        const QRect handle = handleRect(row);
        painter->setRenderHint(QPainter::Antialiasing);
        QColor bars = textColor;
        bars.setAlphaF(0.45);
        painter->setPen(QPen(bars, 1.6, Qt::SolidLine, Qt::RoundCap));
        const int cx = handle.center().x();
        for (int offset : {-4, 0, 4})
            painter->drawLine(QPointF(cx - 5, handle.center().y() + offset),
                              QPointF(cx + 5, handle.center().y() + offset));
        left = handle.right() + 6;
    }
    const QVariant decoration = index.data(Qt::DecorationRole);
    if (decoration.canConvert<QPixmap>() && !decoration.value<QPixmap>().isNull()) {
        const QPixmap tile = decoration.value<QPixmap>();
        painter->drawPixmap(QRect(left, row.center().y() - tileSize / 2 + 1, tileSize, tileSize), tile);
        left += tileSize + 10;
    }
    int right = row.right() - padding;
    if (checkable(index)) {
        const QRect toggle = switchRect(row);
        const bool on = index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
        ToggleSwitch::paintSwitch(*painter, toggle, on, option.state.testFlag(QStyle::State_Enabled),
                                  option.palette);
        right = toggle.left() - 10;
    }

    const QString title = index.data(Qt::DisplayRole).toString();
    const QString subtitle = index.data(SubtitleRole).toString();
    QFont titleFont = option.font;
    titleFont.setBold(true);
    const QFontMetrics titleMetrics(titleFont);
    const QFontMetrics subtitleMetrics(option.font);
    const int width = std::max(0, right - left);
    painter->setPen(textColor);
    painter->setFont(titleFont);
    if (subtitle.isEmpty()) {
        painter->drawText(QRect(left, row.top(), width, row.height()), Qt::AlignVCenter | Qt::AlignLeft,
                          titleMetrics.elidedText(title, Qt::ElideRight, width));
    } else {
        const int top = row.center().y() - (titleMetrics.height() + subtitleMetrics.height() + 2) / 2;
        painter->drawText(QRect(left, top, width, titleMetrics.height()), Qt::AlignLeft,
                          titleMetrics.elidedText(title, Qt::ElideRight, width));
        QColor grey = index.data(WarningRole).toBool() ? QColor(0xc0, 0x39, 0x2b) : textColor;
        if (!index.data(WarningRole).toBool())
            grey.setAlphaF(0.6);
        painter->setPen(grey);
        painter->setFont(option.font);
        painter->drawText(QRect(left, top + titleMetrics.height() + 2, width, subtitleMetrics.height()),
                          Qt::AlignLeft, subtitleMetrics.elidedText(subtitle, Qt::ElideMiddle, width));
    }
    painter->restore();
}

bool SettingsRowDelegate::editorEvent(QEvent* event, QAbstractItemModel* model,
                                      const QStyleOptionViewItem& option, const QModelIndex& index) {
    if (!checkable(index))
        return QStyledItemDelegate::editorEvent(event, model, option, index);
    // Qt's own handling would flip the row on its invisible check box, which sits where the drag handle is
    // drawn: the switch is the only place that flips, so the base class never sees a checkable row.
    if (!index.flags().testFlag(Qt::ItemIsEnabled))
        return false;
    bool flip = false;
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseButtonRelease: {
        const auto* mouse = static_cast<QMouseEvent*>(event);
        if (!switchRect(option.rect).contains(mouse->position().toPoint()))
            return false;
        // Presses on the switch are swallowed so that they start no drag and no edit.
        if (event->type() != QEvent::MouseButtonRelease || mouse->button() != Qt::LeftButton)
            return true;
        flip = true;
        break;
    }
    case QEvent::KeyPress: {
        const int key = static_cast<QKeyEvent*>(event)->key();
        flip = key == Qt::Key_Space || key == Qt::Key_Select;
        break;
    }
    default:
        break;
    }
    if (!flip)
        return false;
    const bool on = index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
    return model->setData(index, on ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
}

bool SettingsRowDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                    const QStyleOptionViewItem& option, const QModelIndex& index) {
    if (event->type() == QEvent::ToolTip && draggable(index) &&
        handleRect(option.rect).contains(event->pos())) {
        QToolTip::showText(event->globalPos(), handleHelpText(), view);
        return true;
    }
    return QStyledItemDelegate::helpEvent(event, view, option, index);
}
