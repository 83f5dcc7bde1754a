#include "intake/FinderCurrentContext.h"

#include "platform/Platform.h"

const FinderCurrentContext FinderCurrentContext::empty{};

const QString FinderCurrentContext::selectionScript =
    QStringLiteral("tell application \"Finder\"\n"
                   "    set selectedItems to selection\n"
                   "    set output to {}\n"
                   "    repeat with selectedItem in selectedItems\n"
                   "        set end of output to POSIX path of (selectedItem as alias)\n"
                   "    end repeat\n"
                   "    return output\n"
                   "end tell");

const QString FinderCurrentContext::frontWindowTargetScript =
    QStringLiteral("tell application \"Finder\"\n"
                   "    if (count of Finder windows) is greater than 0 then\n"
                   "        return POSIX path of ((target of front Finder window) as alias)\n"
                   "    else\n"
                   "        return POSIX path of (desktop as alias)\n"
                   "    end if\n"
                   "end tell");

QStringList FinderCurrentContext::readSelectedURLs() {
    return runFinderListScript(selectionScript);
}

std::optional<QString> FinderCurrentContext::readTargetedURL() {
    const std::optional<QString> path = runFinderStringScript(frontWindowTargetScript);
    if (!path || path->isEmpty())
        return std::nullopt;
    return path;
}

QStringList FinderCurrentContext::runFinderListScript(const QString& source) {
    return Platform::fileManagerScripting().runListScript(source);
}

std::optional<QString> FinderCurrentContext::runFinderStringScript(const QString& source) {
    return Platform::fileManagerScripting().runStringScript(source);
}
