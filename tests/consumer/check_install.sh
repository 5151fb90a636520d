#!/usr/bin/env bash
# Installs the built tree into a temporary prefix, then configures, builds and runs the
# consumer project against it with find_package(FileFinder2 CONFIG) and with pkg-config,
# and runs the installed command.
set -euo pipefail
build_dir="$1"
consumer_src="$2"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null
cmake -S "$consumer_src" -B "$work/build" -DCMAKE_PREFIX_PATH="$work/prefix" \
      -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$work/build" >/dev/null
out=$(LD_LIBRARY_PATH="$work/prefix/lib:$work/prefix/lib/$(basename "$(dirname "$(find "$work/prefix" -name 'libfile_finder2.so' | head -n1)")")" "$work/build/consumer")
[[ "$out" == "/usr/lib64" ]] || { echo "consumer printed '$out'" >&2; exit 1; }

pcdir=$(dirname "$(find "$work/prefix" -name file_finder2.pc | head -n1)")
flags=$(PKG_CONFIG_PATH="$pcdir" pkg-config --cflags --libs file_finder2)
# shellcheck disable=SC2086
c++ -std=c++17 "$consumer_src/consumer.cpp" $flags -o "$work/consumer-pc"
# The installed command runs from the prefix with no help from the environment.
env -u LD_LIBRARY_PATH "$work/prefix/bin/file-finder" --help >/dev/null
env -u LD_LIBRARY_PATH "$work/prefix/bin/file-finder" bin --search-dir "binaries:$work/prefix/bin" \
    file-finder >/dev/null
echo "consumer built with CMake and pkg-config against the installed library"
