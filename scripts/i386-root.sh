#!/usr/bin/env bash
# Makes sure the Debian i386 root that the i386 pass builds in exists and holds the packages
# below. The root lives outside the clone and is reused by later runs; it is made again with
# debootstrap, from the Debian archive apt already uses, when it is missing or when the
# package list below (or the Debian release) changes. Needs root privileges.
#
#   scripts/i386-root.sh ROOT_DIR
#
# Every package comes from the archive's one i386 index, so unlike multiarch the root does
# not care whether the mirror's i386 and amd64 indexes agree on versions.
set -euo pipefail

# What the pass needs inside the root: compiler and build tools, `file` for the architecture
# check, and the i386 -dev packages of every library the project links or tests with (the
# same libraries scripts/install-deps.sh installs for the native build; keep them in step).
packages=(
  g++ make cmake pkg-config ccache binutils file
  libboost-filesystem-dev liblog4cplus-dev zlib1g-dev libssl-dev libelf-dev libdw-dev
  libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev nlohmann-json3-dev
  liblzma-dev libbz2-dev liblz4-dev libzstd-dev xz-utils bzip2 lz4 zstd
  libdebuginfod-dev debuginfod
)

die() { echo "i386-root.sh: $*" >&2; exit 1; }

[[ $# -eq 1 ]] || die "usage: $0 ROOT_DIR"
root="$1"
[[ $(id -u) -eq 0 ]] || die "making the i386 root needs root privileges"
command -v debootstrap >/dev/null || die "debootstrap is missing (scripts/install-deps.sh i386)"

suite="${FF_I386_SUITE:-$(. /etc/os-release && echo "${VERSION_CODENAME:-}")}"
[[ -n "$suite" ]] || die "cannot tell this machine's Debian release; set FF_I386_SUITE"

key="arch=i386 variant=minbase suite=$suite packages=$(printf '%s\n' "${packages[@]}" | sort | tr '\n' ' ')"
stamp="etc/file_finder2-i386-root.key"
if [[ -f "$root/$stamp" && "$(cat "$root/$stamp")" == "$key" ]]; then
  exit 0
fi

# The same archive apt uses for this release, as apt itself reports it (the $(...) are
# apt's own format fields).
# shellcheck disable=SC2016
mirror="${FF_I386_MIRROR:-$(apt-get indextargets --format '$(REPO_URI) $(RELEASE) $(COMPONENT)' \
  'Identifier: Packages' 2>/dev/null | awk -v s="$suite" '$2 == s && $3 == "main" { print $1; exit }')}"
[[ -n "$mirror" ]] || die "no apt source for '$suite main' in /etc/apt/sources.list*; set FF_I386_MIRROR"

# rm -rf must never run through a bind mount into the clone or /dev.
remove_tree() {
  local dir="$1"
  [[ -e "$dir" ]] || return 0
  if awk -v d="$dir" '$5 == d || index($5, d "/") == 1 { found = 1 } END { exit !found }' \
       /proc/self/mountinfo; then
    die "something is still mounted under $dir; unmount it first"
  fi
  rm -rf "$dir"
}

new="$root.new"
log="$root.log"
mkdir -p "$(dirname "$root")"
echo "== i386: making the i386 root in $root from $mirror $suite (log: $log)"
start=$SECONDS
made=false
for attempt in 1 2 3; do
  remove_tree "$new"
  if debootstrap --arch=i386 --variant=minbase --include="$(IFS=,; echo "${packages[*]}")" \
       "$suite" "$new" "$mirror" >"$log" 2>&1; then
    made=true
    break
  fi
  echo "i386-root.sh: debootstrap failed (attempt $attempt); its last lines:" >&2
  tail -n 15 "$log" >&2
  [[ -f "$new/debootstrap/debootstrap.log" ]] && tail -n 15 "$new/debootstrap/debootstrap.log" >&2
  if ((attempt < 3)); then sleep $((attempt * 10)); fi
done
if ! $made; then
  remove_tree "$new"
  die "debootstrap could not make the i386 root from $mirror $suite; see $log"
fi

# i386 programs run on this kernel only with its 32-bit emulation switched on.
chroot "$new" /usr/bin/g++ --version >/dev/null ||
  die "the i386 root's programs do not run here (kernel without IA32 emulation?)"

rm -f "$new"/var/cache/apt/archives/*.deb
echo "$key" >"$new/$stamp"
remove_tree "$root"
mv "$new" "$root"
echo "== i386: root ready in $((SECONDS - start)) s, $(du -sh "$root" | cut -f1)"
