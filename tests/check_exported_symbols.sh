#!/usr/bin/env bash
# Fails when the shared library exports a symbol outside the library's namespace and the
# host adapters' namespaces (and their vtables and type information).
set -euo pipefail
lib="$1"
namespaces='(FF_2_13|tarnbase2|mulkit2|QORAL_2_18|pellium_1|courlet2)::'
allowed="^((vtable|typeinfo|typeinfo name|VTT) for )?$namespaces"
runtime='^(_init|_fini|_edata|_end|__bss_start)$'
symbols=$(nm -D --defined-only -C "$lib" | cut -d' ' -f3-)
bad=$(grep -v -E "$allowed" <<<"$symbols" | grep -v -E "$runtime" || true)
if [[ -n "$bad" ]]; then
  echo "symbols exported outside the public namespaces:" >&2
  echo "$bad" >&2
  exit 1
fi
echo "exported symbols: $(grep -c -E "$allowed" <<<"$symbols")"
