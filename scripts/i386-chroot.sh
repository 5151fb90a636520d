#!/usr/bin/env bash
# Runs a command inside the i386 root. The given directories (the clone, the build tree, the
# compiler cache) are bind-mounted read-write at their own paths inside the root, so paths
# in the build, in ccache's keys and in test output are the host's. /proc, /dev and a fresh
# /tmp are mounted too. Needs root privileges.
#
#   scripts/i386-chroot.sh ROOT_DIR DIR... -- [VAR=value...] COMMAND [ARG...]
#
# The mounts are made in a private mount namespace, so they are never seen outside it and
# cannot outlive the command even if it is killed; the trap takes them down in order anyway.
set -euo pipefail

if [[ -z "${FF_I386_MOUNT_NS:-}" ]]; then
  FF_I386_MOUNT_NS=1 exec unshare --mount --propagation private -- "$0" "$@"
fi

die() { echo "i386-chroot.sh: $*" >&2; exit 1; }

root="${1:?usage: $0 ROOT_DIR DIR... -- COMMAND...}"
shift
binds=()
while [[ $# -gt 0 && "$1" != "--" ]]; do
  binds+=("$1")
  shift
done
[[ $# -gt 1 ]] || die "usage: $0 ROOT_DIR DIR... -- COMMAND..."
shift

mounted=()
unmount_all() {
  local i
  for ((i = ${#mounted[@]} - 1; i >= 0; i--)); do
    umount -R "${mounted[i]}" 2>/dev/null || umount -R -l "${mounted[i]}" || true
  done
}
trap unmount_all EXIT
trap 'exit 130' INT TERM

mount_into() {
  local target="$1"
  shift
  mkdir -p "$target"
  mount "$@" "$target"
  mounted+=("$target")
}

mount_into "$root/proc" -t proc proc
mount_into "$root/dev" --rbind /dev
mount_into "$root/tmp" -t tmpfs -o mode=1777 tmpfs
for dir in "${binds[@]}"; do
  [[ "$dir" == /* && -d "$dir" ]] || die "not an absolute directory: $dir"
  mount_into "$root$dir" --bind "$dir"
done

chroot "$root" /usr/bin/env -i \
  PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
  HOME=/root LANG=C.UTF-8 TMPDIR=/tmp "$@"
