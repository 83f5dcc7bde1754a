#include "catalogue/AppVersion.h"

namespace {
QString orUnknown(const char* value) {
    const QString text = QString::fromUtf8(value);
    return text.isEmpty() ? QStringLiteral("Unknown") : text;
}
} // namespace

#ifndef KESTRO_VERSION
#define KESTRO_VERSION ""
#endif
#ifndef KESTRO_BUILD
#define KESTRO_BUILD ""
#endif

QString AppVersion::shortVersion() {
    return orUnknown(KESTRO_VERSION);
}
QString AppVersion::build() {
    return orUnknown(KESTRO_BUILD);
}
