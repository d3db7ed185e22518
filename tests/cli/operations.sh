#!/usr/bin/env bash
# import --type (from the client's MUL and IDX files), compare and gump:
# patches checked byte for byte against MUO files built here, the sample
# client's known contents, pictures written with printf, and the failures
# that must leave the patch as it was.
set -eu
. "$(dirname "$0")/helpers.bash"
setup "$1" "$2"

count_of() {  # count_of PATCH TYPE-NAME
  expect_status 0 "$cli" info --patch "$1"
  echo "$out" | sed -n "s/^$2 (\([0-9]*\))$/\1/p"
}

expect_status 0 "$cli" sample-client --dir "$scratch/client"
client=$scratch/client

## import --type

# A sparse Art pair by hand: a real block, an empty record, a record of
# Size 0, then Size -2, which ends the walk before the last record.
{
  idx_record 3 5 0x1234
  idx_record -1 -1 7
  idx_record 0 0 9
  idx_record 0 -2 0
  idx_record 0 3 0
} >"$scratch/art.idx"
printf 'abchello' >"$scratch/art.mul"
expect_status 0 "$cli" import --patch "$scratch/art.muo" --type art --mul "$scratch/art.mul" --idx "$scratch/art.idx"
[ -z "$out$err" ] || fail "import --type printed: $out $err"
{
  muo_header 3
  muo_entry 4 0 0x1234 5 'hello'
  muo_entry 4 1 7 -1
  muo_entry 4 2 9 -1
} >"$scratch/expected.muo"
cmp "$scratch/expected.muo" "$scratch/art.muo" || fail "sparse Art import, up to the Size -2 record"

# The whole sample Art file: every record is a slot, pictures or not; a
# short Gumps index fills the rest of the type with present, empty blocks.
expect_status 0 "$cli" import --patch "$scratch/client.muo" --type 4 --mul "$client/art.mul" --idx "$client/artidx.mul"
expect_same 65537 "$(count_of "$scratch/client.muo" Art)" "Art count after importing a whole sparse file"
expect_status 0 "$cli" import --patch "$scratch/client.muo" --type Gumps --mul "$client/gumpart.mul" \
  --idx "$client/gumpidx.mul" --blocks 2000-0x800
expect_same 49 "$(count_of "$scratch/client.muo" Gumps)" "Gumps 2000 to 2048, past the end of a 2048-record index"
expect_status 0 "$cli" list --patch "$scratch/client.muo" --type gumps
expect_same "800 0 0" "$(echo "$out" | tail -1)" "a block past the index's end: present, empty, extra 0"

# Hues block 3 in its 1220-byte verdata form (its bytes: the library's tests).
expect_status 0 "$cli" import --patch "$scratch/hues.muo" --type hues --mul "$client/hues.mul" --blocks 3
expect_status 0 "$cli" list --patch "$scratch/hues.muo" --type hues
expect_same "ID Size Flags
3 1220 FFFFFFFF" "$out" "Hues block 3"

# Tiledata 600-700: the second section always starts at 512.
expect_status 0 "$cli" import --patch "$scratch/tiles.muo" --type tiledata --mul "$client/tiledata.mul" --blocks 600-700
expect_same 189 "$(count_of "$scratch/tiles.muo" Tiledata)" "Tiledata 600-700 stores 512 to 700"
expect_status 0 "$cli" list --patch "$scratch/tiles.muo" --type tiledata
expect_same "200 1188 FFFFFFFF" "$(echo "$out" | sed -n 2p)" "first Tiledata block stored"

# What the command line refuses (exit 2) and what cannot be read (exit 1):
# the patch stays as it was.
cp "$scratch/art.muo" "$scratch/art.before"
expect_status 2 "$cli" import --patch "$scratch/art.muo" --type art --mul "$scratch/art.mul"
case $err in *"missing --idx"*) ;; *) fail "Art without --idx: $err" ;; esac
expect_status 2 "$cli" import --patch "$scratch/art.muo" --type map --mul "$client/map0.mul" --idx "$scratch/art.idx"
expect_status 2 "$cli" import --patch "$scratch/art.muo" --type art --mul "$scratch/art.mul" --idx "$scratch/art.idx" \
  --fileids 4
