#include "actions/ImageResolution.h"

#include <QFile>
#include <QtEndian>

namespace {

// The headers looked at are near the start of the file; only a TIFF may point further on.
constexpr qint64 headerBytes = 64 * 1024;

quint16 be16(const QByteArray& bytes, qsizetype at) {
    return qFromBigEndian<quint16>(bytes.constData() + at);
}
quint32 be32(const QByteArray& bytes, qsizetype at) {
    return qFromBigEndian<quint32>(bytes.constData() + at);
}

// Chunks come in order, and pHYs counts only before the image data and in metres (unit 1).
bool pngRecords(const QByteArray& bytes) {
    for (qsizetype at = 8; at + 8 <= bytes.size();) {
        const quint32 length = be32(bytes, at);
        const QByteArray type = bytes.mid(at + 4, 4);
        if (type == "IDAT" || type == "IEND")
            return false;
        if (type == "pHYs")
            return length == 9 && at + 17 <= bytes.size() && bytes.at(at + 16) == 1 &&
                   be32(bytes, at + 8) > 0;
        at += 12 + qsizetype(length);
    }
    return false;
}

// The JFIF segment (APP0) carries the density in dots per inch (unit 1) or per centimetre (unit 2). libjpeg
// reads it only when it is whole (16 bytes, the thumbnail's size included); a shorter one records nothing.
bool jpegRecords(const QByteArray& bytes) {
    for (qsizetype at = 2; at + 4 <= bytes.size();) {
        if (uchar(bytes.at(at)) != 0xff)
            return false;
        const uchar marker = uchar(bytes.at(at + 1));
        if (marker == 0xda || marker == 0xd9) // start of scan, end of image
            return false;
        const quint16 length = be16(bytes, at + 2);
        if (marker == 0xe0 && length >= 16 && at + 16 <= bytes.size() &&
            bytes.mid(at + 4, 5) == QByteArray("JFIF\0", 5)) {
            const char unit = bytes.at(at + 11);
            return (unit == 1 || unit == 2) && be16(bytes, at + 12) > 0 && be16(bytes, at + 14) > 0;
        }
        at += 2 + length;
    }
    return false;
}

bool bmpRecords(const QByteArray& bytes) {
    if (bytes.size() < 46 || qFromLittleEndian<quint32>(bytes.constData() + 14) < 40)
        return false;
    return qFromLittleEndian<qint32>(bytes.constData() + 38) > 0 &&
           qFromLittleEndian<qint32>(bytes.constData() + 42) > 0;
}

// XResolution (282) in the first directory, which may lie anywhere in the file.
bool tiffRecords(QFile& file, const QByteArray& bytes) {
    const bool little = bytes.startsWith("II");
    const auto u16 = [little](const char* p) {
        return little ? qFromLittleEndian<quint16>(p) : qFromBigEndian<quint16>(p);
    };
    const auto u32 = [little](const char* p) {
        return little ? qFromLittleEndian<quint32>(p) : qFromBigEndian<quint32>(p);
    };
    if (!file.seek(u32(bytes.constData() + 4)))
        return false;
    const QByteArray countBytes = file.read(2);
    if (countBytes.size() != 2)
        return false;
    const QByteArray entries = file.read(qint64(u16(countBytes.constData())) * 12);
    for (qsizetype at = 0; at + 12 <= entries.size(); at += 12)
        if (u16(entries.constData() + at) == 282)
            return true;
    return false;
}

} // namespace

bool ImageResolution::isRecorded(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray bytes = file.read(headerBytes);
    if (bytes.startsWith("\x89PNG\r\n\x1a\n"))
        return pngRecords(bytes);
    if (bytes.startsWith("\xff\xd8"))
        return jpegRecords(bytes);
    if (bytes.startsWith("BM"))
        return bmpRecords(bytes);
    if (bytes.size() >= 8 &&
        (bytes.startsWith(QByteArray("II*\0", 4)) || bytes.startsWith(QByteArray("MM\0*", 4))))
        return tiffRecords(file, bytes);
    return false;
}
