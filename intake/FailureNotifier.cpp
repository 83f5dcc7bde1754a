#include "intake/FailureNotifier.h"

#include "catalogue/AppPreferencesPersistence.h"
#include "platform/DiagnosticLog.h"
#include "platform/Platform.h"
#include "platform/PropertyListFile.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("FailureNotifier", text);
}

// Main thread only.
struct Burst {
    int failures = 0;    // in this burst
    int unannounced = 0; // of those, not yet on screen
    QString lastError;
    QElapsedTimer sinceLast;
    bool noticeShown = false;
};

Burst& burst() {
    static Burst instance;
    return instance;
}

void announce() {
    Burst& current = burst();
    if (current.unannounced == 0)
        return;
    current.unannounced = 0;
    // Read afresh, like the other preferences an action follows: the settings window may have changed it.
    if (!AppPreferencesPersistence::load().showsFailureNotifications)
        return;
    const QString body = current.failures == 1
                             ? current.lastError
                             : tr("%1 个操作失败，最后一个：%2").arg(current.failures).arg(current.lastError);
    Platform::desktopNotifications().show(tr("Kestro 操作失败"), body, current.noticeShown);
    current.noticeShown = true;
}

void noteOnMainThread(const QString& errorDescription) {
    Burst& current = burst();
    if (!current.sinceLast.isValid() ||
        current.sinceLast.elapsed() > qint64(FailureNotifier::burstTime.count()) * 1000)
        current = Burst{};
    current.sinceLast.start();
    ++current.failures;
    current.lastError = errorDescription;
    if (current.unannounced++ == 0)
        QTimer::singleShot(FailureNotifier::gatherTime, QCoreApplication::instance(), &announce);
}

} // namespace

void FailureNotifier::report(const QString& errorDescription) {
    QCoreApplication* application = QCoreApplication::instance();
    if (!application)
        return;
    QMetaObject::invokeMethod(
        application, [errorDescription] { noteOnMainThread(errorDescription); }, Qt::QueuedConnection);
}

void FailureNotifier::startNewBurst() {
    burst() = Burst{};
}

void FailureNotifier::reportSettingsSaveFailures() {
    PropertyListFile::setWriteFailureObserver([](const QString& path, const QString& reason) {
        const QString message = tr("设置没能保存到“%1”：%2").arg(path, reason);
        DiagnosticLog::append(QStringLiteral("settings save failed: ") + message);
        report(message);
    });
}
