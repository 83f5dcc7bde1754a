// The loader of CustomShortcutActions.plist on any file: it loads what it can and never crashes.
#include "FuzzSupport.h"
#include "stores/CustomShortcutActionPersistence.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzSupport::writeSettingsFile(QStringLiteral("CustomShortcutActions.plist"), data, size);
    bool leftOut = false;
    CustomShortcutActionPersistence::load(leftOut);
    return 0;
}
