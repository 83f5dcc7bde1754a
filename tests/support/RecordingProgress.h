#pragma once

#include "platform/ActionProgress.h"

#include <algorithm>
#include <QList>
#include <QStringList>

// Records what an action reports, and asks it to stop once it has done stopAfterItems items or
// stopAfterBytes bytes (-1: never).
class RecordingProgress : public ActionProgress {
public:
    void started(const QString& title) override { titles.append(title); }
    void changed(const ActionProgressState& state) override { states.append(state); }
    bool cancelRequested() override {
        if (states.isEmpty())
            return false;
        return (stopAfterItems >= 0 && states.last().itemsDone >= stopAfterItems) ||
               (stopAfterBytes >= 0 && states.last().bytesDone >= stopAfterBytes);
    }
    void finished() override { ++finishedCount; }

    // Done counts never go down from one report to the next.
    bool isMonotonic() const {
        return std::adjacent_find(states.cbegin(), states.cend(), [](const auto& before, const auto& after) {
                   return after.itemsDone < before.itemsDone || after.bytesDone < before.bytesDone;
               }) == states.cend();
    }

    // The percentage shown never goes down (reports without one, a bar that only runs, aside).
    bool percentNeverFalls() const {
        int highest = -1;
        for (const ActionProgressState& state : states) {
            const int percent = state.percent();
            if (percent >= 0 && percent < highest)
                return false;
            highest = std::max(highest, percent);
        }
        return true;
    }

    // The items named as current, in order, each once for each stretch it was in hand.
    QStringList itemsInHand() const {
        QStringList items;
        for (const ActionProgressState& state : states) {
            if (items.isEmpty() || items.constLast() != state.currentItem)
                items.append(state.currentItem);
        }
        return items;
    }
    // Whether every report gave this many items in all.
    bool itemsTotalIs(qint64 total) const {
        return std::all_of(states.cbegin(), states.cend(),
                           [total](const ActionProgressState& state) { return state.itemsTotal == total; });
    }

    QStringList titles;
    QList<ActionProgressState> states;
    int finishedCount = 0;
    qint64 stopAfterItems = -1;
    qint64 stopAfterBytes = -1;
};
