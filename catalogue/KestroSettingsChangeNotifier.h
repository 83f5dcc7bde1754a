#pragma once

#include <functional>
#include <QString>

// Tells the file-manager side that a settings file changed, with the reason naming which one.
class KestroSettingsChangeNotifier {
public:
    static void post(const QString& reason);
    // Called in this process after each announcement, on the thread that saved: the host rewrites the file
    // managers' menus at this moment. One observer; an empty function removes it.
    static void setObserver(std::function<void(const QString& reason)> observer);
};
