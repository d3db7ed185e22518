#!/usr/bin/env bash
# import --type (from the client's MUL and IDX files), compare and gump:
# patches checked byte for byte against MUO files built here, the sample
# client's known contents, pictures written with printf, and the failures
# that must leave the patch as it was.
set -eu
. "$(dirname "$0")/helpers.bash"
setup "$1" "$2"
client=$scratch/client
expect_status 0 "$cli" sample-client --dir "$client"

## import --type

# A sparse Art pair by hand: a real block, an empty record, a record of
# Size 0, then Size -2, which ends the walk before the last record.
{ idx_record 3 5 0x1234; idx_record -1 -1 7; idx_record 0 0 9; idx_record 0 -2 0; idx_record 0 3 0; } >"$scratch/art.idx"
printf 'abchello' >"$scratch/art.mul"
expect_status 0 "$cli" import --patch "$scratch/art.muo" --type art --mul "$scratch/art.mul" --idx "$scratch/art.idx"
[ -z "$out$err" ] || fail "import --type printed: $out $err"
expect_muo "$scratch/art.muo" "sparse Art import" "4 0 0x1234 5 hello" "4 1 7 -1" "4 2 9 -1"
# Types read without an index: Hues block 3 in its 1220-byte verdata form,
# Tiledata 600-700 stored from 512 on, where its second section starts.
expect_status 0 "$cli" import --patch "$scratch/hues.muo" --type hues --mul "$client/hues.mul" --blocks 3
expect_list "$scratch/hues.muo" hues "3 1220 FFFFFFFF"
expect_status 0 "$cli" import --patch "$scratch/tiles.muo" --type tiledata --mul "$client/tiledata.mul" --blocks 600-700
expect_counts "$scratch/tiles.muo" "Tiledata (189)"

# What the command line refuses (exit 2) and what cannot be read (exit 1):
# the patch stays as it was, also when the library fails after the first block.
cp "$scratch/art.muo" "$scratch/art.before"
{ idx_record 0 3 0; idx_record -5 3 0; } >"$scratch/bad.idx"
expect_err 2 "missing --idx" "$cli" import --patch "$scratch/art.muo" --type art --mul "$scratch/art.mul"
expect_status 2 "$cli" import --patch "$scratch/art.muo" --type map --mul "$client/map0.mul" --idx "$scratch/art.idx"
expect_status 2 "$cli" import --patch "$scratch/art.muo" --type art --mul "$scratch/art.mul" --idx "$scratch/art.idx" --fileids 4
expect_status 1 "$cli" import --patch "$scratch/art.muo" --type art --mul "$scratch/none.mul" --idx "$scratch/art.idx"
expect_same "error: $scratch/none.mul: no such file" "$err" "missing MUL file"
expect_status 1 "$cli" import --patch "$scratch/art.muo" --type art --mul "$scratch/art.mul" --idx "$scratch/none.idx"
[ ! -e "$scratch/none.idx" ] || fail "a missing index file was created"
expect_err 1 "error: mMuls.LoadMUL: " "$cli" import --patch "$scratch/art.muo" --type art --mul "$scratch/art.mul" --idx "$scratch/bad.idx"
cmp "$scratch/art.before" "$scratch/art.muo" || fail "a failed import changed the patch"
# A block that reaches past the end of the MUL file is read with zeros there:
# a warning with its count, and the import goes on (exit 0).
{ idx_record 0 3 0; idx_record 0 99999 0; } >"$scratch/long.idx"
expect_status 0 "$cli" import --patch "$scratch/art.muo" --type art --mul "$scratch/art.mul" --idx "$scratch/long.idx" \
  --blocks 0-1 --out "$scratch/long.muo"
expect_same "warning: $scratch/art.mul: 1 block reaches past the end of the file; the missing bytes were read as zeros." \
  "$err" "the warning of a block cut by the end of its file"
expect_list "$scratch/long.muo" art "0 3 0" "1 99999 0" "2 0 9"

## compare

