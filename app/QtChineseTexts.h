#pragma once

class QCoreApplication;

// Qt's own texts (the buttons and labels of file panels and message boxes, the edit menus of text fields)
// in Simplified Chinese, like everything Kestro writes itself. Uses the distribution's Qt translations
// (Debian: qt6-translations-l10n); without them Qt's texts stay English.
void installQtChineseTexts(QCoreApplication& application);
