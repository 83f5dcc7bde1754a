#pragma once

#include <optional>
#include <QString>
#include <QStringList>
#include <utility>

// An open panel that adds an entry to one of the user's lists: single selection, modal.
struct OpenPanelRequest {
    enum class Choose {
        folder,
        file,
        // An application as this system launches them: an application bundle on macOS; a desktop entry or
        // an executable file on Linux.
        application,
    };
    QString title;
    QString buttonLabel;
    Choose choose = Choose::folder;
    // Where the panel starts; empty leaves it to the panel.
    QString initialDirectory;
    bool canCreateFolders = false;
};

// What a request from another program (a link a browser opened) asks to do, shown to the user before
// anything happens. Every text here may come from that program except the title, which is Kestro's own.
struct ConsentRequest {
    QString actionTitle;
    QString actionID;
    QStringList items; // every item the action would touch, in order
    std::optional<QString> destination;
};

// Modal questions to the user. Every answer is optional: no answer means cancelled, which is also what a
// process without an interactive display gets at once.
class Prompts {
public:
    virtual ~Prompts() = default;

    virtual std::optional<QString> promptText(const QString& title, const QString& message) = 0;
    // Two one-line fields under title and message (message may be empty); the hints are the fields'
    // placeholders. The first field has the focus.
    virtual std::optional<std::pair<QString, QString>> promptTwoTexts(const QString& title,
                                                                      const QString& message,
                                                                      const QString& firstHint,
                                                                      const QString& secondHint) = 0;
    // A folder chooser titled "选择目标文件夹" whose accept button reads buttonLabel.
    virtual std::optional<QString> chooseDirectory(const QString& buttonLabel) = 0;
    // The open panel of the settings window's lists: the absolute path of the chosen item.
    virtual std::optional<QString> chooseItem(const OpenPanelRequest& request) = 0;
    // The shortcut picker: an alert with title as its message text and message as its informative text,
    // buttons "添加" then "取消", and an editable combo box listing names (preset to the first one,
    // completing typed text, placeholder as its placeholder). "添加" answers the box's text as typed or
    // chosen.
    virtual std::optional<QString> chooseShortcutName(const QString& title, const QString& message,
                                                      const QString& placeholder,
                                                      const QStringList& names) = 0;
    // Asks whether a request from another program may run: true only when the user confirmed it. No
    // answer, no display or a dismissed dialog all mean no.
    virtual bool confirmRequestFromAnotherProgram(const ConsentRequest& request) = 0;
    // The feature-request dialog: the text the user wants to send, or nothing when cancelled.
    virtual std::optional<QString> requestFeatureText() = 0;
};
