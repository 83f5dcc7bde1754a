#include "app/KestroCommandLine.h"

#include "intake/FinderSelectionModel.h"

#include <QCoreApplication>
#include <QUrl>

#include <cstdio>

int KestroCommandLine::run(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() >= 3 && arguments.at(1) == QLatin1String("--perform")) {
        FinderSelectionModel model;
        if (model.handleIncomingURL(QUrl(arguments.at(2))))
            return 0;
        std::fprintf(stderr, "%s\n", model.lastErrorDescription().toUtf8().constData());
        return 1;
    }
    return 0;
}
