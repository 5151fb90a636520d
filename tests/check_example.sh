#!/usr/bin/env bash
# Runs the example client on a result directory made here: the binary is found in the
# result's "binaries" directory and its symbol file beside it in "symbols".
set -euo pipefail
example="$1"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/result/binaries" "$work/result/symbols" "$work/result/sources"
echo bin > "$work/result/binaries/app"
echo sym > "$work/result/symbols/app.debug"
echo src > "$work/result/sources/main.c"
out=$(XDG_DATA_HOME="$work/data" "$example" "$work/result" /recorded/bin/app app.debug /build/main.c)
echo "$out"
grep -q "binary  /recorded/bin/app -> $work/result/binaries/app (confidence 1, step ssHighPrioritySearchDirs)" <<<"$out"
grep -q "symbols app.debug -> $work/result/symbols/app.debug" <<<"$out"
grep -q "source  /build/main.c -> $work/result/sources/main.c" <<<"$out"
