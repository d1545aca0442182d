#!/usr/bin/env bash
# "--verify" end to end: the talvero binary on a virtual X server runs the bundle of
# verify_bundle/, drives its screen through the self-test's steps and must end with
# "[verify] OK" and status 0, having written /tmp/talvero-app-ui.png with content,
# /tmp/talvero-app-ui-typed.png with the typed word and the picture of its scrolled list.
#   verify_test.sh BINARY
set -u
binary=$1
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=e2e_lib.sh
source "$here/e2e_lib.sh"

expect_line() {
  grep -qxF -- "$1" "$out" || fail "missing line: $1"
}
fresh_png_with_content() {
  local png=$1
  [[ -f $png && $png -nt $stamp ]] || {
    fail "$png was not written by this run"
    return
  }
  python3 "$here/png_content.py" "$png" >/dev/null || fail "$png has no content"
}

mark_start
xvfb-run -a timeout 30 "$binary" --bundle "$here/verify_bundle" --verify >"$out" 2>"$err"
expect_status $? 0 "--verify"

source_chars=$(wc -m <"$here/verify_bundle/bundle.js")
expect_order \
  "[TalveroApp] applicationDidFinishLaunching" \
  "[TalveroApp] createEngine([\"level.glb\",\"hero.png\"])" \
  "[TalveroApp] running bundle ($source_chars chars)" \
  "[bundle] root opened" \
  "[bundle] router at root" \
  "[bundle] built" \
  "[TalveroApp] bundle returned" \
  "[verify] UI screen rendered" \
  "[bundle] input changed to macOS" \
  "[verify] typed into input; getTextValue -> \"macOS\"" \
  "[verify] post-type UI rendered" \
  "[bundle] list scrolled to 200" \
  "[verify] scrolled list; offset -> 200" \
  "[verify] post-scroll UI rendered" \
  "[verify] clicked first button" \
  "[verify] post-click UI rendered" \
  "[bundle] overlay tapped" \
  "[verify] dismissed widget via overlay tap" \
  "[bundle] touch start 2000 at 190,190" \
  "[bundle] touch end at 470,360 after 10 moves" \
  "[verify] screen drag tracked (track -> onMove/onEnd)" \
  "[verify] post-drag UI rendered" \
  "[verify] OK"
[[ $(tail -n 1 "$out") == "[verify] OK" ]] || fail "the last line is not [verify] OK"
grep -q "^\[bundle\] text area changed" "$out" && fail "the text area was typed into beside the input"
fresh_png_with_content /tmp/talvero-app-ui.png
fresh_png_with_content /tmp/talvero-app-ui-typed.png
# The typed word shows: more pixels stand out than before it was typed.
before=$(python3 "$here/png_content.py" /tmp/talvero-app-ui.png)
after=$(python3 "$here/png_content.py" /tmp/talvero-app-ui-typed.png)
((after > before + 50)) || fail "the typed text does not show ($before -> $after differing pixels)"
fresh_png_with_content /tmp/talvero-app-ui-scrolled.png
fresh_png_with_content /tmp/talvero-app-ui-dragged.png

# The router steps: the first click pushes, the second pops.
expect_order \
  "[verify] UI screen rendered" \
  "[bundle] push clicked" \
  "[bundle] router at second" \
  "[verify] clicked first button" \
  "[verify] router pushed; depth 2" \
  "[bundle] pop clicked" \
  "[bundle] router at root" \
  "[verify] router popped; depth 1" \
  "[verify] dismissed widget via overlay tap"
expect_line "[bundle] button touch 1"
fresh_png_with_content /tmp/talvero-app-ui-popped.png

finish
