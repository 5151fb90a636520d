// file-finder: a first smoke of the library through its public interface.
#include <file_finder.h>

#include <cstdio>

int main(int argc, char** argv) {
    using namespace FF_2_13;
    std::printf("file_finder2 2.13: user %s\n", utils::getUserId().c_str());
    for (int i = 1; i < argc; ++i)
        std::printf("%s -> %s\n", argv[i], utils::getCanonicalName(argv[i], false).c_str());
    return 0;
}
