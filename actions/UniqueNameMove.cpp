#include "actions/UniqueNameMove.h"

#include "actions/UniqueName.h"
#include "platform/ExclusiveRename.h"
#include "platform/KestroError.h"

#include <QFile>

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

QString UniqueNameMove::move(const QString& source, const QString& folder, const QString& stem,
                             const QString& extension) {
    return move(QFile::encodeName(source), folder, stem, extension);
}

QString UniqueNameMove::moveForItemName(const QString& source, const QString& folder,
                                        const QString& itemName) {
    const auto [stem, extension] = UniqueName::splitExtension(itemName);
    return move(source, folder, stem, extension);
}
