#pragma once

#include "platform/Trash.h"

// The freedesktop.org trash through GIO, exactly as the GNOME file manager does it.
class GioTrash : public Trash {
public:
    void moveToTrash(const QString& path) override;
};
