# Builds for 32-bit x86 with the host's multilib compiler (-m32) against the i386 packages
# of a multiarch Debian (dpkg --add-architecture i386; g++-multilib; the :i386 -dev packages).
# scripts/test-i386.sh uses it when it cannot make its i386 root.
#
# CMAKE_SYSTEM_NAME is left alone on purpose: an x86-64 kernel runs i386 programs, so this
# is not a cross build and ctest runs the tests (and discovers their cases) directly.
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)

set(CMAKE_C_COMPILER gcc)
set(CMAKE_CXX_COMPILER g++)
set(CMAKE_C_FLAGS_INIT -m32)
set(CMAKE_CXX_FLAGS_INIT -m32)
set(CMAKE_EXE_LINKER_FLAGS_INIT -m32)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -m32)
set(CMAKE_MODULE_LINKER_FLAGS_INIT -m32)

# Libraries and package configurations come from the i386 multiarch directories, never from
# the x86-64 ones next to them.
set(FIND_LIBRARY_USE_LIB64_PATHS OFF)
set(CMAKE_IGNORE_PATH /usr/lib/x86_64-linux-gnu /lib/x86_64-linux-gnu
                      /usr/lib/x86_64-linux-gnu/cmake)
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/i386-linux-gnu/pkgconfig:/usr/share/pkgconfig)
