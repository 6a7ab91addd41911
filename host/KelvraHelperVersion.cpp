#include "host/KelvraHelper.h"

void KelvraHelper::setVersion(double version) {
    // The 0.2 absorbs the binary error of values such as 3.12, whose product
    // with 100 falls just below 312. Out-of-range numbers (NaN, huge) are
    // classified without the undefined float-to-int conversion.
    double scaled = version * 100.0 + 0.2;
    if (!(scaled < 325.0)) {
        s_version = scaled >= 325.0 ? kVersionLater : kVersionTooOld;
        return;
    }
    if (scaled < -1000.0) {
        s_version = kVersionTooOld;
        return;
    }
    int v = static_cast<int>(scaled);
    if (v <= 309)
        s_version = kVersionTooOld;
    else if (v <= 311)
        s_version = kVersion31;
    else if (v <= 314)
        s_version = kVersion312;
    else if (v <= 324)
        s_version = kVersion32;
    else
        s_version = kVersionLater;
}
