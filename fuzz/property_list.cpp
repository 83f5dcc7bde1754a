// The property-list reader on any bytes: whatever it accepts must be written back as XML that reads again.
#include "platform/PropertyListFile.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    const std::optional<QVariant> value = PropertyListFile::parse(bytes);
    if (!value)
        return 0;
    const QByteArray xml = PropertyListFile::toXml(*value);
    if (xml.isEmpty())
        std::abort();
    PropertyListFile::parse(xml);
    return 0;
}
