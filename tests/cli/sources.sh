#!/usr/bin/env bash
# Import sources: one that is not the kind of file its option names, or that
# cannot be read, ends the command with exit 1, a message naming the file and
# no save; one that may only be read loads whole and stays as it was; one cut
# short loads with zeros and warning lines.
set -eu
. "$(dirname "$0")/helpers.bash"
setup "$1" "$2"
start_with_base_patch

# uop COUNT "FILEID BLOCK SIZE EXTRA [DATA]"...: a version 4 UOP patch file.
uop() {
  local count=$1 e f
  shift
  printf "UOP\\x04$(le32 "$count")$(le32 0)"
  for e in "$@"; do
    read -ra f <<<"$e"
    printf "\\x$(printf %02x "${f[0]}")$(le32 "${f[1]}")$(le32 "${f[2]}")$(le32 "${f[3]}")${f[4]:-}"
  done
}
# The same Art block 1 ("Q") from every kind of source.
make_sources() {
  uop 1 "4 1 1 0 Q" >"$1/in.uop"
  { printf "$(le32 1)"; verdata_entry 4 1 24 1 0; printf 'Q'; } >"$1/verdata.mul"
  muo "4 1 0 1 Q" >"$1/in.muo"
  printf 'Q' >"$1/art.mul"
  { idx_record -1 -1 0; idx_record 0 1 0; } >"$1/art.idx"
}
import_each() {  # import_each DIR STATUS: every source into a new patch, each with that exit status
  local n=0 source
  for source in "--uop $1/in.uop" "--verdata $1/verdata.mul" "--muo $1/in.muo" \
    "--type art --mul $1/art.mul --idx $1/art.idx --blocks 1"; do
    n=$((n + 1))
    local patch_n=$scratch/$(basename "$1")$n.muo
    # shellcheck disable=SC2086
    expect_status "$2" $run_as "$cli" import --patch "$patch_n" $source
    if [ "$2" = 0 ]; then expect_list "$patch_n" art "1 1 0"; else [ ! -e "$patch_n" ] || fail "$source: saved"; fi
  done
}
run_as=

# Not what the option names: a client's UOP container, a UOP of another
# version, garbage, a MUO file given as --uop; a verdata file with a negative
# count, a container given as --verdata; a non-MUO file given as --muo.
# The client's art container: the header, a table of one slot, the entry
# build/artlegacymul/00000000.tga (hash 0x99361F7D3A53AEA8) holding "Q".
{
  printf "MYP\\0$(le32 4)$(le32 0xFD23EC43)$(le32 40)$(le32 0)$(le32 1)$(le32 1)$(le32 0)$(le32 0)$(le32 0)"
  printf "$(le32 1)$(le32 0)$(le32 0)"
  printf "$(le32 86)$(le32 0)$(le32 0)$(le32 1)$(le32 1)$(le32 0x3A53AEA8)$(le32 0x99361F7D)$(le32 0)$(le16 0)Q"
} >"$scratch/artLegacyMUL.uop"
printf "UOP\\x03$(le32 1)$(le32 0)" >"$scratch/v3.uop"
printf '\xa5%.0s' $(seq 64) >"$scratch/garbage"
while read -r option file says; do
  expect_err 1 "$scratch/$file: $says" "$cli" import --patch "$patch" "$option" "$scratch/$file"
  cmp "$patch" "$scratch/original.muo" || fail "$option $file changed the patch"
done <<EOF2
--uop artLegacyMUL.uop Unsupported patchfile. It is a client UOP container (Art), not a UOP patch file; import it as the Art MUL file (--type Art --mul FILE).
--uop v3.uop Unsupported patchfile.
--uop garbage Unsupported patchfile.
--uop original.muo Unsupported patchfile.
--verdata garbage It counts -1515870811 entries: it is no verdata file.
--verdata artLegacyMUL.uop It is a client UOP container (Art), not a verdata file; import it as the Art MUL file
--muo artLegacyMUL.uop Unsupported patchfile. It is a client UOP container (Art), not a MUO patch file; import
--muo garbage Unsupported patchfile.
EOF2
expect_status 1 "$cli" import --patch "$scratch/fresh.muo" --uop "$scratch/v3.uop"
[ ! -e "$scratch/fresh.muo" ] || fail "a refused source wrote a new patch"

