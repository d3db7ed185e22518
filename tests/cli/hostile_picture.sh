#!/usr/bin/env bash
# Hostile input through the CLI: files that are no picture (or claim a size
# that no memory holds) for gump, and a full disk under export and save. Each
# must fail with exit status 1 and a message on stderr, leave the patch and
# verdata.mul byte-identical, and leave no temporary file behind.
set -eu
. "$(dirname "$0")/helpers.bash"
setup "$1" "$2"

# run_measured CMD...: runs CMD with its exit status in $status, its stderr
# in $err and its peak resident memory in $kib (KiB), when GNU time is there
# to tell; else $kib is empty.
run_measured() {
  status=0
  kib=
  if [ -x /usr/bin/time ] && /usr/bin/time -f %M true >/dev/null 2>&1; then
    /usr/bin/time -o "$scratch/peak" -f %M "$@" >"$scratch/out" 2>"$scratch/err" || status=$?
    kib=$(tail -n 1 "$scratch/peak")
  else
    "$@" >"$scratch/out" 2>"$scratch/err" || status=$?
  fi
  err=$(cat "$scratch/err")
}

start_with_base_patch

## gump: files that are no picture of the three kinds

p=$scratch/pictures
mkdir "$p"
: >"$p/empty.bmp"
printf 'BM' >"$p/magic-only.bmp"
{
  printf '\x89PNG\r\n\x1a\n\x00\x00\x00\rIHDR\x00\x00\x00\x01\x00\x00\x00\x01\x08\x06\x00\x00\x00\x1f\x15\xc4\x89'
  printf '\x00\x00\x00\rIDAT\x78\x9c\x63\x00\x01\x00\x00\x05\x00\x01\x0d\x0a\x2d\xb4\x00\x00\x00\x00IEND\xaeB`\x82'
} >"$p/one-pixel.png"
printf 'GIF89a\x01\x00\x01\x00\x80\x00\x00\xff\x00\x00' >"$p/cut.gif"
printf '\xff\xd8\xff\xe0\x00\x10JFIF\x00' >"$p/cut.jpg"
head -c 4096 /dev/zero | tr '\0' 'x' >"$p/letters.jpg"
# Sizes that no memory holds, with a few bytes behind the header: a BMP of
# 20000 by 20000, a GIF screen and a JPEG frame near 65535 by 65535.
{ bmp24 20000 20000; head -c 100 /dev/zero; } >"$p/huge.bmp"
{
  printf 'GIF89a\xff\xff\xff\xff\x80\x00\x00\xff\x00\x00\x00\x00\x00'
  printf ',\x00\x00\x00\x00\x01\x00\x01\x00\x00\x02\x02\x44\x01\x00;'
} >"$p/huge.gif"
printf '\xff\xd8\xff\xc0\x00\x11\x08\xff\xd0\xff\xd0\x03\x01\x22\x00\x02\x11\x01\x03\x11\x01\xff\xd9' >"$p/huge.jpg"

for picture in "$p"/*; do
  name=$(basename "$picture")
  run_measured "$cli" gump --patch "$patch" --picture "$picture" --index 1
  [ "$status" -eq 1 ] || fail "gump of $name: exit status $status, expected 1 ($err)"
  case $err in
    *"error: $picture: not a BMP, JPG, GIF or PNG picture"* | *"error: $picture: the "*" picture cannot be read"*) ;;
    *) fail "gump of $name: $err" ;;
  esac
  if [ -n "$kib" ] && [ "$kib" -gt 200000 ]; then fail "gump of $name took $kib KiB"; fi
  cmp -s "$patch" "$scratch/original.muo" || fail "gump of $name changed the patch"
done
# Neither a folder nor a pipe is read (a pipe would wait for a writer).
mkdir "$p/folder.bmp"
mkfifo "$p/pipe.bmp"
for picture in "$p/folder.bmp" "$p/pipe.bmp"; do
  expect_status 1 "$cli" gump --patch "$patch" --picture "$picture" --index 1
  case $err in "error: $picture: "*) ;; *) fail "gump of $picture: $err" ;; esac
done
# A real picture that the extra word cannot hold: 1 by 40000.
{ bmp24 1 40000; head -c 160000 /dev/zero; } >"$scratch/tall.bmp"
expect_status 1 "$cli" gump --patch "$patch" --picture "$scratch/tall.bmp" --index 1
case $err in "error: mGumps.Gump_LoadBMP: "*40000*) ;; *) fail "a picture 40000 high: $err" ;; esac
cmp -s "$patch" "$scratch/original.muo" || fail "a refused gump changed the patch"

## a patch source that claims nearly 2 GB for one block

printf "UOP\\x04$(le32 1)$(le32 0)\\x04$(le32 7)$(le32 2147483647)$(le32 0)abc" >"$scratch/huge.uop"
cp "$scratch/huge.uop" "$scratch/huge-copy.uop"
run_measured "$cli" import --patch "$patch" --uop "$scratch/huge.uop"
[ "$status" -eq 1 ] || fail "import of a 2 GB entry: exit status $status ($err)"
case $err in *"error: mPatch.LoadUOP: "*) ;; *) fail "import of a 2 GB entry: $err" ;; esac
if [ -n "$kib" ] && [ "$kib" -gt 200000 ]; then fail "import of a 2 GB entry took $kib KiB"; fi
cmp -s "$patch" "$scratch/original.muo" || fail "a failed import changed the patch"
cmp -s "$scratch/huge.uop" "$scratch/huge-copy.uop" || fail "the import changed its source"

## a full disk under save and export

# on_full_disk WHAT PROC CMD...: CMD where files may not pass 64 KiB (the
# signal that would end the process is ignored, so the write itself fails)
# must exit 1 with PROC's failure on stderr.
on_full_disk() {
  local what=$1 proc=$2 status=0
  shift 2
  (trap '' XFSZ; ulimit -f 64; exec "$@") >"$scratch/out" 2>"$scratch/err" || status=$?
  err=$(cat "$scratch/err")
  [ "$status" -eq 1 ] || fail "$what on a full disk: exit status $status ($err)"
  case $err in *"error: $proc: "*) ;; *) fail "$what on a full disk: $err" ;; esac
}

{ muo_header 1; muo_entry 12 1 0 200000; head -c 200000 /dev/zero | tr '\0' 'G'; } >"$scratch/big.muo"
on_full_disk "a save" mPatch.SaveMUO "$cli" import --patch "$patch" --muo "$scratch/big.muo"
cmp -s "$patch" "$scratch/original.muo" || fail "a save on a full disk changed the patch"

mkdir "$scratch/game"
{ printf "$(le32 1)"; verdata_entry 4 9 24 2 0; printf ab; } >"$scratch/game/verdata.mul"
cp "$scratch/game/verdata.mul" "$scratch/verdata-copy.mul"
on_full_disk "an export" mVerdata.ExportVerdata "$cli" export --patch "$scratch/big.muo" --dir "$scratch/game"
cmp -s "$scratch/game/verdata.mul" "$scratch/verdata-copy.mul" || fail "a failed export changed verdata.mul"
left=$(ls -A "$scratch/game")
expect_same "verdata.mul" "$left" "files beside verdata.mul after a failed export"

expect_no_leftovers
echo "hostile_picture: ok"
