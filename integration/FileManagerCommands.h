#pragma once

#include <QString>
#include <QStringList>

// The command lines the file managers run on a click, quoted for the way each runs them. Every argument is
// quoted, so names with blanks, quotes, "$", ";", "&", newlines or a leading dash stay one argument.
namespace FileManagerCommands {

// How the paths a file manager hands over are to be read.
enum class PathsAre {
    selection,
    // The one path is the folder to act in (a folder background, or one folder standing for it).
    targetFolder,
};

// kestro-handoff's arguments for an item: how to read the paths, the item's id, then "--" so no path is
// taken for an option.
QStringList handoffArguments(const QString& itemID, PathsAre paths = PathsAre::selection);

// The value of a desktop entry's Exec key (Dolphin, PCManFM-Qt): each argument double-quoted with "\" before
// '"', '`', '$' and '\', "%" doubled, then the key's own escapes ("\\", "\n", "\t", "\r"); fieldCode (such
// as "%F") is appended unquoted.
QString desktopExec(const QStringList& arguments, const QString& fieldCode);

// A desktop-entry value with the key's string escapes ("\\", "\n", "\t", "\r"), so that a newline in a
// user's name cannot start a new key.
QString desktopValue(const QString& text);

// A Thunar custom-action command, which Thunar runs through "sh -c" after expanding its "%" codes: each
// argument in single quotes, "%" doubled; fieldCode appended unquoted.
QString thunarCommand(const QStringList& arguments, const QString& fieldCode);

} // namespace FileManagerCommands
