#pragma once

#include "catalogue/KestroFeatureChild.h"

#include <optional>
#include <QHashFunctions>
#include <QList>
#include <QString>
#include <QStringList>

// One of the fourteen top-level features of the file manager's menu. The catalogue is compiled in;
// titles and summaries are translated each time they are asked for.
class KestroFeature {
public:
    // Declaration order is the catalogue order (allCases()).
    enum Case : quint8 {
        createFile,
        quickOpen,
        copyFile,
        copyPath,
        openWith,
        viewOptions,
        customActions,
        organizeFile,
        batchRename,
        archiveTools,
        scheduledDeletion,
        imageTools,
        pdfTools,
        developerTools,
    };

    constexpr KestroFeature(Case value)
        : m_case(value) {}

    static QList<KestroFeature> allCases();
    // Nothing for an identifier that names no feature (the empty string included).
    static std::optional<KestroFeature> fromRawValue(const QString& rawValue);
    // The feature whose children hold this action ID, if any.
    static std::optional<KestroFeature> owning(const QString& actionID);

    Case value() const { return m_case; }
    QString id() const { return rawValue(); }
    QString rawValue() const;
    QString title() const;
    QString summary() const;
    QString systemImage() const;
    // A fresh list on every call, in catalogue order.
    QList<KestroFeatureChild> children() const;
    // The action IDs of children(), in the same order.
    QStringList childIDs() const;

    friend bool operator==(KestroFeature, KestroFeature) = default;

private:
    Case m_case;
};

inline size_t qHash(KestroFeature feature, size_t seed = 0) {
    return qHash(int(feature.value()), seed);
}
