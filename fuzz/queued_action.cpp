// The queue road's decoding of one queue file.
#include "intake/KestroQueuedAction.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    const std::optional<KestroQueuedAction> action = KestroQueuedAction::decode(bytes);
    // What decodes is a whole request: an action and its paths, none of the optional texts empty.
    if (action && ((action->targetedURL && action->targetedURL->isEmpty()) ||
                   (action->presetID && action->presetID->isEmpty())))
        std::abort();
    return 0;
}
