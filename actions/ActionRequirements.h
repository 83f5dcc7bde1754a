#pragma once

#include <QString>

// What kind of application object an action needs when it runs alone under "kestro --perform":
// most need only the core, the clipboard needs a GUI application, questions need widgets.
class ActionRequirements {
public:
    enum class Requirement { core, gui, widgets };

    static Requirement of(const QString& actionID);
};
