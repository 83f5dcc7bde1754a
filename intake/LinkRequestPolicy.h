#pragma once

#include "catalogue/FeatureSettings.h"
#include "intake/KestroActionURL.h"

// What a kestro: link from another program may do. Such a link runs at once only when it cannot hurt (a
// new empty file in a folder of the user's, a standard folder opened); anything else waits for the user's
// consent; some things are never taken from a link at all.
class LinkRequestPolicy {
public:
    enum class Verdict { run, ask, refuse };
    struct Decision {
        Verdict verdict;
        // Why a request was refused, for the log.
        QString reason;
    };

    // Rewrites the request to what will run: every path resolved by the file system (the items' folders,
    // the target and the destination), and an application named by its desktop entry id made that entry's
    // path. What the user is asked about and what runs are then the same values. Refuses a request that
    // reaches Kestro's own folders or folders whose contents run as programs.
    static Decision evaluate(KestroActionRequest& request, const FeatureSettings& settings);
    // Resolves the request's paths in place; the reason when one cannot be resolved.
    static std::optional<QString> resolve(KestroActionRequest& request);

    // Whether the action is switched on in the settings: its feature and the action itself. The menu items
    // of the user's own lists (destinations, applications) have no switch of their own and follow their
    // feature's; anything else the catalogue does not list has no switch at all.
    static bool isSwitchedOn(const QString& actionID, const FeatureSettings& settings);
    // Kestro's own name for an action, to show the user; never a title that came with the request.
    static QString titleOf(const QString& actionID);
    // The installed desktop entry an id or a path names, or nothing when it names no installed application.
    static std::optional<QString> installedDesktopEntry(const QString& idOrPath);
};
