// The bounding-box calls under their C++ names, for programs that link against
// the library. This unit sees only <BBoxCalls.h>, never the extern "C"
// declarations of the same names (BBoxCalls.cpp); both forward to the same work.
#include "plugin/BBoxCalls.h"
#include "plugin/BBoxRecords.h"
#include "plugin/ScriptCallGuard.h"

double InitBBox3D(const char* text, double number, char* memBlock1, int size1, char* memBlock2, int size2,
                  char** hostData) {
    return runScriptCall(-1.0, [&] { return clearBBoxRecord(number, memBlock1, size1); });
}

double AddBBox3D(const char* text, double number, char* memBlock1, int size1, char* memBlock2, int size2,
                 char** hostData) {
    return runScriptCall(-1.0, [&] { return addBBoxRecords(memBlock1, size1); });
}

double GetBBoxFromVekFile(const char* text, double number, char* memBlock1, int size1, char* memBlock2, int size2,
                          char** hostData) {
    return runScriptCall(-1.0, [&] { return readBBoxRecordFromVekFile(text, number, memBlock1, size1); });
}
