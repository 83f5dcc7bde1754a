#pragma once

#include "app/ConsentDialog.h"
#include "platform/Prompts.h"

// Questions as modal Qt dialogs, brought to the front. Called on the main thread (the platform layer hops
// there for callers on other threads).
class WidgetPrompts : public Prompts {
public:
    explicit WidgetPrompts(ConsentTiming consentTiming = {})
        : m_consentTiming(consentTiming) {}

    std::optional<QString> promptText(const QString& title, const QString& message) override;
    std::optional<std::pair<QString, QString>> promptTwoTexts(const QString& title, const QString& message,
                                                              const QString& firstHint,
                                                              const QString& secondHint) override;
    std::optional<QString> chooseDirectory(const QString& buttonLabel) override;
    bool confirmRequestFromAnotherProgram(const ConsentRequest& request) override;
    std::optional<QString> chooseItem(const OpenPanelRequest& request) override;
    std::optional<QString> chooseShortcutName(const QString& title, const QString& message,
                                              const QString& placeholder, const QStringList& names) override;
    std::optional<QString> requestFeatureText() override;

private:
    ConsentTiming m_consentTiming;
};
