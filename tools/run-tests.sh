#!/usr/bin/env bash
# Sets up, builds and runs every test (library, CLI and, when built, GUI).
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$here/build}
"$here/tools/setup.sh" "$build"
export QT_QPA_PLATFORM=offscreen
ctest --test-dir "$build" --output-on-failure -j "$(nproc)"
