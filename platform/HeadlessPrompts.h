#pragma once

#include "platform/Prompts.h"

// Prompts for a process nobody can answer: every question is cancelled at once.
class HeadlessPrompts : public Prompts {
public:
    std::optional<QString> promptText(const QString&, const QString&) override { return std::nullopt; }
    std::optional<std::pair<QString, QString>> promptTwoTexts(const QString&, const QString&, const QString&,
                                                              const QString&) override {
        return std::nullopt;
    }
    std::optional<QString> chooseDirectory(const QString&) override { return std::nullopt; }
    std::optional<QString> chooseItem(const OpenPanelRequest&) override { return std::nullopt; }
    std::optional<QString> chooseShortcutName(const QString&, const QString&, const QString&,
                                              const QStringList&) override {
        return std::nullopt;
    }
    bool confirmRequestFromAnotherProgram(const ConsentRequest&) override { return false; }
    std::optional<QString> requestFeatureText() override { return std::nullopt; }
};
