#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test. Non-zero on any failure.
#
#   ./test.sh              the native passes, in order:
#     plain     RelWithDebInfo build, every test
#     asan      AddressSanitizer and UndefinedBehaviorSanitizer build, every test
#     tsan      ThreadSanitizer build: the stress programs (label stress), then every
#               unit and integration test
#     memcheck  the plain build's test executables under valgrind (label memcheck)
#     fuzz      each libFuzzer target for a few seconds from its seed corpus (clang build)
#   ./test.sh --arch i386  the same suite built and run for 32-bit x86
#
# FF_FUZZ_SECONDS sets the time of each fuzzer (default 5).
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

build_pass() {
  local name="$1"; shift
  local dir="$FF_BUILD_ROOT/$name"
  echo "== $name: configure and build in $dir"
  cmake -S . -B "$dir" -G "Unix Makefiles" "$@" >/dev/null
  cmake --build "$dir" --parallel "$FF_JOBS"
}

test_pass() {
  local name="$1" what="$2"; shift 2
  echo "== $name: $what"
  (cd "$FF_BUILD_ROOT/$name" && ctest --output-on-failure --parallel "$FF_JOBS" --timeout 600 "$@")
}

timed() {  # timed NAME COMMAND...: runs it and notes how long it took
  local start=$SECONDS
  "$@"
  timings+=("$(printf '%-9s %3d:%02d' "$1" $(((SECONDS - start) / 60)) $(((SECONDS - start) % 60)))")
}
timings=()

plain() {
  build_pass plain -DCMAKE_BUILD_TYPE=RelWithDebInfo -DFF_MEMCHECK=ON
  test_pass plain "test" -LE memcheck
}

asan() {
  ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    build_pass asan -DCMAKE_BUILD_TYPE=Debug "-DFF_SANITIZE=address;undefined"
  ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    test_pass asan "test"
}

tsan() {
  build_pass tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DFF_SANITIZE=thread
  export TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 suppressions=$PWD/tests/tsan.supp"
  # The stress programs print their counts; none there yet is not a failure.
  test_pass tsan "stress" -L stress --no-tests=ignore --verbose
  test_pass tsan "unit and integration tests" -LE stress
  unset TSAN_OPTIONS
}

memcheck() {
  test_pass plain "valgrind memcheck" -L memcheck
}

fuzz() {
  scripts/fuzz.sh "${FF_FUZZ_SECONDS:-5}"
}

timed plain
timed asan
timed tsan
timed memcheck
timed fuzz
echo "== time per pass (minutes:seconds)"
printf '   %s\n' "${timings[@]}"
echo "== all passes green"
