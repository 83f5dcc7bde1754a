#include "app/DisplayEnvironment.h"

#include <QByteArray>
#include <QtGlobal>

bool DisplayEnvironment::hasDisplay() {
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

bool DisplayEnvironment::isInteractive() {
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    return hasDisplay() && !platform.startsWith("offscreen") && !platform.startsWith("minimal");
}

void DisplayEnvironment::useOffscreenWithoutDisplay() {
    if (!hasDisplay() && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
}
