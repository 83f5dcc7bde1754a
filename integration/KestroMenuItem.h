#pragma once

#include <optional>
#include <QList>
#include <QString>
#include <QStringList>

// Which selected files an item makes sense for. Every selected item must be of the kind.
enum class KestroMenuFileKind { any, image, pdf, archive };

// One entry of the file manager's Kestro menu: an action, or a submenu when it has children.
struct KestroMenuItem {
    // Unique within one menu and stable across rewrites: what a click hands over to kestro-handoff.
    QString id;
    QString title;
    // A freedesktop icon name; may be empty.
    QString icon;
    // Empty for a submenu.
    QString actionID;
    std::optional<QString> destinationPath;
    // Where the item is offered: on selected items, on the folder background (the folder is the target).
    bool onSelection = true;
    bool onBackground = false;
    KestroMenuFileKind fileKind = KestroMenuFileKind::any;
    // The one file manager (its program name) where the item can work; empty for all of them.
    QString onlyIn;
    QList<KestroMenuItem> children;

    bool isSubmenu() const { return actionID.isEmpty(); }
    bool operator==(const KestroMenuItem&) const = default;
};

namespace KestroMenuFileKinds {
// Lower-case name endings with their dot (".tar.gz"); empty for any.
QStringList suffixes(KestroMenuFileKind kind);
// MIME types (wildcards allowed, "image/*"); "all/allfiles" for any.
QStringList mimeTypes(KestroMenuFileKind kind);
bool matches(KestroMenuFileKind kind, const QString& fileName);
QString rawValue(KestroMenuFileKind kind);
} // namespace KestroMenuFileKinds
