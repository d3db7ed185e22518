# Shared by the CLI tests (sourced, not a test itself). MUO files are built
# here byte by byte, independently of the code under test.

fail() { echo "FAIL: $*" >&2; exit 1; }

# le32 N, le16 N: the little-endian bytes of a number as printf escapes.
le32() {
  local v=$1
  printf '\\x%02x\\x%02x\\x%02x\\x%02x' $((v & 255)) $(((v >> 8) & 255)) $(((v >> 16) & 255)) $(((v >> 24) & 255))
}
le16() { printf '\\x%02x\\x%02x' $(($1 & 255)) $((($1 >> 8) & 255)); }

# idx_record POSITION SIZE EXTRA; verdata_entry FILEID BLOCK POSITION SIZE EXTRA
idx_record() { printf "$(le32 "$1")$(le32 "$2")$(le32 "$3")"; }
verdata_entry() { printf "$(le32 "$1")$(le32 "$2")$(le32 "$3")$(le32 "$4")$(le32 "$5")"; }

# bmp24 WIDTH HEIGHT: the 54-byte header of a 24-bit BMP whose rows (bottom
# up, BGR, padded to 4 bytes) follow it.
bmp24() {
  local size=$(((($1 * 3 + 3) / 4 * 4) * $2))
  printf "BM$(le32 $((54 + size)))$(le32 0)$(le32 54)$(le32 40)$(le32 "$1")$(le32 "$2")"
  printf "$(le16 1)$(le16 24)$(le32 0)$(le32 "$size")$(le32 2835)$(le32 2835)$(le32 0)$(le32 0)"
}

# muo_header COUNT [VERSION]: the header the program writes (45 bytes).
muo_header() { printf "MUOP$(le32 "${2:-1}")MUO\\0Created by Quillet\\0Sir Patch\\0$(le32 "$1")"; }
# muo_entry FILEID BLOCK EXTRA SIZE [DATA]: one entry; DATA is a printf
# format string (escapes allowed) that must hold SIZE bytes.
muo_entry() { printf "$(le32 "$1")$(le32 "$2")$(le32 "$3")$(le32 "$4")${5:-}"; }
# muo "FILEID BLOCK EXTRA SIZE [DATA]"...: a whole MUO file (DATA without spaces).
muo() { muo_header $#; local e f; for e in "$@"; do read -ra f <<<"$e"; muo_entry "${f[@]}"; done; }
# expect_muo FILE WHAT ENTRY...: FILE is exactly the MUO file of these entries.
expect_muo() { muo "${@:3}" >"$scratch/expected.muo"; cmp "$scratch/expected.muo" "$1" || fail "$2"; }

# The block bytes used throughout: Art block 26 has these 18 bytes.
ART26='Hello\n\x00\x01\x02\x03\x04\x05\x06\x07\x08\x09AB'
# The base patch: Gumps block 500 empty (Size -1), Art 26 with 18 bytes and
# flags 0x1F4, Art 1 with one byte and flags -1; deliberately not in the
# order the program saves in.
write_base_patch() { muo "12 500 0 -1" "4 26 500 18 $ART26" "4 1 -1 1 Z" >"$1"; }
# $patch: the base patch in the scratch directory, and a copy of it as
# original.muo to compare with.
start_with_base_patch() {
  patch=$scratch/base.muo
  write_base_patch "$patch"
  cp "$patch" "$scratch/original.muo"
}

# expect_status WANT CMD...: runs CMD with stdout and stderr kept in $out and
# $err, and fails unless its exit status is WANT.
expect_status() {
  local want=$1 status=0
  shift
  "$@" >"$scratch/out" 2>"$scratch/err" || status=$?
  out=$(cat "$scratch/out")
  err=$(cat "$scratch/err")
  if [ "$status" -ne "$want" ]; then
    printf 'stdout: %s\nstderr: %s\n' "$out" "$err" >&2
    fail "exit status $status, expected $want: $*"
  fi
}
# expect_err STATUS TEXT CMD...: expect_status, and TEXT is part of stderr.
expect_err() {
  expect_status "$1" "${@:3}"
  case $err in *"$2"*) ;; *) fail "stderr of ${*:3} lacks '$2': $err" ;; esac
}
# expect_same WANT GOT WHAT
expect_same() {
  [ "$1" = "$2" ] || { printf 'expected:\n%s\ngot:\n%s\n' "$1" "$2" >&2; fail "$3"; }
}
# expect_list PATCH TYPE ROW...: the list of TYPE is its header and these rows.
expect_list() {
  expect_status 0 "$cli" list --patch "$1" --type "$2"
  expect_same "$(printf '%s\n' 'ID Size Flags' "${@:3}")" "$out" "list of $2 in $1"
}
# expect_counts PATCH WANT: the types PATCH has blocks of, "Art (2) Gumps (1)".
expect_counts() {
  expect_status 0 "$cli" info --patch "$1"
  expect_same "$2" "$(echo "$out" | grep -v ' (0)$' | paste -sd' ')" "counts of $1"
}

# Common start: $cli, $scratch (emptied), and a private TMPDIR so that the
# scratch DataFiles of the runs can be checked for.
setup() {
  cli=$1
  scratch=$2
  [ -x "$cli" ] || fail "no quillet-cli at $cli"
  rm -rf "$scratch"
  mkdir -p "$scratch/tmp"
  export TMPDIR="$scratch/tmp"
}
# No run may leave its hidden scratch DataFile (or a half save) behind.
expect_no_leftovers() {
  local left
  left=$(find "$scratch" -name '.*' -type f | head -5)
  [ -z "$left" ] || fail "files left behind: $left"
}
