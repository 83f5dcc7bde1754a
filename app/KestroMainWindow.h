#pragma once

#include <QWidget>

// The one main window, holding the settings. Closing it only hides it, so that its state and position
// survive until it is shown again; the process keeps running in the tray.
class KestroMainWindow : public QWidget {
    Q_OBJECT
public:
    static const QString identifier;

    explicit KestroMainWindow(QWidget* content, QWidget* parent = nullptr);

    QWidget* content() const { return m_content; }
    // Shows the window, placing it the first time, and brings it forward.
    void present();

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    QWidget* m_content;
    bool m_positioned = false;
};
