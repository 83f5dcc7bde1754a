#include "actions/StagingDirectory.h"

#include "platform/KestroError.h"
#include "platform/KestroPaths.h"

#include <QDir>
#include <QUuid>

StagingDirectory::StagingDirectory(const QString& prefix, const QString& parent) {
    const QString base = parent.isEmpty() ? KestroPaths::userTemporaryDirectory() : parent;
    m_path = base + QLatin1Char('/') + prefix + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    if (!QDir().mkpath(m_path))
        throw PlatformError(QStringLiteral("无法创建临时文件夹：%1").arg(m_path));
}

StagingDirectory::~StagingDirectory() {
    QDir(m_path).removeRecursively();
}
