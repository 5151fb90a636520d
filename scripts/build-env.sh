# Sourced by the scripts: where builds and the compiler cache live. Both stay outside
# the clone, so a fresh clone on the same machine reuses them.
: "${FF_CACHE_ROOT:=/var/cache/file_finder2}"
if ! mkdir -p "$FF_CACHE_ROOT" 2>/dev/null || [[ ! -w "$FF_CACHE_ROOT" ]]; then
  FF_CACHE_ROOT="${XDG_CACHE_HOME:-${TMPDIR:-/tmp}}/file_finder2"
  mkdir -p "$FF_CACHE_ROOT"
fi
# One build tree per clone path, so two clones never share CMake caches.
clone_key=$(pwd -P | md5sum | cut -c1-12)
: "${FF_BUILD_ROOT:=$FF_CACHE_ROOT/build-$clone_key}"
export CCACHE_DIR="${CCACHE_DIR:-$FF_CACHE_ROOT/ccache}"
export CCACHE_BASEDIR="$(pwd -P)"
export CCACHE_NOHASHDIR=1
: "${FF_JOBS:=2}"
export FF_CACHE_ROOT FF_BUILD_ROOT FF_JOBS
