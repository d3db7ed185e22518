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
map_block() {
  printf '\\x00\\x00\\x00\\x00\\x%02x\\x%02x' $(($1 & 255)) $(($1 >> 8))
  for _ in $(seq 1 190); do printf '\\x00'; done
}

# Map: block 0 tile 1, block 513 (pixel 1,1) tile 2, block 393215 (767,511)
# tile 3, block 700 empty. Statics: block 0 item 5 (one 7-byte item), block 1
# empty.
patch=$scratch/world.muo
{
  muo_header 6
  muo_entry 0 0 0 196 "$(map_block 1)"
  muo_entry 0 513 0 196 "$(map_block 2)"
  muo_entry 0 393215 0 196 "$(map_block 3)"
  muo_entry 0 700 0 -1
  muo_entry 2 0 0 7 '\x05\x00\x00\x00\x00\x00\x00'
  muo_entry 2 1 0 -1
} >"$patch"
cp "$patch" "$scratch/original.muo"

# radar_file FILE: 65536 entries, black but for tile 1 blue, 2 green, 3 red,
# and static item 5 (index 16389) white.
radar_file() {
  python3 - "$1" <<'EOF'
import struct, sys
entries = [0] * 65536
entries[1], entries[2], entries[3], entries[16389] = 0x001F, 0x03E0, 0x7C00, 0x7FFF
open(sys.argv[1], "wb").write(struct.pack("<65536H", *entries))
EOF
}
radar_file "$scratch/radar.mul"

# pixels PNG X,Y...: the width and height, then "R,G,B" of each pixel named.
pixels() {
  python3 - "$@" <<'EOF'
import struct, sys, zlib
data = open(sys.argv[1], "rb").read()
assert data[:8] == b"\x89PNG\r\n\x1a\n", "no PNG signature"
pos, idat, header = 8, b"", None
while pos < len(data):
    length, kind = struct.unpack(">I4s", data[pos:pos + 8])
    body = data[pos + 8:pos + 8 + length]
    assert zlib.crc32(kind + body) == struct.unpack(">I", data[pos + 8 + length:pos + 12 + length])[0], "CRC"
    if kind == b"IHDR": header = struct.unpack(">IIBBBBB", body)
    if kind == b"IDAT": idat += body
    pos += 12 + length
width, height, depth, colour = header[:4]
assert depth == 8 and colour in (2, 6), header
bpp = 3 if colour == 2 else 4
raw, stride, rows, prev = zlib.decompress(idat), width * bpp, [], bytearray(width * bpp)
for y in range(height):
    start = y * (stride + 1)
    kind, line = raw[start], bytearray(raw[start + 1:start + 1 + stride])
    for i in range(stride):
        a = line[i - bpp] if i >= bpp else 0
        b, c = prev[i], prev[i - bpp] if i >= bpp else 0
        if kind == 1: line[i] = (line[i] + a) & 255
        elif kind == 2: line[i] = (line[i] + b) & 255
        elif kind == 3: line[i] = (line[i] + (a + b) // 2) & 255
        elif kind == 4:
            p = a + b - c
            pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
            line[i] = (line[i] + (a if pa <= pb and pa <= pc else b if pb <= pc else c)) & 255
    rows.append(line)
    prev = line
print(width, height)
for spot in sys.argv[2:]:
    x, y = map(int, spot.split(","))
    print("%d,%d,%d" % tuple(rows[y][x * bpp:x * bpp + 3]))
EOF
}

# --- the map page: one pixel per block, coloured by the first tile.
expect_status 0 "$cli" render --patch "$patch" --page map --radarcol "$scratch/radar.mul" --to "$scratch/map.png"
[ -z "$out$err" ] || fail "render printed: $out $err"
expect_same "768 512
0,0,248
0,248,0
248,0,0
239,239,239
239,239,239" "$(pixels "$scratch/map.png" 0,0 1,1 767,511 1,188 5,5)" "map page pixels"
if command -v file >/dev/null; then
  case $(file "$scratch/map.png") in *"PNG image data, 768 x 512"*) ;; *) fail "file does not see a 768 x 512 PNG" ;; esac
fi
cmp "$patch" "$scratch/original.muo" || fail "render changed the patch"

# --- the statics page: the item's colour, black for the empty block.
expect_status 0 "$cli" render --patch "$patch" --page STATICS --radarcol "$scratch/radar.mul" --to "$scratch/statics.png"
expect_same "768 512
248,248,248
0,0,0
239,239,239" "$(pixels "$scratch/statics.png" 0,0 0,1 1,1)" "statics page pixels"

