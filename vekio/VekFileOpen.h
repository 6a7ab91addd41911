#pragma once

#include "support/QMString.h"

#include <cstdio>

// Opens a Vek file for reading, with the library's path rules. Anything but
// a regular file (a pipe, a device, a socket, a directory) is refused as an
// unreadable file, before any read: a pipe without a writer, or a terminal,
// would otherwise block the reader for ever. The check is made on the file
// opened (without blocking), not on its name, so it cannot be raced.
// Returns null when the file cannot be opened or is refused.
std::FILE* openVekFileForReading(const QMString& name);
