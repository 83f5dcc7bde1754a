#include "settings-ui/SettingsRowDelegate.h"

#include "settings-ui/ToggleSwitch.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QTextLayout>
#include <QtMath>
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
bool hasTile(const QModelIndex& index) {
    const QVariant decoration = index.data(Qt::DecorationRole);
    return decoration.canConvert<QPixmap>() && !decoration.value<QPixmap>().isNull();
}

// The height of one line of this text as it is drawn: Chinese taken from a fallback font can make the line
// taller than the font's own metrics say, and a rect of the font's height would cut the glyphs.
int lineHeight(const QFont& font, const QString& text) {
    QTextLayout layout(text, font);
    layout.beginLayout();
    const QTextLine line = layout.createLine();
    layout.endLayout();
    return std::max(QFontMetrics(font).height(), int(std::ceil(line.height())));
}

QFont titleFontOf(const QFont& font) {
    QFont bold = font;
    bold.setBold(true);
    return bold;
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
    const QString subtitle = index.data(SubtitleRole).toString();
    const int title = lineHeight(titleFontOf(option.font), index.data(Qt::DisplayRole).toString());
    const int text = subtitle.isEmpty() ? title + 2 * padding + 8
                                        : title + 2 + lineHeight(option.font, subtitle) + 2 * padding;
    const int switchHeight = checkable(index) ? ToggleSwitch::switchSize().height() + 2 * padding : 0;
    return {200, std::max({text, tileSize + 2 * padding, switchHeight})};
}

QList<SettingsRowDelegate::TextLine> SettingsRowDelegate::textLines(const QStyleOptionViewItem& styleOption,
                                                                    const QModelIndex& index) const {
    QStyleOptionViewItem option = styleOption;
    initStyleOption(&option, index);
    const QRect row = option.rect;
    int left = row.left() + padding;
    if (draggable(index))
        left = handleRect(row).right() + 6;
    if (hasTile(index))
        left += tileSize + 10;
    const int right = checkable(index) ? switchRect(row).left() - 10 : row.right() - padding;
    const int width = std::max(0, right - left);

    const QString title = index.data(Qt::DisplayRole).toString();
    const QString subtitle = index.data(SubtitleRole).toString();
    const QFont titleFont = titleFontOf(option.font);
    const QString shownTitle = QFontMetrics(titleFont).elidedText(title, Qt::ElideRight, width);
    if (subtitle.isEmpty())
        return {{QRect(left, row.top(), width, row.height()), Qt::AlignVCenter | Qt::AlignLeft, titleFont,
                 shownTitle}};
    const int titleHeight = lineHeight(titleFont, title);
    const int subtitleHeight = lineHeight(option.font, subtitle);
    const int top = row.center().y() - (titleHeight + subtitleHeight + 2) / 2;
    return {{QRect(left, top, width, titleHeight), Qt::AlignLeft, titleFont, shownTitle},
            {QRect(left, top + titleHeight + 2, width, subtitleHeight), Qt::AlignLeft, option.font,
             QFontMetrics(option.font).elidedText(subtitle, Qt::ElideMiddle, width)}};
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
    const QColor textColor = option.palette.color(
        option.state.testFlag(QStyle::State_Selected) ? QPalette::HighlightedText : QPalette::Text);
    int left = row.left() + padding;
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
    // A row without a tile holds no pixmap, and a null pixmap draws nothing.
    const QPixmap tile = index.data(Qt::DecorationRole).value<QPixmap>();
    painter->drawPixmap(QRect(left, row.center().y() - tileSize / 2 + 1, tileSize, tileSize), tile);
    if (checkable(index)) {
        const bool on = index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
        ToggleSwitch::paintSwitch(*painter, switchRect(row), on, option.state.testFlag(QStyle::State_Enabled),
                                  option.palette);
    }

    const QList<TextLine> lines = textLines(styleOption, index);
    for (qsizetype line = 0; line < lines.size(); ++line) {
        QColor colour = textColor;
        if (line == 1 && index.data(WarningRole).toBool())
            colour = QColor(0xc0, 0x39, 0x2b);
        else if (line == 1)
            colour.setAlphaF(0.6);
        painter->setPen(colour);
        painter->setFont(lines.at(line).font);
        painter->drawText(lines.at(line).rect, int(lines.at(line).alignment), lines.at(line).text);
    }
    painter->restore();
}

bool SettingsRowDelegate::editorEvent(QEvent* event, QAbstractItemModel* model,
                                      const QStyleOptionViewItem& option, const QModelIndex& index) {
    if (!checkable(index))
        return QStyledItemDelegate::editorEvent(event, model, option, index);
    // Qt's own handling would flip the row on its invisible check box, which sits where the drag handle is
    // drawn: the switch is the only place that flips, so the base class never sees a checkable row. (No
    // model here has rows that are checkable yet disabled.)
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
