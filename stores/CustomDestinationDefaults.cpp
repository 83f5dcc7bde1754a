#include "stores/CustomDestinationDefaults.h"

#include "platform/KestroPaths.h"
#include "platform/PlatformWords.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace {

QString translated(const char* text) {
    return QCoreApplication::translate("CustomDestinationDefaults", text);
}

struct ApplicationCandidate {
    const char* name;
    // An absolute path (an application bundle), or the file name of a desktop entry looked up in the
    // folders of application entries.
    const char* location;
};

struct ApplicationSlot {
    const char* id;
    QList<ApplicationCandidate> candidates; // the first one installed fills the slot
};

// Each slot is one kind of application; macOS has its own, Linux desktops have theirs.
const QList<ApplicationSlot>& applicationSlots() {
    static const QList<ApplicationSlot> table = {
        {"preview",
         {{QT_TRANSLATE_NOOP("CustomDestinationDefaults", "预览"), "/System/Applications/Preview.app"},
          {QT_TRANSLATE_NOOP("CustomDestinationDefaults", "文档查看器"), "org.gnome.Evince.desktop"},
          {QT_TRANSLATE_NOOP("CustomDestinationDefaults", "文档查看器"), "org.gnome.Papers.desktop"},
          {"Okular", "org.kde.okular.desktop"},
          {"Atril", "atril.desktop"},
          {"Xreader", "xreader.desktop"}}},
        {"textedit",
         {{QT_TRANSLATE_NOOP("CustomDestinationDefaults", "文本编辑"), "/System/Applications/TextEdit.app"},
          {QT_TRANSLATE_NOOP("CustomDestinationDefaults", "文本编辑器"), "org.gnome.TextEditor.desktop"},
          {"gedit", "org.gnome.gedit.desktop"},
          {"Kate", "org.kde.kate.desktop"},
          {"KWrite", "org.kde.kwrite.desktop"},
          {"Mousepad", "org.xfce.mousepad.desktop"},
          {"Pluma", "pluma.desktop"}}},
        {"pages",
         {{"Pages", "/Applications/Pages.app"}, {"LibreOffice Writer", "libreoffice-writer.desktop"}}},
        {"numbers",
         {{"Numbers", "/Applications/Numbers.app"}, {"LibreOffice Calc", "libreoffice-calc.desktop"}}},
        {"keynote",
         {{"Keynote", "/Applications/Keynote.app"}, {"LibreOffice Impress", "libreoffice-impress.desktop"}}},
    };
    return table;
}

std::optional<QString> installedPath(const char* location) {
    const QString text = QString::fromUtf8(location);
    if (QDir::isAbsolutePath(text))
        return QFileInfo::exists(text) ? std::optional<QString>(text) : std::nullopt;
    for (const QString& directory : CustomDestinationDefaults::applicationEntryDirectories()) {
        const QString path = directory + QLatin1Char('/') + text;
        if (QFileInfo(path).isFile())
            return path;
    }
    return std::nullopt;
}

// VS Code and Cursor have actions of their own; an entry for them in the list would show twice.
bool isRetiredApplication(const CustomDestination& destination) {
    static const QStringList ids = {QStringLiteral("vscode"), QStringLiteral("cursor")};
    static const QStringList paths = {QStringLiteral("/Applications/Visual Studio Code.app"),
                                      QStringLiteral("/Applications/Cursor.app")};
    static const QStringList entryNames = {QStringLiteral("code.desktop"), QStringLiteral("cursor.desktop")};
    return ids.contains(destination.id) || paths.contains(destination.path) ||
           (destination.path.endsWith(QLatin1String(".desktop")) &&
            entryNames.contains(QFileInfo(destination.path).fileName()));
}

} // namespace

QStringList CustomDestinationDefaults::applicationEntryDirectories() {
    QStringList directories{KestroPaths::applicationsDirectory()};
    QString dataDirs = qEnvironmentVariable("XDG_DATA_DIRS");
    if (dataDirs.isEmpty())
        dataDirs = QStringLiteral("/usr/local/share:/usr/share");
    for (const QString& directory : dataDirs.split(QLatin1Char(':'), Qt::SkipEmptyParts)) {
        if (QDir::isAbsolutePath(directory))
            directories.append(QDir::cleanPath(directory) + QStringLiteral("/applications"));
    }
    directories.removeDuplicates();
    return directories;
}

