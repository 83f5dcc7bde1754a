#pragma once

#include <QDialog>

class QPlainTextEdit;
class QPushButton;

// The wish for a new feature, written in the settings window; submitting opens a pre-filled mail.
class FeatureRequestSheet : public QDialog {
    Q_OBJECT
public:
    explicit FeatureRequestSheet(QWidget* parent = nullptr);

    QPlainTextEdit* editor() const { return m_editor; }
    QPushButton* submitButton() const { return m_submit; }
    void submit();

private:
    QPlainTextEdit* m_editor;
    QPushButton* m_submit;
};
