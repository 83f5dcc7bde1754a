#include "settings-ui/SymbolIcons.h"

#include <QApplication>
#include <QHash>
#include <QPainter>
#include <QStyle>

namespace {

const QHash<QString, QString>& themeNames() {
    static const QHash<QString, QString> names{
        {QStringLiteral("doc.badge.plus"), QStringLiteral("document-new")},
        {QStringLiteral("folder"), QStringLiteral("folder")},
        {QStringLiteral("bell"), QStringLiteral("preferences-system-notifications")},
        {QStringLiteral("folder.badge.plus"), QStringLiteral("folder-new")},
        {QStringLiteral("folder.badge.gearshape"), QStringLiteral("system-search")},
        {QStringLiteral("doc.on.doc"), QStringLiteral("edit-copy")},
        {QStringLiteral("doc.on.clipboard"), QStringLiteral("edit-paste")},
        {QStringLiteral("link"), QStringLiteral("insert-link")},
        {QStringLiteral("link.circle"), QStringLiteral("insert-link")},
        {QStringLiteral("app"), QStringLiteral("application-x-executable")},
        {QStringLiteral("app.badge"), QStringLiteral("application-x-executable")},
        {QStringLiteral("rectangle.grid.2x2"), QStringLiteral("view-grid")},
        {QStringLiteral("sparkles"), QStringLiteral("starred")},
        {QStringLiteral("tray.and.arrow.down"), QStringLiteral("document-save")},
        {QStringLiteral("textformat"), QStringLiteral("format-text-bold")},
        {QStringLiteral("textformat.size.smaller"), QStringLiteral("format-text-bold")},
        {QStringLiteral("textformat.size.larger"), QStringLiteral("format-text-bold")},
        {QStringLiteral("text.insert"), QStringLiteral("format-justify-left")},
        {QStringLiteral("text.append"), QStringLiteral("format-justify-left")},
        {QStringLiteral("text.magnifyingglass"), QStringLiteral("edit-find-replace")},
        {QStringLiteral("text.cursor"), QStringLiteral("edit-select-all")},
        {QStringLiteral("list.number"), QStringLiteral("view-list")},
        {QStringLiteral("list.bullet.rectangle"), QStringLiteral("view-list")},
        {QStringLiteral("archivebox"), QStringLiteral("package-x-generic")},
        {QStringLiteral("arrow.down.doc"), QStringLiteral("document-open")},
        {QStringLiteral("calendar.badge.clock"), QStringLiteral("x-office-calendar")},
        {QStringLiteral("calendar"), QStringLiteral("x-office-calendar")},
        {QStringLiteral("clock"), QStringLiteral("alarm")},
        {QStringLiteral("photo"), QStringLiteral("image-x-generic")},
        {QStringLiteral("photo.on.rectangle"), QStringLiteral("image-x-generic")},
        {QStringLiteral("doc.richtext"), QStringLiteral("x-office-document")},
        {QStringLiteral("doc.text"), QStringLiteral("x-office-document")},
        {QStringLiteral("doc.plaintext"), QStringLiteral("text-x-generic")},
        {QStringLiteral("doc.text.magnifyingglass"), QStringLiteral("edit-find")},
        {QStringLiteral("tablecells"), QStringLiteral("x-office-spreadsheet")},
        {QStringLiteral("rectangle.on.rectangle"), QStringLiteral("x-office-presentation")},
        {QStringLiteral("curlybraces"), QStringLiteral("text-x-script")},
        {QStringLiteral("curlybraces.square"), QStringLiteral("text-x-script")},
        {QStringLiteral("chevron.left.forwardslash.chevron.right"), QStringLiteral("text-x-script")},
        {QStringLiteral("swift"), QStringLiteral("text-x-script")},
        {QStringLiteral("globe"), QStringLiteral("web-browser")},
        {QStringLiteral("paintbrush"), QStringLiteral("applications-graphics")},
        {QStringLiteral("book"), QStringLiteral("accessories-dictionary")},
        {QStringLiteral("terminal"), QStringLiteral("utilities-terminal")},
        {QStringLiteral("point.3.connected.trianglepath.dotted"), QStringLiteral("emblem-shared")},
        {QStringLiteral("house"), QStringLiteral("user-home")},
        {QStringLiteral("desktopcomputer"), QStringLiteral("user-desktop")},
        {QStringLiteral("arrow.down.circle"), QStringLiteral("folder-download")},
        {QStringLiteral("arrow.up.left.and.arrow.down.right"), QStringLiteral("view-fullscreen")},
        {QStringLiteral("arrow.down.right.and.arrow.up.left"), QStringLiteral("view-restore")},
        {QStringLiteral("eye.slash"), QStringLiteral("view-conceal")},
        {QStringLiteral("square.split.2x1"), QStringLiteral("view-dual")},
        {QStringLiteral("number"), QStringLiteral("accessories-calculator")},
        {QStringLiteral("number.circle"), QStringLiteral("accessories-calculator")},
        {QStringLiteral("externaldrive"), QStringLiteral("drive-harddisk")},
        {QStringLiteral("gearshape"), QStringLiteral("preferences-system")},
        {QStringLiteral("contextualmenu.and.cursorarrow"), QStringLiteral("open-menu")},
        {QStringLiteral("rectangle.stack"), QStringLiteral("view-paged")},
        {QStringLiteral("envelope"), QStringLiteral("mail-send")},
        {QStringLiteral("power"), QStringLiteral("system-shutdown")},
        {QStringLiteral("checkmark.circle"), QStringLiteral("emblem-ok")},
        {QStringLiteral("trash"), QStringLiteral("user-trash")},
    };
    return names;
}

void useAdwaitaWhereTheDesktopNamesNoTheme() {
    static const bool done = [] {
        if (QIcon::themeName().isEmpty() || QIcon::themeName() == QLatin1String("hicolor"))
            QIcon::setThemeName(QStringLiteral("Adwaita"));
        return true;
    }();
    (void)done;
}

} // namespace

