#include "host/KDocWrapperLayout.h"
#include "host/KDocWrappers.h"

OMBREL_DEFINE_KDOCWRAPPER(KDocWrapper31, kDocLayout31)
