#include "actions/ActionDispatchTable.h"

#include "actions/ArchiveActions.h"
#include "actions/CopyMoveActions.h"
#include "actions/DeveloperToolActions.h"
#include "actions/FinderActionExecutor.h"
#include "actions/FinderViewPresetActions.h"
#include "actions/HiddenFilesSetting.h"
#include "actions/ImageActions.h"
#include "actions/KestroFileTemplate.h"
#include "actions/NewFileActions.h"
#include "actions/OpenActions.h"
#include "actions/PathCopyActions.h"
#include "actions/PathParts.h"
#include "actions/PdfActions.h"
#include "actions/RenameActions.h"
#include "actions/ScheduledDeletionActions.h"

#include <QHash>

namespace {

using Request = ActionDispatchTable::Request;
using Handler = ActionDispatchTable::Handler;
using Directory = FinderActionExecutor::StandardDirectory;

template <typename Action> Handler returningNothing(Action action) {
    return [action](const Request& request) {
        action(request);
        return QStringList();
    };
}

Handler copyOrMove(bool move) {
    return [move](const Request& request) {
        if (request.destinationURL)
            return move ? CopyMoveActions::moveFiles(request.selectedURLs, *request.destinationURL)
                        : CopyMoveActions::copyFiles(request.selectedURLs, *request.destinationURL);
        return move ? CopyMoveActions::moveFilesToChosenDirectory(request.selectedURLs)
                    : CopyMoveActions::copyFilesToChosenDirectory(request.selectedURLs);
    };
}

Handler copyOrMoveTo(bool move, Directory directory) {
    return [move, directory](const Request& request) {
        const QString destination = FinderActionExecutor::standardDirectory(directory);
        return move ? CopyMoveActions::moveFiles(request.selectedURLs, destination)
                    : CopyMoveActions::copyFiles(request.selectedURLs, destination);
    };
}

Handler viewPresetFromRequest() {
    return returningNothing([](const Request& request) {
        std::optional<QString> id = request.presetID;
        if (!id && request.destinationURL)
            id = PathParts::folderNameOf(*request.destinationURL);
        FinderViewPresetActions::applyFinderViewPreset(id);
    });
}

QHash<QString, Handler> buildTable() {
    QHash<QString, Handler> table;
    const auto add = [&table](const char* id, Handler handler) {
        table.insert(QString::fromLatin1(id), std::move(handler));
    };

    add("createFolder", [](const Request& r) {
        return QStringList{NewFileActions::createFolder(r.selectedURLs, r.targetedURL)};
    });
    for (const KestroFileTemplate& fileTemplate : KestroFileTemplate::all()) {
        const KestroFileTemplate::Case templateCase = fileTemplate.templateCase();
        table.insert(fileTemplate.actionID(), [templateCase](const Request& r) {
            return QStringList{
                NewFileActions::createFile(KestroFileTemplate(templateCase), r.selectedURLs, r.targetedURL)};
        });
    }

    add("copyFilesToFolder", copyOrMove(false));
    add("copyFilesToPath", copyOrMove(false));
    add("copyFilesToDesktop", copyOrMoveTo(false, Directory::desktop));
    add("copyFilesToDownloads", copyOrMoveTo(false, Directory::downloads));
    add("copyFilesToDocuments", copyOrMoveTo(false, Directory::documents));
    add("copyBesideOriginal",
        [](const Request& r) { return CopyMoveActions::copyFilesBesideOriginal(r.selectedURLs); });

    const char* pathFormats[] = {"copyFullPath",  "copyFileName",     "copyParentPath",
                                 "copyShellPath", "copyMarkdownLink", "copyFileNameList"};
    for (int number = 0; number < 6; ++number) {
        const auto format = KestroPathCopyFormat(number);
        add(pathFormats[number], returningNothing([format](const Request& r) {
                PathCopyActions::copyPaths(r.selectedURLs, r.targetedURL, format);
            }));
    }

    add("openInTerminal", returningNothing([](const Request& r) {
            OpenActions::openInTerminal(r.selectedURLs, r.targetedURL);
        }));
    add("revealInFinder",
        returningNothing([](const Request& r) { FinderActionExecutor::revealInFinder(r.selectedURLs); }));
    add("openInVSCode", returningNothing([](const Request& r) {
            OpenActions::openInApplication(KestroExternalApplication::visualStudioCode, r.selectedURLs,
                                           r.targetedURL);
        }));
    add("openInCursor", returningNothing([](const Request& r) {
            OpenActions::openInApplication(KestroExternalApplication::cursor, r.selectedURLs, r.targetedURL);
        }));
    add("openWithApplicationPath", returningNothing([](const Request& r) {
            OpenActions::openWithApplicationPath(r.selectedURLs, r.targetedURL, r.destinationURL);
        }));
    add("quickOpenClipboardPath",
        returningNothing([](const Request&) { OpenActions::quickOpenClipboardPath(); }));
    add("quickOpenTypedPath", returningNothing([](const Request&) { OpenActions::quickOpenTypedPath(); }));
    for (const char* id : {"quickOpenPath", "quickOpenHome", "quickOpenDesktop", "quickOpenDownloads",
                           "quickOpenDocuments", "quickOpenApplications", "quickOpenKestroProject"})
        add(id, returningNothing(
                    [](const Request& r) { OpenActions::quickOpenFolder(r.actionID, r.destinationURL); }));

    add("finderViewPreset", viewPresetFromRequest());
    const std::pair<const char*, const char*> viewModes[] = {{"finderViewIcon", "icon view"},
                                                             {"finderViewList", "list view"},
                                                             {"finderViewColumn", "column view"},
                                                             {"finderViewGallery", "flow view"}};
    for (const auto& [id, mode] : viewModes) {
        const QString viewMode = QString::fromLatin1(mode);
        add(id, returningNothing(
                    [viewMode](const Request&) { FinderViewPresetActions::setFinderViewMode(viewMode); }));
    }
    const std::pair<const char*, const char*> sortColumns[] = {
        {"finderSortName", "name column"},
        {"finderSortModificationDate", "modification date column"},
        {"finderSortCreationDate", "creation date column"},
        {"finderSortSize", "size column"},
        {"finderSortKind", "kind column"},
        {"finderSortLabel", "label column"}};
    for (const auto& [id, column] : sortColumns) {
        const QString sortColumn = QString::fromLatin1(column);
        add(id, returningNothing([sortColumn](const Request&) {
                FinderViewPresetActions::setFinderSortColumn(sortColumn);
            }));
    }

    add("moveFilesToFolder", copyOrMove(true));
    add("moveFilesToPath", copyOrMove(true));
    add("moveFilesToDesktop", copyOrMoveTo(true, Directory::desktop));
    add("moveFilesToDownloads", copyOrMoveTo(true, Directory::downloads));
    add("moveFilesToDocuments", copyOrMoveTo(true, Directory::documents));
    add("moveSelectionToNewFolder",
        [](const Request& r) { return CopyMoveActions::moveSelectionToNewFolder(r.selectedURLs); });

    const char* renameModes[] = {"renameAddPrefix",  "renameAddSuffix", "renameFindReplace",
                                 "renameSequential", "renameLowercase", "renameUppercase"};
    for (int number = 0; number < 6; ++number) {
        const auto mode = RenameMode(number);
        add(renameModes[number],
            [mode](const Request& r) { return RenameActions::renameFiles(r.selectedURLs, mode); });
    }

    add("compressToZIP",
        [](const Request& r) { return ArchiveActions::compressToZIP(r.selectedURLs, r.targetedURL); });
    add("extractZIPHere", [](const Request& r) {
        return ArchiveActions::extractZIPs(r.selectedURLs, ArchiveExtractionMode::currentFolder);
    });
    add("extractZIPToFolder", [](const Request& r) {
        return ArchiveActions::extractZIPs(r.selectedURLs, ArchiveExtractionMode::sameNameFolder);
    });

    const auto convert = [](const char* format, const char* extension, QStringList options) {
        return [format, extension, options](const Request& r) {
            return ImageActions::convertImages(r.selectedURLs, QString::fromLatin1(format),
                                               QString::fromLatin1(extension), options);
        };
    };
    add("convertImageToJPEG", convert("jpeg", "jpg", {}));
    add("convertImageToPNG", convert("png", "png", {}));
    add("convertImageToTIFF", convert("tiff", "tiff", {}));
    add("resizeImages", [](const Request& r) { return ImageActions::resizeImages(r.selectedURLs); });
    add("compressJPEG",
        convert("jpeg", "jpg",
                {QStringLiteral("-s"), QStringLiteral("formatOptions"), QStringLiteral("70")}));
    add("stripImageMetadata",
        [](const Request& r) { return ImageActions::stripImageMetadata(r.selectedURLs); });

    add("mergePDFs", [](const Request& r) { return PdfActions::mergePDFs(r.selectedURLs); });
    add("splitPDFs", [](const Request& r) { return PdfActions::splitPDFs(r.selectedURLs); });
    add("imagesToPDF", [](const Request& r) { return PdfActions::imagesToPDF(r.selectedURLs); });
    add("compressPDF", [](const Request& r) { return PdfActions::compressPDFs(r.selectedURLs); });

    add("scheduleDelete1Hour", returningNothing([](const Request& r) {
            ScheduledDeletionActions::scheduleDeletion(r.selectedURLs, 3600, QStringLiteral("1h"));
        }));
    const std::pair<const char*, int> dayCounts[] = {
        {"scheduleDelete7Days", 7}, {"scheduleDelete30Days", 30}, {"scheduleDelete90Days", 90}};
    for (const auto& [id, days] : dayCounts) {
        const int count = days;
        add(id, returningNothing([count](const Request& r) {
                ScheduledDeletionActions::scheduleDeletion(r.selectedURLs, count);
            }));
    }

    add("copySHA256", returningNothing([](const Request& r) {
            DeveloperToolActions::copyChecksums(r.selectedURLs, ChecksumAlgorithm::sha256);
        }));
    add("copyMD5", returningNothing([](const Request& r) {
            DeveloperToolActions::copyChecksums(r.selectedURLs, ChecksumAlgorithm::md5);
        }));
    add("copyFileSize",
        returningNothing([](const Request& r) { DeveloperToolActions::copyFileSizes(r.selectedURLs); }));
    add("toggleHiddenFiles",
        returningNothing([](const Request&) { DeveloperToolActions::toggleHiddenFiles(); }));
    // The same switch in Nemo's right-click menu acts on Nemo's own setting.
    add("toggleNemoHiddenFiles", returningNothing([](const Request&) {
            HiddenFilesSetting::toggle(HiddenFilesSetting::FileManager::nemo);
        }));
    return table;
}

const QHash<QString, Handler>& table() {
    static const QHash<QString, Handler> instance = buildTable();
    return instance;
}

} // namespace

const ActionDispatchTable::Handler* ActionDispatchTable::find(const QString& actionID) {
    const auto it = table().constFind(actionID);
    return it == table().cend() ? nullptr : &it.value();
}

QStringList ActionDispatchTable::actionIDs() {
    return table().keys();
}
