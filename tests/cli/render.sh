#!/usr/bin/env bash
# render (the map and statics pages as PNG), client (what the registry says)
# and delete --rect, on patches and a Wine prefix built here byte by byte.
set -eu
. "$(dirname "$0")/helpers.bash"
setup "$1" "$2"
command -v python3 >/dev/null || fail "python3 is needed to read the PNG files"
# No client of the machine running the test may colour the pictures; the
# runs start in the scratch directory, where no radarcol.mul or client.exe lies.
export WINEPREFIX=$scratch/no-prefix
cd "$scratch"

# map_block TILE: 196 bytes whose first cell (bytes 4-5) holds TILE.
map_block() { printf '\\x00\\x00\\x00\\x00\\x%02x\\x%02x' $(($1 & 255)) $(($1 >> 8)); printf '\\x00%.0s' $(seq 190); }

# Map: block 0 tile 1, block 513 (pixel 1,1) tile 2, block 393215 (767,511)
# tile 3, block 700 empty. Statics: block 0 item 5 (one 7-byte item), block 1 empty.
patch=$scratch/world.muo
muo "0 0 0 196 $(map_block 1)" "0 513 0 196 $(map_block 2)" "0 393215 0 196 $(map_block 3)" "0 700 0 -1" \
  '2 0 0 7 \x05\x00\x00\x00\x00\x00\x00' "2 1 0 -1" >"$patch"
cp "$patch" "$scratch/original.muo"

# 65536 radar colours, black but for tile 1 blue, 2 green, 3 red, and static
# item 5 (index 16389) white.
python3 -c 'import struct, sys; e = [0] * 65536; e[1], e[2], e[3], e[16389] = 0x001F, 0x03E0, 0x7C00, 0x7FFF
open(sys.argv[1], "wb").write(struct.pack("<65536H", *e))' "$scratch/radar.mul"

