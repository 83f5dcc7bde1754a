#include "app/QtChineseTexts.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>

void installQtChineseTexts(QCoreApplication& application) {
    auto* translator = new QTranslator(&application);
    if (translator->load(QStringLiteral("qtbase_zh_CN"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(translator);
    else
        delete translator;
}
