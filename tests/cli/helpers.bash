# Shared by the CLI tests (sourced, not a test itself). MUO files are built
# here byte by byte, independently of the code under test.

fail() {
  echo "FAIL: $*" >&2
  exit 1
}

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
muo_header() {
  printf 'MUOP'
  printf "$(le32 "${2:-1}")"
  printf 'MUO\0Created by Quillet\0Sir Patch\0'
  printf "$(le32 "$1")"
}

# muo_entry FILEID BLOCK EXTRA SIZE [DATA-ESCAPES]: one entry; the data is a
# printf format string (escapes allowed) that must hold SIZE bytes.
muo_entry() {
  printf "$(le32 "$1")$(le32 "$2")$(le32 "$3")$(le32 "$4")"
  if [ $# -ge 5 ]; then printf "$5"; fi
}

# The block bytes used throughout: Art block 26 has these 18 bytes.
ART26='Hello\n\x00\x01\x02\x03\x04\x05\x06\x07\x08\x09AB'

# The base patch: Gumps block 500 empty (Size -1), Art 26 with 18 bytes and
# flags 0x1F4, Art 1 with one byte and flags -1; deliberately not in the
# order the program saves in.
write_base_patch() {
  {
    muo_header 3
    muo_entry 12 500 0 -1
    muo_entry 4 26 500 18 "$ART26"
    muo_entry 4 1 -1 1 'Z'
  } >"$1"
}

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
  local want=$1
  shift
  local status=0
  "$@" >"$scratch/out" 2>"$scratch/err" || status=$?
  out=$(cat "$scratch/out")
  err=$(cat "$scratch/err")
  if [ "$status" -ne "$want" ]; then
    echo "stdout: $out" >&2
    echo "stderr: $err" >&2
    fail "exit status $status, expected $want: $*"
  fi
}

# expect_same WANT GOT WHAT
expect_same() {
  if [ "$1" != "$2" ]; then
    printf 'expected:\n%s\ngot:\n%s\n' "$1" "$2" >&2
    fail "$3"
  fi
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
