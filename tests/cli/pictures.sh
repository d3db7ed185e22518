#!/usr/bin/env bash
# Blocks as pictures and sounds: picture (one block, a range into a folder),
# gump and art from pictures and from folders (export, import: the same
# blocks again), extract of a Sound block as WAV, and the failures that must
# leave no file and an unchanged patch.
set -eu
. "$(dirname "$0")/helpers.bash"
setup "$1" "$2"
export WINEPREFIX=$scratch/no-prefix
cd "$scratch"

# png_size FILE: "WIDTH HEIGHT COLOURTYPE" from the PNG's signature and header.
png_size() {
  [ "$(od -An -c -j1 -N3 "$1" | tr -d ' ')" = PNG ] || fail "$1 is no PNG file"
  od -An -tu1 -j16 -N10 "$1" | awk '{ print $1 * 16777216 + $2 * 65536 + $3 * 256 + $4, $5 * 16777216 + $6 * 65536 + $7 * 256 + $8, $10 }'
}
# ids PATCH TYPE: the block numbers of the type's list, one a line.
ids() { "$cli" list --patch "$1" --type "$2" | tail -n +2 | cut -d' ' -f1; }

expect_status 0 "$cli" sample-client --dir client
gumps=$scratch/gumps.muo
patch=$scratch/all.muo
expect_status 0 "$cli" import --patch "$gumps" --type gumps --mul client/gumpart.mul --idx client/gumpidx.mul
expect_status 0 "$cli" import --patch "$patch" --muo "$gumps"
expect_status 0 "$cli" import --patch "$patch" --type art --mul client/art.mul --idx client/artidx.mul
expect_status 0 "$cli" import --patch "$patch" --type hues --mul client/hues.mul
cp "$patch" original.muo

## One block to a PNG: the size of its kind, with alpha.
expect_status 0 "$cli" picture --patch "$patch" --type art --block 4 --to land.png
expect_same "44 44 6" "$(png_size land.png)" "land tile picture"
expect_status 0 "$cli" picture --patch "$patch" --type HUES --block 0 --to hues.png
expect_same "256 64 6" "$(png_size hues.png)" "hue swatch sheet"
first_gump=$(ids "$gumps" gumps | head -1)
width=$("$cli" list --patch "$gumps" --type gumps | awk -v id="$first_gump" '$1 == id { print $3 }')
expect_status 0 "$cli" picture --patch "$patch" --type gumps --block "0x$first_gump" --to gump.png
# The gump's size stands in its flags: width high, height low.
expect_same "$((0x$width >> 16)) $((0x$width & 0xFFFF)) 6" "$(png_size gump.png)" "gump picture size"
# Not in the patch, without bytes, a type without pictures: exit 1 or 2, no file.
expect_err 1 "Art block 2 has no bytes; none.png was not written" "$cli" picture --patch "$patch" --type art --block 2 --to none.png
expect_err 2 "Sound blocks are no pictures" "$cli" picture --patch "$patch" --type sound --block 2 --to none.png
[ ! -e none.png ] || fail "a failed picture wrote its file"

## Gumps out to a folder and in again: the same blocks, byte for byte.
expect_status 0 "$cli" picture --patch "$gumps" --type gumps --blocks 0-0xFFFF --to-dir gump-pics
expect_same "$("$cli" list --patch "$gumps" --type gumps | awk 'NR > 1 && $2 != 0 { print "Gumps_" $1 ".png" }' | sort)" \
  "$(ls gump-pics | sort)" "one PNG for each gump with bytes"
echo "not a picture" >gump-pics/notes.txt
expect_err 0 "1 file in gump-pics ignored" "$cli" gump --patch again.muo --from-dir gump-pics
expect_same "$("$cli" list --patch "$gumps" --type gumps | awk '$2 != 0')" "$("$cli" list --patch again.muo --type gumps)" \
  "the gumps' sizes and flags after the round trip"
# The blocks themselves: merged over a copy of the original patch, they
# leave it byte for byte as it was.
cp "$gumps" merged.muo
expect_status 0 "$cli" import --patch merged.muo --muo again.muo
cmp "$gumps" merged.muo || fail "gump blocks differ after the round trip"