# By hand: an equal block with another extra word, a new block, a removed
# block, -1 against 0, and a block with other bytes of the same size.
{ idx_record 0 3 1; idx_record -1 -1 0; idx_record 3 4 2; idx_record -1 -1 3; idx_record 7 4 4; } >"$scratch/base.idx"
{ idx_record 0 3 100; idx_record 3 4 101; idx_record -1 -1 102; idx_record 0 0 103; idx_record 7 4 104; } >"$scratch/new.idx"
printf 'abcgonesame' >"$scratch/base.mul"
printf 'abcnew!sAme' >"$scratch/new.mul"
base=(--base-mul "$scratch/base.mul" --base-idx "$scratch/base.idx")
new=(--new-mul "$scratch/new.mul" --new-idx "$scratch/new.idx")
expect_status 0 "$cli" compare --patch "$scratch/cmp.muo" --type art "${base[@]}" "${new[@]}"
[ -z "$out$err" ] || fail "compare printed: $out $err"
expect_muo "$scratch/cmp.muo" "compare of the hand-made Art pairs" "4 1 101 4 new!" "4 2 102 -1" "4 3 103 0" "4 4 104 4 sAme"
# Map without an index: the sample's changed map alters 303 blocks. Two
# equal versions change nothing, and no patch is written.
expect_status 0 "$cli" compare --patch "$scratch/map.muo" --type map --base-mul "$client/map0.mul" --new-mul "$client/map0-changed.mul"
expect_counts "$scratch/map.muo" "Map (303)"
expect_status 0 "$cli" compare --patch "$scratch/same.muo" --type map --base-mul "$client/map0.mul" --new-mul "$client/map0.mul"
[ ! -e "$scratch/same.muo" ] || fail "an empty comparison wrote a patch"

cp "$scratch/cmp.muo" "$scratch/cmp.before"
expect_err 2 "missing --new-idx" "$cli" compare --patch "$scratch/cmp.muo" --type art "${base[@]}" --new-mul "$scratch/new.mul"
expect_status 2 "$cli" compare --patch "$scratch/cmp.muo" --type hues "${base[@]}" "${new[@]}"
expect_status 1 "$cli" compare --patch "$scratch/cmp.muo" --type art "${new[@]}" --base-mul "$scratch/base.mul" --base-idx "$scratch/none.idx"
expect_same "error: $scratch/none.idx: no such file" "$err" "missing base index"
cmp "$scratch/cmp.before" "$scratch/cmp.muo" || fail "a refused compare changed the patch"
# Tile data of the classic and the High Seas layout are no versions of each
# other: refused (exit 1), the patch as it was. Two High Seas files compare
# up to their last item group; the current client's animation data, which has
# no index file, imports whole.
tiles=(--type tiledata --base-mul "$client/tiledata.mul")
expect_err 1 "error: mMuls.CompareMUL: The tile data files have different layouts and cannot be compared: " \
  "$cli" compare --patch "$scratch/cmp.muo" "${tiles[@]}" --new-mul "$client/current/tiledata.mul"
cmp "$scratch/cmp.before" "$scratch/cmp.muo" || fail "a refused compare of tile data changed the patch"
cp "$client/current/tiledata.mul" "$scratch/tiles-hs.mul"
printf 'X' | dd of="$scratch/tiles-hs.mul" bs=1 seek=3188735 conv=notrunc status=none
expect_status 0 "$cli" compare --patch "$scratch/hs.muo" --type tiledata --base-mul "$client/current/tiledata.mul" \
  --new-mul "$scratch/tiles-hs.mul"
expect_list "$scratch/hs.muo" tiledata "9FF 1316 FFFFFFFF"  # block 2559
expect_err 2 "Animdata has no index file" "$cli" import --patch "$scratch/anim.muo" --type animdata \
  --mul "$client/current/animdata.mul" --idx "$client/staidx0.mul"
expect_status 0 "$cli" import --patch "$scratch/anim.muo" --type animdata --mul "$client/current/animdata.mul"
expect_counts "$scratch/anim.muo" "Animdata (2048)"

