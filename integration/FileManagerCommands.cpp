#include "integration/FileManagerCommands.h"

namespace {

QString desktopArgument(const QString& argument) {
    QString quoted = QStringLiteral("\"");
    for (const QChar c : argument) {
        if (c == QLatin1Char('"') || c == QLatin1Char('`') || c == QLatin1Char('$') || c == QLatin1Char('\\'))
            quoted += QLatin1Char('\\');
        if (c == QLatin1Char('%'))
            quoted += QLatin1Char('%');
        quoted += c;
    }
    return quoted + QLatin1Char('"');
}

QString shellArgument(const QString& argument) {
    QString quoted = argument;
    quoted.replace(QLatin1Char('\''), QStringLiteral("'\\''"));
    quoted.replace(QLatin1Char('%'), QStringLiteral("%%"));
    return QLatin1Char('\'') + quoted + QLatin1Char('\'');
}

} // namespace

// Every desktop-entry value goes through these before Exec's own rules apply.
QString FileManagerCommands::desktopValue(const QString& text) {
    QString escaped;
    for (const QChar c : text) {
        switch (c.unicode()) {
        case '\\':
            escaped += QStringLiteral("\\\\");
            break;
        case '\n':
            escaped += QStringLiteral("\\n");
            break;
        case '\t':
            escaped += QStringLiteral("\\t");
            break;
        case '\r':
            escaped += QStringLiteral("\\r");
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

QStringList FileManagerCommands::handoffArguments(const QString& itemID, PathsAre paths) {
    switch (paths) {
    case PathsAre::selection:
        break;
    case PathsAre::targetFolder:
        return {QStringLiteral("--folder"), itemID, QStringLiteral("--")};
    }
    return {itemID, QStringLiteral("--")};
}

QString FileManagerCommands::desktopExec(const QStringList& arguments, const QString& fieldCode) {
    QStringList parts;
    for (const QString& argument : arguments)
        parts.append(desktopArgument(argument));
    parts.append(fieldCode);
    return desktopValue(parts.join(QLatin1Char(' ')));
}

QString FileManagerCommands::thunarCommand(const QStringList& arguments, const QString& fieldCode) {
    QStringList parts;
    for (const QString& argument : arguments)
        parts.append(shellArgument(argument));
    parts.append(fieldCode);
    return parts.join(QLatin1Char(' '));
}
