// Uses the installed library through its umbrella header, and the host adapters'
// library that comes with it.
#include <QORAL_2_18/debug.h>
#include <file_finder.h>

#include <cstdio>

int main() {
    using namespace FF_2_13;
    QORAL_2_18::debug::set_assertion_handler(nullptr);  // the default: defined by the host library
    ObjectPtr<ISpinSharedLock> lock(new FFSpinSharedLock);
    { FFSpinSharedLockWrap reader(lock.get()); }
    std::printf("%s\n", utils::getCanonicalName("/usr/lib/../lib64/", false).c_str());
    return 0;
}
