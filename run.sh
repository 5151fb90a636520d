#!/usr/bin/env bash
# Installs what is missing, builds, and runs the main job: `file-finder resolve --self`,
# which shows which of the tool's own modules and symbol files this machine has. Other
# arguments are handed to file-finder instead (./run.sh bin /usr/lib/libc.so.6).
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-deps.sh
source scripts/build-env.sh
dir="$FF_BUILD_ROOT/plain"
cmake -S . -B "$dir" -G "Unix Makefiles" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$dir" --parallel "$FF_JOBS" --target file-finder >/dev/null
[[ $# -gt 0 ]] || set -- resolve --self
exec "$dir/tools/file-finder" "$@"
