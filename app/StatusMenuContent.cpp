#include "app/StatusMenuContent.h"

#include "actions/CustomActionRunner.h"
#include "catalogue/FeatureSettingsStore.h"
#include "stores/CustomDestinationStore.h"
#include "stores/CustomShortcutActionPersistence.h"

#include <QFileInfo>

StatusMenuContent StatusMenuContent::gather(const FeatureSettingsStore& featureSettings,
                                            const CustomDestinationStore& destinations) {
    StatusMenuContent content;
    content.quickOpenEnabled = featureSettings.isEnabled(KestroFeature::quickOpen);
    if (content.quickOpenEnabled) {
        for (const CustomDestination& destination :
             destinations.destinations(CustomDestinationKind::quickOpen)) {
            if (QFileInfo::exists(destination.path))
                content.quickOpenDestinations.append({destination.name, destination.path});
        }
        for (const KestroFeatureChild& child : featureSettings.orderedChildren(KestroFeature::quickOpen)) {
            const bool offered = child.actionID == QLatin1String("quickOpenClipboardPath") ||
                                 child.actionID == QLatin1String("quickOpenTypedPath");
            if (offered && featureSettings.isEnabled(child))
                content.quickOpenActions.append({child.title, child.actionID});
        }
    }
    content.customActionsEnabled = featureSettings.isEnabled(KestroFeature::customActions);
    if (content.customActionsEnabled) {
        // Read afresh: the file is the truth the file-manager side shares.
        // What cannot run on this system (a shortcut without Shortcuts, AppleScript on Linux) is not offered.
        for (const CustomShortcutAction& action : CustomShortcutActionPersistence::load()) {
            if (CustomActionRunner::canRunHere(action))
                content.customActions.append({action.name, action.actionID()});
        }
    }
    return content;
}
