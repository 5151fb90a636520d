#!/usr/bin/env bash
# Writes the seed corpus of every fuzzer: fuzz/corpus/<target>/<seed>. The seeds are
# small, valid or nearly valid inputs that lead each fuzzer to the interesting code
# quickly; what the fuzzers find beyond them stays out of the repository. Run it from
# anywhere; it replaces the seeds it writes and leaves other files (crash inputs added
# as regression seeds) alone.
set -euo pipefail
cd "$(dirname "$0")"

seed() {  # seed TARGET NAME: stdin becomes the seed
  mkdir -p "$1"
  cat >"$1/$2"
}

# --- fuzz_canonical_name: a name, optionally a NUL and the second argument.
n=0
for name in '/usr/lib/../lib64/' '/opt//app/./bin' 'C:\dir\file.pdb' '\\srv\share\x' \
            '/' '.' '..' 'x/./' 'x/.' 'a/..' 'a/../../etc/passwd' '/../../x' 'D:x' '\x\y' \
            'a\b/c\d' '//net/x' '.debug' 'a.tar.gz' 'lib/../C:\x' './/x//..//' ; do
  n=$((n + 1))
  printf '%s' "$name" | seed canonical_name "name-$n"
done
printf '/a/b.so\0.debug' | seed canonical_name with-extension
printf '/a/b/\0.x' | seed canonical_name trailing-separator-extension
printf 'base\0sub' | seed canonical_name sub-part
printf '\xc3\xa9t\xe9/\x80\xff' | seed canonical_name high-bytes

# --- fuzz_extract_vmlinux: boot code, then a gzip stream (or a damaged one).
kernel() { printf 'ELF kernel proper %.0s' $(seq 1 40); }
boot() { printf '\x4d\x5a boot code \x1f\x8b\x00 '; }  # a partial signature first
{ boot; kernel | gzip -9n; } | seed extract_vmlinux image
{ boot; kernel | gzip -9n | head -c 40; } | seed extract_vmlinux truncated
{ boot; kernel | gzip -9n; printf 'trailing bytes after the stream'; } | seed extract_vmlinux trailing
{ printf '\x1f'; kernel | gzip -9n; } | seed extract_vmlinux missed-signature
{ boot; kernel | gzip -9n | head -c 30; printf 'garbage in the deflate data'; } | seed extract_vmlinux corrupt
printf 'no signature at all' | seed extract_vmlinux no-signature
printf '\x1f\x8b\x08\x00' | seed extract_vmlinux signature-only

# --- fuzz_unpack_kernel: boot code, then a small ELF file in each format (whole, cut
# off, and with a damaged byte), as the formats' own tools write them.
elf() { printf '\x7fELF\x02\x01\x01\0\0\0\0\0\0\0\0\0'; kernel; }
for format in 'gzip -9n:gzip' 'xz --check=crc32:xz' 'xz --format=lzma:lzma' 'bzip2 -9:bzip2' \
              'lz4 -l -9:lz4' 'zstd -19 -q:zstd'; do
  tool="${format%%:*}"; name="${format##*:}"
  { boot; elf | $tool -c; printf '\0\x10\0\0 padding'; } | seed unpack_kernel "$name"
  { boot; elf | $tool -c | head -c 48; } | seed unpack_kernel "$name-truncated"
  { elf | $tool -c | head -c 40; printf 'X'; elf | $tool -c | tail -c +42; } |
    seed unpack_kernel "$name-damaged"
done
printf '\x89LZO\0\r\n\x1a\n\x10\x30' | seed unpack_kernel lzo

# --- fuzz_persistent_dirs: the storage file.
entry() {  # entry CATEGORY NAME-JSON RECURSIVE PRIORITY
  printf '{"searchCategory":{"category":"%s"},"searchDirectory":{"name":%s,"recursive":%s,"priority":"%s"}}' "$@"
}
printf '{"searchDirs":[%s,%s,%s,%s]}' \
  "$(entry binaries '"/opt/app/lib"' false low)" "$(entry symbols '"/opt/app/debug"' true high)" \
  "$(entry sources '"/src/my project"' true low)" "$(entry all '"/usr/lib/debug/"' false high)" |
  seed persistent_dirs four-categories
printf '{"searchDirs":[%s]}' "$(entry symbols '[47,116,255,120]' true low)" |
  seed persistent_dirs byte-name
printf '{"searchDirs":[%s]}' "$(entry all '{"percentEncoded":"/caf%E9 100%25"}' false high)" |
  seed persistent_dirs percent-encoded-name
printf '{"other":{"kept":1},"searchDirs":[%s,{"searchCategory":{"category":"bogus"}},%s]}' \
  "$(entry binaries '"/a"' true true)" "$(entry binaries '"/a/"' false high)" |
  seed persistent_dirs damaged-entries
printf '{"searchDirs":{}}' | seed persistent_dirs not-a-list
printf '[1,2,3]' | seed persistent_dirs not-an-object
printf '' | seed persistent_dirs empty

