#pragma once

#include <QFrame>

class QLabel;
class QVBoxLayout;

// A titled card on a settings page; rows are stacked inside it with thin separators.
class SettingsSection : public QFrame {
    Q_OBJECT
public:
    explicit SettingsSection(const QString& title, QWidget* parent = nullptr);

    void addRow(QWidget* row);
    void addFooter(QWidget* widget);
    // Widgets in the title line's right-hand corner (buttons that act on the whole section).
    void addHeaderWidget(QWidget* widget);
    QLabel* titleLabel() const { return m_title; }

private:
    QLabel* m_title;
    QVBoxLayout* m_rows;
    QVBoxLayout* m_body;
    class QHBoxLayout* m_header;
};
