#!/usr/bin/env bash
# "--verify" of a 3D bundle end to end: the scene renders offscreen with enough content, the
# drag reaches the script's touch listener, both renders are written upright, and the run ends
# with "[verify] OK".
#   verify_3d_test.sh BINARY
set -u
binary=$1
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=e2e_lib.sh
source "$here/e2e_lib.sh"

mark_start
xvfb-run -a timeout 60 "$binary" --bundle "$here/verify_bundle_3d" --verify >"$out" 2>"$err"
expect_status $? 0 "--verify of the 3D bundle"

expect_order "[TalveroApp] createEngine([\"uberarchive\"])" \
  "[creator-gl] createEngine: GLB support is not built in this version; \"uberarchive\" is not loaded" \
  "[bundle3d] scene 0 opened, backend opengl, system OpenGL (Filament)" \
  "[bundle3d] touch start 0 at 200,320" \
  "[bundle3d] touch end at 660,230 after 10 moves" \
  "[verify] drag tracked (touchstart -> track)" \
  "[verify] OK"
[[ $(tail -n 1 "$out") == "[verify] OK" ]] || fail "the last line is not [verify] OK"

count=$(sed -n 's/^\[verify\] 3D scene non-background pixels: \([0-9]*\)$/\1/p' "$out")
((${count:-0} >= 2401)) || fail "too few pixels in the 3D render: ${count:-none}"
grep -qE '^\[verify\] post-drag 3D non-background pixels: [0-9]+$' "$out" ||
  fail "no post-drag render count"

for png in /tmp/talvero-app-render.png /tmp/talvero-app-render-after-drag.png; do
  [[ -f $png && $png -nt $stamp ]] || fail "$png was not written by this run"
done
# Red at the centre in linear light; the small blue square is in the top left, so the rows
# came out upright.
centre=$(python3 "$here/png_content.py" /tmp/talvero-app-render.png 400 300)
[[ $centre == "255,0,0" ]] || fail "the centre is $centre, not red"
corner=$(python3 "$here/png_content.py" /tmp/talvero-app-render.png 88 113)
[[ $corner == "0,0,255" ]] || fail "the top left square is $corner, not blue"

finish
