#!/usr/bin/env bash
# The registry is read only by the commands that need the client's place
# (client, render without --radarcol), not at start: a large or broken
# system.reg must not slow down --version or a patch command. The prefix's
# system.reg is a FIFO here, with a writer waiting in the background: it gets
# through its open only when some program opens the FIFO for reading.
set -eu
. "$(dirname "$0")/helpers.bash"
setup "$1" "$2"

prefix=$scratch/prefix
mkdir -p "$prefix"
mkfifo "$prefix/system.reg"
( exec 3>"$prefix/system.reg"; : >"$scratch/registry-opened" ) &
writer=$!
trap 'kill $writer 2>/dev/null || true' EXIT  # a failure must not leave it waiting
export WINEPREFIX=$prefix

expect_status 0 "$cli" --version
start_with_base_patch
expect_status 0 "$cli" info --patch "$patch"
expect_status 0 "$cli" delete --patch "$patch" --type art --blocks 1
: >"$scratch/radar.mul"
expect_status 0 "$cli" render --patch "$patch" --page map --radarcol "$scratch/radar.mul" --to "$scratch/map.png"
sleep 0.5
[ ! -e "$scratch/registry-opened" ] || fail "the registry was read by a command that does not need it"

# The client command does read it (and so lets the writer through).
expect_status 0 "$cli" client
wait $writer
[ -e "$scratch/registry-opened" ] || fail "client did not read the registry"
echo "startup: ok"
