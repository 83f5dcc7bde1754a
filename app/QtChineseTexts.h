#pragma once

class QCoreApplication;

// Qt's own texts (the buttons and labels of file panels and message boxes, the edit menus of text fields)
// in Simplified Chinese, like everything Kestro writes itself. Uses the distribution's Qt translations
// (Debian: qt6-translations-l10n); without them Qt's texts stay English.
void installQtChineseTexts(QCoreApplication& application);

// Draws every widget in a Simplified Chinese face, whatever the locale. Left to fontconfig, an English or
// C locale keeps a Latin face and takes Chinese characters from whichever CJK face comes first (Japanese
// glyph forms), and the mixed line is taller than the Latin face's metrics. The first installed of the
// usual Simplified Chinese faces (Debian: fonts-noto-cjk) becomes the application's font; without one the
// font stays as it was. Needs the QApplication.
void useSimplifiedChineseFont();
