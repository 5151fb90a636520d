#!/usr/bin/env bash
# Installs on this machine what an i386 build with the host's compiler needs: the i386
# foreign architecture, g++-multilib and the :i386 -dev packages. The fallback route of the
# i386 pass (cmake/i386-linux-gnu.cmake). Needs root privileges.
#
# It works only while the mirror's i386 and amd64 indexes carry the same versions of the
# packages both architectures share (libssl3, linux-libc-dev...). When it fails and nothing
# of i386 was installed, it takes the i386 architecture away again, so that a lagging i386
# index does not make every later `apt-get update` on this machine fail.
set -euo pipefail

packages=(
  g++-multilib
  libboost-filesystem-dev:i386 liblog4cplus-dev:i386 zlib1g-dev:i386 libssl-dev:i386
  libelf-dev:i386 libdw-dev:i386 libdebuginfod-dev:i386
  libgtest-dev:i386 libgmock-dev:i386
  liblzma-dev:i386 libbz2-dev:i386 liblz4-dev:i386 libzstd-dev:i386
)

die() { echo "i386-multiarch.sh: $*" >&2; exit 1; }

missing=()
for p in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$p")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

added_arch=false
if ! dpkg --print-foreign-architectures | grep -qx i386; then
  dpkg --add-architecture i386
  added_arch=true
fi
give_up() {
  if $added_arch && ! dpkg-query -W -f='${Package}:${Architecture}\n' 2>/dev/null | grep -q ':i386$'; then
    dpkg --remove-architecture i386 || true
    apt-get update -q >/dev/null 2>&1 || true
  fi
  die "$*"
}

echo "i386-multiarch.sh: installing ${missing[*]}" >&2
updated=false
for attempt in 1 2 3 4; do
  if apt-get update -q >&2; then updated=true; break; fi
  echo "i386-multiarch.sh: apt-get update failed (attempt $attempt of 4)" >&2
  if ((attempt < 4)); then sleep $((attempt * 5)); fi
done
$updated || give_up "apt-get update failed with the i386 architecture added (the mirror's" \
  "i386 index is probably behind its amd64 one); cannot install ${missing[*]}"

DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}" >&2 ||
  give_up "cannot install ${missing[*]}: the i386 and amd64 versions of shared packages differ" \
    "on the mirror (see above)"
