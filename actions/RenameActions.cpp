#include "actions/RenameActions.h"

#include "actions/FinderActionExecutor.h"
#include "actions/FinderNameOrder.h"
#include "actions/PathParts.h"
#include "actions/UniqueName.h"
#include "actions/UniqueNameMove.h"
#include "platform/ExclusiveRename.h"
#include "platform/FinderActionExecutionError.h"
#include "platform/KestroError.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QUuid>

#include <algorithm>
#include <numeric>
#include <sys/stat.h>
#include <vector>

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("RenameActions", text);
}

using PathParts::joined;
using PathParts::nameOf;
using PathParts::parentOf;

// Names compared the way a case- and accent-insensitive volume compares them.
QString folded(const QString& name) {
    const QString decomposed = name.normalized(QString::NormalizationForm_D);
    QString bare;
    bare.reserve(decomposed.size());
    for (const QChar c : decomposed) {
        if (c.category() != QChar::Mark_NonSpacing)
            bare.append(c);
    }
    return bare.toCaseFolded();
}

// A rule can produce a name no folder can hold (find "report" replace "a/b"); refuse it before anything
// moves.
void checkUsableName(const QString& name) {
    if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String("..") ||
        name.contains(QLatin1Char('/')) || name.contains(QChar(u'\0')) ||
        QFile::encodeName(name).size() > 255)
        throw FinderActionExecutionError::invalidPath(name);
}

// A different item (not the source under another spelling) already holds the path.
bool heldByAnotherItem(const QString& source, const QString& path) {
    struct stat sourceStatus {};
    struct stat pathStatus {};
    if (::lstat(QFile::encodeName(path).constData(), &pathStatus) != 0)
        return false;
    if (::lstat(QFile::encodeName(source).constData(), &sourceStatus) != 0)
        return true;
    return sourceStatus.st_dev != pathStatus.st_dev || sourceStatus.st_ino != pathStatus.st_ino;
}

// Whether some selected item lies inside another selected folder.
bool hasNestedItems(const QStringList& items) {
    const QSet<QString> selected(items.cbegin(), items.cend());
    for (const QString& item : items) {
        for (QString folder = parentOf(item); folder != QLatin1String("/"); folder = parentOf(folder)) {
            if (selected.contains(folder))
                return true;
        }
    }
    return false;
}

struct PlannedRename {
    QString source;
    QString newName;
};

qsizetype depthOf(const QString& path) {
    return path.count(QLatin1Char('/'));
}

} // namespace

QStringList RenameActions::renameFiles(const QStringList& selectedURLs, RenameMode mode) {
    QStringList items = FinderActionExecutor::validatedSourceURLs(selectedURLs);
    items.removeDuplicates();
    FinderNameOrder::sortByName(items);
    // A cancelled prompt ends the action with nothing renamed: guessing a name for the user would lose
    // the original names for good.
    const std::optional<RenameOptions> answered = renameOptions(mode);
    if (!answered)
        return {};
    const RenameOptions& options = *answered;

    std::vector<PlannedRename> plan;
    for (qsizetype index = 0; index < items.size(); ++index) {
        const QString name = nameOf(items.at(index));
        const QString newName = renamedName(name, mode, options, index);
        if (newName == name)
            continue;
        checkUsableName(newName);
        plan.push_back({items.at(index), newName});
    }

    // Deeper items go first, so renaming a selected folder never strands a selected item inside it; the
    // paths already collected inside a renamed folder follow it.
    std::vector<size_t> order(plan.size());
    std::iota(order.begin(), order.end(), 0);
    const bool nested = hasNestedItems(items);
    if (nested) {
        std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
            return depthOf(plan[a].source) > depthOf(plan[b].source);
        });
    }
    std::vector<QString> renamed(plan.size());
    for (const size_t index : order) {
        const QString& source = plan[index].source;
        renamed[index] = moveRenamedItem(source, plan[index].newName);
        if (!nested || !QFileInfo(renamed[index]).isDir())
            continue;
        const QString oldPrefix = source + QLatin1Char('/');
        for (QString& path : renamed) {
            if (path.startsWith(oldPrefix))
                path = renamed[index] + path.mid(source.size());
        }
    }

    const QStringList results(renamed.begin(), renamed.end());
    FinderActionExecutor::revealActionResultsIfWanted(results);
    return results;
}

