#pragma once

#include <QWidget>

class QLabel;

// The top of a page: the symbol on its tile, the title and a one-line explanation.
class DetailHeader : public QWidget {
    Q_OBJECT
public:
    DetailHeader(const QString& systemImage, const QString& title, const QString& summary,
                 QWidget* parent = nullptr);

    QString title() const;
    QString summary() const;

private:
    QLabel* m_title;
    QLabel* m_summary;
};
