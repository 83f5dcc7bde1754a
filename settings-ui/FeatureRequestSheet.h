#pragma once

#include <QDialog>

class QLabel;
class QPlainTextEdit;
class QPushButton;

// The wish for a new feature, written in the settings window; submitting opens a pre-filled mail. Without a
// mail program the sheet stays open with the text and offers to copy it.
class FeatureRequestSheet : public QDialog {
    Q_OBJECT
public:
    explicit FeatureRequestSheet(QWidget* parent = nullptr);

    QPlainTextEdit* editor() const { return m_editor; }
    QPushButton* submitButton() const { return m_submit; }
    QPushButton* copyButton() const { return m_copy; }
    QLabel* notice() const { return m_notice; }
    void submit();

private:
    QPlainTextEdit* m_editor;
    QLabel* m_notice;
    QPushButton* m_submit;
    QPushButton* m_copy;
};
