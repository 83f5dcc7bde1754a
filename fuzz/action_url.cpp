// The URL road's reading of a kestro: URL into a request.
#include "intake/KestroActionURL.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
    const std::optional<KestroActionURL> url = KestroActionURL::parse(text);
    if (!url)
        return 0;
    // Only kestro: text is taken, and an item without a value counts as absent, so no field is empty.
    if (!text.startsWith(QLatin1String("kestro:")) || url->canonicalText.isEmpty())
        std::abort();
    for (const std::optional<QString>* field :
         {&url->target, &url->actionID, &url->destination, &url->presetID, &url->title}) {
        if (*field && (*field)->isEmpty())
            std::abort();
    }
    for (const QString& path : url->passedPaths) {
        if (path.isEmpty())
            std::abort();
    }
    // A feature request carries nothing else.
    if (url->kind == KestroActionURL::Kind::featureRequest && (!url->passedPaths.isEmpty() || url->actionID))
        std::abort();
    // Parsing what was parsed gives the same request: the log and the duplicate filter see one URL.
    const std::optional<KestroActionURL> again = KestroActionURL::parse(url->canonicalText);
    if (!again || again->passedPaths != url->passedPaths || again->actionID != url->actionID ||
        again->target != url->target || again->destination != url->destination)
        std::abort();
    return 0;
}
