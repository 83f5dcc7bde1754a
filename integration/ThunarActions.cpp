#include "integration/ThunarActions.h"

#include "integration/FileManagerCommands.h"
#include "integration/FileManagerMenuFiles.h"

#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace {

struct Range {
    qsizetype begin;
    qsizetype end;
};

struct Layout {
    QList<Range> kestroActions;
    qsizetype closingTag = -1; // where </actions> begins
};

// Finds Kestro's actions and the end of the list in the decoded text. Offsets are in characters of text.
std::optional<Layout> scan(const QString& text, QString& error) {
    Layout layout;
    QXmlStreamReader reader(text);
    qsizetype actionBegin = -1;
    QString uniqueID;
    bool inUniqueID = false;
    bool sawRoot = false;
    // The reader may look ahead past a token, so tags are located by their own brackets: a start tag
    // begins at the last "<" before where the reader stands after it, an end tag ends at the last ">".
    const auto tagBegin = [&] {
        return text.lastIndexOf(QLatin1Char('<'), reader.characterOffset() - 1);
    };
    const auto tagEnd = [&] {
        return text.lastIndexOf(QLatin1Char('>'), reader.characterOffset() - 1) + 1;
    };
    while (true) {
        const QXmlStreamReader::TokenType token = reader.readNext();
        if (token == QXmlStreamReader::EndDocument || token == QXmlStreamReader::Invalid)
            break;
        const auto name = reader.name();
        if (token == QXmlStreamReader::StartElement) {
            if (!sawRoot && name != QLatin1String("actions")) {
                error = QStringLiteral("the top element is <%1>, not <actions>").arg(name);
                return std::nullopt;
            }
            sawRoot = true;
            if (name == QLatin1String("action")) {
                actionBegin = tagBegin();
                uniqueID.clear();
            }
            inUniqueID = name == QLatin1String("unique-id");
        } else if (token == QXmlStreamReader::Characters && inUniqueID) {
            uniqueID += reader.text();
        } else if (token == QXmlStreamReader::EndElement) {
            inUniqueID = false;
            if (name == QLatin1String("action") && actionBegin >= 0) {
                if (uniqueID.trimmed().startsWith(QString::fromLatin1(ThunarActions::uniqueIDPrefix())))
                    layout.kestroActions.append({actionBegin, tagEnd()});
                actionBegin = -1;
            } else if (name == QLatin1String("actions") && reader.isEndElement()) {
                layout.closingTag = text.lastIndexOf(QStringLiteral("</"), reader.characterOffset() - 1);
            }
        }
    }
    if (reader.hasError()) {
        error = QStringLiteral("line %1: %2").arg(reader.lineNumber()).arg(reader.errorString());
        return std::nullopt;
    }
    if (layout.closingTag < 0) {
        error = QStringLiteral("no <actions> list");
        return std::nullopt;
    }
    return layout;
}

// The range widened to its line: the indentation before it and the line break after it.
Range wholeLines(const QString& text, Range range) {
    qsizetype begin = range.begin;
    while (begin > 0 && (text.at(begin - 1) == QLatin1Char(' ') || text.at(begin - 1) == QLatin1Char('\t')))
        --begin;
    if (begin > 0 && text.at(begin - 1) != QLatin1Char('\n'))
        begin = range.begin;
    qsizetype end = range.end;
    while (end < text.size() && (text.at(end) == QLatin1Char(' ') || text.at(end) == QLatin1Char('\t')))
        ++end;
    if (end < text.size() && text.at(end) == QLatin1Char('\n'))
        ++end;
    else
        end = range.end;
    return {begin, end};
}

QStringList patternsOf(KestroMenuFileKind kind) {
    QStringList patterns;
    for (const QString& suffix : KestroMenuFileKinds::suffixes(kind)) {
        patterns.append(QLatin1Char('*') + suffix);
        patterns.append(QLatin1Char('*') + suffix.toUpper());
    }
    return patterns.isEmpty() ? QStringList{QStringLiteral("*")} : patterns;
}

// What one rendering of an item is offered on.
enum class Click { files, severalItems, oneFolder };

