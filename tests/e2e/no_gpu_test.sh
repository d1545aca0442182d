#!/usr/bin/env bash
# A 3D engine asked for where there is no GPU to draw with: with no display at all, and on an
# X server without GLX, where the renderer itself would end the process. Either way the script
# gets one ERROR line, neutral answers, and runs to its end with status 0. The 2D layer says once
# that it draws nothing, and its tables and textures work all the same.
#   no_gpu_test.sh BINARY
set -u
binary=$1
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=e2e_lib.sh
source "$here/e2e_lib.sh"
script=$here/no_gpu/create_engine.js

env -u DISPLAY -u WAYLAND_DISPLAY timeout 30 "$binary" --run "$script" --exit-when-idle >"$out" 2>"$err"
expect_status $? 0 "without a display"
diff -u "$here/no_gpu/create_engine.expected" "$out" || fail "output without a display differs"

xvfb-run -a -s "-extension GLX" timeout 30 "$binary" --run "$script" --exit-when-idle >"$out" 2>"$err"
expect_status $? 0 "on a display without GLX"
diff -u "$here/no_gpu/create_engine.expected" "$out" || fail "output without GLX differs"
# The sprite sheet comes from a server of the test's own, on 127.0.0.1.
sheets=$(dirname "$binary")/TalveroSDK_TalveroApp.bundle/textures
server_log=$(mktemp)
python3 -u -m http.server 0 --bind 127.0.0.1 --directory "$sheets" >"$server_log" 2>&1 &
server=$!
trap 'kill $server 2>/dev/null; rm -f "$out" "$err" "$stamp" "$server_log" "$script"' EXIT
for _ in $(seq 100); do
  port=$(sed -n 's/.*port \([0-9]*\).*/\1/p' "$server_log" | head -n 1)
  [[ -n $port ]] && break
  sleep 0.1
done
script=$(mktemp --suffix=.js)
{
  echo "var sheetUrl = 'http://127.0.0.1:${port:-0}/sprites.png';"
  cat "$here/no_gpu/texture_2d.js"
} >"$script"
expected="texture 1: 64x32, sprite 1 at the origin"
for display in none no-glx; do
  if [[ $display == none ]]; then
    env -u DISPLAY -u WAYLAND_DISPLAY timeout 30 "$binary" --run "$script" --exit-when-idle >"$out" 2>"$err"
  else
    xvfb-run -a -s "-extension GLX" timeout 30 "$binary" --run "$script" --exit-when-idle >"$out" 2>"$err"
  fi
  expect_status $? 0 "2D without a GL device ($display)"
  [[ $(grep -c '^\[creator-2d\] no GL device (.*): 2D scenes run but are not drawn$' "$out") == 1 ]] ||
    fail "2D without a GL device ($display): not one no-device line"
  grep -qxF "$expected" "$out" || fail "2D without a GL device ($display): no \"$expected\""
done
finish
