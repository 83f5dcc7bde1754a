#pragma once

#include <QString>
#include <QStringList>
#include <optional>

// Scheduling the selection to move to the trash later.
class ScheduledDeletionActions {
public:
    static void scheduleDeletion(const QStringList& selectedURLs, double timeInterval, const QString& label);
    static void scheduleDeletion(const QStringList& selectedURLs, int days);
};
