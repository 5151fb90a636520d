#!/usr/bin/env bash
# Installs what is missing, builds, and runs the main job.
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-deps.sh
source scripts/build-env.sh
dir="$FF_BUILD_ROOT/plain"
cmake -S . -B "$dir" -G "Unix Makefiles" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$dir" --parallel "$FF_JOBS" --target file-finder >/dev/null
exec "$dir/tools/file-finder" "$@"
