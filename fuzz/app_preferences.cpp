// The loader of AppPreferences.plist on any file: it loads what it can and never crashes.
#include "catalogue/AppPreferencesPersistence.h"
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzSupport::writeSettingsFile(QStringLiteral("AppPreferences.plist"), data, size);
    bool unreadable = false;
    AppPreferencesPersistence::load(unreadable);
    return 0;
}
