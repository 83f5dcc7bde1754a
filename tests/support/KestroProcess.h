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
    // Runs kestro as an account without privileges, so that permissions count: under root through setpriv
    // as nobody, after giving that account the test's whole private tree; under anyone else as it is.
    // Returns nothing, with the reason in skipReason, when that cannot be done.
    static std::optional<KestroProcess> runUnprivileged(const QStringList& arguments, const QString& tree,
                                                        QString* skipReason);
    // "kestro --perform" of a finder-action request for paths, with target as the targeted folder.
    static QString requestURL(const QString& actionID, const QStringList& paths, const QString& target);
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
