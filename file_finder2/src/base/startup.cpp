// What runs when the library is loaded: the global locks of the three singletons are
// built, and the component logger is configured and the logger "FILE_FINDER" taken.
// Nothing else runs until a client calls in.
#include "base/globals.h"
#include "base/log.h"

namespace FF_2_13 {

FFLock g_messageMgrLock;
FFLock g_resoulutionContextMgrLock;
FFLock g_checkSumCalcLock;

namespace {
struct StartUp {
    StartUp() { logging::logger(); }
};
const StartUp g_startUp;
}  // namespace

}  // namespace FF_2_13
