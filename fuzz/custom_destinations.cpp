// The loader of CustomDestinations.plist on any file: it loads what it can and never crashes.
#include "FuzzSupport.h"
#include "stores/CustomDestinationPersistence.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzSupport::writeSettingsFile(QStringLiteral("CustomDestinations.plist"), data, size);
    bool leftOut = false;
    CustomDestinationPersistence::load(leftOut);
    return 0;
}
