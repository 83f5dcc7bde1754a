#pragma once

#include <optional>
#include <QString>
#include <QStringList>

// Scheduling the selection to move to the trash later.
class ScheduledDeletionActions {
public:
    static void scheduleDeletion(const QStringList& selectedURLs, double timeInterval, const QString& label);
    static void scheduleDeletion(const QStringList& selectedURLs, int days);
};