# --- fuzz_history_load: the history file.
printf '%s' '{"version":1,"binaries":[{"file":"libx.so","resolved":"/opt/app/lib/libx.so"}],
"symbols":[{"file":"libx.so.debug","binary":"libx.so","checksum":"9e107d9d","resolved":"/usr/lib/debug/libx.so.debug"}],
"sources":[{"file":"x.c","binary":"libx.so","checksum":"","resolved":"/src/x.c"}]}' |
  seed history_load three-categories
printf '%s' '{"version":1,"binaries":[{"file":{"hex":"6c6962ff2e736f"},"resolved":""}],"symbols":[],"sources":[]}' |
  seed history_load hex-name
printf '%s' '{"version":1,"binaries":[{"file":{"percentEncoded":"lib%FF.so"},"resolved":"/%"}]}' |
  seed history_load percent-encoded-name
printf '%s' '{"version":2,"binaries":[{"file":"a"}],"extra":[],"symbols":[{"file":{"hex":"zz"}}]}' |
  seed history_load faults
printf '%s' '{"version":1,"binaries":[{"file":"a","resolved":"/a","note":"ignored"},{"file":"a","resolved":"/b"}]}' |
  seed history_load replaced-entry

# --- fuzz_cmdline_dirs: rendered command-line text.
printf '%s' "--search-dir=symbols,recursive:/opt/debug '--search-dir=all:/home/me/my src'" |
  seed cmdline_dirs rendered
printf '%s' "--search-dir binaries,high,recursive,high:/usr/lib --search-dir=sources:" |
  seed cmdline_dirs separate-value
printf '%s' "'--search-dir=all:/it'\\''s' \"--search-dir=symbols:/a\\\$b\" --search-dir=sources:/x\\ y" |
  seed cmdline_dirs quoting
printf -- '--search-dir=binaries:/a \\\n --search-dir=all,recursive:/b\t--search-dir=symbols:C:\\\\x' |
  seed cmdline_dirs continued-lines
printf -- "'--search-dir=all:/n\nl\xff'" | seed cmdline_dirs newline-and-high-byte
printf -- '--search-dir=all:$HOME --search-dir=* ~/x' | seed cmdline_dirs refused

# --- fuzz_manifest: the file-finder command's manifests (tab-separated request lines).
printf '# what the profile of run 17 needs\nbin\t/usr/lib/libx.so.1\tmd5:9e107d9d372bb6826bd81d3542a419d6\nsym\tlibx.so.1.debug\t/usr/lib/libx.so.1\nsrc\t/build/x/parse.c\t/usr/lib/libx.so.1\tsha1:2fd4e1c67a2d28fced849ee1bb76e7391b93eb12\n' |
  seed manifest documented
printf '  # indented comment\r\n\r\nbin\t/opt/my app/lib x.so\r\nsrc\tC:\\src\\a b.c\t/bin/x\tMD5:9E107D9D372BB6826BD81D3542A419D6\r\n\t\n' |
  seed manifest blanks-and-crlf
printf 'exe\t/bin/x\nbin\nbin\t\nsym\tx.debug\nsym\tx.debug\t\nsrc\ta.c\t/b\tsha256:00\nbin\t/x\tmd5:12\nbin\t/x\tmd5:zz\nbin\t/x\tmd5\nbin\t/a\t/b\t/c\n' |
  seed manifest malformed-lines
printf 'bin\tname ending in a return\r\r\nsym\t\xff\xfe.debug\t/bin/\x80\nbin\tno final newline' |
  seed manifest odd-bytes

# --- fuzz_elf_identity: small ELF files the compiler and binutils write, whole and cut.
elf_work=$(mktemp -d)
trap 'rm -rf "$elf_work"' EXIT
printf 'int f(void) { return 1; }\n' >"$elf_work/f.c"
elf() {  # elf NAME CC-FLAGS...: a shared object without the C library, small
  local name=$1; shift
  cc -shared -fPIC -nostdlib -Os -Wl,-z,noseparate-code "$@" -o "$elf_work/$name" "$elf_work/f.c"
}
elf with-build-id -g -Wl,--build-id
elf without-build-id -g -Wl,--build-id=none
elf md5-build-id -Wl,--build-id=md5
objcopy --only-keep-debug "$elf_work/with-build-id" "$elf_work/split.debug"
objcopy --strip-debug --add-gnu-debuglink="$elf_work/split.debug" "$elf_work/with-build-id" "$elf_work/stripped"
objcopy --compress-debug-sections "$elf_work/split.debug" "$elf_work/compressed.debug"
for name in without-build-id md5-build-id split.debug stripped compressed.debug; do
  seed elf_identity "$name" <"$elf_work/$name"
done
# The first bytes of one, as a process maps them: no section headers.
head -c 1024 "$elf_work/stripped" | seed elf_identity first-page
printf '/* GNU ld script */\nGROUP ( libc.so.6 )\n' | seed elf_identity linker-script
