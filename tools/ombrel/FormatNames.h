#pragma once

#include "engine/OmbrelExport.h"

// "binary STL", "ASCII STL", "VRML": for progress lines.
const char* formatName(ombrel::Format format);
// "Binary STL", "ASCII STL", "VRML": the summary's title.
const char* formatTitle(ombrel::Format format);
