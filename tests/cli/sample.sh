#!/usr/bin/env bash
# sample-client, and a whole round trip through the CLI on its patch file.
set -eu
. "$(dirname "$0")/helpers.bash"
setup "$1" "$2"

expect_status 0 "$cli" sample-client --dir "$scratch/client" --seed 0x2A
[ -z "$out" ] || fail "sample-client printed on stdout"
[ -s "$scratch/client/patch.muo" ] || fail "no patch.muo in the sample client"

# Its patch loads; saved and loaded again it gives the same tree and, saved
# once more, the same bytes.
expect_status 0 "$cli" import --patch "$scratch/one.muo" --muo "$scratch/client/patch.muo"
expect_status 0 "$cli" info --patch "$scratch/one.muo"
tree=$out
echo "$tree" | grep -qv ' (0)$' || fail "the sample patch loaded nothing"
expect_status 0 "$cli" import --patch "$scratch/one.muo" --muo "$scratch/one.muo" --out "$scratch/two.muo"
expect_status 0 "$cli" info --patch "$scratch/two.muo"
expect_same "$tree" "$out" "tree after a round trip"
cmp "$scratch/one.muo" "$scratch/two.muo" || fail "a saved patch saved again differs"

# A directory that cannot be made: exit 1 with the reason.
: >"$scratch/plainfile"
expect_status 1 "$cli" sample-client --dir "$scratch/plainfile/client"
case $err in *"error: "*) ;; *) fail "sample-client failure message: $err" ;; esac

# Only into a new or an empty directory: one that holds anything (here a link
# to a file of the user's), a link to such a directory, or a file, is refused
# with exit status 1, and nothing is touched.
mkdir "$scratch/mine"
printf 'precious' >"$scratch/precious"
ln -s ../precious "$scratch/mine/map0.mul"
ln -s mine "$scratch/link"
for dir in "$scratch/mine" "$scratch/link" "$scratch/precious"; do
  expect_err 1 "$dir is not" "$cli" sample-client --dir "$dir"
done
[ "$(cat "$scratch/precious")" = precious ] || fail "sample-client wrote through a link"
[ "$(ls -A "$scratch/mine")" = map0.mul ] && [ -L "$scratch/mine/map0.mul" ] ||
  fail "sample-client changed a directory it refused: $(ls -lA "$scratch/mine")"

expect_no_leftovers
echo "sample: ok"
