#pragma once

#include "geometry/BBox.h"
#include "support/OmbrelApi.h"
#include "support/QMArray.h"
#include "support/QMString.h"

// The declared Vek files, in declaration order, as three parallel lists of
// equal length: the file paths, their texture names (the path itself unless
// the script set one) and their visibility flags (1 visible, 0 invisible).
OMBREL_API QMArray<QMString>& getDeclaredVekFileNames();
OMBREL_API QMArray<QMString>& getDeclaredTextureFileNames();
OMBREL_API QMArray<char>& getDeclaredVekFileVisibility();

// The union box of the points of every declared file (visible or not).
OMBREL_API BBox computeAllVekFilesBBox();
