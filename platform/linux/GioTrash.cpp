// GIO first: its headers use the word "signals", which Qt turns into a keyword.
#include <gio/gio.h>

#include "platform/linux/GioTrash.h"

#include "platform/KestroError.h"
#include "platform/Platform.h"

void GioTrash::moveToTrash(const QString& path) {
    GFile* file = g_file_new_for_path(path.toUtf8().constData());
    GError* error = nullptr;
    const gboolean moved = g_file_trash(file, nullptr, &error);
    g_object_unref(file);
    if (moved)
        return;
    const QString message = QString::fromUtf8(error ? error->message : "g_file_trash failed");
    if (error)
        g_error_free(error);
    throw PlatformError(message);
}

std::shared_ptr<Trash> createSystemTrash() {
    return std::make_shared<GioTrash>();
}
