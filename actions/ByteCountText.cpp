#include "actions/ByteCountText.h"

#include <QStringList>

#include <cmath>

QString ByteCountText::fileSize(qint64 bytes, const QLocale& locale) {
    const bool chinese = locale.language() == QLocale::Chinese;
    if (bytes <= 0)
        return chinese ? QStringLiteral("零 KB") : QStringLiteral("Zero KB");
    if (bytes < 1000) {
        const QString count = locale.toString(bytes);
        if (chinese)
            return count + QStringLiteral(" 字节");
        return count + (bytes == 1 ? QStringLiteral(" byte") : QStringLiteral(" bytes"));
    }
    static const char* const units[] = {"KB", "MB", "GB", "TB", "PB", "EB"};
    double value = double(bytes) / 1000.0;
    int unit = 0;
    for (;;) {
        const int decimals = unit == 0 ? 0 : (unit == 1 ? 1 : 2);
        const double scale = std::pow(10.0, decimals);
        const double rounded = std::round(value * scale) / scale;
        // 999 999 bytes reads "1 MB", not "1,000 KB".
        if (rounded >= 1000.0 && unit + 1 < int(std::size(units))) {
            value /= 1000.0;
            ++unit;
            continue;
        }
        QString number = locale.toString(rounded, 'f', decimals);
        // Trailing zeros say nothing: "1 MB", "1.5 GB".
        if (decimals > 0) {
            const QString point = locale.decimalPoint();
            while (number.endsWith(locale.zeroDigit()))
                number.chop(locale.zeroDigit().size());
            if (number.endsWith(point))
                number.chop(point.size());
        }
        return number + QLatin1Char(' ') + QLatin1String(units[unit]);
    }
}
