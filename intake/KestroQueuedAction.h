#pragma once

#include "intake/KestroActionRequest.h"

#include <optional>
#include <QByteArray>

// One action request as the file-manager side writes it into a queue folder: a UTF-8 JSON object with
// "actionID" (string) and "selectedPaths" (array of strings), and optionally "targetedPath",
// "destinationPath" and "presetID" (strings). Other keys are ignored; a value of the wrong type counts as
// absent. A "handoffError" (string) carries a click the file-manager side could not hand over: nothing runs,
// the user is told.
struct KestroQueuedAction : KestroActionRequest {
    std::optional<QString> handoffError;

    // The request the bytes hold, or nothing when they are not such an object.
    static std::optional<KestroQueuedAction> decode(const QByteArray& bytes);
};
