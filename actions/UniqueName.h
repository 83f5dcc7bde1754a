#pragma once

#include <QString>

#include <functional>

// The unique-name rule: a wanted name that exists becomes stem + " " + n + "." + extension for n = 2, 3, ...
// Nothing is ever overwritten. The test and the later creation are not atomic.
class UniqueName {
public:
    // The first free path in folder for stem and extension (extension without its dot, possibly empty).
    static QString path(const QString& folder, const QString& stem, const QString& extension);
    // The first free path in folder for an existing item's name; only the last extension is kept apart,
    // so "a.tar.gz" becomes "a.tar 2.gz".
    static QString pathForItemName(const QString& folder, const QString& itemName);
    // The first name of the rule that taken does not claim, decided on paper: "a.txt", "a 2.txt", ...
    static QString firstFreeName(const QString& stem, const QString& extension,
                                 const std::function<bool(const QString&)>& taken);
    // Splits a name the way the unique-name rule sees it: ("a.tar", "gz"), (".gitignore", "").
    static std::pair<QString, QString> splitExtension(const QString& itemName);
};
