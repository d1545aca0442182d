#!/usr/bin/env bash
# One entry for newcomers and CI: installs what is missing, builds, then runs.
#   ./dev.sh run    the desktop host with its bundled launcher (needs an X11 display)
#   ./dev.sh test   every test (CTest; TALVERO_TEST_JOBS=N runs N at once, default one per core)
#   ./dev.sh bench  the benchmarks
#   ./dev.sh sanitize  every test, built with AddressSanitizer and UBSan (in build-sanitize/)
set -euo pipefail
cd "$(dirname "$0")"

# GUI tests need an X server: a private Xvfb when there is no display. It must not reset when
# its last client leaves, or a test that connects during the reset finds no display.
headless=()
[[ -n ${DISPLAY:-} ]] || headless=(xvfb-run -a -s "-screen 0 1280x1024x24 -noreset")

command=${1:-run}
case "$command" in run | test | bench | sanitize) ;; *)
  echo "usage: ./dev.sh run|test|bench|sanitize" >&2
  exit 2
  ;;
esac

scripts/install-deps.sh
if [[ $command == sanitize ]]; then
  cmake -S . -B build-sanitize -G Ninja -DCMAKE_BUILD_TYPE=Debug -DTALVERO_SANITIZE=ON \
    -DTALVERO_BUILD_BENCHMARKS=OFF >/dev/null
  cmake --build build-sanitize
  export LSAN_OPTIONS="suppressions=$PWD/tests/sanitizers/lsan.supp:print_suppressions=0"
  export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
  cd build-sanitize && exec "${headless[@]}" ctest --output-on-failure --timeout 600 -j"$(nproc)"
fi
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build

case "$command" in
  run)
    [[ ${#headless[@]} -eq 0 ]] || echo "[dev] no display: the window opens on a private Xvfb"
    exec "${headless[@]}" build/talvero
    ;;
  test)
    cd build
    exec "${headless[@]}" ctest --output-on-failure --timeout 300 -j"${TALVERO_TEST_JOBS:-$(nproc)}"
    ;;
  bench)
    build/talvero_bench
    build/talvero_style_bench
    "${headless[@]}" build/talvero_toolkit_bench
    build/talvero_fetch_bench
    "${headless[@]}" build/talvero_ui_bench
    "${headless[@]}" build/talvero_scene3d_bench
    "${headless[@]}" build/talvero_physics3d_bench
    build/talvero_physics2d_bench
    "${headless[@]}" build/talvero_2d_bench
    build/talvero_tilemap_bench
    "${headless[@]}" build/talvero_canvas_bench
    exec "${headless[@]}" build/talvero_vlist_bench
    ;;
esac
