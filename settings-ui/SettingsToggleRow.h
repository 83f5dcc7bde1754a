#pragma once

#include <QWidget>

class QLabel;
class ToggleSwitch;

// One setting: its symbol, title and explanation, and the switch that turns it on or off.
class SettingsToggleRow : public QWidget {
    Q_OBJECT
public:
    SettingsToggleRow(const QString& systemImage, const QString& title, const QString& explanation,
                      QWidget* parent = nullptr);

    ToggleSwitch* toggle() const { return m_switch; }
    QString title() const { return m_titleText; }
    // Shows the value without reporting it as the user's change.
    void setChecked(bool on);
    // A warning under the explanation (what went wrong with this setting); empty hides it.
    void setNote(const QString& text);
    QString note() const;

signals:
    void toggled(bool on);

private:
    QString m_titleText;
    ToggleSwitch* m_switch;
    QLabel* m_note;
};
