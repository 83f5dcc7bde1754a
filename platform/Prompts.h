#pragma once

#include <QString>
#include <optional>
#include <utility>

// Modal questions to the user. Every answer is optional: no answer means cancelled, which is also what a
// process without an interactive display gets at once.
class Prompts {
public:
    virtual ~Prompts() = default;

    virtual std::optional<QString> promptText(const QString& title, const QString& message) = 0;
    virtual std::optional<std::pair<QString, QString>> promptTwoTexts(const QString& title,
                                                                      const QString& firstLabel,
                                                                      const QString& secondLabel) = 0;
    // A folder chooser titled "选择目标文件夹" whose accept button reads buttonLabel.
    virtual std::optional<QString> chooseDirectory(const QString& buttonLabel) = 0;
    // The feature-request dialog: the text the user wants to send, or nothing when cancelled.
    virtual std::optional<QString> requestFeatureText() = 0;
};
