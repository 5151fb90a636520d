#!/usr/bin/env bash
# Installs, from Debian packages, exactly what the build, the tests and the tools
# need and this machine lacks. Runs `apt-get update` only when something is missing.
set -euo pipefail

packages=(
  cmake g++ make pkg-config ccache
  libboost-filesystem-dev liblog4cplus-dev zlib1g-dev libssl-dev libelf-dev libdw-dev
  libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev nlohmann-json3-dev
  # kernel images and modules in every compression; the tools make the tests' inputs
  liblzma-dev libbz2-dev liblz4-dev libzstd-dev xz-utils bzip2 lz4 zstd
  clang libclang-rt-14-dev binutils
  # ./test.sh's memcheck pass; llvm-symbolizer (llvm) names the frames of fuzzer crashes
  valgrind llvm
  # optional remote source: the client library, and a real server for its tests
  libdebuginfod-dev debuginfod
)
# Extra groups a caller may ask for: `install-deps.sh bench` and so on.
for group in "$@"; do
  case "$group" in
    bench) packages+=(hyperfine gnuplot-nox strace time openssl bfs fd-find) ;;
    i386) packages+=(debootstrap file) ;;
    valgrind) packages+=(valgrind) ;;
    *) echo "install-deps.sh: unknown group '$group'" >&2; exit 2 ;;
  esac
done

missing=()
for p in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$p")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

echo "install-deps.sh: installing ${missing[*]}" >&2
sudo_cmd=()
[[ $(id -u) -eq 0 ]] || sudo_cmd=(sudo)

updated=false
for attempt in 1 2 3 4; do
  if "${sudo_cmd[@]}" apt-get update -q >&2; then updated=true; break; fi
  echo "install-deps.sh: apt-get update failed (attempt $attempt), retrying" >&2
  sleep $((attempt * 5))
done
if ! $updated; then
  echo "install-deps.sh: apt-get update failed; cannot install ${missing[*]}" >&2
  exit 1
fi
DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}" >&2
