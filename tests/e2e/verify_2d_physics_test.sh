#!/usr/bin/env bash
# "--verify" of a 2D bundle moved by physics: boxes fall onto a tilemap floor, the settled frame
# has its content lower than the first, and the event function reports each box landing once.
#   verify_2d_physics_test.sh BINARY
set -u
binary=$1
here=$(cd "$(dirname "$0")" && pwd)
boxes=8
# shellcheck source=e2e_lib.sh
source "$here/e2e_lib.sh"

xvfb-run -a timeout 60 "$binary" --bundle "$here/verify_2d_physics" --verify >"$out" 2>"$err"
expect_status $? 0 "--verify of the falling boxes"
expect_order "[physics2d] $boxes boxes over a tilemap floor in scene 1, physics on" \
  "[physics2d] box 0 landed" "[verify] OK"
[[ $(tail -n 1 "$out") == "[verify] OK" ]] || fail "the last line is not [verify] OK"

settled=$(sed -n 's/^\[verify\] 2D settled non-background pixels: \([0-9]*\), comY \([0-9]*\) -> \([0-9]*\)$/\1 \2 \3/p' "$out")
read -r count fromY toY <<<"$settled"
((${count:-0} >= 1 && ${fromY:-0} + 10 < ${toY:-0})) || fail "the boxes did not fall: $settled"

for ((i = 0; i < boxes; i++)); do
  landed=$(grep -cxF "[physics2d] box $i landed" "$out")
  ((landed == 1)) || fail "box $i landed $landed times"
done
all=$(grep -c '^\[physics2d\] box [0-9]* landed$' "$out")
((all == boxes)) || fail "$all landings for $boxes boxes"

finish
