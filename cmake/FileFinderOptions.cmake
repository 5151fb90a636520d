# Compiler flags shared by every target of the project.
add_compile_options(-Wall -Wextra)
# Sizes of files over 2 GiB and 64-bit inode numbers must come out right on i386 too.
add_compile_definitions(_FILE_OFFSET_BITS=64)

find_program(FF_CCACHE ccache)
if(FF_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${FF_CCACHE}")
  set(CMAKE_C_COMPILER_LAUNCHER "${FF_CCACHE}")
endif()

if(FF_SANITIZE)
  string(REPLACE ";" "," _ff_sanitizers "${FF_SANITIZE}")
  add_compile_options(-fsanitize=${_ff_sanitizers} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${_ff_sanitizers})
endif()

# The shared libraries are linked with every symbol defined, except where clang's
# sanitizers run: their runtime is linked into the executables only, so a shared library
# leaves its calls undefined.
set(FF_NO_UNDEFINED -Wl,--no-undefined)
if(FF_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  set(FF_NO_UNDEFINED)
endif()

# The fuzzing build: every object carries libFuzzer's coverage instrumentation, so the
# fuzzers in fuzz/ see which branches of the library an input reached. The libFuzzer
# driver itself is linked into the fuzzer executables only.
if(FF_BUILD_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "FF_BUILD_FUZZ needs clang: configure with CC=clang CXX=clang++")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