expect_status 1 "$cli" import --patch "$scratch/art.muo" --type art --mul "$scratch/none.mul" --idx "$scratch/art.idx"
expect_same "error: $scratch/none.mul: no such file" "$err" "missing MUL file"
expect_status 1 "$cli" import --patch "$scratch/art.muo" --type art --mul "$scratch/art.mul" --idx "$scratch/none.idx"
[ ! -e "$scratch/none.idx" ] || fail "a missing index file was created"
# A record that asks for more than the MUL file holds: the library's failure, exit 1.
{ idx_record 0 3 0; idx_record 0 99999 0; } >"$scratch/bad.idx"
expect_status 1 "$cli" import --patch "$scratch/art.muo" --type art --mul "$scratch/art.mul" --idx "$scratch/bad.idx"
case $err in *"error: mMuls.LoadMUL: "*) ;; *) fail "failure of LoadMUL: $err" ;; esac
cmp "$scratch/art.before" "$scratch/art.muo" || fail "a failed import changed the patch"

## compare

# By hand: an equal block with another extra word, a new block, a removed
# block, -1 against 0, and a block with other bytes of the same size.
{
  idx_record 0 3 1
  idx_record -1 -1 0
  idx_record 3 4 2
  idx_record -1 -1 3
  idx_record 7 4 4
} >"$scratch/base.idx"
printf 'abcgonesame' >"$scratch/base.mul"
{
  idx_record 0 3 100
  idx_record 3 4 101
  idx_record -1 -1 102
  idx_record 0 0 103
  idx_record 7 4 104
} >"$scratch/new.idx"
printf 'abcnew!sAme' >"$scratch/new.mul"
expect_status 0 "$cli" compare --patch "$scratch/cmp.muo" --type art --base-mul "$scratch/base.mul" \
  --base-idx "$scratch/base.idx" --new-mul "$scratch/new.mul" --new-idx "$scratch/new.idx"
[ -z "$out$err" ] || fail "compare printed: $out $err"
{
  muo_header 4
  muo_entry 4 1 101 4 'new!'
  muo_entry 4 2 102 -1
  muo_entry 4 3 103 0
  muo_entry 4 4 104 4 'sAme'
} >"$scratch/expected.muo"
cmp "$scratch/expected.muo" "$scratch/cmp.muo" || fail "compare of the hand-made Art pairs"

# The sample's changed map alters 303 blocks, the first of them 49 (0x31).
expect_status 0 "$cli" compare --patch "$scratch/map.muo" --type map --base-mul "$client/map0.mul" \
  --new-mul "$client/map0-changed.mul"
expect_same 303 "$(count_of "$scratch/map.muo" Map)" "blocks of the changed map"
expect_status 0 "$cli" list --patch "$scratch/map.muo" --type map
expect_same "31 196 FFFFFFFF" "$(echo "$out" | sed -n 2p)" "first changed map block"

# Two equal versions change nothing: no patch is written, an existing one
# is left alone.
expect_status 0 "$cli" compare --patch "$scratch/same.muo" --type map --base-mul "$client/map0.mul" \
  --new-mul "$client/map0.mul"
[ ! -e "$scratch/same.muo" ] || fail "an empty comparison wrote a patch"
cp "$scratch/cmp.muo" "$scratch/cmp.before"
expect_status 0 "$cli" compare --patch "$scratch/cmp.muo" --type art --base-mul "$scratch/base.mul" \
  --base-idx "$scratch/base.idx" --new-mul "$scratch/base.mul" --new-idx "$scratch/base.idx" --out "$scratch/cmp.out"
[ ! -e "$scratch/cmp.out" ] || fail "an empty comparison saved to --out"

expect_status 2 "$cli" compare --patch "$scratch/cmp.muo" --type art --base-mul "$scratch/base.mul" \
  --base-idx "$scratch/base.idx" --new-mul "$scratch/new.mul"
case $err in *"missing --new-idx"*) ;; *) fail "compare without --new-idx: $err" ;; esac
expect_status 2 "$cli" compare --patch "$scratch/cmp.muo" --type hues --base-mul "$client/hues.mul" \
  --new-mul "$client/hues.mul" --new-idx "$scratch/new.idx"
expect_status 1 "$cli" compare --patch "$scratch/cmp.muo" --type art --base-mul "$scratch/base.mul" \
  --base-idx "$scratch/none.idx" --new-mul "$scratch/new.mul" --new-idx "$scratch/new.idx"
