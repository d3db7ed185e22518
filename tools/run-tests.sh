#!/usr/bin/env bash
# Sets up, builds and runs every test (library, CLI and, when built, GUI).
# Then the same suite again, built by clang with AddressSanitizer and
# UndefinedBehaviorSanitizer into build-asan/, where the fuzz targets also
# run over their corpus for a few seconds each. Both builds treat warnings as
# errors (QUILLET_WERROR). QUILLET_SKIP_SANITIZE=1 runs the normal build only.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$here/build}
"$here/tools/setup.sh" "$build" -DQUILLET_WERROR=ON
export QT_QPA_PLATFORM=offscreen
ctest --test-dir "$build" --output-on-failure -j "$(nproc)"

if [ "${QUILLET_SKIP_SANITIZE:-0}" != 1 ]; then
  asan=${ASAN_BUILD_DIR:-$here/build-asan}
  "$here/tools/setup.sh" "$asan" -DCMAKE_CXX_COMPILER=clang++ -DQUILLET_SANITIZE=ON \
    -DQUILLET_BUILD_FUZZ=ON -DQUILLET_BUILD_BENCH=OFF -DQUILLET_WERROR=ON
  export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
  ctest --test-dir "$asan" --output-on-failure -j "$(nproc)" --timeout 600
fi
