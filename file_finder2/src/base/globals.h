// The global locks that guard the three process-wide singletons (message manager,
// resolution context manager, checksum calculator). Static objects, built at load.
#pragma once

#include "ff_lock.h"

namespace FF_2_13 {

extern FFLock g_messageMgrLock;
extern FFLock g_resoulutionContextMgrLock;
extern FFLock g_checkSumCalcLock;

}  // namespace FF_2_13
