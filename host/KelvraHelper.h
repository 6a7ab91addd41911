#pragma once

#include "support/OmbrelApi.h"

// The plug-in's single point of contact with the host application. It learns
// the host's version once, as a code, and every later choice of how host
// memory is read is made on that code.
class OMBREL_API KelvraHelper {
public:
    // Host version codes held in s_version.
    static constexpr int kVersionUnset = 0;    // setVersion never called
    static constexpr int kVersionTooOld = 1;   // before 3.1, unsupported
    static constexpr int kVersion31 = 310;     // 3.1 and 3.11
    static constexpr int kVersion312 = 312;    // 3.12 to 3.14, any build
    static constexpr int kVersion32 = 320;     // 3.15 to 3.24
    static constexpr int kVersionLater = 321;  // anything later

    // Turns the version number the host script passes (3.12, say) into a code.
    static void setVersion(double version);

    static int s_version;
};
