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
echo "== Adding the blocks that differ between two versions of the map"
"$cli" compare --patch "$work/demo.muo" --type map --base-mul "$work/client/map0.mul" \
  --new-mul "$work/client/map0-changed.mul"
"$cli" info --patch "$work/demo.muo" | head -n 1
echo "== Importing the whole sample map and drawing its page to $work/map.png"
# The small sample map has the first 64 columns: blocks 0 to 64 * 512 - 1.
"$cli" import --patch "$work/world.muo" --type map --mul "$work/client/map0.mul" --blocks 0-32767
"$cli" render --patch "$work/world.muo" --page map --radarcol "$work/client/radarcol.mul" --to "$work/map.png"
echo "== The sample client's gumps as pictures in $work/gumps, and back into a patch"
"$cli" import --patch "$work/gumps.muo" --type gumps --mul "$work/client/gumpart.mul" \
  --idx "$work/client/gumpidx.mul" --blocks 0-0x3FF
"$cli" picture --patch "$work/gumps.muo" --type gumps --blocks 0-0x3FF --to-dir "$work/gumps"
ls "$work/gumps" | head -n 4
"$cli" gump --patch "$work/gumps-again.muo" --from-dir "$work/gumps"
"$cli" info --patch "$work/gumps-again.muo" | grep Gumps
echo "== Comparing the sample client with its current twin, every type at once"
"$cli" compare --patch "$work/clients.muo" --base-dir "$work/client" --new-dir "$work/client/current" \
  --types art,gumps,sound 2>&1 | grep -v '^warning'
echo "== Writing the patch into a copy of the client's verdata.mul"
mkdir -p "$work/export"
cp "$work/client/verdata.mul" "$work/export/verdata.mul"
"$cli" export --patch "$work/demo.muo" --dir "$work/export"
ls -l "$work/export"

gui="$build/src/gui/quillet"
if [ -x "$gui" ] && { [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ]; }; then
  echo "== Starting the GUI"
  (cd "$work" && exec "$gui")
else
  echo "(no display: the GUI, $gui, is not started)"
fi
