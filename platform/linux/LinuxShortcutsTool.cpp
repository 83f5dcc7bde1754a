#include "platform/ShortcutsTool.h"

// Linux has no Shortcuts application: no tool, no shortcuts.
std::optional<QString> systemShortcutsToolPath() {
    return std::nullopt;
}
