#pragma once

#include <QString>

// The version strings the window and the feature-request mail show.
class AppVersion {
public:
    static QString shortVersion();
    static QString build();
};
