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

# A shell on the X server stops the host, so the stop stays inside what xvfb-run waits for.
xvfb-run -a bash -c '
  timeout 60 "$1" --bundle "$2" &
  host=$!
  while kill -0 "$host" 2>/dev/null && ! grep -qxF "[physics3d] done" "$3"; do sleep 0.1; done
  kill -TERM "$host" 2>/dev/null
  wait "$host"' _ "$binary" "$here/physics_3d" "$out" >"$out" 2>"$err"
expect_status $? 143 "the host, stopped after the script was done"

grep -E '^\[(provenance|physics3d)\] ' "$out" | diff -u "$here/physics_3d.expected" - ||
  fail "the physics lines differ from physics_3d.expected"

finish
