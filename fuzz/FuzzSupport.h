#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>

// What the fuzz targets share: a private home for the settings files, made once per process, and the
// input written where a loader reads it.
namespace FuzzSupport {

// Points HOME and the XDG folders into a fresh temporary folder (first call only).
void usePrivateHome();
// Writes the input as the application's copy of fileName and answers its path.
QString writeSettingsFile(const QString& fileName, const uint8_t* data, size_t size);

} // namespace FuzzSupport