QIcon SymbolIcons::themeIcon(const QString& systemImage) {
    useAdwaitaWhereTheDesktopNamesNoTheme();
    const QString name = themeNames().value(systemImage);
    if (name.isEmpty())
        return {};
    // The symbolic variant is a single-colour glyph, which reads well on a tile.
    QIcon icon = QIcon::fromTheme(name + QStringLiteral("-symbolic"));
    if (icon.isNull())
        icon = QIcon::fromTheme(name);
    return icon;
}

QColor SymbolIcons::tint(const QString& systemImage) {
    static const QColor palette[] = {QColor(0x2f, 0x7c, 0xf6), QColor(0x34, 0xa8, 0x53),
                                     QColor(0xf0, 0x8c, 0x1a), QColor(0xd9, 0x48, 0x5b),
                                     QColor(0x8e, 0x5c, 0xd9), QColor(0x1f, 0xa2, 0xb8),
                                     QColor(0x60, 0x6b, 0x7d), QColor(0xc6, 0x5d, 0x2e)};
    return palette[qHash(systemImage) % (sizeof(palette) / sizeof(palette[0]))];
}

QPixmap SymbolIcons::tile(const QString& systemImage, const QColor& tint, int size,
                          const QString& fallbackLetter) {
    const qreal ratio = qApp ? qApp->devicePixelRatio() : 1.0;
    QPixmap pixmap(QSize(size, size) * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(tint);
    painter.drawRoundedRect(QRectF(0, 0, size, size), size * 0.24, size * 0.24);

    const int glyph = qRound(size * 0.6);
    const QIcon icon = themeIcon(systemImage);
    if (!icon.isNull()) {
        // The glyph, recoloured white through its own alpha.
        QPixmap mask = icon.pixmap(QSize(glyph, glyph), ratio);
        QPainter recolour(&mask);
        recolour.setCompositionMode(QPainter::CompositionMode_SourceIn);
        recolour.fillRect(mask.rect(), Qt::white);
        recolour.end();
        const qreal offset = (size - glyph) / 2.0;
        painter.drawPixmap(QPointF(offset, offset), mask);
    } else if (!fallbackLetter.isEmpty()) {
        QFont font = QApplication::font();
        font.setPixelSize(qRound(size * 0.5));
        font.setBold(true);
        painter.setFont(font);
        painter.setPen(Qt::white);
        painter.drawText(QRectF(0, 0, size, size), Qt::AlignCenter, fallbackLetter.left(1));
    }
    return pixmap;
}
