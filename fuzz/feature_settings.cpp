// The loader of FeatureSettings.plist on any file: it loads what it can and never crashes.
#include "catalogue/FeatureSettingsPersistence.h"
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzSupport::writeSettingsFile(QStringLiteral("FeatureSettings.plist"), data, size);
    FeatureSettingsPersistence::loadSettings();
    return 0;
}