std::optional<RenameOptions> RenameActions::renameOptions(RenameMode mode) {
    const auto single = [](const std::optional<QString>& answer) -> std::optional<RenameOptions> {
        if (!answer)
            return std::nullopt;
        return RenameOptions{*answer, {}};
    };
    switch (mode) {
    case RenameMode::addPrefix:
        return single(FinderActionExecutor::promptText(tr("添加前缀"), tr("输入要添加到文件名前面的文字。")));
    case RenameMode::addSuffix:
        return single(FinderActionExecutor::promptText(tr("添加后缀"), tr("输入要添加到扩展名前面的文字。")));
    case RenameMode::findReplace: {
        const auto answer =
            FinderActionExecutor::promptTwoTexts(tr("查找并替换"), QString(), tr("查找"), tr("替换为"));
        if (!answer)
            return std::nullopt;
        return RenameOptions{answer->first, answer->second};
    }
    case RenameMode::sequential:
        return single(FinderActionExecutor::promptText(tr("序号重命名"), tr("输入统一文件名。")));
    case RenameMode::lowercase:
    case RenameMode::uppercase:
        break;
    }
    return RenameOptions{};
}

QString RenameActions::renamedName(const QString& name, RenameMode mode, const RenameOptions& options,
                                   qsizetype index) {
    const auto [stem, extension] = UniqueName::splitExtension(name);
    QString newStem;
    switch (mode) {
    case RenameMode::addPrefix:
        newStem = options.text + stem;
        break;
    case RenameMode::addSuffix:
        newStem = stem + options.text;
        break;
    case RenameMode::findReplace:
        // An empty search text finds nothing (QString would insert the replacement between all characters).
        newStem = options.text.isEmpty() ? stem : QString(stem).replace(options.text, options.replacement);
        break;
    case RenameMode::sequential:
        newStem =
            options.text + QLatin1Char(' ') + QStringLiteral("%1").arg(index + 1, 3, 10, QLatin1Char('0'));
        break;
    case RenameMode::lowercase:
        newStem = stem.toLower();
        break;
    case RenameMode::uppercase:
        newStem = stem.toUpper();
        break;
    }
    return extension.isEmpty() ? newStem : newStem + QLatin1Char('.') + extension;
}

QString RenameActions::moveRenamedItem(const QString& source, const QString& newName) {
    const QString folder = parentOf(source);
    const QString currentName = nameOf(source);
    const QString destination = joined(folder, newName);
    // A different name, or a case-only change whose spelling another item already holds (possible on a
    // case-sensitive volume): the first free name, never the taken one.
    if (folded(currentName) != folded(newName) || heldByAnotherItem(source, destination))
        return UniqueNameMove::moveForItemName(source, folder, newName);

    const QString extension = UniqueName::splitExtension(currentName).second;
    const QString temporaryStem =
        QStringLiteral(".kestro-renaming-") + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    const QString temporary = UniqueNameMove::move(source, folder, temporaryStem, extension);
    try {
        if (ExclusiveRename::move(temporary, destination))
            return destination;
        throw PlatformError(tr("“%1”已被占用。").arg(destination));
    } catch (const KestroError& error) {
        // Put the item back under its old name rather than leave it hidden.
        bool restored = false;
        try {
            restored = ExclusiveRename::move(temporary, source);
        } catch (const KestroError&) {
        }
        if (restored)
            throw;
        throw PlatformError(tr("%1（文件暂时保存在“%2”。）").arg(error.errorDescription(), temporary));
    }
}
