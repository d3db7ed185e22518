#!/usr/bin/env bash
# Installs what the build needs (Debian 12, as root) if it is missing, then
# configures and builds. Usage: tools/setup.sh [build-dir] [extra cmake args...]
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$here/build}
shift || true

. "$here/tools/packages.bash"
install_missing build-essential cmake ninja-build pkg-config zlib1g-dev googletest libgtest-dev libgmock-dev qt6-base-dev clang libclang-rt-14-dev

cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@"
cmake --build "$build" -j "$(nproc)"
