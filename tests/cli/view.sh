#!/usr/bin/env bash
# info, list, hexdump and extract on a patch built byte by byte.
set -eu
. "$(dirname "$0")/helpers.bash"
setup "$1" "$2"
start_with_base_patch

expect_status 0 "$cli" info --patch "$patch"
expect_same "Map (0)
Statics (0)
Art (2)
Anim (0)
Sound (0)
Texmaps (0)
Gumps (1)
Multis (0)
Skills (0)
Tiledata (0)
Animdata (0)
Hues (0)
Light (0)
Radarcol (0)" "$out" "info counts"
[ -z "$err" ] || fail "info wrote to stderr: $err"

# The type by name in any case, by FileID, by hexadecimal FileID.
for t in Art art 4 0X04; do expect_list "$patch" "$t" "1 1 FFFFFFFF" "1A 18 1F4"; done
expect_list "$patch" Light

expect_status 0 "$cli" hexdump --patch "$patch" --type art --block 26
expect_same " 0  48 65 6C 6C 6F 0A 00 01 02 03 04 05 06 07 08 09  |Hello...........|
10  41 42                                            |AB|" "$out" "hexdump of Art 26"
expect_status 0 "$cli" hexdump --patch "$patch" --type art --block 1
expect_same "0  5A                                               |Z|" "$out" "hexdump of a 1-byte block"

# extract: the raw bytes, exactly; no bytes, no file.
expect_status 0 "$cli" extract --patch "$patch" --type art --block 26 --to "$scratch/got26.dat"
printf "$ART26" | cmp - "$scratch/got26.dat" || fail "extracted bytes differ"
[ -z "$out" ] || fail "extract printed on stdout"
expect_err 1 "has no bytes" "$cli" extract --patch "$patch" --type gumps --block 500 --to "$scratch/none.dat"
expect_err 1 "Art block 2 (0x2) is not in the patch" "$cli" extract --patch "$patch" --type art --block 2 --to "$scratch/none.dat"
[ ! -e "$scratch/none.dat" ] || fail "a failed extract wrote a file"
expect_status 1 "$cli" hexdump --patch "$patch" --type art --block 2
[ -z "$out" ] || fail "hexdump of a missing block printed"
# A file that cannot be written: the logged failure is printed, exit 1.
expect_err 1 "error: cFileIO.ByteArrayToFile(" "$cli" extract --patch "$patch" --type art --block 26 --to "$scratch/no/such/dir/x.dat"

# A reader that stops early (a closed pipe) must not leave the scratch file
# behind: 60000 map blocks, so the output outgrows the pipe.
entries=$(printf '%08x\n' $(seq 0 59999) |
  sed -E 's/(..)(..)(..)(..)/\\x00\\x00\\x00\\x00\\x\4\\x\3\\x\2\\x\1\\x00\\x00\\x00\\x00\\xff\\xff\\xff\\xff/' | tr -d '\n')
{ muo_header 60000; printf "$entries"; } >"$scratch/many.muo"
first=$("$cli" list --patch "$scratch/many.muo" --type map | head -2 | tail -1)
expect_same "0 0 0" "$first" "first row of a piped list"

# Reading commands never write the patch, and leave no scratch file.
cmp "$patch" "$scratch/original.muo" || fail "a reading command changed the patch"
expect_status 0 "$cli" info --patch "$scratch/missing.muo"
[ ! -e "$scratch/missing.muo" ] || fail "info created the missing patch"
case $out in *"Art (0)"*) ;; *) fail "a missing patch is empty" ;; esac
expect_no_leftovers
echo "view: ok"
