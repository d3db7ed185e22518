#!/usr/bin/env bash
# UOP and verdata sources, and the export into a new verdata.mul.
set -eu
. "$(dirname "$0")/helpers.bash"
setup "$1" "$2"

expect_status 0 "$cli" sample-client --dir "$scratch/client"
expect_status 0 "$cli" import --patch "$scratch/u.muo" --uop "$scratch/client/patch5.uop"
expect_status 0 "$cli" info --patch "$scratch/u.muo"
echo "$out" | grep -qv ' (0)$' || fail "the UOP import loaded nothing"

# A verdata file by hand: Art 7 with 3 bytes, an empty Gumps block, and
# Art 10 outside the limits.
mkdir -p "$scratch/old"
{ printf "$(le32 3)"; verdata_entry 4 7 64 3 0x11; verdata_entry 12 9 0 -1 0; verdata_entry 4 10 67 1 0; printf 'abcd'; } \
  >"$scratch/old/verdata.mul"
expect_status 0 "$cli" import --patch "$scratch/v.muo" --verdata "$scratch/old/verdata.mul" --blocks 0-9
expect_list "$scratch/v.muo" art "7 3 11"
expect_counts "$scratch/v.muo" "Art (1) Gumps (1)"

# Export: the old file is kept as verdata.bak, an older backup under a
# number; the export holds the 3 old entries and the patch's 3, which read back.
cp "$scratch/old/verdata.mul" "$scratch/old-copy.mul"
echo "older" >"$scratch/old/verdata.bak"
write_base_patch "$scratch/base.muo"
expect_status 0 "$cli" export --patch "$scratch/base.muo" --dir "$scratch/old"
[ -z "$out" ] || fail "export printed on stdout"
cmp "$scratch/old/verdata.bak" "$scratch/old-copy.mul" || fail "verdata.bak is not the old file"
[ "$(cat "$scratch/old/verdata.1.bak")" = older ] || fail "the older backup was not kept"
[ ! -e "$scratch/old/verdata.tmp" ] || fail "verdata.tmp left behind"
expect_status 0 "$cli" import --patch "$scratch/back.muo" --verdata "$scratch/old/verdata.mul"
expect_counts "$scratch/back.muo" "Art (4) Gumps (2)"
expect_status 0 "$cli" extract --patch "$scratch/back.muo" --type art --block 26 --to "$scratch/a26"
printf "$ART26" | cmp - "$scratch/a26" || fail "Art 26 after export and import"

# The export's messages: an empty patch, no verdata.mul. Exit 1, nothing written.
mkdir -p "$scratch/none"
expect_status 1 "$cli" export --patch "$scratch/empty.muo" --dir "$scratch/old"
expect_same "There are no blocks in the patch to save." "$err" "empty patch message"
expect_status 1 "$cli" export --patch "$scratch/base.muo" --dir "$scratch/none"
expect_same "Cannot find verdata.mul in the directory you run Quillet.
Looked in $scratch/none" "$err" "missing verdata message"
[ -z "$(ls -A "$scratch/none")" ] || fail "a failed export wrote into the directory"
expect_status 1 "$cli" export --patch "$scratch/base.muo" --dir "$scratch/no-such-dir"

# --create: an empty patch creates nothing; else a new verdata.mul holds just the
# patch's 3 blocks, and no backup is made of the empty start.
expect_status 1 "$cli" export --patch "$scratch/empty.muo" --dir "$scratch/none" --create
[ -z "$(ls -A "$scratch/none")" ] || fail "an export of an empty patch created a file"
expect_status 0 "$cli" export --patch "$scratch/base.muo" --dir "$scratch/none" --create
[ -z "$out$err" ] || fail "export --create printed: $out $err"
[ "$(ls -A "$scratch/none")" = verdata.mul ] || fail "export --create left: $(ls -A "$scratch/none")"
{ printf "$(le32 3)"; verdata_entry 4 1 64 1 -1; verdata_entry 4 26 65 18 500; verdata_entry 12 500 0 -1 0
  printf "Z$ART26"; } | cmp - "$scratch/none/verdata.mul" || fail "the created verdata.mul"
expect_status 0 "$cli" export --patch "$scratch/base.muo" --dir "$scratch/none" --create
[ "$(ls -A "$scratch/none" | paste -sd' ')" = "verdata.bak verdata.mul" ] || fail "a second --create export"
expect_status 0 "$cli" export --help
case $out in *"export --patch P --dir D [--create]"*"--create"*"empty"*) ;; *) fail "export --help lacks --create" ;; esac

expect_no_leftovers
echo "exchange: ok"
