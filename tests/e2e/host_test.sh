#!/usr/bin/env bash
# The talvero host end to end. A missing bundle needs no display; the launcher self-test
# builds its views on a virtual X server, and a launch opens the window there, runs the
# bundled launcher, and keeps running until it is stopped.
set -u
binary=$1
# shellcheck source=e2e_lib.sh
source "$(dirname "$0")/e2e_lib.sh"

expect_line() {
  grep -qxF -- "$2" "$1" || fail "missing line in $1: $2"
}

# Both self-test flags: the launcher test wins. The bundled launcher's screen renders, its
# first button opens the 3D playground, and the key test passes: OK, 0.
mark_start
xvfb-run -a timeout 60 "$binary" --verify --verify-launcher >"$out" 2>"$err"
expect_status $? 0 "--verify-launcher"
expect_order "[launcher] UI rendered" "[launcher] opening the 3D playground" \
  "[launcher] playground opened: 3D (Bullet)" \
  "[launcher] inputKey: A-down=true D-down=false A-up=false -> OK" "[launcher] OK"
[[ $(tail -n 1 "$out") == "[launcher] OK" ]] || fail "the last line is not [launcher] OK"
grep -q "^\[verify\]" "$out" && fail "--verify ran beside --verify-launcher"
for png in /tmp/talvero-launcher.png /tmp/talvero-launcher-layer.png; do
  [[ -f $png && $png -nt $stamp ]] || fail "$png was not written by this run"
done
# The first screen's pictures: the canvas card's ground and the star in its tint.
for colour in 36,59,94 123,211,137; do
  python3 "$(dirname "$0")/png_content.py" /tmp/talvero-launcher.png --near $colour >/dev/null ||
    fail "the launcher picture has no pixels of $colour"
done

# A bundle that does not open stops the process before anything runs.
timeout 20 "$binary" --bundle /nonexistent/talvero-bundle app.js >"$out" 2>"$err"
expect_status $? 70 "--bundle of a missing directory"
expect_line "$err" "Fatal error: could not load resource bundle: from /nonexistent/talvero-bundle"
[[ -s $out ]] && fail "output before the bundle was found: $(cat "$out")"

# A launch with the bundle beside the executable: the window stays open until stopped.
xvfb-run -a timeout 4 "$binary" -x.js demo.js >"$out" 2>"$err"
expect_status $? 124 "launch (stopped by timeout)"
expect_line "$out" "[TalveroApp] applicationDidFinishLaunching"
expect_line "$out" "[provenance] runtime 1.0.0 · creator-gl physics=on"
expect_line "$out" "[TalveroApp] launch([\"$binary\",\"-x.js\",\"demo.js\"])"
expect_line "$out" "[launcher] argv: [\"$binary\",\"-x.js\",\"demo.js\"]"
expect_line "$out" "[launcher] launch argument: demo.js"
[[ $(head -n 1 "$out") == "[TalveroApp] applicationDidFinishLaunching" ]] ||
  fail "the first line is not the launch notice"

finish
