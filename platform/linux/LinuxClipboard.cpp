#include "platform/linux/LinuxClipboard.h"

#include "platform/MainThread.h"
#include "platform/Platform.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QMimeData>
#include <QUrl>

namespace {
QClipboard* guiClipboard() {
    return qobject_cast<QGuiApplication*>(QCoreApplication::instance()) ? QGuiApplication::clipboard()
                                                                        : nullptr;
}
} // namespace

bool LinuxClipboard::setText(const QString& text) {
    bool written = false;
    runOnMainThread([&] {
        if (QClipboard* clipboard = guiClipboard()) {
            clipboard->clear();
            clipboard->setText(text);
            written = clipboard->text() == text;
        }
    });
    return written;
}

QString LinuxClipboard::text() {
    QString result;
    runOnMainThread([&] {
        if (QClipboard* clipboard = guiClipboard())
            result = clipboard->text();
    });
    return result;
}

QStringList LinuxClipboard::filePaths() {
    QStringList paths;
    runOnMainThread([&] {
        QClipboard* clipboard = guiClipboard();
        const QMimeData* data = clipboard ? clipboard->mimeData() : nullptr;
        if (!data || !data->hasUrls())
            return;
        for (const QUrl& url : data->urls()) {
            if (url.isLocalFile())
                paths.append(url.toLocalFile());
        }
    });
    return paths;
}

std::shared_ptr<Clipboard> createSystemClipboard() {
    return std::make_shared<LinuxClipboard>();
}
