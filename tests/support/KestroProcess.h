#pragma once

#include <optional>
#include <QProcess>

// The real build/kestro, run with the test's private environment.
struct KestroProcess {
    int exitCode = -1;
    QByteArray standardOutput;
    QByteArray standardError;

    static QString binary();
    static QProcessEnvironment environment();
    // Runs kestro with the arguments and waits for it to end.
    static KestroProcess run(const QStringList& arguments, int timeoutMilliseconds = 60000);
};

// A host started from build/kestro with the test's private environment, waited for until it says it is
// ready, and ended when this object goes.
class KestroHostProcess {
public:
    KestroHostProcess() = default;
    ~KestroHostProcess() { stop(); }
    bool start(const QStringList& arguments = {},
               const QProcessEnvironment& environment = KestroProcess::environment());
    void stop();
    QProcess& process() { return m_process; }

private:
    QProcess m_process;
};

// kestro://finder-action?actionID=...&path=...&target=...&destination=..., every value percent-encoded.
QString kestroActionURL(const QString& actionID, const QStringList& paths = {},
                        const std::optional<QString>& target = {},
                        const std::optional<QString>& destination = {});
