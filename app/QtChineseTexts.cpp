#include "app/QtChineseTexts.h"

#include <QApplication>
#include <QCoreApplication>
#include <QFont>
#include <QLibraryInfo>
#include <QTranslator>

void installQtChineseTexts(QCoreApplication& application) {
    auto* translator = new QTranslator(&application);
    if (translator->load(QStringLiteral("qtbase_zh_CN"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(translator);
    else
        delete translator;
}

void useSimplifiedChineseFont() {
    // Faces that are not installed are passed over in order; the desktop's own face comes last, for what
    // no Chinese face has. Nothing is asked of the font database here: listing its families cost the
    // start-up several milliseconds.
    QFont font = QApplication::font();
    font.setFamilies({QStringLiteral("Noto Sans CJK SC"), QStringLiteral("Source Han Sans SC"),
                      QStringLiteral("Source Han Sans CN"), QStringLiteral("WenQuanYi Micro Hei"),
                      QStringLiteral("WenQuanYi Zen Hei"), QStringLiteral("PingFang SC"), font.family()});
    QApplication::setFont(font);
}