QList<CustomDestination> CustomDestinationDefaults::fileDestinations() {
    const std::pair<QString, QStandardPaths::StandardLocation> rows[] = {
        {translated(QT_TRANSLATE_NOOP("CustomDestinationDefaults", "桌面")), QStandardPaths::DesktopLocation},
        {translated(QT_TRANSLATE_NOOP("CustomDestinationDefaults", "下载")),
         QStandardPaths::DownloadLocation},
        {platformText(PlatformText::documentsFolder), QStandardPaths::DocumentsLocation},
    };
    QList<CustomDestination> destinations;
    for (const auto& [label, location] : rows) {
        const QString path = QStandardPaths::writableLocation(location);
        if (!path.isEmpty())
            destinations.append({label, label, path});
    }
    return destinations;
}

QList<CustomDestination> CustomDestinationDefaults::quickOpenDestinations() {
    QList<CustomDestination> destinations = fileDestinations();
    destinations.append({QStringLiteral("home"), translated("用户目录"), KestroPaths::homeDirectory()});
    const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    if (!pictures.isEmpty())
        destinations.append({QStringLiteral("pictures"), translated("图片"), pictures});
    // macOS keeps applications in /Applications; elsewhere the system's application entries stand for it.
    const QString applications = QFileInfo(QStringLiteral("/Applications")).isDir()
                                     ? QStringLiteral("/Applications")
                                     : QStringLiteral("/usr/share/applications");
    destinations.append({QStringLiteral("applications"), translated("应用程序"), applications});
    return destinations;
}

QList<CustomDestination> CustomDestinationDefaults::applicationDestinations() {
    QList<CustomDestination> destinations;
    for (const ApplicationSlot& slot : applicationSlots()) {
        for (const ApplicationCandidate& candidate : slot.candidates) {
            if (const std::optional<QString> path = installedPath(candidate.location)) {
                destinations.append({QString::fromLatin1(slot.id), translated(candidate.name), *path});
                break;
            }
        }
    }
    return destinations;
}

CustomDestinationsByKind CustomDestinationDefaults::byKind() {
    const QList<CustomDestination> files = fileDestinations();
    return {{CustomDestinationKinds::rawValue(CustomDestinationKind::copy), files},
            {CustomDestinationKinds::rawValue(CustomDestinationKind::move), files},
            {CustomDestinationKinds::rawValue(CustomDestinationKind::quickOpen), quickOpenDestinations()},
            {CustomDestinationKinds::rawValue(CustomDestinationKind::openApplication),
             applicationDestinations()}};
}

QList<CustomDestination> CustomDestinationDefaults::defaultsFirst(const QList<CustomDestination>& defaults,
                                                                  const QList<CustomDestination>& stored) {
    QList<CustomDestination> result;
    for (const CustomDestination& candidate : defaults) {
        const bool present = std::any_of(stored.cbegin(), stored.cend(), [&](const CustomDestination& entry) {
            return entry.id == candidate.id || entry.path == candidate.path;
        });
        if (!present)
            result.append(candidate);
    }
    return result + stored;
}

CustomDestinationsByKind CustomDestinationDefaults::normalized(const CustomDestinationsByKind& stored) {
    CustomDestinationsByKind result = stored;
    const CustomDestinationsByKind defaults = byKind();
    for (auto it = defaults.cbegin(); it != defaults.cend(); ++it) {
        if (!result.contains(it.key()))
            result.insert(it.key(), it.value());
    }

    const QString quickOpen = CustomDestinationKinds::rawValue(CustomDestinationKind::quickOpen);
    result[quickOpen].removeIf([](const CustomDestination& destination) {
        return destination.id == QLatin1String("kestro-project");
    });

    const QString applications = CustomDestinationKinds::rawValue(CustomDestinationKind::openApplication);
    QList<CustomDestination> storedApplications = result.value(applications);
    storedApplications.removeIf(isRetiredApplication);
    result.insert(applications, defaultsFirst(defaults.value(applications), storedApplications));
    return result;
}
