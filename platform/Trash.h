#pragma once

#include <QString>

class Trash {
public:
    virtual ~Trash() = default;

    // Moves the item to the user's trash. Throws PlatformError with the system's message on failure.
    virtual void moveToTrash(const QString& path) = 0;
};
