#!/usr/bin/env bash
# compare --base-dir --new-dir: two whole clients into one patch. The new
# client is a copy of the sample client with known blocks changed; the
# patch must hold exactly those, and stderr tells per type what happened.
set -eu
. "$(dirname "$0")/helpers.bash"
setup "$1" "$2"
base=$scratch/base
new=$scratch/new
expect_status 0 "$cli" sample-client --dir "$base"
mkdir "$new"
for f in map0.mul staidx0.mul statics0.mul artidx.mul art.mul gumpidx.mul gumpart.mul hues.mul tiledata.mul radarcol.mul; do
  cp "$base/$f" "$new/$f"
done
# Changed: Map block 2 (byte 10), Hues group 1 (its first colour), the
# colour of radar entry 5. The new client's art files go by other cases.
printf '\x7f' | dd of="$new/map0.mul" bs=1 seek=$((196 * 2 + 10)) conv=notrunc status=none
printf '\x11\x22' | dd of="$new/hues.mul" bs=1 seek=$((708 + 4)) conv=notrunc status=none
printf '\x33\x44' | dd of="$new/radarcol.mul" bs=1 seek=10 conv=notrunc status=none
mv "$new/artidx.mul" "$new/ArtIdx.MUL"
mv "$new/art.mul" "$new/ART.MUL"
# The base client has no statics (a type on one side only).
rm "$base/staidx0.mul" "$base/statics0.mul"

expect_status 0 "$cli" compare --patch "$scratch/all.muo" --base-dir "$base" --new-dir "$new"
told=$err
expect_counts "$scratch/all.muo" "Map (1) Hues (1) Radarcol (1)"
expect_list "$scratch/all.muo" map "2 196 FFFFFFFF"
expect_list "$scratch/all.muo" hues "1 1220 FFFFFFFF"
expect_list "$scratch/all.muo" radarcol "5 2 FFFFFFFF"
case $told in *"Statics: only in the new client (staidx0.mul and statics0.mul are missing in the base one); not compared"*) ;;
  *) fail "a type on one side is not named: $told" ;; esac
case $told in *"Map: 393216 blocks compared, 1 added"*) ;; *) fail "no summary line for Map: $told" ;; esac
case $told in *"Art: 65537 blocks compared, 0 added"*) ;; *) fail "Art was not compared in any case: $told" ;; esac

# --types restricts, in names or numbers; a type of no client file is refused.
expect_status 0 "$cli" compare --patch "$scratch/some.muo" --base-dir "$base" --new-dir "$new" --types hues,0x81
case $err in *Map:*) fail "--types did not restrict: $err" ;; esac
expect_counts "$scratch/some.muo" "Hues (1) Radarcol (1)"
expect_err 2 "--types: " "$cli" compare --patch "$scratch/some.muo" --base-dir "$base" --new-dir "$new" --types hues,nothing

# The two modes do not mix; a directory that is not there fails and writes nothing.
expect_status 2 "$cli" compare --patch "$scratch/x.muo" --base-dir "$base" --new-dir "$new" --type map
expect_err 1 "no such directory" "$cli" compare --patch "$scratch/x.muo" --base-dir "$base" --new-dir "$scratch/none"
[ ! -e "$scratch/x.muo" ] || fail "a failed compare wrote the patch"

# A type that fails ends with exit status 1 and leaves the patch as it was,
# though the other types were compared.
cp "$scratch/all.muo" "$scratch/all.before"
head -c 1000 "$base/tiledata.mul" >"$scratch/t" && cat "$scratch/t" >"$base/tiledata.mul"
truncate -s $((493568 + 1316 * 512)) "$new/tiledata.mul"
expect_err 1 "different layouts" "$cli" compare --patch "$scratch/all.muo" --base-dir "$base" --new-dir "$new"
cmp "$scratch/all.before" "$scratch/all.muo" || fail "a failed compare changed the patch"
echo "ok"
