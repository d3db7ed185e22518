#!/usr/bin/env bash
# The main job: set up and build, write the sample client, then run a
# quillet-cli round trip on it and print the patch's tree.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$here/build}
"$here/tools/setup.sh" "$build"
cli="$build/src/cli/quillet-cli"
work=${DEMO_DIR:-$here/demo}
rm -rf "$work"
mkdir -p "$work"

echo "== Writing the sample client to $work/client"
"$cli" sample-client --dir "$work/client"
echo "== Importing the sample MUO patch into a new patch"
"$cli" import --patch "$work/demo.muo" --muo "$work/client/patch.muo"
echo "== Tree of $work/demo.muo"
"$cli" info --patch "$work/demo.muo"
echo "== Round trip: the saved patch loads back to the same tree"
"$cli" import --patch "$work/demo.muo" --muo "$work/demo.muo" --out "$work/again.muo"
diff <("$cli" info --patch "$work/demo.muo") <("$cli" info --patch "$work/again.muo")
cmp "$work/demo.muo" "$work/again.muo" && echo "identical bytes"

gui="$build/src/gui/quillet"
if [ -x "$gui" ] && { [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ]; }; then
  echo "== Starting the GUI"
  (cd "$work" && exec "$gui")
else
  echo "(no display: the GUI, $gui, is not started)"
fi
