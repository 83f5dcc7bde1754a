#include "actions/Libheif.h"

#include "platform/DiagnosticLog.h"

#include <QString>

#include <dlfcn.h>

namespace {

// The soname of libheif 1.x, whose C interface Kestro is built against.
constexpr const char* libraryName = "libheif.so.1";

const Libheif* load() {
    void* library = ::dlopen(libraryName, RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        DiagnosticLog::append(
            QStringLiteral("HEIF photos cannot be read: %1").arg(QString::fromLocal8Bit(::dlerror())));
        return nullptr;
    }
    static Libheif functions;
#define KESTRO_LIBHEIF_RESOLVE(name)                                                                         \
    functions.name = reinterpret_cast<decltype(&::name)>(::dlsym(library, #name));                           \
    if (!functions.name) {                                                                                   \
        DiagnosticLog::append(QStringLiteral("HEIF photos cannot be read: %1 lacks %2")                      \
                                  .arg(QLatin1String(libraryName), QLatin1String(#name)));                   \
        return nullptr;                                                                                      \
    }
    KESTRO_LIBHEIF_FUNCTIONS(KESTRO_LIBHEIF_RESOLVE)
#undef KESTRO_LIBHEIF_RESOLVE
    // Registers its codecs; it stays loaded for the life of the process.
    functions.heif_init(nullptr);
    return &functions;
}

} // namespace

const Libheif* Libheif::get() {
    static const Libheif* const loaded = load();
    return loaded;
}
