#!/usr/bin/env bash
# Builds the libFuzzer targets of fuzz/ with clang, AddressSanitizer and
# UndefinedBehaviorSanitizer, and runs each for SECONDS seconds, one after the other,
# starting from its seed corpus (fuzz/corpus/<target>/). Prints per target the inputs
# executed, the coverage reached and the crashes found; non-zero when any crashed.
#
#   scripts/fuzz.sh SECONDS [TARGET...]     e.g. scripts/fuzz.sh 60 fuzz_cmdline_dirs
#
# What the fuzzers learn stays outside the clone and grows from run to run:
#   $FF_BUILD_ROOT/fuzz               the build
#   $FF_BUILD_ROOT/fuzz/grown/<target>  the corpus grown beyond the seeds
#   $FF_BUILD_ROOT/fuzz/artifacts/     inputs that crashed (crash-<sha1>), with a log
# To keep a crashing input as a regression seed, copy it into fuzz/corpus/<target>/.
set -euo pipefail
cd "$(dirname "$0")/.."

[[ $# -ge 1 && "$1" =~ ^[0-9]+$ ]] || { echo "usage: $0 SECONDS [TARGET...]" >&2; exit 2; }
seconds="$1"; shift

source scripts/build-env.sh
dir="$FF_BUILD_ROOT/fuzz"
mkdir -p "$dir"
if [[ ! -f "$dir/CMakeCache.txt" ]]; then
  CC=clang CXX=clang++ cmake -S . -B "$dir" -G "Unix Makefiles" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    "-DFF_SANITIZE=address;undefined" -DFF_BUILD_FUZZ=ON \
    -DFF_BUILD_TESTS=OFF -DFF_BUILD_TOOLS=OFF -DFF_BUILD_EXAMPLES=OFF >"$dir/configure.log" ||
    { cat "$dir/configure.log"; exit 1; }
fi
echo "== fuzz: build in $dir"
cmake --build "$dir" --parallel "$FF_JOBS" --target ff_fuzzers >"$dir/build.log" 2>&1 ||
  { tail -n 60 "$dir/build.log"; exit 1; }

targets=("$@")
if [[ ${#targets[@]} -eq 0 ]]; then
  for source in fuzz/fuzz_*.cpp; do targets+=("$(basename "$source" .cpp)"); done
fi

# The fuzzers write their scratch files under $TMPDIR; a tmpfs makes the atomic writes
# of the loaders (each flushed to disk) ten times cheaper.
if [[ -z "${TMPDIR:-}" && -d /dev/shm && -w /dev/shm ]]; then export TMPDIR=/dev/shm; fi
export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"

failed=()
for target in "${targets[@]}"; do
  short="${target#fuzz_}"
  work="$dir/grown/$short"
  log="$dir/artifacts/$target.log"
  mkdir -p "$work" "$dir/artifacts"
  args=(-max_total_time="$seconds" -timeout=30 -rss_limit_mb=2048 -print_final_stats=1
        -artifact_prefix="$dir/artifacts/$target-")
  [[ -f "fuzz/$short.dict" ]] && args+=(-dict="fuzz/$short.dict")
  status=0
  # New inputs go into the first directory only: the seeds in the clone stay as they are.
  "$dir/fuzz/$target" "${args[@]}" "$work" "fuzz/corpus/$short" >"$log" 2>&1 || status=$?
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  coverage=$(grep -oE 'cov: [0-9]+ ft: [0-9]+ corp: [0-9]+' "$log" | tail -n 1 || true)
  if [[ $status -eq 0 ]]; then
    printf '%-24s %10s executions in %s s; %s; crashes: 0\n' "$target" "${runs:-?}" "$seconds" \
      "${coverage:-no coverage line}"
  else
    printf '%-24s CRASHED after %s executions (exit %d); %s\n' "$target" "${runs:-?}" "$status" \
      "${coverage:-no coverage line}"
    grep -E 'property broken|ERROR: |SUMMARY: |Test unit written to' "$log" | sed 's/^/    /' || true
    echo "    full log: $log"
    failed+=("$target")
  fi
done

if [[ ${#failed[@]} -gt 0 ]]; then
  echo "== fuzz: crashes in ${failed[*]}" >&2
  exit 1
fi
echo "== fuzz: no crashes"