# The client's containers stand where a MUL file does, told by their content:
# no --idx (a usage error beside one), both sides of a compare may differ in
# kind, and a container of another type is refused with what it holds.
expect_status 0 "$cli" import --patch "$scratch/uop.muo" --type sound --mul "$client/current/soundLegacyMUL.uop"
expect_counts "$scratch/uop.muo" "Sound (4096)"
expect_err 2 "is a client UOP container, which needs no index file" "$cli" import --patch "$scratch/uop.muo" \
  --type art --mul "$client/current/artLegacyMUL.uop" --idx "$client/artidx.mul"
expect_err 1 "It holds Gumps, not Art." "$cli" import --patch "$scratch/uop.muo" --type art \
  --mul "$client/current/gumpartLegacyMUL.uop"
expect_status 0 "$cli" compare --patch "$scratch/uopmap.muo" --type map --base-mul "$client/current/map0LegacyMUL.uop" \
  --new-mul "$client/current/map0.mul"
first=$("$cli" list --patch "$scratch/uopmap.muo" --type map | sed -n '2s/ .*//p')
[ -n "$first" ] && ((16#$first >= 64 * 512)) ||
  fail "the container's first 64 columns differ from the map file's (first block that differs: $first)"

## gump

# A 3 by 1 BMP: red, black, black (its row is blue, green, red, padded to 12 bytes).
{ bmp24 3 1; printf '\x00\x00\xff\x00\x00\x00\x00\x00\x00\x00\x00\x00'; } >"$scratch/red.bmp"
expect_status 0 "$cli" gump --patch "$scratch/gump.muo" --picture "$scratch/red.bmp" --index 0x10
[ -z "$out$err" ] || fail "gump printed: $out $err"
expect_muo "$scratch/gump.muo" "gump of the 3 by 1 picture" "12 16 0x30001 12 $(le32 1)$(le16 31744)$(le16 1)$(le16 0)$(le16 2)"
# A GIF of one red pixel (a two-colour palette), told by its content, not its name.
printf 'GIF89a\x01\x00\x01\x00\x80\x00\x00\xff\x00\x00\x00\x00\x00,\x00\x00\x00\x00\x01\x00\x01\x00\x00\x02\x02\x44\x01\x00;' \
  >"$scratch/red-gif.bmp"
expect_status 0 "$cli" gump --patch "$scratch/gif.muo" --picture "$scratch/red-gif.bmp" --index 7
expect_status 0 "$cli" hexdump --patch "$scratch/gif.muo" --type gumps --block 7
case $out in "0  01 00 00 00 00 7C 01 00 "*) ;; *) fail "gump of the GIF: $out" ;; esac

# What is refused leaves the patch alone: not a picture, a BMP cut inside
# its header, a missing file, a block beyond Gumps.
cp "$scratch/gump.muo" "$scratch/gump.before"
printf 'plain text\n' >"$scratch/text.bmp"
head -c 30 "$scratch/red.bmp" >"$scratch/cut.bmp"
expect_status 1 "$cli" gump --patch "$scratch/gump.muo" --picture "$scratch/text.bmp" --index 1
expect_same "error: $scratch/text.bmp: not a BMP, JPG, GIF or PNG picture" "$err" "a file that is not a picture"
expect_status 1 "$cli" gump --patch "$scratch/gump.muo" --picture "$scratch/cut.bmp" --index 1
case $err in "error: $scratch/cut.bmp: the BMP picture cannot be read"*) ;; *) fail "a cut BMP: $err" ;; esac
expect_status 1 "$cli" gump --patch "$scratch/gump.muo" --picture "$scratch/none.bmp" --index 1
expect_same "error: $scratch/none.bmp: no such file" "$err" "a missing picture"
expect_status 2 "$cli" gump --patch "$scratch/gump.muo" --picture "$scratch/red.bmp" --index 65536
cmp "$scratch/gump.before" "$scratch/gump.muo" || fail "a refused gump changed the patch"

expect_no_leftovers
echo "operations: ok"
