#include "actions/UniqueNameMove.h"

#include "actions/UniqueName.h"
#include "platform/ExclusiveRename.h"
#include "platform/KestroError.h"

#include <QFile>

#include <cerrno>
#include <cstring>

namespace {
// Every refusal means the candidate was taken between the test and the rename; the next test skips it.
// Should a file system keep refusing names it reports as free, give up instead of spinning.
constexpr int maximumAttempts = 1000;
} // namespace

QString UniqueNameMove::move(const QByteArray& source, const QString& folder, const QString& stem,
                             const QString& extension) {
    for (int attempt = 0; attempt < maximumAttempts; ++attempt) {
        const QString candidate = UniqueName::path(folder, stem, extension);
        if (ExclusiveRename::move(source, QFile::encodeName(candidate)))
            return candidate;
    }
    throw PlatformError(QStringLiteral("无法在“%1”中为“%2”找到可用的名称。").arg(folder, stem));
}

QString UniqueNameMove::moveAt(int fromFolder, const QByteArray& name, int toFolder, const QString& folder,
                               const QString& stem, const QString& extension) {
    for (int attempt = 0; attempt < maximumAttempts; ++attempt) {
        const QString candidate = UniqueName::path(folder, stem, extension);
        const QByteArray candidateName =
            QFile::encodeName(candidate.mid(candidate.lastIndexOf(QLatin1Char('/')) + 1));
        const int error = ExclusiveRename::tryMoveAt(fromFolder, name, toFolder, candidateName);
        if (error == 0)
            return candidate;
        if (error != EEXIST)
            throw PlatformError(
                QStringLiteral("无法将“%1”移到“%2”：%3")
                    .arg(QFile::decodeName(name), candidate, QString::fromLocal8Bit(std::strerror(error))));
    }
    throw PlatformError(QStringLiteral("无法在“%1”中为“%2”找到可用的名称。").arg(folder, stem));
}

QString UniqueNameMove::move(const QString& source, const QString& folder, const QString& stem,
                             const QString& extension) {
    return move(QFile::encodeName(source), folder, stem, extension);
}

QString UniqueNameMove::moveForItemName(const QString& source, const QString& folder,
                                        const QString& itemName) {
    const auto [stem, extension] = UniqueName::splitExtension(itemName);
    return move(source, folder, stem, extension);
}
