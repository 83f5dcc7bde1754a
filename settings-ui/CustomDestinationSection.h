#pragma once

#include "settings-ui/UserListSection.h"
#include "stores/CustomDestination.h"

class CustomDestinationStore;

// One kind of the user's favourite places: add with a chooser, remove the selected one, drag to reorder.
// A place whose folder (or application) no longer exists stays listed with a warning, which follows the
// file system while the page is open.
class CustomDestinationSection : public UserListSection {
    Q_OBJECT
public:
    CustomDestinationSection(CustomDestinationStore& store, CustomDestinationKind kind,
                             QWidget* parent = nullptr);

private:
    CustomDestinationStore& m_store;
    CustomDestinationKind m_kind;
};
