#pragma once

#include <QString>
#include <QTemporaryDir>

// Points HOME, the XDG folders, TMPDIR and KESTRO_TMPDIR into a fresh temporary folder for the life of
// this object, so a test never touches the real home, the real /tmp paths or a running Kestro.
class TestEnvironment {
public:
    TestEnvironment();
    ~TestEnvironment();

    QString root() const { return m_root.path(); }
    QString home() const { return root() + QStringLiteral("/home"); }
    QString kestroTmp() const { return root() + QStringLiteral("/kestro-tmp"); }
    // A fresh empty folder under the root for the test's own files.
    QString makeFolder(const QString& name) const;
    // Writes bytes to a file (creating folders); returns its path.
    QString writeFile(const QString& path, const QByteArray& bytes = {}) const;
    QString logText() const;

private:
    QTemporaryDir m_root;
    QList<std::pair<QByteArray, QByteArray>> m_saved;
};

QByteArray readAll(const QString& path);
