// Uses the installed library through its umbrella header only.
#include <file_finder.h>

#include <cstdio>

int main() {
    using namespace FF_2_13;
    ObjectPtr<ISpinSharedLock> lock(new FFSpinSharedLock);
    {
        FFSpinSharedLockWrap reader(lock.get());
    }
    std::printf("%s\n", utils::getCanonicalName("/usr/lib/../lib64/", false).c_str());
    return 0;
}
