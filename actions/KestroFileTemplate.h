#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

// Every kind of new file: its action, name, extension and first contents.
class KestroFileTemplate {
public:
    enum class Case {
        plainText,
        rtf,
        markdown,
        word,
        excel,
        powerPoint,
        pdf,
        csv,
        json,
        xml,
        yaml,
        png,
        jpg,
        swift,
        readme,
        html,
        css,
        javascript,
        python,
        shell,
        gitignore,
    };

    explicit KestroFileTemplate(Case templateCase)
        : m_case(templateCase) {}
    static QList<KestroFileTemplate> all();

    Case templateCase() const { return m_case; }
    QString actionID() const;
    QString baseName() const;
    QString pathExtension() const;
    // The text written for text templates; empty for the rendered and packaged kinds.
    QString initialContents() const;
    // Writes the new file; throws the platform's error when it cannot.
    void write(const QString& path) const;

    static QByteArray blankPDFData();
    // format is "PNG" or "JPEG".
    static QByteArray blankImageData(const char* format);

private:
    Case m_case;
};
