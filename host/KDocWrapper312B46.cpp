#include "host/KDocWrapperLayout.h"
#include "host/KDocWrappers.h"

OMBREL_DEFINE_KDOCWRAPPER(KDocWrapper312B46, kDocLayout312B46)
