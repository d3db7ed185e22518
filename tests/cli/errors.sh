#!/usr/bin/env bash
# Exit statuses, usage errors, help, unreadable patches and failed saves.
set -eu
. "$(dirname "$0")/helpers.bash"
setup "$1" "$2"
start_with_base_patch

# Usage errors: exit 2, nothing on stdout, one line and the usage on stderr.
expect_status 2 "$cli" list --patch "$patch" --type art --bogus
[ -z "$out" ] || fail "a usage error printed on stdout"
expect_same "quillet-cli list: unknown option --bogus
usage: quillet-cli list --patch P --type T" "$err" "usage error text"
expect_status 2 "$cli" list --patch "$patch" --type Artt
case $err in "quillet-cli list: --type: unknown type 'Artt'"*) ;; *) fail "unknown type: $err" ;; esac
expect_status 2 "$cli" frobnicate
case $err in "quillet-cli: unknown command 'frobnicate'"*) ;; *) fail "unknown command: $err" ;; esac
# One case a line: an unused FileID, no --patch, a repeated option, a stray
# word, an option without its value, bad numbers, Gumps ending at 65535,
# ranges upside down or empty, commands without their required options.
while read -r -a args; do expect_status 2 "$cli" "${args[@]}"; done <<EOF2
list --patch $patch --type 1
list --type art
list --patch $patch --type art --type gumps
list --patch $patch --type art stray
list --patch $patch --type
hexdump --patch $patch --type art --block 12x
hexdump --patch $patch --type art --block 0x
hexdump --patch $patch --type art --block 99999999999
hexdump --patch $patch --type gumps --block 65536
delete --patch $patch --type art --blocks 9-3
export --patch $patch
render --patch $patch
EOF2
expect_status 2 "$cli"
expect_status 2 "$cli" delete --patch "$patch" --type art --blocks ''
# Art ends at 65536: that block is only missing, a failure.
expect_status 1 "$cli" hexdump --patch "$patch" --type art --block 65536
# --opt=value works as --opt value.
expect_status 0 "$cli" list --patch="$patch" --type=gumps
expect_same "$(printf 'ID Size Flags\n1F4 0 0')" "$out" "--opt=value (and Size -1 shown as 0)"

# Help: stdout, exit 0, every command listed.
expect_status 0 "$cli" --help
for command in info list hexdump extract replace delete flag import export compare gump render client sample-client; do
  echo "$out" | grep -q "^  $command " || fail "--help does not list $command"
done
expect_status 0 "$cli" hexdump --help
case $out in "usage: quillet-cli hexdump --patch P --type T --block N"*) ;; *) fail "hexdump --help: $out" ;; esac

# A patch that exists but is no readable MUO file: exit 1, and the file stays.
{ muo_header 1 2; muo_entry 4 3 0 1 'v'; } >"$scratch/v2.muo"
muo "4 3 0 1 v" "300 4 0 0" >"$scratch/corrupt.muo"
mkdir "$scratch/kept" && cp "$scratch/v2.muo" "$scratch/corrupt.muo" "$scratch/kept/"
expect_err 1 "Unsupported patchfile." "$cli" info --patch "$scratch/v2.muo"
[ -z "$out" ] || fail "info of an unsupported patch printed: $out"
expect_status 1 "$cli" delete --patch "$scratch/v2.muo" --type art --blocks 3
expect_err 1 "error: mPatch.LoadMUO: " "$cli" delete --patch "$scratch/corrupt.muo" --type art --blocks 3
for f in v2 corrupt; do cmp "$scratch/$f.muo" "$scratch/kept/$f.muo" || fail "a command changed $f.muo"; done

# A save that fails (the directory does not exist): exit 1, no file, the
# patch as it was.
expect_err 1 "error: mPatch.SaveMUO: " "$cli" delete --patch "$patch" --type art --blocks 1 --out "$scratch/no/such/dir/x.muo"
[ ! -e "$scratch/no" ] || fail "the failed save made something"
cmp "$patch" "$scratch/original.muo" || fail "a failed save changed the patch"
# A save over a directory fails after the file was written: the temporary
# file is gone again and the directory stays.
mkdir "$scratch/adir"
expect_status 1 "$cli" delete --patch "$patch" --type art --blocks 1 --out "$scratch/adir"
[ -d "$scratch/adir" ] || fail "a failed save replaced a directory"

# No place for the scratch file: the failure is printed, exit 1.
TMPDIR=$scratch/no-such-tmp expect_err 1 "error: mDatafile.Datafile_Create: " "$cli" info --patch "$patch"
[ -z "$out" ] || fail "info printed without a scratch file: $out"

expect_no_leftovers
echo "errors: ok"
