#!/usr/bin/env bash
# import --muo: the limits of the Import dialog, merging, flags from the
# entries, the illegal block message, and sources that cannot be read.
set -eu
. "$(dirname "$0")/helpers.bash"
setup "$1" "$2"
start_with_base_patch

# The source: Art 26 with other bytes, Art 40, Gumps 500 with bytes, Sound 3,
# a Map block with bit 6, Hues 0 and a reserved FileID 252 entry.
src=$scratch/source.muo
{
  muo_header 7
  muo_entry 4 26 7 3 'abc'
  muo_entry 4 40 0 2 'xy'
  muo_entry 12 500 0x20002 4 '\x01\x02\x03\x04'
  muo_entry 8 3 0 1 'S'
  muo_entry 64 10 0 0
  muo_entry 32 0 0 2 'hu'
  muo_entry 252 0 0 1 'R'
} >"$src"

counts() {
  expect_status 0 "$cli" info --patch "$1"
  echo "$out" | grep -v ' (0)$' | tr '\n' ' '
}

# FileID limit 4 and block limit 20-30: only Art 26 comes in.
expect_status 0 "$cli" import --patch "$patch" --muo "$src" --fileids 4 --blocks 20-30 --out "$scratch/a.muo"
[ -z "$out$err" ] || fail "import printed: $out $err"
cmp "$patch" "$scratch/original.muo" || fail "import with --out changed --patch"
expect_same "Art (2) Gumps (1) " "$(counts "$scratch/a.muo")" "counts after a limited import"
expect_status 0 "$cli" list --patch "$scratch/a.muo" --type art
expect_same "ID Size Flags
1 1 FFFFFFFF
1A 3 7" "$out" "Art 26 replaced by the source's block"

# Hexadecimal limits: FileIDs 0x8-0x20 take Sound, Gumps and Hues, not Art or Map.
expect_status 0 "$cli" import --patch "$patch" --muo "$src" --fileids 0x8-0x20 --out "$scratch/b.muo"
expect_same "Art (2) Sound (1) Gumps (1) Hues (1) " "$(counts "$scratch/b.muo")" "counts after a FileID range"
expect_status 0 "$cli" list --patch "$scratch/b.muo" --type gumps
expect_same "ID Size Flags
1F4 4 20002" "$out" "Gumps 500 replaced"

# The defaults take everything but the reserved FileID.
expect_status 0 "$cli" import --patch "$patch" --muo "$src"
expect_same "Map (1) Art (3) Sound (1) Gumps (1) Hues (1) " "$(counts "$patch")" "counts after a full import"
# The Map entry had bit 6: Map's flag stays off, so it is saved with bit 6 again.
expect_same "64" "$(od -An -tu1 -j45 -N1 "$patch" | tr -d ' ')" "Map entry saved with bit 6"

# A block beyond its type: the message (three lines) on stderr, the load goes on.
{ muo_header 2; muo_entry 16 256 0 1 'k'; muo_entry 16 255 0 1 'l'; } >"$scratch/illegal.muo"
expect_status 0 "$cli" import --patch "$scratch/new.muo" --muo "$scratch/illegal.muo"
expect_same "An block with an illegal sized blocknumber where detected and ignored:
FileID: 16
Blocknumber:256" "$err" "illegal block message"
expect_same "Skills (1) " "$(counts "$scratch/new.muo")" "the next entry is loaded"

# A source that is not a readable MUO file: exit 1, the patch as it was.
cp "$scratch/original.muo" "$patch"
{ muo_header 1 2; muo_entry 4 3 0 1 'v'; } >"$scratch/v2.muo"
expect_status 1 "$cli" import --patch "$patch" --muo "$scratch/v2.muo"
case $err in *"Unsupported patchfile."*) ;; *) fail "unsupported version message: $err" ;; esac
printf 'MUOP\x01\x00\x00\x00MU' >"$scratch/short.muo"
expect_status 1 "$cli" import --patch "$patch" --muo "$scratch/short.muo"
expect_status 1 "$cli" import --patch "$patch" --muo "$scratch/absent.muo"
# An entry that cannot be read (a FileID field beyond a byte) fails the load:
# the failure is printed and nothing is saved.
{ muo_header 2; muo_entry 4 7 0 1 'g'; muo_entry 300 0 0 0; } >"$scratch/bad-entry.muo"
expect_status 1 "$cli" import --patch "$patch" --muo "$scratch/bad-entry.muo"
case $err in *"error: mPatch.LoadMUO: "*) ;; *) fail "logged failure not printed: $err" ;; esac
cmp "$patch" "$scratch/original.muo" || fail "a failed import changed the patch"

# Limits that are not numbers or ranges are usage errors.
expect_status 2 "$cli" import --patch "$patch" --muo "$src" --fileids 0-256
expect_status 2 "$cli" import --patch "$patch" --muo "$src" --blocks 30-20
expect_status 2 "$cli" import --patch "$patch" --muo "$src" --blocks 1-x
expect_status 2 "$cli" import --patch "$patch"
expect_status 2 "$cli" import --patch "$patch" --muo "$src" --uop "$src"
# --mul without --type, and --type without --mul.
expect_status 2 "$cli" import --patch "$patch" --muo "$src" --mul "$src"
expect_status 2 "$cli" import --patch "$patch" --type art
cmp "$patch" "$scratch/original.muo" || fail "a usage error changed the patch"

expect_no_leftovers
echo "import: ok"
