// The loader of FinderViewPresets.plist on any file: it loads what it can and never crashes.
#include "FuzzSupport.h"
#include "stores/FinderViewPresetPersistence.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzSupport::writeSettingsFile(QStringLiteral("FinderViewPresets.plist"), data, size);
    bool leftOut = false;
    FinderViewPresetPersistence::load(leftOut);
    return 0;
}
