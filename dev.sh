#!/usr/bin/env bash
# One entry for newcomers and CI: installs what is missing, builds, then runs.
#   ./dev.sh run    the bundled example script
#   ./dev.sh test   every test (CTest)
#   ./dev.sh bench  the benchmarks
set -euo pipefail
cd "$(dirname "$0")"

command=${1:-run}
case "$command" in run | test | bench) ;; *)
  echo "usage: ./dev.sh run|test|bench" >&2
  exit 2
  ;;
esac

scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build

case "$command" in
  run) exec build/talvero resources/examples/hello.js --exit-when-idle ;;
  test) cd build && exec ctest --output-on-failure --timeout 300 -j"$(nproc)" ;;
  bench) exec build/talvero_bench ;;
esac
