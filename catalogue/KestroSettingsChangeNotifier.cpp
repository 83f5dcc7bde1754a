#include "catalogue/KestroSettingsChangeNotifier.h"

#include "platform/Platform.h"

void KestroSettingsChangeNotifier::post(const QString& reason) {
    Platform::notifications().postSettingsChanged(reason);
}
