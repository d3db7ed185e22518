#!/usr/bin/env bash
# replace, delete and flag, and what they save: the saved files are compared
# with files built byte by byte.
set -eu
. "$(dirname "$0")/helpers.bash"
setup "$1" "$2"
start_with_base_patch

# --- replace, then extract: the new bytes come back; --out leaves --patch alone.
printf 'new bytes\xff' >"$scratch/new.dat"
expect_status 0 "$cli" replace --patch "$patch" --type art --block 26 --from "$scratch/new.dat" --out "$scratch/replaced.muo"
[ -z "$out$err" ] || fail "replace printed: $out $err"
cmp "$patch" "$scratch/original.muo" || fail "replace with --out changed --patch"
expect_status 0 "$cli" extract --patch "$scratch/replaced.muo" --type art --block 26 --to "$scratch/back.dat"
cmp "$scratch/new.dat" "$scratch/back.dat" || fail "replace/extract round trip"
expect_status 0 "$cli" list --patch "$scratch/replaced.muo" --type art
expect_same "ID Size Flags
1 1 FFFFFFFF
1A 10 FFFFFFFF" "$out" "a replaced block has the file's length and flags -1"
# The saved file, in the program's order (FileID, then block).
{
  muo_header 3
  muo_entry 4 1 -1 1 'Z'
  muo_entry 4 26 -1 10 'new bytes\xff'
  muo_entry 12 500 0 -1
} >"$scratch/expected.muo"
cmp "$scratch/expected.muo" "$scratch/replaced.muo" || fail "saved file after replace"

# Only a block the patch has can be replaced, and only from a file that exists.
expect_status 1 "$cli" replace --patch "$patch" --type art --block 27 --from "$scratch/new.dat"
case $err in *"Art block 27 (0x1B) is not in the patch"*) ;; *) fail "replace of a missing block: $err" ;; esac
expect_status 1 "$cli" replace --patch "$patch" --type art --block 26 --from "$scratch/nothing.dat"
cmp "$patch" "$scratch/original.muo" || fail "a failed replace changed the patch"

# An empty dat file removes the block.
: >"$scratch/empty.dat"
expect_status 0 "$cli" replace --patch "$patch" --type art --block 1 --from "$scratch/empty.dat" --out "$scratch/emptied.muo"
expect_status 0 "$cli" list --patch "$scratch/emptied.muo" --type art
expect_same "ID Size Flags
1A 18 1F4" "$out" "an empty dat file removes the block"

# --- delete: a range; blocks of the range that are absent are passed over.
cp "$patch" "$scratch/del.muo"
expect_status 0 "$cli" delete --patch "$scratch/del.muo" --type art --blocks 0-0x1A
expect_status 0 "$cli" info --patch "$scratch/del.muo"
case $out in *"Art (0)"*"Gumps (1)"*) ;; *) fail "info after delete: $out" ;; esac
{ muo_header 1; muo_entry 12 500 0 -1; } >"$scratch/expected.muo"
cmp "$scratch/expected.muo" "$scratch/del.muo" || fail "saved file after delete"
# A single number; then a range with nothing in it changes nothing and does not save.
cp "$patch" "$scratch/del1.muo"
expect_status 0 "$cli" delete --patch "$scratch/del1.muo" --type art --blocks 26
expect_status 0 "$cli" list --patch "$scratch/del1.muo" --type art
expect_same "ID Size Flags
1 1 FFFFFFFF" "$out" "delete of one block"
expect_status 0 "$cli" delete --patch "$patch" --type art --blocks 2-25
cmp "$patch" "$scratch/original.muo" || fail "a delete of nothing rewrote the patch"
expect_status 0 "$cli" delete --patch "$patch" --type art --blocks 2-25 --out "$scratch/never.muo"
[ ! -e "$scratch/never.muo" ] || fail "a delete of nothing wrote --out"

# --- flag: the flag reaches the file as bit 6 of every entry of the type.
expect_status 0 "$cli" flag --patch "$patch" --type art --verdata off --out "$scratch/flagged.muo"
{
  muo_header 3
  muo_entry 68 1 -1 1 'Z'
  muo_entry 68 26 500 18 "$ART26"
  muo_entry 12 500 0 -1
} >"$scratch/expected.muo"
cmp "$scratch/expected.muo" "$scratch/flagged.muo" || fail "saved file after flag off"
# The flag comes back from the file, and can be set on again.
expect_status 0 "$cli" flag --patch "$scratch/flagged.muo" --type ART --verdata ON --out "$scratch/unflagged.muo"
{
  muo_header 3
  muo_entry 4 1 -1 1 'Z'
  muo_entry 4 26 500 18 "$ART26"
  muo_entry 12 500 0 -1
} >"$scratch/expected.muo"
cmp "$scratch/expected.muo" "$scratch/unflagged.muo" || fail "saved file after flag on"
# Setting the flag it has already changes nothing and saves nothing.
cp "$scratch/flagged.muo" "$scratch/flagged-copy.muo"
expect_status 0 "$cli" flag --patch "$scratch/flagged.muo" --type art --verdata off
cmp "$scratch/flagged.muo" "$scratch/flagged-copy.muo" || fail "flag without change rewrote the patch"
# A type with no blocks cannot keep the flag; Light and Radarcol have none.
expect_status 1 "$cli" flag --patch "$patch" --type sound --verdata off
case $err in *"no Sound blocks"*) ;; *) fail "flag of an empty type: $err" ;; esac
expect_status 2 "$cli" flag --patch "$patch" --type light --verdata on
expect_status 2 "$cli" flag --patch "$patch" --type art --verdata maybe
cmp "$patch" "$scratch/original.muo" || fail "a failed flag changed the patch"

# Map's flag starts off: its blocks are saved with bit 6 (FileID 64).
{ muo_header 1; muo_entry 64 3 0 0; } >"$scratch/map.muo"
expect_status 0 "$cli" delete --patch "$scratch/map.muo" --type map --blocks 3 --out "$scratch/map-empty.muo"
{ muo_header 0; } >"$scratch/expected.muo"
cmp "$scratch/expected.muo" "$scratch/map-empty.muo" || fail "an empty patch is its 45-byte header"
expect_status 0 "$cli" flag --patch "$scratch/map.muo" --type 0 --verdata on
{ muo_header 1; muo_entry 0 3 0 0; } >"$scratch/expected.muo"
cmp "$scratch/expected.muo" "$scratch/map.muo" || fail "Map flag on"

expect_no_leftovers
echo "edit: ok"
