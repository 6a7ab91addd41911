#include "host/KDocWrapperLayout.h"
#include "host/KDocWrappers.h"

OMBREL_DEFINE_KDOCWRAPPER(KDocWrapper312B27, kDocLayout312B27)
