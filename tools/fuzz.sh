#!/usr/bin/env bash
# Builds the fuzz targets (clang, AddressSanitizer and UndefinedBehaviorSanitizer,
# libFuzzer) into build-fuzz/ and runs them.
#
#   tools/fuzz.sh [SECONDS] [TARGET...] [--merge] [--jobs N]
#
# SECONDS   how long each target runs (default 60)
# TARGET    fuzz_muo fuzz_uop fuzz_verdata fuzz_mul fuzz_compare fuzz_registry
#           fuzz_convert fuzz_client_uop fuzz_entry_stages (default: all of
#           them, one after the other)
# --merge   afterwards, merge the new inputs that add coverage into fuzz/corpus
# --jobs N  run N targets at once (default 1; the machine is shared)
#
# Each target starts from its regression cases (fuzz/regressions/TARGET) and
# its seed corpus (fuzz/corpus/TARGET), which it only reads. New inputs go to
# build-fuzz/fuzz-work/TARGET/new and are kept for the next run; a crash, a
# hang (10 s), an allocation of 256 MB or more, or a failed check of the
# target's model is written to build-fuzz/fuzz-work/TARGET/artifacts and makes
# this script fail. Reproduce one with: build-fuzz/fuzz/TARGET FILE
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
build=$here/build-fuzz
all=(fuzz_muo fuzz_uop fuzz_verdata fuzz_mul fuzz_compare fuzz_registry fuzz_convert fuzz_client_uop fuzz_entry_stages)

seconds=60
merge=0
jobs=1
targets=()
while [ $# -gt 0 ]; do
  case "$1" in
    --merge) merge=1 ;;
    --jobs) jobs=$2; shift ;;
    -h|--help) sed -n '2,19p' "$0"; exit 0 ;;
    [0-9]*) seconds=$1 ;;
    fuzz_*) targets+=("$1") ;;
    *) echo "unknown argument: $1" >&2; exit 2 ;;
  esac
  shift
done
[ ${#targets[@]} -gt 0 ] || targets=("${all[@]}")

# What the build needs: clang with its libFuzzer runtime, CMake, Ninja, zlib.
. "$here/tools/packages.bash"
install_missing clang libclang-rt-14-dev cmake ninja-build zlib1g-dev

cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_COMPILER=clang++ -DQUILLET_SANITIZE=ON -DQUILLET_BUILD_FUZZ=ON \
  -DQUILLET_BUILD_GUI=OFF -DQUILLET_BUILD_TESTS=OFF -DQUILLET_BUILD_BENCH=OFF >/dev/null
cmake --build "$build" -j 2 --target "${targets[@]}"

run_one() {
  local target=$1
  local work=$build/fuzz-work/$target
  mkdir -p "$work/new" "$work/artifacts"
  local dirs=("$work/new")
  for dir in "$here/fuzz/regressions/$target" "$here/fuzz/corpus/$target"; do
    [ -d "$dir" ] && dirs+=("$dir")
  done
  local dict=()
  [ -f "$here/fuzz/dict/$target.dict" ] && dict=("-dict=$here/fuzz/dict/$target.dict")
  echo "== $target: $seconds s (log: $work/log)"
  if (cd "$work" && nice "$build/fuzz/$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
        -malloc_limit_mb=256 -print_final_stats=1 -artifact_prefix="$work/artifacts/" \
        "${dict[@]}" "${dirs[@]}" >"$work/log" 2>&1); then
    grep -E '^#[0-9]+[[:space:]]+DONE' "$work/log" | tail -1 || true
  else
    echo "!! $target failed; see $work/log and $work/artifacts" >&2
    grep -E '==fuzz==|ERROR:|SUMMARY:|runtime error' "$work/log" | head -5 >&2 || true
    return 1
  fi
  if [ "$merge" -eq 1 ]; then
    mkdir -p "$here/fuzz/corpus/$target"
    (cd "$work" && "$build/fuzz/$target" -merge=1 -timeout=10 -rss_limit_mb=2048 -malloc_limit_mb=256 \
        "$here/fuzz/corpus/$target" "$work/new" >"$work/merge.log" 2>&1)
    echo "   merged: $(ls "$here/fuzz/corpus/$target" | wc -l) files in fuzz/corpus/$target"
  fi
}

failed=0
running=0
for target in "${targets[@]}"; do
  if [ "$jobs" -le 1 ]; then
    run_one "$target" || failed=1
  else
    run_one "$target" &
    running=$((running + 1))
    if [ "$running" -ge "$jobs" ]; then
      wait -n || failed=1
      running=$((running - 1))
    fi
  fi
done
while [ "$running" -gt 0 ]; do
  wait -n || failed=1
  running=$((running - 1))
done
exit $failed
