#pragma once

#include "engine/OmbrelExport.h"

// "binary STL", "ASCII STL", "VRML", "3MF": for progress lines.
const char* formatName(ombrel::Format format);
// "Binary STL", "ASCII STL", "VRML", "3MF": the summary's title.
const char* formatTitle(ombrel::Format format);