# --- no client and no --radarcol: black, and a warning says why.
expect_status 0 "$cli" render --patch "$patch" --page map --to "$scratch/black.png"
case $err in *"warning: no radar colour file"*) ;; *) fail "no warning without radar colours: $err" ;; esac
expect_same "768 512
0,0,0" "$(pixels "$scratch/black.png" 1,1)" "without radar colours a block is black"

# --- a Wine prefix whose registry names the client: its radarcol.mul colours.
prefix=$scratch/prefix
client="$prefix/drive_c/Program Files/Ultima Online"
mkdir -p "$client" "$prefix/dosdevices"
ln -s ../drive_c "$prefix/dosdevices/c:"
printf 'MZ' >"$client/client.exe"
radar_file "$client/radarcol.mul"
cat >"$prefix/system.reg" <<'EOF'
WINE REGISTRY Version 2
;; All keys relative to \\Machine

#arch=win64

[Software\\Wow6432Node\\Origin Worlds Online\\Ultima Online\\1.0] 1710000000
#time=1da7b1c2d3e4f50
"ExePath"="C:\\Program Files\\Ultima Online\\client.exe"
"Version"=dword:00000001
EOF
WINEPREFIX=$prefix expect_status 0 "$cli" render --patch "$patch" --page map --to "$scratch/client.png"
[ -z "$err" ] || fail "render with the client's colours warned: $err"
cmp "$scratch/client.png" "$scratch/map.png" || fail "the client's radarcol.mul gives other colours than --radarcol"

# --- client: what the registry says.
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

# --- failures: nothing is written.
expect_status 2 "$cli" render --patch "$patch" --page art --to "$scratch/x.png"
expect_status 1 "$cli" render --patch "$patch" --page map --radarcol "$scratch/none.mul" --to "$scratch/x.png"
case $err in *"none.mul: no such file"*) ;; *) fail "missing --radarcol: $err" ;; esac
short=$scratch/short.muo
{
  muo_header 2
  muo_entry 0 3 0 196 "$(map_block 1)"
  muo_entry 0 4 0 5 '\x00\x00\x00\x00\x01'
} >"$short"
printf 'old' >"$scratch/kept.png"
expect_status 1 "$cli" render --patch "$short" --page map --radarcol "$scratch/radar.mul" --to "$scratch/kept.png"
case $err in *"mMap.DrawMap"*) ;; *) fail "a short map block was not reported: $err" ;; esac
[ "$(cat "$scratch/kept.png")" = old ] || fail "a failed render replaced the picture"
[ ! -e "$scratch/x.png" ] || fail "a failed render wrote a picture"

# --- delete --rect: corners in any order, cut at the picture's edges.
grid=$scratch/grid.muo
{
  muo_header 6
  for block in 0 1 512 513 1026; do muo_entry 0 $block 0 196 "$(map_block 1)"; done
  muo_entry 2 513 0 -1
} >"$grid"
cp "$grid" "$scratch/grid-original.muo"
expect_status 0 "$cli" delete --patch "$grid" --type map --rect 1,1,-4,-9 --out "$scratch/cut.muo"
[ -z "$out$err" ] || fail "delete --rect printed: $out $err"
expect_status 0 "$cli" list --patch "$scratch/cut.muo" --type map
expect_same "ID Size Flags
402 196 0" "$out" "the rectangle (0,0)-(1,1) is gone, block (2,2) stays"
expect_status 0 "$cli" list --patch "$scratch/cut.muo" --type statics
expect_same "ID Size Flags
201 0 0" "$out" "a map rectangle leaves the statics alone"
expect_status 0 "$cli" delete --patch "$scratch/cut.muo" --type statics --rect 1,1,1,1
expect_status 0 "$cli" info --patch "$scratch/cut.muo"
expect_same "Map (1)
Statics (0)" "$(echo "$out" | head -2)" "counts after both deletes"
# No selection, or nothing of the patch in the rectangle: the file is not written.
expect_status 0 "$cli" delete --patch "$grid" --type map --rect -1,-1,-1,-1
expect_status 0 "$cli" delete --patch "$grid" --type map --rect 768,0,900,511
cmp "$grid" "$scratch/grid-original.muo" || fail "a delete that removed nothing saved the patch"
expect_status 2 "$cli" delete --patch "$grid" --type art --rect 0,0,1,1
expect_status 2 "$cli" delete --patch "$grid" --type map --rect 0,0,1
expect_status 2 "$cli" delete --patch "$grid" --type map --rect 0,0,1,x
expect_status 2 "$cli" delete --patch "$grid" --type map --rect 0,0,1,1 --blocks 0-5
cmp "$grid" "$scratch/grid-original.muo" || fail "a refused delete changed the patch"

expect_no_leftovers
echo "render: all passed"
