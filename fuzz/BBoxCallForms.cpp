#include "fuzz/BBoxCallForms.h"

#include "plugin/BBoxCalls.h"

const BBoxCallForm kLinkedBBoxCalls = {"C++ names", &InitBBox3D, &AddBBox3D, &GetBBoxFromVekFile};
