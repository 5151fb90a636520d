#!/usr/bin/env bash
# Checks what the two shared libraries define and use:
#   - the core library (first argument) exports its own namespace only, and defines none
#     of the host libraries' symbols: those come from the host stand-ins' library;
#   - the host stand-ins' library (second argument) exports the host namespaces only;
#   - neither starts a thread: the library creates none, and a call that would start one
#     (pthread_create, thrd_create, std::thread's start) must not even be linked in.
set -euo pipefail
core="$1"
host="$2"
runtime='^(_init|_fini|_edata|_end|__bss_start)$'
thread_start='^(pthread_create|thrd_create|clone|clone3)(@.*)?$|^std::thread::_M_start_thread'
status=0

# check LIBRARY NAMESPACES: fails on a defined symbol outside NAMESPACES (and their
# vtables and type information).
check() {
  local lib=$1 namespaces="($2)::"
  local allowed="^((vtable|typeinfo|typeinfo name|VTT) for )?$namespaces"
  local symbols bad starts
  symbols=$(nm -D --defined-only -C "$lib" | cut -d' ' -f3-)
  bad=$(grep -v -E "$allowed" <<<"$symbols" | grep -v -E "$runtime" || true)
  if [[ -n "$bad" ]]; then
    echo "$(basename "$lib"): symbols exported outside $2:" >&2
    echo "$bad" >&2
    status=1
  fi
  starts=$(nm -D --undefined-only -C "$lib" | awk '{$1 = ""; print substr($0, 2)}' |
    grep -E "$thread_start" || true)
  if [[ -n "$starts" ]]; then
    echo "$(basename "$lib"): starts threads through:" >&2
    echo "$starts" >&2
    status=1
  fi
  echo "$(basename "$lib"): $(grep -c -E "$allowed" <<<"$symbols") exported symbols"
}

check "$core" 'FF_2_13'
check "$host" 'tarnbase2|mulkit2|QORAL_2_18|pellium_1|courlet2'
exit $status
