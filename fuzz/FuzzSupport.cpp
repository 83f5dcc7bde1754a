#include "FuzzSupport.h"

#include "catalogue/KestroSettingsChangeNotifier.h"
#include "platform/KestroPaths.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdlib>

namespace FuzzSupport {

void usePrivateHome() {
    // In memory where there is such a folder: every input is written as a file. A static object, so that
    // the folder goes when the fuzzer exits.
    static QTemporaryDir home(QDir(QStringLiteral("/dev/shm")).exists()
                                  ? QStringLiteral("/dev/shm/kestro-fuzz-XXXXXX")
                                  : QDir::tempPath() + QStringLiteral("/kestro-fuzz-XXXXXX"));
    static const bool ready = [] {
        if (!home.isValid())
            std::abort();
        qputenv("HOME", home.path().toUtf8());
        qunsetenv("XDG_CONFIG_HOME");
        qunsetenv("XDG_DATA_HOME");
        qputenv("KESTRO_TMPDIR", home.path().toUtf8());
        QDir().mkpath(KestroPaths::applicationSupportDirectory());
        return true;
    }();
    (void)ready;
}

QString writeSettingsFile(const QString& fileName, const uint8_t* data, size_t size) {
    usePrivateHome();
    const QString path = KestroPaths::applicationSupportDirectory() + QLatin1Char('/') + fileName;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(reinterpret_cast<const char*>(data), qint64(size)) != qint64(size))
        std::abort();
    return path;
}

} // namespace FuzzSupport

// The loaders never announce anything; saving does, and the fuzzers do not save. The real notifier reaches
// the session bus, which has no place here.
void KestroSettingsChangeNotifier::post(const QString&) {}
