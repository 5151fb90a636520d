#!/usr/bin/env bash
# The library against the tools a user would run instead, in one run:
#   - a name search over the 20,000-directory tree (a miss, and a deep hit) and over the
#     100,000-directory tree (a miss) against `find -L TREE -name NAME` (`-quit` for the
#     hit); the misses over the 20,000-directory tree and over the deep tree (8 chains of
#     400 to 500 directories) also against the fastest single-threaded walkers, `bfs -L`
#     and `fdfind -j1 -L`;
#   - MD5 and SHA1 of a 1 GiB file against md5sum / sha1sum and `openssl dgst`;
#   - kernel image extraction against `zcat` to a file, with peak memory (time -v);
#   - kernel images in every compression (gzip, xz, lzma, bzip2, lz4, zstd), each against
#     its own tool writing a file (zcat, xz -dc, lz4 -dc...), with peak memory;
#   - two searches at once on two threads of one IFileSearch, against one search and
#     against two processes;
#   - system calls per directory visited on both trees, library against bfs, fdfind -j1
#     and find -L (strace -c -f);
#   - user-space instructions of the tree walk (callgrind), where valgrind is installed.
# The library's side is bench/ff_bench_driver.cpp, a client of the shared library.
#
# Each pair is timed by hyperfine in rounds (the library, then the tool, then the library
# again...), several runs per round; medians are taken over every run. The machine may be
# busy with other work: the CPU columns (user + system time) are steadier than the wall,
# and `chrt -f 50 scripts/compare.sh` keeps that work off the measured processes.
#
# Writes bench/results/compare.md (committed), compare.png (committed), compare.dat and
# the raw hyperfine JSON under bench/results/compare-raw/ (not committed).
#
#   scripts/compare.sh                  # FF_COMPARE_ROUNDS=5 rounds of the light pairs
#   FF_COMPARE_ROUNDS=3 scripts/compare.sh
#
# Generated inputs (trees, the 1 GiB file, the kernel image) are made once under
# $FF_CACHE_ROOT (bench-trees/, bench-data/) and kept for later runs; `scripts/bench.sh
# --clean` removes them.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/build-env.sh

scripts/install-deps.sh bench valgrind
build="$FF_BUILD_ROOT/bench"
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DFF_BUILD_BENCH=ON \
  -DFF_BUILD_TESTS=OFF -DFF_BUILD_EXAMPLES=OFF -DFF_BUILD_TOOLS=OFF >/dev/null
cmake --build "$build" -j"$FF_JOBS" --target ff_bench_driver ff_bench_report
driver="$build/bench/ff_bench_driver"
report="$build/bench/ff_bench_report"

rounds="${FF_COMPARE_ROUNDS:-5}"
data="$FF_CACHE_ROOT/bench-data"
trees="$FF_CACHE_ROOT/bench-trees"
out=bench/results
raw="$out/compare-raw"
mkdir -p "$data" "$trees" "$out"
rm -rf "$raw"
mkdir -p "$raw"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

miss=ff-no-such-file.so    # no tree holds it (bench/tree_generator.h)
hit=ff-deep-hit.so         # one file, in one of the deepest directories of a wide tree

echo "compare.sh: making the inputs (once)" >&2
wide=$("$driver" make-tree wide "$trees" 20000)
wide100k=$("$driver" make-tree wide "$trees" 100000)
deep=$("$driver" make-tree deep "$trees")
gib="$data/1GiB.bin"
if [[ ! -s "$gib" ]]; then
  openssl enc -aes-128-ctr -nosalt -pass pass:file_finder2 -in /dev/zero 2>/dev/null |
    head -c $((1 << 30)) >"$gib.tmp"
  mv "$gib.tmp" "$gib"
fi
mapfile -t kernel < <("$driver" make-kernel-image "$data")
image="${kernel[0]}"
stream="${kernel[1]}"
deepDirs=$(find "$deep" -type d | wc -l)

