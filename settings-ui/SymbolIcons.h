#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QString>

// The catalogue names its symbols after the macOS symbol set; here each becomes an icon of the desktop's
// icon theme (Adwaita when the desktop names none), drawn white on a tinted tile.
class SymbolIcons {
public:
    // The theme icon standing for a symbol name; a null icon when the theme has none.
    static QIcon themeIcon(const QString& systemImage);
    // The symbol on a rounded tile of the given colour. A symbol the theme lacks shows the fallback letter.
    static QPixmap tile(const QString& systemImage, const QColor& tint, int size,
                        const QString& fallbackLetter = {});
    // A steady colour per symbol, so a feature keeps its colour wherever it appears.
    static QColor tint(const QString& systemImage);
};
