#pragma once

#include "stores/CustomDestination.h"

#include <QObject>
#include <QSet>

// The user's four lists of favourite places, edited from the settings window and read by the menus. Every
// edit replaces the kind's list, saves both copies of the file and then emits destinationsChanged.
// Main thread only.
class CustomDestinationStore : public QObject {
    Q_OBJECT
public:
    // Loads the file, brings it in line with the defaults and saves it at once (so every start rewrites both
    // copies and announces them). A file that did not load whole is first copied aside.
    explicit CustomDestinationStore(QObject* parent = nullptr);

    const CustomDestinationsByKind& destinationsByKind() const { return m_destinationsByKind; }
    // The kind's list in menu order; empty when the kind has none.
    QList<CustomDestination> destinations(CustomDestinationKind kind) const;

    // Asks for a folder (an application for openApplication) with an open panel and adds it.
    void addDestination(CustomDestinationKind kind);
    // Adds a chosen path; false (and nothing changes) when the kind already lists exactly that path.
    bool addDestinationPath(CustomDestinationKind kind, const QString& path);
    // Removes the entries at those offsets (offsets out of range are ignored).
    void removeDestinations(CustomDestinationKind kind, const QSet<qsizetype>& offsets);
    // Moves the entries at those offsets as one block before the entry at destination (the shared list move).
    void moveDestinations(CustomDestinationKind kind, const QSet<qsizetype>& offsets, qsizetype destination);

    // The name a chosen path gets in the menu.
    static QString displayName(const QString& path, CustomDestinationKind kind);

signals:
    void destinationsChanged(CustomDestinationKind kind);

private:
    void store(CustomDestinationKind kind, const QList<CustomDestination>& destinations);

    CustomDestinationsByKind m_destinationsByKind;
};