# Sources on a read-only disk (root: a tmpfs mounted read-only; anybody
# else: read-only files in a read-only folder) load whole and stay as they were.
ro=$scratch/ro
mkdir "$ro"
mounted=no
if [ "$(id -u)" = 0 ] && mount -t tmpfs -o size=1m tmpfs "$ro" 2>/dev/null; then
  mounted=yes
  trap 'umount "$ro" 2>/dev/null || true' EXIT
fi
make_sources "$ro"
cp -r "$ro" "$scratch/ro-copy"
chmod 0444 "$ro"/*
if [ $mounted = yes ]; then mount -o remount,ro "$ro"; else chmod 0555 "$ro"; fi
import_each "$ro" 0
for f in "$ro"/*; do cmp "$f" "$scratch/ro-copy/$(basename "$f")" || fail "a read changed $f"; done
if [ $mounted = yes ]; then umount "$ro"; trap - EXIT; else chmod 0755 "$ro"; fi

# Sources that cannot be read (mode 0000): root reads anything, so root
# tries as the user nobody, where that can be done.
if [ "$(id -u)" = 0 ]; then
  nobody="setpriv --reuid=65534 --regid=65534 --clear-groups"
  chmod 0777 "$scratch" "$scratch/tmp"
  # Only where nobody can run the program and reach the scratch folder (a
  # clone in a private home folder is out of its reach).
  # shellcheck disable=SC2086
  if $nobody "$cli" --version >/dev/null 2>&1 && $nobody test -w "$scratch/tmp" 2>/dev/null; then
    run_as=$nobody
  else
    run_as=skip
  fi
fi
if [ "$run_as" != skip ]; then
  mkdir "$scratch/locked"
  make_sources "$scratch/locked"
  chmod 0000 "$scratch/locked"/*
  import_each "$scratch/locked" 1
  # shellcheck disable=SC2086
  expect_err 1 "$scratch/locked/in.uop: Unable to open file. Permission denied." $run_as "$cli" import \
    --patch "$scratch/x.muo" --uop "$scratch/locked/in.uop"
  chmod 0644 "$scratch/locked"/*
  run_as=
else
  echo "sources: unreadable sources not tried (root without a user nobody)"
fi

# A source cut short: zeros for what is missing, one warning line per kind
# with its count, exit 0.
uop 3 "4 7 5 0 ab" >"$scratch/short.uop"
expect_status 0 "$cli" import --patch "$scratch/short.muo" --uop "$scratch/short.uop"
expect_same "warning: $scratch/short.uop: 2 blocks reach past the end of the file; the missing bytes were read as zeros.
warning: $scratch/short.uop: the file counts 3 entries but ends after 1; the rest repeat the entry before them, with zeros as bytes." \
  "$err" "the warnings of a cut UOP file"
expect_list "$scratch/short.muo" art "7 5 0"
# Blocks that an index holds beyond Art's last block (81883): counted in a
# warning, not imported.
{ head -c $((81884 * 12)) /dev/zero | tr '\0' '\377'; idx_record 0 1 0; idx_record 0 1 0; } >"$scratch/long.idx"
printf 'Q' >"$scratch/q.mul"
expect_status 0 "$cli" import --patch "$scratch/long.muo" --type art --mul "$scratch/q.mul" --idx "$scratch/long.idx"
expect_same "warning: $scratch/long.idx: 2 blocks lie beyond the last block of Art (81883); they were not imported." \
  "$err" "the warning of blocks beyond the type's last"
expect_counts "$scratch/long.muo" "Art (81884)"
# A MUO file that gives no block says so; the exit status stays 0.
muo >"$scratch/empty.muo"
expect_err 0 "warning: $scratch/empty.muo: no block was loaded (the file counts 0 entries)." \
  "$cli" import --patch "$scratch/short.muo" --muo "$scratch/empty.muo"

expect_no_leftovers
echo "sources: ok"
