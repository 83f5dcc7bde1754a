#include "intake/KestroActionURL.h"

#include <QRegularExpression>
#include <QUrl>
#include <QUrlQuery>

namespace {
bool hasBrokenPercentEncoding(const QString& text) {
    static const QRegularExpression broken(QStringLiteral("%(?![0-9A-Fa-f]{2})"));
    return text.contains(broken);
}
} // namespace

std::optional<KestroActionURL> KestroActionURL::parse(const QString& text) {
    // QUrl folds the scheme to lower case; the scheme is compared exactly, so look at the text itself.
    if (!text.startsWith(QLatin1String("kestro:")) || hasBrokenPercentEncoding(text))
        return std::nullopt;
    const QUrl url(text);
    // An invalid URL (a port that is no number, say) would still show a host, but nothing of it could be
    // logged or told apart from the next one.
    if (!url.isValid())
        return std::nullopt;
    KestroActionURL parsed;
    parsed.canonicalText = url.toString(QUrl::FullyEncoded);
    if (url.host() == QLatin1String("feature-request")) {
        parsed.kind = Kind::featureRequest;
        return parsed;
    }
    if (url.host() != QLatin1String("finder-action"))
        return std::nullopt;

    const auto firstWins = [](std::optional<QString>& slot, const QString& value) {
        if (!slot)
            slot = value;
    };
    for (const auto& [name, value] : QUrlQuery(url).queryItems(QUrl::FullyDecoded)) {
        // An item without a value counts as absent.
        if (value.isEmpty())
            continue;
        if (name == QLatin1String("path"))
            parsed.passedPaths.append(value);
        else if (name == QLatin1String("target"))
            firstWins(parsed.target, value);
        else if (name == QLatin1String("actionID"))
            firstWins(parsed.actionID, value);
        else if (name == QLatin1String("destination") || name == QLatin1String("destinationPath"))
            firstWins(parsed.destination, value);
        else if (name == QLatin1String("presetID"))
            firstWins(parsed.presetID, value);
        else if (name == QLatin1String("action"))
            firstWins(parsed.title, value);
    }
    return parsed;
}