void writeAction(QXmlStreamWriter& writer, const FileManagerMenuFiles::PlacedItem& placed,
                 const QString& handoff, Click click) {
    const KestroMenuItem& item = placed.item;
    const bool typed = item.fileKind != KestroMenuFileKind::any;
    const QString variant = click == Click::oneFolder      ? QStringLiteral("#folder")
                            : click == Click::severalItems ? QStringLiteral("#several")
                                                           : QString();
    writer.writeStartElement(QStringLiteral("action"));
    writer.writeTextElement(QStringLiteral("icon"), item.icon);
    writer.writeTextElement(QStringLiteral("name"), item.title);
    writer.writeTextElement(QStringLiteral("submenu"), placed.submenus.join(QLatin1Char('/')));
    writer.writeTextElement(QStringLiteral("unique-id"),
                            QString::fromLatin1(ThunarActions::uniqueIDPrefix()) + item.id + variant);
    writer.writeTextElement(
        QStringLiteral("command"),
        FileManagerCommands::thunarCommand(QStringList{handoff} +
                                               FileManagerCommands::handoffArguments(
                                                   item.id, click == Click::oneFolder
                                                                ? FileManagerCommands::PathsAre::targetFolder
                                                                : FileManagerCommands::PathsAre::selection),
                                           QStringLiteral("%F")));
    writer.writeTextElement(QStringLiteral("description"), QStringLiteral("Kestro"));
    // Thunar's range is the number of items clicked; the background is always one.
    writer.writeTextElement(QStringLiteral("range"), click == Click::severalItems
                                                         ? QStringLiteral("2-1000000")
                                                     : click == Click::files && !typed ? QStringLiteral("1-1")
                                                                                       : QStringLiteral("*"));
    writer.writeTextElement(QStringLiteral("patterns"), patternsOf(item.fileKind).join(QLatin1Char(';')));
    if (click != Click::files)
        writer.writeEmptyElement(QStringLiteral("directories"));
    if (click != Click::oneFolder) {
        for (const char* kind : {"audio-files", "image-files", "other-files", "text-files", "video-files"})
            writer.writeEmptyElement(QString::fromLatin1(kind));
    }
    writer.writeEndElement();
}

QString actionsText(const QList<KestroMenuItem>& menu, const QString& handoff) {
    QString text;
    QXmlStreamWriter writer(&text);
    writer.setAutoFormatting(true);
    writer.setAutoFormattingIndent(-1); // one tab, as Thunar writes its own
    for (const FileManagerMenuFiles::PlacedItem& placed : FileManagerMenuFiles::placedActions(menu)) {
        // Thunar 4.18 hands over the folder in view exactly as one selected folder (working directory
        // included, inside submenus). So a selection item is offered on one file, or on two and more items
        // with folders among them (never the background), and an item that needs no selection gets a
        // rendering for one folder, whose command says the path is the folder to act in.
        const bool any = placed.item.fileKind == KestroMenuFileKind::any;
        if (placed.item.onSelection) {
            writeAction(writer, placed, handoff, Click::files);
            if (any)
                writeAction(writer, placed, handoff, Click::severalItems);
        }
        if (placed.item.onBackground && any)
            writeAction(writer, placed, handoff, Click::oneFolder);
    }
    // Each action on lines of its own, indented one step inside <actions>.
    QString indented;
    for (const QString& line : text.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        indented += QLatin1Char('\t') + line + QLatin1Char('\n');
    return indented;
}

} // namespace

QByteArray ThunarActions::uniqueIDPrefix() {
    return QByteArrayLiteral("kestro-");
}

std::optional<QByteArray> ThunarActions::merged(const QByteArray& existing, const QList<KestroMenuItem>& menu,
                                                const QString& handoff, QString& error) {
    QString text = existing.isEmpty()
                       ? QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<actions>\n</actions>\n")
                       : QString::fromUtf8(existing);
    // Only text that decodes and encodes back to the same bytes can be kept byte for byte.
    if (text.toUtf8() != (existing.isEmpty() ? text.toUtf8() : existing)) {
        error = QStringLiteral("not UTF-8 text");
        return std::nullopt;
    }
    const std::optional<Layout> layout = scan(text, error);
    if (!layout)
        return std::nullopt;
    QString result;
    qsizetype position = 0;
    for (const Range& action : layout->kestroActions) {
        const Range lines = wholeLines(text, action);
        result += text.mid(position, lines.begin - position);
        position = lines.end;
    }
    result += text.mid(position, layout->closingTag - position);
    const QString ours = actionsText(menu, handoff);
    if (!ours.isEmpty() && !result.isEmpty() && !result.endsWith(QLatin1Char('\n')))
        result += QLatin1Char('\n');
    result += ours + text.mid(layout->closingTag);
    return result.toUtf8();
}

bool ThunarActions::containsKestroActions(const QByteArray& existing) {
    QString error;
    const std::optional<Layout> layout = scan(QString::fromUtf8(existing), error);
    return layout && !layout->kestroActions.isEmpty();
}
