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
expect_status 2 "$cli" list --patch "$patch" --type 1      # FileID of an unused row
expect_status 2 "$cli" list --patch "$patch" --type 256
expect_status 2 "$cli" list --patch "$patch"               # --type missing
expect_status 2 "$cli" list --type art                     # --patch missing
expect_status 2 "$cli" list --patch "$patch" --type art --type gumps
expect_status 2 "$cli" list --patch "$patch" --type art stray
expect_status 2 "$cli" list --patch "$patch" --type
expect_status 2 "$cli" frobnicate
case $err in "quillet-cli: unknown command 'frobnicate'"*) ;; *) fail "unknown command: $err" ;; esac
expect_status 2 "$cli"
expect_status 2 "$cli" hexdump --patch "$patch" --type art --block 12x
expect_status 2 "$cli" hexdump --patch "$patch" --type art --block -1
expect_status 2 "$cli" hexdump --patch "$patch" --type art --block 0x
expect_status 2 "$cli" hexdump --patch "$patch" --type art --block 99999999999
# A block beyond the type: Art ends at 65536, Gumps at 65535.
expect_status 1 "$cli" hexdump --patch "$patch" --type art --block 65536
expect_status 2 "$cli" hexdump --patch "$patch" --type gumps --block 65536
expect_status 2 "$cli" delete --patch "$patch" --type art --blocks 9-3
expect_status 2 "$cli" delete --patch "$patch" --type art --blocks ''
expect_status 2 "$cli" sample-client
expect_status 2 "$cli" sample-client --dir "$scratch/s" --seed abc
# --opt=value works as --opt value.
expect_status 0 "$cli" list --patch="$patch" --type=gumps
expect_same "ID Size Flags
1F4 0 0" "$out" "--opt=value"

# A command missing its required options is a usage error.
for command in export compare gump render; do
  expect_status 2 "$cli" $command --patch "$patch"
done
expect_status 2 "$cli" delete --patch "$patch" --type map --rect 1,2,3

# Help: stdout, exit 0, every command listed.
expect_status 0 "$cli" --help
for command in info list hexdump extract replace delete flag import export compare gump render client sample-client; do
  echo "$out" | grep -q "^  $command " || fail "--help does not list $command"
done
expect_status 0 "$cli" hexdump --help
case $out in "usage: quillet-cli hexdump --patch P --type T --block N"*) ;; *) fail "hexdump --help: $out" ;; esac
expect_status 0 "$cli" flag --patch "$patch" --help
case $out in *"cannot keep the flag"*) ;; *) fail "flag --help does not tell about empty types" ;; esac
expect_status 0 "$cli" export --help
case $out in *"verdata.bak"*) ;; *) fail "export --help" ;; esac

# A patch that exists but is no readable MUO file: exit 1, and the file stays.
{ muo_header 1 2; muo_entry 4 3 0 1 'v'; } >"$scratch/v2.muo"
cp "$scratch/v2.muo" "$scratch/v2-copy.muo"
expect_status 1 "$cli" info --patch "$scratch/v2.muo"
[ -z "$out" ] || fail "info of an unsupported patch printed: $out"
case $err in *"Unsupported patchfile."*) ;; *) fail "unsupported patch: $err" ;; esac
expect_status 1 "$cli" delete --patch "$scratch/v2.muo" --type art --blocks 3
cmp "$scratch/v2.muo" "$scratch/v2-copy.muo" || fail "a command changed an unsupported patch"
# A corrupt entry: the load's failure is printed, nothing is saved.
{ muo_header 2; muo_entry 4 3 0 1 'v'; muo_entry 4 4 0 1000 'w'; } >"$scratch/corrupt.muo"
cp "$scratch/corrupt.muo" "$scratch/corrupt-copy.muo"
expect_status 1 "$cli" delete --patch "$scratch/corrupt.muo" --type art --blocks 3
case $err in *"error: mPatch.LoadMUO: "*) ;; *) fail "corrupt entry: $err" ;; esac
cmp "$scratch/corrupt.muo" "$scratch/corrupt-copy.muo" || fail "a command changed a corrupt patch"

# A missing block is a failure, not a usage error.
expect_status 1 "$cli" hexdump --patch "$patch" --type sound --block 3

# A save that fails (the directory does not exist): exit 1, no file, the
# patch as it was.
expect_status 1 "$cli" delete --patch "$patch" --type art --blocks 1 --out "$scratch/no/such/dir/x.muo"
case $err in *"error: mPatch.SaveMUO: "*) ;; *) fail "failed save message: $err" ;; esac
[ ! -e "$scratch/no" ] || fail "the failed save made something"
cmp "$patch" "$scratch/original.muo" || fail "a failed save changed the patch"
# A save over a directory fails after the file was written: the temporary
# file is gone again and the directory stays.
mkdir "$scratch/adir"
expect_status 1 "$cli" delete --patch "$patch" --type art --blocks 1 --out "$scratch/adir"
[ -d "$scratch/adir" ] || fail "a failed save replaced a directory"

# No place for the scratch file: the failure is printed, exit 1.
TMPDIR=$scratch/no-such-tmp expect_status 1 "$cli" info --patch "$patch"
case $err in *"error: mDatafile.Datafile_Create: "*) ;; *) fail "scratch file failure: $err" ;; esac
[ -z "$out" ] || fail "info printed without a scratch file: $out"

expect_no_leftovers
echo "errors: ok"
