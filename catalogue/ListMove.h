#pragma once

#include <algorithm>
#include <QList>
#include <QSet>

// How every reorderable list moves: the items at the given offsets leave, keeping their relative order, and
// go back in as one block before the item that stood at the destination offset before the move; a destination
// past the end appends them. Offsets are those of the list before the move; out-of-range offsets are ignored.
template <typename T>
QList<T> movedList(const QList<T>& list, const QSet<qsizetype>& offsets, qsizetype destination) {
    QList<T> moving;
    QList<T> staying;
    qsizetype insertAt = -1;
    for (qsizetype index = 0; index < list.size(); ++index) {
        if (index == destination)
            insertAt = staying.size();
        (offsets.contains(index) ? moving : staying).append(list.at(index));
    }
    // The item at the destination may itself be moving: the block then goes where that item was.
    if (insertAt < 0)
        insertAt = staying.size();
    QList<T> result = staying.mid(0, insertAt);
    result += moving;
    result += staying.mid(insertAt);
    return result;
}
