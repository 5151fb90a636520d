#!/usr/bin/env bash
# Configures and builds the plain build for i386, checks that both libraries came out as
# 32-bit x86 ELF, and runs the whole ctest suite. Runs where the i386 compiler and libraries
# are: inside the i386 root, or on a multiarch host with cmake/i386-linux-gnu.cmake.
#
#   scripts/i386-build.sh SOURCE_DIR BUILD_DIR [CMAKE_ARG...]
set -euo pipefail
src="$1"
build="$2"
shift 2
jobs="${FF_JOBS:-2}"

echo "== i386: configure and build in $build"
cmake -S "$src" -B "$build" -G "Unix Makefiles" -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
cmake --build "$build" --parallel "$jobs"

for name in libfile_finder2.so libfile_finder2_host.so; do
  lib=$(find "$build" -name "$name" -not -path '*/CMakeFiles/*' -print -quit)
  [[ -n "$lib" ]] || { echo "i386-build.sh: no $name in $build" >&2; exit 1; }
  kind=$(file -L "$lib")
  echo "$kind"
  if [[ "$kind" != *"ELF 32-bit"*"Intel 80386"* ]]; then
    echo "i386-build.sh: $name is not a 32-bit x86 ELF" >&2
    exit 1
  fi
done

echo "== i386: test"
cd "$build"
ctest --output-on-failure --parallel "$jobs" --timeout 600
