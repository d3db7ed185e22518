#!/usr/bin/env bash
# What saves and exports do to the user's files beyond their bytes: the mode
# kept, symbolic links saved through, the export directory's lock and
# --no-wait, verdata.tmp removed on Ctrl-C, and the cause in each message.
set -eu
. "$(dirname "$0")/helpers.bash"
setup "$1" "$2"
start_with_base_patch
mode() { stat -c %a "$1"; }

# A private patch stays private; a link is saved through and stays a link.
chmod 600 "$patch"
expect_status 0 "$cli" delete --patch "$patch" --type art --blocks 1
[ "$(mode "$patch")" = 600 ] || fail "a 0600 patch became $(mode "$patch")"
mkdir "$scratch/real"
write_base_patch "$scratch/real/p.muo"
ln -s real/p.muo "$scratch/link.muo"
expect_status 0 "$cli" delete --patch "$scratch/link.muo" --type art --blocks 1
[ -L "$scratch/link.muo" ] || fail "the link was replaced by a file"
expect_counts "$scratch/real/p.muo" "Art (1) Gumps (1)"

# The causes: a directory as --out, a FIFO as verdata.mul (which must not hang).
mkdir "$scratch/adir" "$scratch/fifo"
expect_err 1 "$scratch/adir: Is a directory" "$cli" delete --patch "$patch" --type gumps --blocks 500 --out "$scratch/adir"
mkfifo "$scratch/fifo/verdata.mul"
expect_err 1 "$scratch/fifo/verdata.mul: a named pipe (FIFO), not a file" \
  timeout 20 "$cli" export --patch "$patch" --dir "$scratch/fifo"

# Another program holds the export directory: --no-wait gives up at once,
# touching nothing; without it the export waits, then keeps the old mode.
mkdir "$scratch/game"
printf "$(le32 0)" >"$scratch/game/verdata.mul"
chmod 640 "$scratch/game/verdata.mul"
flock "$scratch/game" -c "touch '$scratch/held'; sleep 1; touch '$scratch/released'" &
while [ ! -e "$scratch/held" ]; do sleep 0.02; done
expect_err 1 "Another program is writing into the directory $scratch/game" \
  timeout 20 "$cli" export --patch "$patch" --dir "$scratch/game" --no-wait
[ "$(ls -A "$scratch/game")" = verdata.mul ] || fail "an export that gave up wrote: $(ls -A "$scratch/game")"
expect_status 0 timeout 20 "$cli" export --patch "$patch" --dir "$scratch/game"
[ -e "$scratch/released" ] || fail "the export did not wait for the directory's holder"
[ "$(mode "$scratch/game/verdata.mul")" = 640 ] || fail "verdata.mul became $(mode "$scratch/game/verdata.mul")"
wait

# Ctrl-C while verdata.tmp is written: it goes, verdata.mul stays as it was.
# A large block keeps the export busy long enough to be caught at it.
mkdir "$scratch/slow"
printf "$(le32 0)" >"$scratch/slow/verdata.mul"
caught=no
for megabytes in 64 256; do
  { muo_header 1; muo_entry 4 1 0 $((megabytes << 20)); head -c $((megabytes << 20)) /dev/zero; } >"$scratch/big.muo"
  "$cli" export --patch "$scratch/big.muo" --dir "$scratch/slow" 2>/dev/null &
  pid=$!
  while kill -0 "$pid" 2>/dev/null && [ ! -e "$scratch/slow/verdata.tmp" ]; do :; done
  kill -INT "$pid" 2>/dev/null || true
  status=0
  wait "$pid" || status=$?
  if [ "$status" -eq 130 ]; then
    caught=yes
    break
  fi
  rm -f "$scratch/slow/verdata.bak"  # it finished first: again, larger
  printf "$(le32 0)" >"$scratch/slow/verdata.mul"
done
rm -f "$scratch/big.muo"
[ "$caught" = yes ] || fail "the export was never caught while writing verdata.tmp"
[ "$(ls -A "$scratch/slow")" = verdata.mul ] || fail "an interrupted export left: $(ls -A "$scratch/slow")"
[ "$(od -An -tx1 "$scratch/slow/verdata.mul" | tr -d ' ')" = 00000000 ] || fail "an interrupted export changed verdata.mul"

expect_no_leftovers
echo "files: ok"
