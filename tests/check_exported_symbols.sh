#!/usr/bin/env bash
# Fails when the shared library exports a symbol outside the library's namespace, other
# than the host adapters' namespaces and the runtime's own few.
set -euo pipefail
lib="$1"
allowed='FF_2_13::|tarnbase2::|mulkit2::|QORAL_2_18::|pellium_1::|courlet2::'
# Boost.System marks its error categories and exception types visible itself; they must
# stay visible so that a client can catch the file-system errors a search lets through.
# The standard library's own vague-linkage data may show too.
third_party='boost::system::|std::__detail::'
runtime='^(_init|_fini|_edata|_end|__bss_start)$'
bad=$(nm -D --defined-only -C "$lib" | awk '{ $1=""; $2=""; sub(/^  /, ""); print }' |
      grep -v -E "$allowed" | grep -v -E "$runtime" | grep -v -E "$third_party" |
      grep -v -E '^(typeinfo|vtable|VTT|guard variable|construction vtable) for (FF_2_13|tarnbase2|mulkit2|QORAL_2_18|pellium_1|courlet2)::' || true)
if [[ -n "$bad" ]]; then
  echo "symbols exported outside the public namespaces:" >&2
  echo "$bad" >&2
  exit 1
fi
count=$(nm -D --defined-only -C "$lib" | grep -c 'FF_2_13::' || true)
echo "exported symbols in FF_2_13: $count"
