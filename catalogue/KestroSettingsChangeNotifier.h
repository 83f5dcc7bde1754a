#pragma once

#include <QString>

// Tells the file-manager side that a settings file changed, with the reason naming which one.
class KestroSettingsChangeNotifier {
public:
    static void post(const QString& reason);
};
