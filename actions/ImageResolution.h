#pragma once

#include <QString>

// Whether an image file records the resolution it is meant to be printed at. Qt's readers fill in a
// default when the file says nothing, which cannot be told apart from a recorded 96 dpi; so the places Qt
// reads it from are looked at here: a PNG's pHYs chunk, a JPEG's JFIF density, a BMP's pixels per metre and
// a TIFF's first directory.
class ImageResolution {
public:
    static bool isRecorded(const QString& path);
};