# timed ROUNDS RUNS WARMUP NAME COMMAND [NAME COMMAND]...: one hyperfine call per round,
# so that the commands take turns; find exits 1 after reporting the link loop (-i).
timed() {
  local rounds=$1 runs=$2 warmup=$3
  shift 3
  local args=()
  while (($#)); do
    args+=(--command-name "$1" "$2")
    shift 2
  done
  for ((round = 1; round <= rounds; round++)); do
    hyperfine --style basic -i --warmup "$warmup" --runs "$runs" \
      --export-json "$raw/$(date +%s%N).json" "${args[@]}" >&2
  done
}

echo "compare.sh: tree searches" >&2
# fdfind: -uu searches hidden and ignored names too, as the others do; -g NAME matches the
# whole name, as -name does.
timed "$rounds" 3 1 lib-miss-20k "$driver find-recursive $wide $miss" \
  find-miss-20k "find -L $wide -name $miss" bfs-miss-20k "bfs -L $wide -name $miss" \
  fd-miss-20k "fdfind -j1 -L -uu -g $miss $wide"
timed "$rounds" 3 1 lib-hit-20k "$driver find-recursive $wide $hit" \
  find-hit-20k "find -L $wide -name $hit -quit"
timed "$rounds" 3 1 lib-miss-deep "$driver find-recursive $deep $miss" \
  find-miss-deep "find -L $deep -name $miss" bfs-miss-deep "bfs -L $deep -name $miss" \
  fd-miss-deep "fdfind -j1 -L -uu -g $miss $deep"
timed 2 3 1 lib-miss-100k "$driver find-recursive $wide100k $miss" \
  find-miss-100k "find -L $wide100k -name $miss"

echo "compare.sh: two searches at once" >&2
# One search; two on two threads of one IFileSearch; two in two processes. The processes
# share nothing, so they show what the machine allows two searches at once; the threads
# should be no slower than them.
timed "$rounds" 3 1 one-search "$driver find-recursive-threads 1 $wide $miss" \
  two-threads "$driver find-recursive-threads 2 $wide $miss" \
  two-processes "$driver find-recursive $wide $miss & $driver find-recursive $wide $miss; wait"

echo "compare.sh: checksums and extraction" >&2
cat "$gib" "$stream" "$image" >/dev/null  # warm the page cache for every contender
timed 3 1 0 lib-md5 "$driver md5 $gib" md5sum "md5sum $gib" openssl-md5 "openssl dgst -md5 $gib"
timed 3 1 0 lib-sha1 "$driver sha1 $gib" sha1sum "sha1sum $gib" \
  openssl-sha1 "openssl dgst -sha1 $gib"
timed 3 2 0 lib-extract "$driver extract $image $work/vmlinux" \
  zcat "zcat $stream > $work/vmlinux.zcat"

echo "compare.sh: every kernel compression" >&2
# One 64 MiB kernel, packed by each format's tool as kernel builds pack it (zstd at -19
# rather than the kernel's -22, which takes minutes), once; the image is 16 KiB of boot
# code, the stream and the size a build appends. Each tool gets the stream alone.
elf=$("$driver" make-kernel-elf "$data")
formats=(gzip xz lzma bzip2 lz4 zstd)
declare -A pack=([gzip]="gzip -9n" [xz]="xz --check=crc32 --x86 --lzma2=dict=32MiB"
  [lzma]="xz --format=lzma -9" [bzip2]="bzip2 -9" [lz4]="lz4 -l -9" [zstd]="zstd -19 -q")
declare -A unpackTool=([gzip]="zcat" [xz]="xz -dc" [lzma]="xz --format=lzma -dc"
  [bzip2]="bzip2 -dc" [lz4]="lz4 -dc" [zstd]="zstd -dc")
# The format's own window, which the library may use on top of 16 MiB (MiB).
declare -A window=([gzip]=0 [xz]=32 [lzma]=64 [bzip2]=4 [lz4]=8 [zstd]=8)
for f in "${formats[@]}"; do
  packed="$elf.$f"  # not $stream: that is the gzip kernel's, measured again below
  if [[ ! -s "$packed" ]]; then
    ${pack[$f]} -c <"$elf" >"$packed.tmp"
    mv "$packed.tmp" "$packed"
  fi
  if [[ ! -s "$elf.$f.image" ]]; then
    { head -c 16384 /dev/zero | tr '\0' '0'; cat "$packed"; printf '\0\0\0\4'; } >"$elf.$f.image"
  fi
done
cat "$elf".* >/dev/null
for f in "${formats[@]}"; do
  timed 3 2 0 "lib-unpack-$f" "$driver unpack $elf.$f.image $work/vmlinux" \
    "tool-$f" "${unpackTool[$f]} $elf.$f > $work/vmlinux.tool"
done

cat >"$work/pairs.tsv" <<EOF
name search, miss, 20,000 directories	lib-miss-20k	find-miss-20k	1.0	20000
the same, against bfs -L	lib-miss-20k	bfs-miss-20k	1.0	20000
the same, against fdfind -j1	lib-miss-20k	fd-miss-20k	-	20000
name search, deep hit, 20,000 directories	lib-hit-20k	find-hit-20k	-	-
name search, miss, 8 chains 400-500 deep	lib-miss-deep	find-miss-deep	0.6667	$deepDirs
the same, against bfs -L	lib-miss-deep	bfs-miss-deep	0.8333	$deepDirs
the same, against fdfind -j1	lib-miss-deep	fd-miss-deep	-	$deepDirs
name search, miss, 100,000 directories	lib-miss-100k	find-miss-100k	-	100000
MD5 of 1 GiB, against openssl dgst	lib-md5	openssl-md5	1.05	-
MD5 of 1 GiB, against md5sum	lib-md5	md5sum	-	-
SHA1 of 1 GiB, against openssl dgst	lib-sha1	openssl-sha1	1.05	-
SHA1 of 1 GiB, against sha1sum	lib-sha1	sha1sum	-	-
kernel image extraction, 100 MB stream	lib-extract	zcat	1.3	-
EOF
for f in "${formats[@]}"; do
  goal=$([[ $f == gzip ]] && echo 1.3 || echo 0.9)
  printf '64 MiB kernel from %s, against %s\tlib-unpack-%s\ttool-%s\t%s\t-\n' \
    "$f" "${unpackTool[$f]}" "$f" "$f" "$goal" >>"$work/pairs.tsv"
done

cat >"$work/ratios.tsv" <<EOF
the 100,000-directory miss against the 20,000-directory one	lib-miss-100k	lib-miss-20k	5.5
the same for find -L	find-miss-100k	find-miss-20k	-
two searches on two threads of one IFileSearch, against one	two-threads	one-search	1.15	2
two searches in two processes, against one (what the machine allows)	two-processes	one-search	-	2
two threads against two processes	two-threads	two-processes	-
EOF

# ---- measures that are not times ------------------------------------------------------
extra="$work/extra.tsv"
: >"$extra"

peakKiB() {  # peakKiB COMMAND...: the maximum resident set size of one run
  /usr/bin/time -v "$@" 2>&1 >/dev/null | awk -F': ' '/Maximum resident set size/ {print $2}'
}
libPeak=$(peakKiB "$driver" extract "$image" "$work/vmlinux")
zcatPeak=$(peakKiB sh -c "zcat $stream > $work/vmlinux.zcat")
rm -f "$work/vmlinux" "$work/vmlinux.zcat"
met=$([[ $libPeak -le $((16 * 1024)) ]] && echo "**yes**" || echo "**no**")
printf 'peak memory, kernel image extraction\t%s MiB\t%s MiB (zcat)\t≤ 16 MiB\t%s\n' \
  "$(awk -v k="$libPeak" 'BEGIN {printf "%.1f", k / 1024}')" \
  "$(awk -v k="$zcatPeak" 'BEGIN {printf "%.1f", k / 1024}')" "$met" >>"$extra"

for f in "${formats[@]}"; do
  libPeak=$(peakKiB "$driver" unpack "$elf.$f.image" "$work/vmlinux")
  toolPeak=$(peakKiB sh -c "${unpackTool[$f]} $elf.$f > $work/vmlinux.tool")
  limit=$(((window[$f] + 16) * 1024))
  met=$([[ $libPeak -le $limit ]] && echo "**yes**" || echo "**no**")
  printf 'peak memory, 64 MiB kernel from %s\t%s MiB\t%s MiB (%s)\t≤ %s MiB\t%s\n' "$f" \
    "$(awk -v k="$libPeak" 'BEGIN {printf "%.1f", k / 1024}')" \
    "$(awk -v k="$toolPeak" 'BEGIN {printf "%.1f", k / 1024}')" "${unpackTool[$f]}" \
    "$((window[$f] + 16))" "$met" >>"$extra"
done
rm -f "$work/vmlinux" "$work/vmlinux.tool"

echo "compare.sh: system calls" >&2
empty="$work/empty"
mkdir -p "$empty"
syscalls() {  # syscalls NAME COMMAND...: total calls; the table stays in $work/NAME.strace
  local name=$1
  shift
  strace -c -f -o "$work/$name.strace" "$@" >/dev/null 2>&1 || true
  awk '$NF == "total" {print $4}' "$work/$name.strace"
}
links=$(find "$wide" -type l | wc -l)
# Calls of the walk alone, per directory: the run over an empty directory (one directory
# visited) is the cost of starting up.
perDir() {  # perDir TREE DIRECTORIES NAME COMMAND...: COMMAND's words may hold @TREE@
  local tree=$1 dirs=$2 name=$3
  shift 3
  local walk=("${@//@TREE@/$tree}") start=("${@//@TREE@/$empty}")
  local total base
  total=$(syscalls "$name" "${walk[@]}")
  base=$(syscalls "$name-base" "${start[@]}")
  awk -v t="$total" -v b="$base" -v d="$dirs" 'BEGIN {printf "%.2f", (t - b) / (d - 1)}'
}
for tree in wide deep; do
  if [[ $tree == wide ]]; then
    root=$wide dirs=20000 label="20,000-directory miss ($links link)"
  else
    root=$deep dirs=$deepDirs label="miss over 8 chains 400-500 deep"
  fi
  libPerDir=$(perDir "$root" "$dirs" "lib-$tree" "$driver" find-recursive @TREE@ "$miss")
  bfsPerDir=$(perDir "$root" "$dirs" "bfs-$tree" bfs -L @TREE@ -name "$miss")
  fdPerDir=$(perDir "$root" "$dirs" "fd-$tree" fdfind -j1 -L -uu -g "$miss" @TREE@)
  findPerDir=$(perDir "$root" "$dirs" "find-$tree" find -L @TREE@ -name "$miss")
  met=$(awk -v p="$libPerDir" 'BEGIN {print (p <= 5.2) ? "**yes**" : "**no**"}')
  printf 'system calls per directory visited, %s\t%s\t%s (bfs), %s (fdfind -j1), %s (find -L)\t≤ 5.2\t%s\n' \
    "$label" "$libPerDir" "$bfsPerDir" "$fdPerDir" "$findPerDir" "$met" >>"$extra"
done
# Which calls, per directory, for each side.
breakdown() {
  awk '$NF != "total" && $4 ~ /^[0-9]+$/ && $4 >= 1000 {printf "%s%s %.2f", sep, $NF, $4 / 20000; sep = ", "}' "$1"
}
printf 'calls per directory by kind, 20,000-directory miss\t%s\t%s (bfs)\t\t\n' \
  "$(breakdown "$work/lib-wide.strace")" "$(breakdown "$work/bfs-wide.strace")" >>"$extra"

if command -v valgrind >/dev/null; then
  echo "compare.sh: instructions (callgrind)" >&2
  instructions() {  # user-space instructions of one run (find -L exits 1: the link loop)
    { valgrind --tool=callgrind --callgrind-out-file=/dev/null "$@" 2>&1 >/dev/null || true; } |
      awk '/Collected :/ {print $NF}'
  }
  for tree in wide deep; do
    root=$([[ $tree == wide ]] && echo "$wide" || echo "$deep")
    label=$([[ $tree == wide ]] && echo "20,000 directories" || echo "8 chains 400-500 deep")
    libIr=$(instructions "$driver" find-recursive "$root" "$miss")
    findIr=$(instructions find -L "$root" -name "$miss")
    printf 'user-space instructions, miss, %s (callgrind)\t%s M\t%s M (find -L)\t\t\n' "$label" \
      "$(awk -v n="$libIr" 'BEGIN {printf "%.1f", n / 1e6}')" \
      "$(awk -v n="$findIr" 'BEGIN {printf "%.1f", n / 1e6}')" >>"$extra"
  done
fi

# ---- tables and chart -----------------------------------------------------------------
"$report" compare "$out" "$work/pairs.tsv" "$work/ratios.tsv" "$extra" "$raw"/*.json
{
  echo
  echo "Measured $(date -u +%Y-%m-%d) on $(nproc) cores ($(uname -r)), $rounds rounds;"
  echo "hyperfine $(hyperfine --version | awk '{print $2}'), $(find --version | head -1)," \
    "$(bfs --version | head -1), $(fdfind --version), $(openssl version | awk '{print $1, $2}')."
} >>"$out/compare.md"

gnuplot <<EOF
set terminal pngcairo size 1100,620 font "sans,10"
set output "$out/compare.png"
set title "file_finder2 against the tools: the library's time relative to the tool's (below 1: the library is faster)" noenhanced
set style data histogram
set style histogram clustered gap 1
set style fill solid 0.8 border -1
set boxwidth 0.8
set xtics rotate by -30 left noenhanced
set bmargin 11
set rmargin 26
set ylabel "library time / tool time"
set yrange [0:*]
set grid ytics
set key outside top center horizontal
set datafile separator "\t"
set datafile missing "NaN"
plot "$out/compare.dat" using 2:xtic(1) title "library" lc rgb "#3070b0", \
     "" using 0:3 with points pt 7 ps 1.5 lc rgb "#c03020" title "goal (at most)", \
     1 with lines dt 2 lc rgb "#606060" title "tool"
EOF
echo "compare.sh: bench/results/compare.md and compare.png written" >&2
cat "$out/compare.md"
