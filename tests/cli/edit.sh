#!/usr/bin/env bash
# replace, delete and flag, and what they save: the saved files are compared
# with files built byte by byte, in the program's order (FileID, then block).
set -eu
. "$(dirname "$0")/helpers.bash"
setup "$1" "$2"
start_with_base_patch

# replace: the block gets the file's bytes and flags -1; --out leaves --patch alone.
printf 'new bytes\xff' >"$scratch/new.dat"
expect_status 0 "$cli" replace --patch "$patch" --type art --block 26 --from "$scratch/new.dat" --out "$scratch/replaced.muo"
[ -z "$out$err" ] || fail "replace printed: $out $err"
expect_muo "$scratch/replaced.muo" "saved file after replace" "4 1 -1 1 Z" '4 26 -1 10 new\x20bytes\xff' "12 500 0 -1"
# Only a block the patch has can be replaced, and only from a file that exists.
expect_err 1 "Art block 27 (0x1B) is not in the patch" "$cli" replace --patch "$patch" --type art --block 27 --from "$scratch/new.dat"
expect_status 1 "$cli" replace --patch "$patch" --type art --block 26 --from "$scratch/nothing.dat"
cmp "$patch" "$scratch/original.muo" || fail "replace changed --patch"

# delete: blocks of the range that are absent are passed over; a range with
# nothing in it changes nothing and saves nothing.
cp "$patch" "$scratch/del.muo"
expect_status 0 "$cli" delete --patch "$scratch/del.muo" --type art --blocks 0-0x1A
expect_muo "$scratch/del.muo" "saved file after delete" "12 500 0 -1"
expect_status 0 "$cli" delete --patch "$patch" --type art --blocks 2-25
expect_status 0 "$cli" delete --patch "$patch" --type art --blocks 2-25 --out "$scratch/never.muo"
[ ! -e "$scratch/never.muo" ] || fail "a delete of nothing wrote --out"
cmp "$patch" "$scratch/original.muo" || fail "a delete of nothing rewrote the patch"

# flag: the flag reaches the file as bit 6 of every entry of the type, and
# comes back from it.
expect_status 0 "$cli" flag --patch "$patch" --type art --verdata off --out "$scratch/flagged.muo"
expect_muo "$scratch/flagged.muo" "saved file after flag off" "68 1 -1 1 Z" "68 26 500 18 $ART26" "12 500 0 -1"
expect_status 0 "$cli" flag --patch "$scratch/flagged.muo" --type ART --verdata ON --out "$scratch/unflagged.muo"
expect_muo "$scratch/unflagged.muo" "saved file after flag on" "4 1 -1 1 Z" "4 26 500 18 $ART26" "12 500 0 -1"
# Setting the flag it has already changes nothing and saves nothing.
cp "$scratch/flagged.muo" "$scratch/flagged-copy.muo"
expect_status 0 "$cli" flag --patch "$scratch/flagged.muo" --type art --verdata off
cmp "$scratch/flagged.muo" "$scratch/flagged-copy.muo" || fail "flag without change rewrote the patch"
# A type with no blocks cannot keep the flag; Light and Radarcol have none.
expect_err 1 "no Sound blocks" "$cli" flag --patch "$patch" --type sound --verdata off
expect_status 2 "$cli" flag --patch "$patch" --type light --verdata on
expect_status 2 "$cli" flag --patch "$patch" --type art --verdata maybe
cmp "$patch" "$scratch/original.muo" || fail "a failed flag changed the patch"

# Map's flag starts off: its blocks are saved with bit 6 (FileID 64). An
# empty patch is its 45-byte header.
muo "64 3 0 0" >"$scratch/map.muo"
expect_status 0 "$cli" delete --patch "$scratch/map.muo" --type map --blocks 3 --out "$scratch/map-empty.muo"
expect_muo "$scratch/map-empty.muo" "an empty patch"
expect_status 0 "$cli" flag --patch "$scratch/map.muo" --type 0 --verdata on
expect_muo "$scratch/map.muo" "Map flag on" "0 3 0 0"

expect_no_leftovers
echo "edit: ok"
