#pragma once

#include "intake/KestroActionRequest.h"

#include <optional>
#include <QString>
#include <QStringList>

// A kestro: URL taken apart. Only the text decides: the scheme must be exactly "kestro", and a "%" not
// followed by two hex digits makes the whole text no URL (guessing at it would hand the action paths that
// nobody selected).
struct KestroActionURL {
    enum class Kind { action, featureRequest };

    Kind kind = Kind::action;
    // The query as sent; for featureRequest only the defaults.
    QStringList passedPaths;
    std::optional<QString> target;
    std::optional<QString> actionID; // absent when the URL has none, or an empty one
    std::optional<QString> destination;
    std::optional<QString> presetID;
    std::optional<QString> title;
    // The URL as it is logged and compared by the duplicate filter.
    QString canonicalText;

    // Nothing for text that is no kestro:// URL of a known host.
    static std::optional<KestroActionURL> parse(const QString& text);
};