# pixels PNG X,Y...: the width and height, then "R,G,B" of each pixel named.
pixels() {
  python3 - "$@" <<'EOF2'
import struct, sys, zlib
d = open(sys.argv[1], "rb").read()
assert d[:8] == b"\x89PNG\r\n\x1a\n", "no PNG signature"
pos, idat = 8, b""
while pos < len(d):
    n, kind = struct.unpack(">I4s", d[pos:pos + 8])
    body = d[pos + 8:pos + 8 + n]
    assert zlib.crc32(kind + body) == struct.unpack(">I", d[pos + 8 + n:pos + 12 + n])[0], "CRC"
    if kind == b"IHDR": w, h, depth, colour = struct.unpack(">IIBB", body[:10])
    if kind == b"IDAT": idat += body
    pos += 12 + n
assert depth == 8 and colour in (2, 6), (depth, colour)
bpp = 3 if colour == 2 else 4
raw, s, rows, prev = zlib.decompress(idat), w * bpp, [], bytearray(w * bpp)
for y in range(h):
    f, line = raw[y * (s + 1)], bytearray(raw[y * (s + 1) + 1:(y + 1) * (s + 1)])
    for i in range(s):
        a, b, c = line[i - bpp] if i >= bpp else 0, prev[i], prev[i - bpp] if i >= bpp else 0
        if f == 4:
            p = a + b - c
            a = a if abs(p - a) <= abs(p - b) and abs(p - a) <= abs(p - c) else b if abs(p - b) <= abs(p - c) else c
        line[i] = (line[i] + (0, a, b, (a + b) // 2, a)[f]) & 255
    rows.append(line)
    prev = line
spots = [map(int, spot.split(",")) for spot in sys.argv[2:]]
print(w, h, *["%d,%d,%d" % tuple(rows[y][x * bpp:x * bpp + 3]) for x, y in spots])
EOF2
}

# The map page: one pixel per block, coloured by the first tile, the
# background where there is no block. The statics page: the item's colour,
# black for the empty block.
expect_status 0 "$cli" render --patch "$patch" --page map --radarcol "$scratch/radar.mul" --to "$scratch/map.png"
[ -z "$out$err" ] || fail "render printed: $out $err"
expect_same "768 512 0,0,248 0,248,0 248,0,0 239,239,239 239,239,239" \
  "$(pixels map.png 0,0 1,1 767,511 1,188 5,5)" "map page pixels"
expect_status 0 "$cli" render --patch "$patch" --page STATICS --radarcol "$scratch/radar.mul" --to "$scratch/statics.png"
expect_same "768 512 248,248,248 0,0,0 239,239,239" "$(pixels statics.png 0,0 0,1 1,1)" "statics page pixels"
cmp "$patch" "$scratch/original.muo" || fail "render changed the patch"
# No client and no --radarcol: black, and a warning says why.
expect_err 0 "warning: no radar colour file" "$cli" render --patch "$patch" --page map --to "$scratch/black.png"
expect_same "768 512 0,0,0" "$(pixels black.png 1,1)" "without radar colours a block is black"

# Map block 393216 is column 768, row 0, and statics block 458751 (895,511):
# with the block ranges of current clients both pages are 896 wide, and 768
# again once neither type has a block beyond the classic grid. With the
# classic ranges those blocks are left out, with a warning, and the pages stay
# 768 wide.
wide=$scratch/wide.muo
muo "0 0 0 196 $(map_block 1)" "0 393216 0 196 $(map_block 2)" '2 458751 0 7 \x05\x00\x00\x00\x00\x00\x00' >"$wide"
expect_status 0 "$cli" info --patch "$wide"
if echo "$out" | grep -qx 'Map (2)'; then
  expect_status 0 "$cli" render --patch "$wide" --page map --radarcol "$scratch/radar.mul" --to "$scratch/wide.png"
  expect_same "896 512 0,0,248 0,248,0 239,239,239 239,239,239" "$(pixels wide.png 0,0 768,0 767,0 895,511)" \
    "wide map page"
  expect_status 0 "$cli" render --patch "$wide" --page statics --radarcol "$scratch/radar.mul" --to "$scratch/wide.png"
  expect_same "896 512 248,248,248 239,239,239" "$(pixels wide.png 895,511 768,0)" "wide statics page"
  # The map's block beyond goes: the statics block keeps both pages wide; then that goes too.
  expect_status 0 "$cli" delete --patch "$wide" --type map --rect 768,0,5000,5000
  expect_status 0 "$cli" render --patch "$wide" --page map --radarcol "$scratch/radar.mul" --to "$scratch/wide.png"
  expect_same "896 512 239,239,239" "$(pixels wide.png 768,0)" "map page kept wide by statics"
  expect_status 0 "$cli" delete --patch "$wide" --type statics --rect 895,511,895,511
  expect_status 0 "$cli" render --patch "$wide" --page map --radarcol "$scratch/radar.mul" --to "$scratch/wide.png"
  expect_same "768 512 0,0,248" "$(pixels wide.png 0,0)" "back to the classic width"
else
  expect_err 0 "illegal" "$cli" render --patch "$wide" --page map --radarcol "$scratch/radar.mul" --to "$scratch/wide.png"
  expect_same "768 512 0,0,248" "$(pixels wide.png 0,0)" "classic ranges: the classic width"
fi

# A High Seas radarcol.mul of 0x14000 entries colours static item 49152 (index
# 65536); with the 65536 entries of a classic one the drawing stops there.
python3 -c 'import struct, sys; e = [0] * 0x14000; e[65536] = 0x03E0
open(sys.argv[1], "wb").write(struct.pack("<%dH" % len(e), *e))' "$scratch/radar-hs.mul"
muo '2 0 0 7 \x00\xc0\x00\x00\x00\x00\x00' >"$scratch/item.muo"
expect_status 0 "$cli" render --patch "$scratch/item.muo" --page statics --radarcol "$scratch/radar-hs.mul" --to "$scratch/hs.png"
expect_same "768 512 0,248,0" "$(pixels hs.png 0,0)" "item 49152 with a High Seas radarcol.mul"
expect_err 1 "mStatics.DrawStatics" "$cli" render --patch "$scratch/item.muo" --page statics \
  --radarcol "$scratch/radar.mul" --to "$scratch/hs.png"

# A Wine prefix whose registry names the client: its radarcol.mul colours,
# and client tells where it is.
prefix=$scratch/prefix
client="$prefix/drive_c/Program Files/Ultima Online"
mkdir -p "$client"
printf 'MZ' >"$client/client.exe"
cp "$scratch/radar.mul" "$client/radarcol.mul"
cat >"$prefix/system.reg" <<'EOF2'
WINE REGISTRY Version 2
[Software\\Wow6432Node\\Origin Worlds Online\\Ultima Online\\1.0] 1710000000
"ExePath"="C:\\Program Files\\Ultima Online\\client.exe"
EOF2
WINEPREFIX=$prefix expect_status 0 "$cli" render --patch "$patch" --page map --to "$scratch/client.png"
[ -z "$err" ] || fail "render with the client's colours warned: $err"
cmp "$scratch/client.png" "$scratch/map.png" || fail "the client's radarcol.mul gives other colours than --radarcol"
WINEPREFIX=$prefix expect_status 0 "$cli" client
expect_same "Registry: $prefix/system.reg
UO2DPath: $client/
isUO2D: true
UO3DPath:
isUO3D: false" "$out" "client with a prefix"
expect_status 0 "$cli" client
expect_same "Registry: $scratch/no-prefix/system.reg (not there)
UO2DPath:
isUO2D: false
UO3DPath:
isUO3D: false" "$out" "client without a prefix"

# Failures write no picture and leave an old one alone.
printf 'old' >"$scratch/kept.png"
muo "0 3 0 196 $(map_block 1)" '0 4 0 5 \x00\x00\x00\x00\x01' >"$scratch/short.muo"
expect_status 2 "$cli" render --patch "$patch" --page art --to "$scratch/x.png"
expect_err 1 "none.mul: no such file" "$cli" render --patch "$patch" --page map --radarcol "$scratch/none.mul" --to "$scratch/x.png"
expect_err 1 "mMap.DrawMap" "$cli" render --patch short.muo --page map --radarcol "$scratch/radar.mul" --to "$scratch/kept.png"
[ "$(cat "$scratch/kept.png")" = old ] || fail "a failed render replaced the picture"
[ ! -e "$scratch/x.png" ] || fail "a failed render wrote a picture"

# delete --rect: corners in any order, cut at the picture's edges; a map
# rectangle leaves the statics alone.
grid=$scratch/grid.muo
tile1="0 196 $(map_block 1)"
muo "0 0 $tile1" "0 1 $tile1" "0 512 $tile1" "0 513 $tile1" "0 1026 $tile1" "2 513 0 -1" >"$grid"
cp "$grid" "$scratch/grid-original.muo"
expect_status 0 "$cli" delete --patch "$grid" --type map --rect 1,1,-4,-9 --out "$scratch/cut.muo"
[ -z "$out$err" ] || fail "delete --rect printed: $out $err"
expect_muo "$scratch/cut.muo" "the rectangle (0,0)-(1,1) is gone" "0 1026 $tile1" "2 513 0 -1"
expect_status 0 "$cli" delete --patch "$scratch/cut.muo" --type statics --rect 1,1,1,1
expect_muo "$scratch/cut.muo" "statics rectangle" "0 1026 $tile1"
# No selection, or nothing of the patch in the rectangle: the file is not written.
expect_status 0 "$cli" delete --patch "$grid" --type map --rect -1,-1,-1,-1
expect_status 0 "$cli" delete --patch "$grid" --type map --rect 768,0,900,511
expect_status 2 "$cli" delete --patch "$grid" --type art --rect 0,0,1,1
expect_status 2 "$cli" delete --patch "$grid" --type map --rect 0,0,1
expect_status 2 "$cli" delete --patch "$grid" --type map --rect 0,0,1,x
expect_status 2 "$cli" delete --patch "$grid" --type map --rect 0,0,1,1 --blocks 0-5
cmp "$grid" "$scratch/grid-original.muo" || fail "a refused delete or one of nothing changed the patch"

expect_no_leftovers
echo "render: all passed"
