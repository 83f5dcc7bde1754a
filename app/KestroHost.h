#pragma once

#include "app/SingleInstance.h"

#include <QObject>
#include <QUrl>

class AppPreferencesStore;
class FinderSelectionModel;

// The long-running host: owns the stores and the URL road, and takes the requests of later launches.
class KestroHost : public QObject {
    Q_OBJECT
public:
    explicit KestroHost(bool launchedAtLogin, QObject* parent = nullptr);
    ~KestroHost() override;

    // Becomes the one host of this user; false when another host already runs.
    bool listen();
    void openURL(const QString& url);
    void handleMessage(const QStringList& message);

    FinderSelectionModel& selectionModel() { return *m_selectionModel; }
    AppPreferencesStore& preferences() { return *m_preferences; }

signals:
    // A later launch without a request asks the host to show itself.
    void showRequested();

private:
    bool m_launchedAtLogin;
    SingleInstance m_instance;
    AppPreferencesStore* m_preferences;
    FinderSelectionModel* m_selectionModel;
};
