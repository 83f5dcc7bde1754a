#pragma once

#include <optional>
#include <QHashFunctions>
#include <QList>
#include <QMap>
#include <QString>

// The four lists of favourite places, in the order the settings window shows their sections.
enum class CustomDestinationKind { copy, move, quickOpen, openApplication };

// One favourite place: a folder, or an application for openApplication.
struct CustomDestination {
    QString id;
    QString name;
    QString path;

    friend bool operator==(const CustomDestination&, const CustomDestination&) = default;
};

inline size_t qHash(const CustomDestination& destination, size_t seed = 0) {
    return qHashMulti(seed, destination.id, destination.name, destination.path);
}

// The lists by the kind's raw value, each in menu order. Keys the file holds beyond the four kinds are kept.
using CustomDestinationsByKind = QMap<QString, QList<CustomDestination>>;

// The kinds' raw values and the texts the settings window shows for them.
namespace CustomDestinationKinds {
QList<CustomDestinationKind> allCases();
QString rawValue(CustomDestinationKind kind);
std::optional<CustomDestinationKind> fromRawValue(const QString& rawValue);
QString title(CustomDestinationKind kind);
QString sectionTitle(CustomDestinationKind kind);
QString addButtonTitle(CustomDestinationKind kind);
QString addPanelTitle(CustomDestinationKind kind);
} // namespace CustomDestinationKinds
