#pragma once

#include <QStyledItemDelegate>

// Draws the rows of the settings lists: a drag handle where the row can be dragged, an optional symbol tile,
// a title over a grey explanation, and a switch where the row is checkable. A click on the switch flips it
// and nothing else does; hovering the handle explains it. Rows are as tall as their text in the list's font.
class SettingsRowDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    enum Role {
        SubtitleRole = Qt::UserRole + 100, // QString: the grey second line
        WarningRole,                       // bool: the second line reads as a warning
    };

    // One line of a row's text: where it is drawn and how aligned there, in which font, and what it says
    // (elided to fit).
    struct TextLine {
        QRect rect;
        Qt::Alignment alignment;
        QFont font;
        QString text;
    };

    using QStyledItemDelegate::QStyledItemDelegate;

    static QRect switchRect(const QRect& row);
    static QRect handleRect(const QRect& row);
    static QString handleHelpText();

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QList<TextLine> textLines(const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;
};
