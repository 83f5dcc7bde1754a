#include "actions/StagingDirectory.h"

#include "platform/KestroError.h"
#include "platform/KestroPaths.h"

#include <QDir>
#include <QFile>
#include <QUuid>

#include <sys/stat.h>

StagingDirectory::StagingDirectory(const QString& prefix, const QString& parent) {
    const QString base = parent.isEmpty() ? KestroPaths::userTemporaryDirectory() : parent;
    // Made as mkdtemp makes its folders: mode 0700, and failing rather than taking over anything already
    // there (a folder or link planted by another account), since the temporary folder is shared and what
    // is staged is the user's own files.
    const QString path =
        base + QLatin1Char('/') + prefix + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    if (::mkdir(QFile::encodeName(path).constData(), 0700) != 0)
        throw PlatformError(QStringLiteral("无法创建临时文件夹：%1").arg(path));
    m_path = path;
}

StagingDirectory::~StagingDirectory() {
    QDir(m_path).removeRecursively();
}
