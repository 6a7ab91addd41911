#include "host/KDocWrapperLayout.h"
#include "host/KDocWrappers.h"

OMBREL_DEFINE_KDOCWRAPPER(KDocWrapper312B43, kDocLayout312B43)