## Art items and land tiles: the pictures of the blocks made from the
## pictures are the pictures (PNG output is the same for the same pixels).
expect_status 0 "$cli" picture --patch "$patch" --type art --blocks 0x3E00-0x4800 --to-dir art
ls art/Art_3E0A.png art/Art_47EA.png >/dev/null || fail "the art pictures lack a land tile or an item"
mv art/Art_47EA.png art/art_47ea.PNG  # names in any case
expect_status 0 "$cli" art --patch art.muo --from-dir art
mv art/art_47ea.PNG art/Art_47EA.png
# Every picture became its block, and nothing else came in.
expect_same "$("$cli" list --patch "$patch" --type art | awk 'NR > 1 && $2 != 0 { print $1 }' | grep -E '^(3E|3F|4[0-7])')" \
  "$(ids art.muo art)" "the art blocks made from the folder"
expect_status 0 "$cli" picture --patch art.muo --type art --blocks 0x3E00-0x4800 --to-dir art-again
diff -r art art-again >/dev/null || fail "the art pictures changed in the round trip"
# A land tile from a 44 x 44 picture is 2048 bytes; another size is refused.
expect_status 0 "$cli" art --patch land.muo --picture land.png --index 0x10
expect_same "$(printf 'ID Size Flags\n10 2048 FFFFFFFF')" "$("$cli" list --patch land.muo --type art)" "land tile block"
cp land.muo land-before.muo
expect_err 1 "mArt.Art_LoadPicture" "$cli" art --patch land.muo --picture hues.png --index 0x11
cmp land.muo land-before.muo || fail "a refused land tile changed the patch"

## A broken block: no file of its own, the rest of the range still written.
printf '\x01\x00' >short.dat
expect_status 0 "$cli" replace --patch "$patch" --type gumps --block "0x$first_gump" --from short.dat --out broken.muo
expect_err 1 "Gumps block $first_gump cannot be drawn" "$cli" picture --patch broken.muo --type gumps --block "0x$first_gump" \
  --to broken.png
[ ! -e broken.png ] || fail "a block that cannot be drawn was written"
total=$(ls gump-pics/Gumps_*.png | wc -l)
expect_err 1 "1 of $total blocks could not be drawn" "$cli" picture --patch broken.muo --type gumps --blocks 0-0xFFFF \
  --to-dir partly
[ "$(ls partly | wc -l)" -eq $((total - 1)) ] && [ ! -e "partly/Gumps_$first_gump.png" ] ||
  fail "the other blocks of the range are not all written"

## A folder with one picture that cannot be read: the patch as it was,
## although pictures of lower blocks were converted before it.
cp art/Art_3E0A.png art/Art_4001.png
head -c 100 /dev/zero | tr '\0' x >art/Art_4002.png
expect_err 1 "art/Art_4002.png: not a BMP, JPG, GIF or PNG picture" "$cli" art --patch "$patch" --from-dir art --out never.muo
cmp "$patch" original.muo || fail "a failed batch changed the patch"
[ ! -e never.muo ] || fail "a failed batch wrote --out"
expect_err 1 "holds no picture named Gumps_<HEX>.png" "$cli" gump --patch "$patch" --from-dir client

## Sound blocks as WAV: header, samples, the pad byte of an odd length.
name='bell\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0'
printf "$name"'\x01\x02\x03\x04\xfe' >sound.dat
muo "8 3 0 -1" "8 4 0 -1" >sound.muo
expect_status 0 "$cli" replace --patch sound.muo --type sound --block 3 --from sound.dat
expect_status 0 "$cli" extract --patch sound.muo --type sound --block 3 --to bell.WAV
expect_same "52 49 46 46 2a 00 00 00 57 41 56 45 66 6d 74 20 10 00 00 00 01 00 01 00 22 56 00 00 44 ac 00 00 02 00 10 00 64 61 74 61 05 00 00 00 01 02 03 04 fe 00" \
  "$(od -An -tx1 -v bell.WAV | tr -s ' \n' '  ' | sed 's/^ //; s/ $//')" "WAV file of 5 sample bytes"
expect_status 0 "$cli" extract --patch sound.muo --type sound --block 3 --to bell.raw
cmp bell.raw sound.dat || fail "a name without .wav does not keep the raw bytes"
printf "$name" >header-only.dat
expect_status 0 "$cli" replace --patch sound.muo --type sound --block 4 --from header-only.dat
expect_err 1 "Sound block 4 has no WAV file" "$cli" extract --patch sound.muo --type sound --block 4 --to empty.wav
[ ! -e empty.wav ] || fail "a sound without samples was written"

expect_no_leftovers
echo "pictures: ok"
