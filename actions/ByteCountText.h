#pragma once

#include <QLocale>
#include <QString>

// File sizes as the file manager shows them: decimal units (1 KB = 1000 bytes), whole kilobytes, one decimal
// for megabytes and two from gigabytes up, "Zero KB" for nothing. Chinese locales get the Chinese words
// ("零 KB", "字节"); every other locale the English ones, with the locale's own digits and separators.
class ByteCountText {
public:
    static QString fileSize(qint64 bytes, const QLocale& locale = QLocale());
};
