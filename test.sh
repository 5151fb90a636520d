#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test: once in a plain build, then again
# in a build with AddressSanitizer and UndefinedBehaviorSanitizer. Non-zero on any failure.
#
#   ./test.sh              the native passes
#   ./test.sh --arch i386  the same suite built and run for 32-bit x86
set -euo pipefail
cd "$(dirname "$0")"

arch=native
while [[ $# -gt 0 ]]; do
  case "$1" in
    --arch) arch="$2"; shift 2 ;;
    --arch=*) arch="${1#--arch=}"; shift ;;
    *) echo "usage: $0 [--arch i386]" >&2; exit 2 ;;
  esac
done

if [[ "$arch" == "i386" ]]; then
  exec scripts/test-i386.sh
fi
[[ "$arch" == "native" ]] || { echo "unknown architecture '$arch'" >&2; exit 2; }

scripts/install-deps.sh
source scripts/build-env.sh

run_pass() {
  local name="$1"; shift
  local dir="$FF_BUILD_ROOT/$name"
  echo "== $name: configure and build in $dir"
  cmake -S . -B "$dir" -G "Unix Makefiles" "$@" >/dev/null
  cmake --build "$dir" --parallel "$FF_JOBS"
  echo "== $name: test"
  (cd "$dir" && ctest --output-on-failure --parallel "$FF_JOBS" --timeout 600)
}

run_pass plain -DCMAKE_BUILD_TYPE=RelWithDebInfo
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  run_pass asan -DCMAKE_BUILD_TYPE=Debug "-DFF_SANITIZE=address;undefined"
echo "== all passes green"
