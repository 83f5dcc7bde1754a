#pragma once

#include <QByteArray>

// Limits a property list must keep before it is handed to libplist, and the check of them. libplist parses
// and frees nested containers recursively and copies an object once for every reference to it, so a small
// damaged or hostile file could exhaust the stack or the memory; every settings file Kestro writes is far
// inside these limits.
namespace PropertyListShape {

// Larger files are not read at all.
constexpr qint64 maximumFileSize = 8 * 1024 * 1024;
// Containers inside containers, the top level counting as one.
constexpr int maximumDepth = 64;
// Values of the parsed tree, every shared object counted once per reference.
constexpr qint64 maximumValues = 500000;
// Bytes of the parsed tree's strings and data, shared ones counted once per reference.
constexpr qint64 maximumPayload = 64 * 1024 * 1024;

// Whether bytes, in the binary or the XML format, keep within the limits. Binary lists are also checked for
// a sound structure (trailer, offsets, references in range, no object containing itself).
bool isWithinLimits(const QByteArray& bytes);

} // namespace PropertyListShape
