#pragma once

#include <QHashFunctions>
#include <QString>

// One action under a feature. Its identity is the action ID; equality compares all four fields.
struct KestroFeatureChild {
    QString title;
    QString summary;
    QString systemImage;
    QString actionID;

    const QString& id() const { return actionID; }
    bool operator==(const KestroFeatureChild&) const = default;
};

inline size_t qHash(const KestroFeatureChild& child, size_t seed = 0) {
    return qHash(child.actionID, seed);
}
