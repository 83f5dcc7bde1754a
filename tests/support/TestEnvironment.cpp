#include "support/TestEnvironment.h"

#include "platform/Platform.h"
#include "support/FakePlatform.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSettings>

#include <unistd.h>

namespace {
const char* const variables[] = {"HOME",           "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME",
                                 "XDG_STATE_HOME", "XDG_RUNTIME_DIR", "TMPDIR",        "KESTRO_TMPDIR"};
// Two at once would let the older one's destructor put the real HOME back under the newer one's feet.
int liveEnvironments = 0;
} // namespace

TestEnvironment::TestEnvironment() {
    if (liveEnvironments++ != 0)
        qFatal("TestEnvironment: reset the previous environment before making a new one");
    for (const char* name : variables) {
        m_saved.append({name, qgetenv(name)});
        qunsetenv(name);
    }
    const QString base = m_root.path();
    for (const char* folder : {"home", "kestro-tmp", "tmp", "runtime"})
        QDir().mkpath(base + u'/' + QLatin1String(folder));
    QFile::setPermissions(base + QStringLiteral("/runtime"),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    qputenv("HOME", (base + QStringLiteral("/home")).toUtf8());
    qputenv("XDG_RUNTIME_DIR", (base + QStringLiteral("/runtime")).toUtf8());
    qputenv("TMPDIR", (base + QStringLiteral("/tmp")).toUtf8());
    qputenv("KESTRO_TMPDIR", (base + QStringLiteral("/kestro-tmp")).toUtf8());
    // Qt keeps the settings folder it found first for the whole process: Qt's own dialogs would write
    // into the first test's home long after it was removed, and leave it behind.
    for (const QSettings::Format format : {QSettings::NativeFormat, QSettings::IniFormat})
        QSettings::setPath(format, QSettings::UserScope, base + QStringLiteral("/home/.config"));
    FakePlatform::install();
}

TestEnvironment::~TestEnvironment() {
    --liveEnvironments;
    // Tests leave read-only folders behind (unpacked archives); their owner could not remove them otherwise.
    if (::geteuid() != 0) {
        QProcess chmod;
        chmod.start(QStringLiteral("chmod"), {QStringLiteral("-R"), QStringLiteral("u+rwX"), m_root.path()});
        chmod.waitForFinished();
    }
    Platform::reset();
    for (const auto& [name, value] : m_saved) {
        if (value.isNull())
            qunsetenv(name.constData());
        else
            qputenv(name.constData(), value);
    }
}

QString TestEnvironment::makeFolder(const QString& name) const {
    const QString path = QDir::isAbsolutePath(name) ? name : m_root.path() + u'/' + name;
    QDir().mkpath(path);
    return path;
}

QString TestEnvironment::writeFile(const QString& path, const QByteArray& bytes) const {
    const QString full = QDir::isAbsolutePath(path) ? path : m_root.path() + u'/' + path;
    QDir().mkpath(QFileInfo(full).absolutePath());
    QFile file(full);
    file.open(QIODevice::WriteOnly);
    file.write(bytes);
    return full;
}

QString TestEnvironment::logText() const {
    return QString::fromUtf8(readAll(kestroTmp() + QStringLiteral("/kestro-app-action.log")));
}

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
