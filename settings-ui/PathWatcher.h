#pragma once

#include <QFileSystemWatcher>
#include <QObject>
#include <QStringList>
#include <QTimer>

// Says when any of a set of paths may have appeared, gone or been replaced, so that what a page shows about
// them follows the file system rather than the moment the page was built. It watches the folder holding
// each path (while that folder is missing, the nearest one above it that exists) and reports once per burst
// of changes, after looking again for the folders to watch.
class PathWatcher : public QObject {
    Q_OBJECT
public:
    explicit PathWatcher(QObject* parent = nullptr);

    // Replaces the paths watched.
    void watch(const QStringList& paths);

signals:
    void changed();

private:
    QFileSystemWatcher m_watcher;
    QTimer m_settle;
    QStringList m_paths;
};
