#!/usr/bin/env bash
# Line coverage of the test suite. Builds with clang and -DQUILLET_COVERAGE=ON,
# runs every CTest test with each program writing its own profile, merges the
# profiles and prints the lines covered per source folder and in total.
#
#   tools/coverage.sh [BUILD-DIR] [-DOPTION=VALUE...]
#                                             configure, build, run, report
#                                             (BUILD-DIR defaults to build-coverage/)
#   tools/coverage.sh --no-build BUILD-DIR    run and report on a build that is
#                                             already made (what `ninja coverage` does)
#
# Needs clang and llvm-14 (llvm-profdata-14, llvm-cov-14); run as root, the
# script installs what is missing. What it leaves in BUILD-DIR/coverage:
# quillet.profdata (the merged profile), quillet.lcov (every line with its
# count) and files.txt (lines and covered lines per source file). Line by
# line, in colour: llvm-cov-14 show -instr-profile=BUILD-DIR/coverage/quillet.profdata
# BUILD-DIR/tests/quillet_tests SOURCE-FILE
# A failing test fails the script, after the report.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)

build=
do_build=1
cmake_args=()
while [ $# -gt 0 ]; do
  case "$1" in
    --no-build) do_build=0 ;;
    -h|--help) sed -n '2,18p' "$0"; exit 0 ;;
    -D*) cmake_args+=("$1") ;;
    -*) echo "unknown option: $1" >&2; exit 2 ;;
    *) build=$1 ;;
  esac
  shift
done
build=${build:-$here/build-coverage}
if [ "$do_build" = 0 ] && [ ! -f "$build/CMakeCache.txt" ]; then
  echo "$build is not a configured build directory" >&2
  exit 2
fi
mkdir -p "$build"
build=$(cd "$build" && pwd)

. "$here/tools/packages.bash"
install_missing clang llvm-14

out=$build/coverage
mkdir -p "$out"
if [ "$do_build" = 1 ]; then
  # The build runs the test program to list its tests: its profile is not
  # part of the suite's.
  LLVM_PROFILE_FILE="$out/build-profiles/%p.profraw" "$here/tools/setup.sh" "$build" \
    -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Debug -DQUILLET_COVERAGE=ON -DQUILLET_BUILD_BENCH=OFF "${cmake_args[@]}"
  rm -rf "$out/build-profiles"
fi
if ! grep -q '^QUILLET_COVERAGE:BOOL=ON$' "$build/CMakeCache.txt"; then
  echo "$build is not configured with -DQUILLET_COVERAGE=ON" >&2
  exit 2
fi

# One profile per process.
rm -rf "$out/profiles"
mkdir -p "$out/profiles"
status=0
LLVM_PROFILE_FILE="$out/profiles/%p.profraw" QT_QPA_PLATFORM=offscreen \
  ctest --test-dir "$build" --output-on-failure -j "$(nproc)" || status=$?

find "$out/profiles" -name '*.profraw' > "$out/profiles.txt"
if [ ! -s "$out/profiles.txt" ]; then
  echo "No profiles were written: is $build built with -DQUILLET_COVERAGE=ON?" >&2
  exit 1
fi
# A process that a test runs with its file size limited (the full-disk tests)
# cannot write its whole profile: such a profile is left out, and said so.
llvm-profdata-14 merge -sparse --failure-mode=all -f "$out/profiles.txt" -o "$out/quillet.profdata" \
  2> "$out/merge.txt" || { cat "$out/merge.txt" >&2; exit 1; }
unreadable=$(grep -c 'invalid instrumentation profile' "$out/merge.txt" || true)

# The programs the suite runs: each one that a test's command names (code that
# such a program links but no test reaches counts as not covered). Programs no
# test runs stay out: a profile knows a function by its name, so their main()
# would be credited with the runs of another program's main().
objects=()
while IFS= read -r file; do
  if [ -f "$file" ] && [ "$(head -c 4 "$file" | tail -c 3)" = ELF ]; then objects+=("$file"); fi
done < <(ctest --test-dir "$build" --show-only=json-v1 | grep -o "\"$build/[^\"]*\"" | tr -d '"' | sort -u)
if [ ${#objects[@]} -eq 0 ]; then
  echo "No programs found in $build" >&2
  exit 1
fi
args=("${objects[0]}")
for file in "${objects[@]:1}"; do args+=(-object "$file"); done
# llvm-cov warns of "functions with mismatched data" for the inline functions
# that a file includes but does not use: they are mapped there without counts
# (hash 0) and counted where they are used. Any other message is shown.
llvm-cov-14 export -format=lcov -instr-profile="$out/quillet.profdata" "${args[@]}" \
  > "$out/quillet.lcov" 2> "$out/export.txt" || { cat "$out/export.txt" >&2; exit 1; }
grep -v 'functions have mismatched data' "$out/export.txt" >&2 || true

# A header reached through a layer's include root (BUILD-DIR/include-roots/F/F/)
# is the same file as src/F/: its lines count once, covered if any program
# covered them.
awk -v src="$here/src/" -v roots="$build/include-roots/" -v files="$out/files.txt" '
  /^SF:/ {
    path = substr($0, 4)
    file = ""
    if (index(path, src) == 1) file = substr(path, length(src) + 1)
    else if (index(path, roots) == 1) {
      rest = substr(path, length(roots) + 1)
      sub(/^[^\/]*\//, "", rest)
      file = rest
    }
    next
  }
  /^DA:/ && file != "" {
    split(substr($0, 4), f, ",")
    key = file SUBSEP f[1]
    if (!(key in seen)) { seen[key] = 1; found[file]++ }
    if (f[2] > 0 && !(key in hit)) { hit[key] = 1; covered[file]++ }
  }
  END {
    order = "base core support formats operations viewers actions qtpictures cli gui sample"
    n = split(order, folders, " ")
    for (file in found) {
      folder = file; sub(/\/.*/, "", folder)
      lines[folder] += found[file]; hits[folder] += covered[file]
      printf "%6d %6d  src/%s\n", found[file], covered[file], file | "sort -k3 > \"" files "\""
      known = 0
      for (i = 1; i <= n; i++) if (folders[i] == folder) known = 1
      if (!known && !(folder in extra)) { extra[folder] = 1; folders[++n] = folder }
    }
    printf "%-18s %8s %8s %7s\n", "folder", "lines", "covered", "cover"
    for (i = 1; i <= n; i++) {
      folder = folders[i]
      if (!(folder in lines)) continue
      printf "%-18s %8d %8d %6.1f%%\n", "src/" folder, lines[folder], hits[folder], 100 * hits[folder] / lines[folder]
      total += lines[folder]; totalHits += hits[folder]
    }
    if (total > 0) printf "%-18s %8d %8d %6.1f%%\n", "total", total, totalHits, 100 * totalHits / total
  }' "$out/quillet.lcov"
echo "Per file: $out/files.txt"
echo "Profiles: $(wc -l < "$out/profiles.txt"), of which $unreadable cut short and left out (see $out/merge.txt)"
exit "$status"
