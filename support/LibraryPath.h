#pragma once

#include "support/OmbrelApi.h"

#include <string>

// The library's file functions take every path from its first "/" after an
// optional "volume:" prefix ("dir/file.stl" would become "/file.stl"). This
// turns an ordinary path (relative or absolute) into the text that makes them
// open exactly that file: the absolute path, with a leading ":" when the path
// itself holds a colon, so that the prefix rule consumes only that colon.
OMBREL_API std::string toLibraryPath(const std::string& path);
