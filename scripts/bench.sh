#!/usr/bin/env bash
# Builds the benchmarks (Release, in $FF_BUILD_ROOT/bench), runs each bench/bench_*.cpp
# executable and writes its raw results as bench/results/<name>.json (not committed),
# then the summary bench/results/benchmarks.md (committed).
#
#   scripts/bench.sh                 # every benchmark
#   scripts/bench.sh search history  # bench_search and bench_history only
#   FF_BENCH_ARGS=--benchmark_repetitions=3 scripts/bench.sh names
#
# Generated inputs are made once and kept outside the clone, under $FF_CACHE_ROOT:
# bench-trees/ (directory trees of 1,000 to 100,000 directories), bench-data/ (a 1 GiB
# file for the checksums, the kernel image). `scripts/bench.sh --clean` removes them.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/build-env.sh

data="$FF_CACHE_ROOT/bench-data"
trees="$FF_CACHE_ROOT/bench-trees"
if [[ "${1:-}" == "--clean" ]]; then
  rm -rf "$data" "$trees"
  echo "bench.sh: removed $data and $trees"
  exit 0
fi

scripts/install-deps.sh
build="$FF_BUILD_ROOT/bench"
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DFF_BUILD_BENCH=ON \
  -DFF_BUILD_TESTS=OFF -DFF_BUILD_EXAMPLES=OFF -DFF_BUILD_TOOLS=OFF >/dev/null

names=("$@")
if [[ ${#names[@]} -eq 0 ]]; then
  for source in bench/bench_*.cpp; do
    name=$(basename "$source" .cpp)
    names+=("${name#bench_}")
  done
fi
targets=(ff_bench_report)
for name in "${names[@]}"; do targets+=("bench_$name"); done
cmake --build "$build" -j"$FF_JOBS" --target "${targets[@]}"

# The 1 GiB file of the checksum benchmark: pseudo-random bytes, the same on every run.
mkdir -p "$data" "$trees"
gib="$data/1GiB.bin"
if [[ " ${names[*]} " == *" checksum "* && ! -s "$gib" ]]; then
  echo "bench.sh: making $gib" >&2
  openssl enc -aes-128-ctr -nosalt -pass pass:file_finder2 -in /dev/zero 2>/dev/null |
    head -c $((1 << 30)) >"$gib.tmp"
  mv "$gib.tmp" "$gib"
fi

mkdir -p bench/results
results=()
for name in "${names[@]}"; do
  echo "bench.sh: bench_$name" >&2
  FF_BENCH_TREES="$trees" FF_BENCH_FILE="$gib" FF_BENCH_DIR="$data" \
    "$build/bench/bench_$name" --benchmark_out="bench/results/bench_$name.json" \
    --benchmark_out_format=json ${FF_BENCH_ARGS:-}
  results+=("bench/results/bench_$name.json")
done

# The summary covers every executable that has results, from this run or an earlier one.
mapfile -t all < <(ls bench/results/bench_*.json)
"$build/bench/ff_bench_report" bench bench/results/benchmarks.md "${all[@]}"
echo "bench.sh: summary in bench/results/benchmarks.md" >&2
