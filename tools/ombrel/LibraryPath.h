#pragma once

#include <string>

// The library takes every path from its first "/" after an optional
// "volume:" prefix ("dir/file.stl" would become "/file.stl"). This turns a
// user's path (relative or absolute) into the text that makes the library
// open exactly that file: the absolute path, with a leading ":" when the path
// itself holds a colon, so that the prefix rule consumes only that colon.
std::string toLibraryPath(const std::string& userPath);
