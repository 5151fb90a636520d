#!/usr/bin/env bash
# The i386 pass (`./test.sh --arch i386`): builds the library, its tests and the file-finder
# command for 32-bit x86 with the project's CMake as is (RelWithDebInfo, the plain build; no
# sanitizer pass) and runs the whole ctest suite there. Non-zero on any failure.
#
# Two routes to i386 build dependencies, chosen with FF_I386_ROUTE (default auto):
#   root       A Debian i386 root made with debootstrap from the archive apt uses (see
#              scripts/i386-root.sh for the packages it holds), kept in
#              $FF_CACHE_ROOT/i386-root and reused; the build runs inside it under chroot.
#              It touches nothing of this machine's own packages and does not depend on the
#              mirror's i386 and amd64 indexes agreeing. First run: about 1.5 minutes and
#              0.75 GB to make the root.
#   multiarch  The i386 architecture, g++-multilib and the :i386 -dev packages installed on
#              this machine (scripts/i386-multiarch.sh), built with cmake/i386-linux-gnu.cmake.
#              Fails whenever the mirror's i386 index lags behind its amd64 one.
#   auto       root, and multiarch only when the root cannot be made.
# Build trees live in $FF_BUILD_ROOT/i386 (or i386-multiarch), the compiler cache in
# $FF_CACHE_ROOT/ccache-i386: all outside the clone. Needs root privileges (chroot, mounts,
# packages): as another user it runs itself again under sudo.
set -euo pipefail
cd "$(dirname "$0")/.."

if [[ $(id -u) -ne 0 ]]; then
  command -v sudo >/dev/null || { echo "test-i386.sh: needs root privileges (or sudo)" >&2; exit 1; }
  exec sudo --preserve-env=FF_CACHE_ROOT,FF_BUILD_ROOT,FF_JOBS,FF_I386_ROUTE,FF_I386_MIRROR,FF_I386_SUITE \
    "$0" "$@"
fi

scripts/install-deps.sh i386
source scripts/build-env.sh
src=$(pwd -P)
route="${FF_I386_ROUTE:-auto}"
export CCACHE_DIR="$FF_CACHE_ROOT/ccache-i386"
mkdir -p "$CCACHE_DIR"

# One i386 pass at a time on a machine: they share the root and would only compete for the
# cores anyway.
exec 9>"$FF_CACHE_ROOT/i386.lock"
if ! flock -n 9; then
  echo "== i386: waiting for another i386 pass on this machine"
  flock 9
fi

start=$SECONDS
root="$FF_CACHE_ROOT/i386-root"
case "$route" in
  auto)
    if scripts/i386-root.sh "$root"; then
      route=root
    else
      echo "== i386: the i386 root could not be made; falling back to multiarch" >&2
      route=multiarch
    fi
    ;;
  root) scripts/i386-root.sh "$root" ;;
  multiarch) ;;
  *) echo "test-i386.sh: unknown FF_I386_ROUTE '$route' (auto, root, multiarch)" >&2; exit 2 ;;
esac

case "$route" in
  root)
    build="$FF_BUILD_ROOT/i386"
    mkdir -p "$build"
    echo "== i386: building inside the i386 root $root"
    scripts/i386-chroot.sh "$root" "$src" "$build" "$CCACHE_DIR" -- \
      FF_JOBS="$FF_JOBS" CCACHE_DIR="$CCACHE_DIR" CCACHE_BASEDIR="$src" CCACHE_NOHASHDIR=1 \
      "$src/scripts/i386-build.sh" "$src" "$build"
    ;;
  multiarch)
    scripts/i386-multiarch.sh
    build="$FF_BUILD_ROOT/i386-multiarch"
    # Compilers that the tests call by their plain names (the install check's `c++`) must
    # make i386 code too; nested CMake projects pick the toolchain up from the environment.
    wrappers="$build/compilers"
    mkdir -p "$wrappers"
    for cc in cc c++ gcc g++; do
      printf '#!/bin/sh\nexec /usr/bin/%s -m32 "$@"\n' "$cc" >"$wrappers/$cc"
      chmod +x "$wrappers/$cc"
    done
    echo "== i386: building with the host's multilib compiler"
    PATH="$wrappers:$PATH" CMAKE_TOOLCHAIN_FILE="$src/cmake/i386-linux-gnu.cmake" \
      PKG_CONFIG_LIBDIR=/usr/lib/i386-linux-gnu/pkgconfig:/usr/share/pkgconfig \
      scripts/i386-build.sh "$src" "$build" -DCMAKE_TOOLCHAIN_FILE="$src/cmake/i386-linux-gnu.cmake"
    ;;
esac
echo "== i386 pass green ($route route, $((SECONDS - start)) s)"
