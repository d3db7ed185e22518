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
muo "4 26 7 3 abc" "4 40 0 2 xy" '12 500 0x20002 4 \x01\x02\x03\x04' "8 3 0 1 S" "64 10 0 0" \
  "32 0 0 2 hu" "252 0 0 1 R" >"$src"

# FileID limit 4 and block limit 20-30: only Art 26 comes in.
expect_status 0 "$cli" import --patch "$patch" --muo "$src" --fileids 4 --blocks 20-30 --out "$scratch/a.muo"
[ -z "$out$err" ] || fail "import printed: $out $err"
cmp "$patch" "$scratch/original.muo" || fail "import with --out changed --patch"
expect_counts "$scratch/a.muo" "Art (2) Gumps (1)"
expect_list "$scratch/a.muo" art "1 1 FFFFFFFF" "1A 3 7"
# Hexadecimal limits: FileIDs 0x8-0x20 take Sound, Gumps and Hues, not Art or Map.
expect_status 0 "$cli" import --patch "$patch" --muo "$src" --fileids 0x8-0x20 --out "$scratch/b.muo"
expect_counts "$scratch/b.muo" "Art (2) Sound (1) Gumps (1) Hues (1)"
# The defaults take everything but the reserved FileID.
expect_status 0 "$cli" import --patch "$patch" --muo "$src"
expect_counts "$patch" "Map (1) Art (3) Sound (1) Gumps (1) Hues (1)"
# The Map entry had bit 6: Map's flag stays off, so it is saved with bit 6 again.
expect_same "64" "$(od -An -tu1 -j45 -N1 "$patch" | tr -d ' ')" "Map entry saved with bit 6"

# A block beyond its type: the message (three lines) on stderr, the load goes on.
muo "16 256 0 1 k" "16 255 0 1 l" >"$scratch/illegal.muo"
expect_status 0 "$cli" import --patch "$scratch/new.muo" --muo "$scratch/illegal.muo"
expect_same "An block with an illegal sized blocknumber where detected and ignored:
FileID: 16
Blocknumber:256" "$err" "illegal block message"
expect_counts "$scratch/new.muo" "Skills (1)"

# A source that cannot be read: exit 1, the load's failure printed, the patch
# as it was although an entry came in before the failing one.
cp "$scratch/original.muo" "$patch"
muo "4 7 0 1 g" "300 0 0 0" >"$scratch/bad-entry.muo"
expect_err 1 "error: mPatch.LoadMUO: " "$cli" import --patch "$patch" --muo "$scratch/bad-entry.muo"
expect_status 1 "$cli" import --patch "$patch" --muo "$scratch/absent.muo"
# Limits beyond a FileID, no source, two sources, --mul without --type and
# --type without --mul are usage errors.
expect_status 2 "$cli" import --patch "$patch" --muo "$src" --fileids 0-256
expect_status 2 "$cli" import --patch "$patch"
expect_status 2 "$cli" import --patch "$patch" --muo "$src" --uop "$src"
expect_status 2 "$cli" import --patch "$patch" --muo "$src" --mul "$src"
expect_status 2 "$cli" import --patch "$patch" --type art
cmp "$patch" "$scratch/original.muo" || fail "a failed import changed the patch"

expect_no_leftovers
echo "import: ok"
