// The loader of ScheduledDeletions.plist on any file: a schedule it cannot read is an error, never a crash.
#include "FuzzSupport.h"
#include "platform/KestroError.h"
#include "stores/ScheduledDeletionPersistence.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzSupport::writeSettingsFile(QStringLiteral("ScheduledDeletions.plist"), data, size);
    try {
        bool leftOut = false;
        ScheduledDeletionPersistence::load(leftOut);
    } catch (const PlatformError&) {
    }
    return 0;
}
