#include "stores/CustomShortcutAction.h"

QString CustomShortcutAction::actionID() const {
    return (kind == Kind::script ? QStringLiteral("runScript__") : QStringLiteral("runShortcut__")) + id;
}

QString CustomShortcutAction::kindRawValue(Kind kind) {
    return kind == Kind::script ? QStringLiteral("script") : QStringLiteral("shortcut");
}
