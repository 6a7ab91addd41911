// The bounding-box calls under their plain names, as the host's script finds
// them. This unit sees only the extern "C" declarations of <ombrel.h>; the C++
// forms of the same names live in BBoxCallsLinked.cpp.
#include "plugin/BBoxRecords.h"
#include "plugin/ScriptCallGuard.h"
#include "plugin/ombrel.h"

double InitBBox3D(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(-1.0, [&] { return clearBBoxRecord(number, memBlock1, size1); });
}

double AddBBox3D(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(-1.0, [&] { return addBBoxRecords(memBlock1, size1); });
}

double GetBBoxFromVekFile(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(-1.0, [&] { return readBBoxRecordFromVekFile(text, number, memBlock1, size1); });
}
