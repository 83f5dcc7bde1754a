#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

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
