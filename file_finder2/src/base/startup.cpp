// What runs when the library is loaded: the component logger is configured and the
// logger "FILE_FINDER" taken. Nothing else runs until a client calls in; the locks of
// the three singletons are built at load beside the singletons they guard.
#include "base/log.h"

namespace FF_2_13 {

namespace {
struct StartUp {
    StartUp() { logging::logger(); }
};
const StartUp g_startUp;
}  // namespace

}  // namespace FF_2_13
