#pragma once

// The three bounding-box calls under one of their two names: the plain script
// exports of <ombrel.h> or the C++ names of BBoxCalls.h. A unit may see only
// one of the two headers (the names clash), so this one includes neither and
// each table is filled in a unit of its own.
using BBoxCall = double (*)(const char* text, double number, char* memBlock1, int size1, char* memBlock2, int size2,
                            char** hostData);

struct BBoxCallForm {
    const char* name;
    BBoxCall initBBox3D;
    BBoxCall addBBox3D;
    BBoxCall getBBoxFromVekFile;
};

extern const BBoxCallForm kScriptBBoxCalls;  // fuzz_bbox_calls.cpp, from <ombrel.h>
extern const BBoxCallForm kLinkedBBoxCalls;  // BBoxCallForms.cpp, from BBoxCalls.h
