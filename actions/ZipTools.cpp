#include "actions/ZipTools.h"

#include "actions/ProcessRunner.h"
#include "actions/StagingDirectory.h"
#include "platform/FinderActionExecutionError.h"
#include "platform/KestroError.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

namespace {

const QString zipPath = QStringLiteral("/usr/bin/zip");
const QString unzipPath = QStringLiteral("/usr/bin/unzip");
const QString zipinfoPath = QStringLiteral("/usr/bin/zipinfo");

QString absolute(const QString& path) {
    return QFileInfo(path).absoluteFilePath();
}

// A private folder holding "archive.zip", a symbolic link to the archive: a name with no wildcard in it.
class ArchiveLink {
public:
    explicit ArchiveLink(const QString& archive)
        : m_staging(QStringLiteral("kestro-zip-"))
        , m_path(m_staging.path() + QStringLiteral("/archive.zip")) {
        if (!QFile::link(absolute(archive), m_path))
            throw PlatformError(
                QCoreApplication::translate("ZipTools", "无法读取压缩文件“%1”。").arg(archive));
    }
    const QString& path() const { return m_path; }

private:
    StagingDirectory m_staging;
    QString m_path;
};

} // namespace

void ZipTools::pack(const QString& folder, const QString& archive) {
    ProcessRunner::runProcess(zipPath, {QStringLiteral("-qrX"), absolute(archive), QStringLiteral(".")},
                              folder);
}

void ZipTools::unpack(const QString& archive, const QString& destination) {
    const ArchiveLink link(archive);
    try {
        // -n: never overwrite (the folder starts empty; this keeps a repeated entry from replacing the
        // first);
        // -^: keep control characters such as line feeds in names; -P "": an encrypted entry fails at once
        // instead of asking for a password on a terminal.
        ProcessRunner::runProcess(unzipPath, {QStringLiteral("-qq"), QStringLiteral("-n"),
                                              QStringLiteral("-^"), QStringLiteral("-P"), QString(),
                                              link.path(), QStringLiteral("-d"), absolute(destination)});
    } catch (const FinderActionExecutionError& error) {
        if (error.errorCase() != FinderActionExecutionError::Case::commandFailed)
            throw;
        QString detail = error.payload();
        detail.replace(link.path(), archive);
        QString message =
            QCoreApplication::translate("ZipTools", "无法解压“%1”：压缩文件已损坏、已加密或无法读取。")
                .arg(QFileInfo(archive).fileName());
        if (!detail.isEmpty())
            message += QLatin1Char('\n') + detail;
        throw FinderActionExecutionError::commandFailed(message);
    }
}

QStringList ZipTools::entryNames(const QString& archive) {
    const ArchiveLink link(archive);
    const QString listing = ProcessRunner::runProcessOutput(zipinfoPath, {QStringLiteral("-1"), link.path()});
    return listing.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}
