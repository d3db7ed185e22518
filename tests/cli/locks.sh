#!/usr/bin/env bash
# The lock on --patch: two commands on one patch at once both keep their
# change, also on a patch that does not exist yet; a held lock is waited for,
# followed to the new file when a save replaced the old one, and with
# --no-wait fails at once. Locks are held from this shell through descriptors
# 8 and 9 (the util-linux flock command); the CLI is started without them.
set -eu
. "$(dirname "$0")/helpers.bash"
setup "$1" "$2"
command -v flock >/dev/null || fail "the flock command (util-linux) is needed"

muo "12 7 0 2 ab" "12 8 0 2 cd" >"$scratch/gumps.muo"
muo "8 3 0 1 x" >"$scratch/sound.muo"

# Rounds of an import beside a delete on one patch, and of two imports into a
# patch that is not there yet: each change must survive.
for round in $(seq 1 20); do
  start_with_base_patch
  "$cli" import --patch "$patch" --muo "$scratch/gumps.muo" 9<&- 8<&- 2>"$scratch/err1" &
  first=$!
  "$cli" delete --patch "$patch" --type art --blocks 1 9<&- 8<&- 2>"$scratch/err2" &
  second=$!
  wait $first || fail "round $round: the import failed: $(cat "$scratch/err1")"
  wait $second || fail "round $round: the delete failed: $(cat "$scratch/err2")"
  expect_counts "$patch" "Art (1) Gumps (3)"

  rm -f "$scratch/new.muo"
  "$cli" import --patch "$scratch/new.muo" --muo "$scratch/gumps.muo" 9<&- 8<&- 2>"$scratch/err1" &
  first=$!
  "$cli" import --patch "$scratch/new.muo" --muo "$scratch/sound.muo" 9<&- 8<&- 2>"$scratch/err2" &
  second=$!
  wait $first || fail "round $round: the first import failed: $(cat "$scratch/err1")"
  wait $second || fail "round $round: the second import failed: $(cat "$scratch/err2")"
  expect_counts "$scratch/new.muo" "Sound (1) Gumps (2)"
done

# --no-wait against an exclusive holder: readers and writers fail at once,
# naming the file, and change nothing.
start_with_base_patch
exec 9<"$patch"
flock -x 9
for command in "info --patch $patch" "delete --patch $patch --type art --blocks 1" \
               "delete --patch $scratch/other.muo --out $patch --type art --blocks 1"; do
  # shellcheck disable=SC2086
  expect_err 1 "$patch is being used by another program" "$cli" $command --no-wait 9<&-
done
cmp "$patch" "$scratch/original.muo" || fail "a command that could not take the lock changed the patch"
[ ! -e "$scratch/other.muo" ] || fail "a command that could not take the lock wrote --out"
# A shared holder lets readers in, not writers.
flock -s 9
expect_status 0 "$cli" info --patch "$patch" --no-wait 9<&-
expect_err 1 "being used by another program" "$cli" flag --patch "$patch" --type art --verdata off --no-wait 9<&-

# Without --no-wait the command waits, and says so. While it waits on the old
# file, that is replaced (as a save replaces it) and the new file locked too:
# the waiter must follow the path to the new file and wait for it as well.
flock -x 9
"$cli" delete --patch "$patch" --type art --blocks 1 9<&- 8<&- 2>"$scratch/waiting" &
waiter=$!
for _ in $(seq 1 100); do grep -q "Waiting for it" "$scratch/waiting" && break; sleep 0.05; done
grep -q "$patch is being used by another program. Waiting for it" "$scratch/waiting" ||
  fail "a waiting command does not say so: $(cat "$scratch/waiting")"
muo "4 26 500 18 $ART26" "4 1 -1 1 Z" "4 2 0 1 Y" >"$scratch/replacement.muo"
cp "$scratch/replacement.muo" "$scratch/next.muo"
mv "$scratch/next.muo" "$patch"
exec 8<"$patch"
flock -x 8
exec 9<&-
sleep 0.5
kill -0 $waiter 2>/dev/null || fail "the waiter went on while the new file was locked"
cmp "$patch" "$scratch/replacement.muo" || fail "the waiter changed a file that another holds"
exec 8<&-
wait $waiter || fail "the waiting delete failed: $(cat "$scratch/waiting")"
expect_counts "$patch" "Art (2)"
expect_list "$patch" art "2 1 0" "1A 18 1F4"

expect_no_leftovers
echo "locks: ok"
