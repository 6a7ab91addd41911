#pragma once

#include <string>

// The text rules of the script calls, as the host's script sees them.
namespace scriptmodel {

// The file a path text names: an optional "volume:" prefix is dropped up to
// its first colon, then the path starts at the first "/" of what is left
// ("Disk:dir/a/b" names "/a/b"; "a/b" names "/b"; "name" names "name").
std::string openedPath(const std::string& text);

// A texture name without its directory: the text after the last "/" or "\".
std::string withoutDirectory(const std::string& name);

// Whether an option text equals the keyword whole, ignoring the case of
// ASCII letters only ("binary" is "BINARY"; "BINARY " and "BIN" are not).
bool isOptionWord(const std::string& text, const char* keyword);

}  // namespace scriptmodel
