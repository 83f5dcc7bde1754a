#include "app/QtChineseTexts.h"

#include <QCoreApplication>
#include <QFontDatabase>
#include <QApplication>
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
    static const char* const faces[] = {"Noto Sans CJK SC", "Source Han Sans SC", "Source Han Sans CN",
                                        "WenQuanYi Micro Hei", "WenQuanYi Zen Hei", "PingFang SC"};
    const QStringList installed = QFontDatabase::families(QFontDatabase::SimplifiedChinese);
    for (const char* face : faces) {
        if (!installed.contains(QLatin1String(face)))
            continue;
        QFont font = QApplication::font();
        // The desktop's face stays behind it for what the Chinese face lacks.
        font.setFamilies({QLatin1String(face), font.family()});
        QApplication::setFont(font);
        return;
    }
}
