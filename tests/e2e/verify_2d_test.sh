#!/usr/bin/env bash
# "--verify" of 2D bundles end to end: falling coins pass, with both frames written and their
# content lower in the settled one; coins that stand still fail on that very rule.
#   verify_2d_test.sh BINARY
set -u
binary=$1
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=e2e_lib.sh
source "$here/e2e_lib.sh"

mark_start
xvfb-run -a timeout 60 "$binary" --bundle "$here/verify_2d" --verify >"$out" 2>"$err"
expect_status $? 0 "--verify of the falling coins"
expect_order "[bundle2d] sprite sheet 64x32, backend opengl" \
  "[bundle2d] scene 1 opened" \
  "[bundle2d] first loop of clip 0" \
  "[verify] OK"
[[ $(tail -n 1 "$out") == "[verify] OK" ]] || fail "the last line is not [verify] OK"

first=$(sed -n 's/^\[verify\] 2D first-frame non-background pixels: \([0-9]*\)$/\1/p' "$out")
((${first:-0} > 960)) || fail "too few pixels in the first 2D frame: ${first:-none}"
settled=$(sed -n 's/^\[verify\] 2D settled non-background pixels: \([0-9]*\), comY \([0-9]*\) -> \([0-9]*\)$/\1 \2 \3/p' "$out")
read -r count fromY toY <<<"$settled"
((${count:-0} >= 1 && ${fromY:-0} + 10 < ${toY:-0})) || fail "the coins did not fall: $settled"
for png in /tmp/talvero-app-2d-first.png /tmp/talvero-app-2d-settled.png; do
  [[ -f $png && $png -nt $stamp ]] || fail "$png was not written by this run"
done
# The coins start in a row 370 points from the left edge's row of 800 at y 70 (from the top);
# the picture is upright when the first frame has coin gold there and background below.
top=$(python3 "$here/png_content.py" /tmp/talvero-app-2d-first.png 70 70)
[[ $top == "255,214,64" ]] || fail "no coin at the top left of the first frame: $top"

xvfb-run -a timeout 60 "$binary" --bundle "$here/verify_2d_still" --verify >"$out" 2>"$err"
expect_status $? 1 "--verify of coins that stand still"
[[ $(tail -n 1 "$out") == "[verify] FAILED" ]] || fail "the still coins did not end with FAILED"
grep -qE '^\[verify\] 2D settled non-background pixels: [0-9]+, comY ([0-9]+) -> \1$' "$out" ||
  fail "the still coins' comY moved"

finish
