#!/usr/bin/env bash
# 3D physics through the host: the bundle in physics_3d/ drops a box on a floor in the window
# and logs its contact, where it rests and what a pick through the view's centre finds. The
# host keeps running after the script is done, so it is stopped once the last line is out.
#   physics_3d_test.sh BINARY
set -u
binary=$1
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=e2e_lib.sh
source "$here/e2e_lib.sh"

pidfile=$(mktemp)
trap 'rm -f "$out" "$err" "$stamp" "$pidfile"' EXIT
# The shell inside xvfb-run leaves its pid and becomes `timeout`, which passes a stop on.
xvfb-run -a bash -c 'echo $$ >"$1"; exec timeout 60 "$2" --bundle "$3"' _ "$pidfile" "$binary" \
  "$here/physics_3d" >"$out" 2>"$err" &
runner=$!
while kill -0 "$runner" 2>/dev/null && ! grep -qxF "[physics3d] done" "$out"; do sleep 0.1; done
if [[ -s $pidfile ]]; then kill -TERM "$(cat "$pidfile")" 2>/dev/null; fi
wait "$runner"
expect_status $? 143 "the host, stopped after the script was done"

grep -E '^\[(provenance|physics3d)\] ' "$out" | diff -u "$here/physics_3d.expected" - ||
  fail "the physics lines differ from physics_3d.expected"

finish
