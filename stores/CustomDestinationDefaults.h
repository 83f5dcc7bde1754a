#pragma once

#include "stores/CustomDestination.h"

// The lists a first start offers, and how a loaded file is brought in line with them. Defaults are computed
// afresh at each call: they follow the folders and applications present at that moment.
class CustomDestinationDefaults {
public:
    // Desktop, Downloads and Documents, each where the system reports the folder.
    static QList<CustomDestination> fileDestinations();
    // The file defaults, then the home folder, Pictures and the applications folder.
    static QList<CustomDestination> quickOpenDestinations();
    // The installed ones among a document viewer, a text editor and the three office applications.
    static QList<CustomDestination> applicationDestinations();
    static CustomDestinationsByKind byKind();

    // Absent kinds get their defaults (a present empty list stays empty); retired entries are dropped;
    // missing application defaults go ahead of the stored applications.
    static CustomDestinationsByKind normalized(const CustomDestinationsByKind& stored);
    // The defaults that no stored entry matches by id or by path, in the defaults' order, then the stored
    // list.
    static QList<CustomDestination> defaultsFirst(const QList<CustomDestination>& defaults,
                                                  const QList<CustomDestination>& stored);

    // The folders where this system keeps application entries (desktop entries), most personal first.
    static QStringList applicationEntryDirectories();
};