expect_same "error: $scratch/none.idx: no such file" "$err" "missing base index"
cmp "$scratch/cmp.before" "$scratch/cmp.muo" || fail "a refused compare changed the patch"

## gump

# 3 by 1: red, black, black (the BMP's rows are blue, green, red, padded to 12 bytes).
{ bmp24 3 1; printf '\x00\x00\xff\x00\x00\x00\x00\x00\x00\x00\x00\x00'; } >"$scratch/red.bmp"
expect_status 0 "$cli" gump --patch "$scratch/gump.muo" --picture "$scratch/red.bmp" --index 0x10
[ -z "$out$err" ] || fail "gump printed: $out $err"
{
  muo_header 1
  muo_entry 12 16 0x30001 12 "$(le32 1)$(le16 31744)$(le16 1)$(le16 0)$(le16 2)"
} >"$scratch/expected.muo"
cmp "$scratch/expected.muo" "$scratch/gump.muo" || fail "gump of the 3 by 1 picture"

# 4 by 2, black, to block 16 again (0X prefix): replaced, the count stays 1.
{ bmp24 4 2; head -c 24 /dev/zero; } >"$scratch/black.bmp"
expect_status 0 "$cli" gump --patch "$scratch/gump.muo" --picture "$scratch/black.bmp" --index 0X10
{
  muo_header 1
  muo_entry 12 16 262146 16 "$(le32 2)$(le32 3)$(le16 0)$(le16 4)$(le16 0)$(le16 4)"
} >"$scratch/expected.muo"
cmp "$scratch/expected.muo" "$scratch/gump.muo" || fail "gump of the 4 by 2 picture replacing block 16"

# A GIF of one red pixel (a two-colour palette), told by its content, not its name.
printf 'GIF89a\x01\x00\x01\x00\x80\x00\x00\xff\x00\x00\x00\x00\x00,\x00\x00\x00\x00\x01\x00\x01\x00\x00\x02\x02\x44\x01\x00;' \
  >"$scratch/red-gif.bmp"
expect_status 0 "$cli" gump --patch "$scratch/gif.muo" --picture "$scratch/red-gif.bmp" --index 7
expect_status 0 "$cli" hexdump --patch "$scratch/gif.muo" --type gumps --block 7
case $out in "0  01 00 00 00 00 7C 01 00 "*) ;; *) fail "gump of the GIF: $out" ;; esac

# What is refused leaves the patch alone: not a picture, a missing file, a
# picture wider than Extra holds, a block beyond Gumps.
cp "$scratch/gump.muo" "$scratch/gump.before"
printf 'plain text\n' >"$scratch/text.bmp"
expect_status 1 "$cli" gump --patch "$scratch/gump.muo" --picture "$scratch/text.bmp" --index 1
expect_same "error: $scratch/text.bmp: not a BMP, JPG or GIF picture" "$err" "a file that is not a picture"
head -c 30 "$scratch/black.bmp" >"$scratch/cut.bmp"  # cut inside its header
expect_status 1 "$cli" gump --patch "$scratch/gump.muo" --picture "$scratch/cut.bmp" --index 1
case $err in "error: $scratch/cut.bmp: the BMP picture cannot be read"*) ;; *) fail "a cut BMP: $err" ;; esac
expect_status 1 "$cli" gump --patch "$scratch/gump.muo" --picture "$scratch/none.bmp" --index 1
expect_same "error: $scratch/none.bmp: no such file" "$err" "a missing picture"
{ bmp24 32768 1; head -c 98304 /dev/zero; } >"$scratch/wide.bmp"
expect_status 1 "$cli" gump --patch "$scratch/gump.muo" --picture "$scratch/wide.bmp" --index 1
case $err in "error: mGumps.Gump_LoadBMP: "*32768*) ;; *) fail "a picture 32768 wide: $err" ;; esac
expect_status 2 "$cli" gump --patch "$scratch/gump.muo" --picture "$scratch/red.bmp" --index 65536
expect_status 2 "$cli" gump --patch "$scratch/gump.muo" --picture "$scratch/red.bmp" --index ten
cmp "$scratch/gump.before" "$scratch/gump.muo" || fail "a refused gump changed the patch"

expect_no_leftovers
echo "operations: ok"
