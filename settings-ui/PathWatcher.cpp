#include "settings-ui/PathWatcher.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

PathWatcher::PathWatcher(QObject* parent)
    : QObject(parent) {
    m_settle.setSingleShot(true);
    m_settle.setInterval(100);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, &m_settle, qOverload<>(&QTimer::start));
    connect(&m_settle, &QTimer::timeout, this, [this] {
        watch(m_paths);
        emit changed();
    });
}

void PathWatcher::watch(const QStringList& paths) {
    m_paths = paths;
    QSet<QString> folders;
    for (const QString& path : paths) {
        if (!QDir::isAbsolutePath(path))
            continue;
        QString folder = QFileInfo(QDir::cleanPath(path)).absolutePath();
        while (!QFileInfo(folder).isDir() && folder != QLatin1String("/"))
            folder = QFileInfo(folder).absolutePath();
        folders.insert(folder);
    }
    const QStringList watched = m_watcher.directories();
    for (const QString& folder : watched) {
        if (!folders.contains(folder))
            m_watcher.removePath(folder);
    }
    for (const QString& folder : std::as_const(folders)) {
        if (!watched.contains(folder))
            m_watcher.addPath(folder);
    }
}
