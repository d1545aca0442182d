#!/usr/bin/env bash
# Builds the libFuzzer targets with clang in build-fuzz/ and runs each for a fixed time.
# Fails on any crash, timeout or sanitizer report; the input that caused it is kept in
# fuzz-corpus/artifacts/. Corpora grow in fuzz-corpus/<target>/ (not under version control).
# A target uses fuzz/<target>.dict as its dictionary when there is one, else fuzz/style.dict.
# Leaks count, except what fontconfig and Pango keep in their caches for the whole process.
#
#   scripts/fuzz.sh [seconds-per-target] [target...]     default: 60 s, every target
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
seconds=60
if [[ $# -gt 0 ]]; then
  if [[ ! "$1" =~ ^[0-9]+$ ]]; then
    echo "usage: scripts/fuzz.sh [seconds-per-target] [target...]" >&2
    exit 2
  fi
  seconds=$1
  shift
fi

build="$root/build-fuzz"
corpora="$root/fuzz-corpus"
artifacts="$corpora/artifacts"

CC=clang CXX=clang++ cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DTALVERO_FUZZ=ON -DTALVERO_BUILD_TESTS=OFF -DTALVERO_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build "$build" --target talvero_fuzzers talvero_app_bundle

targets=("$@")
if [[ ${#targets[@]} -eq 0 ]]; then
  mapfile -t targets < <(grep -v '^$' "$build/fuzz/targets.txt")
fi

mkdir -p "$artifacts"
export LSAN_OPTIONS="suppressions=$root/fuzz/lsan.supp:print_suppressions=0${LSAN_OPTIONS:+:$LSAN_OPTIONS}"
# Debian's Cairo has no frame pointers: only the slow unwinder sees past it to the library
# that asked for the memory, which is what the suppressions name.
export ASAN_OPTIONS="fast_unwind_on_malloc=0${ASAN_OPTIONS:+:$ASAN_OPTIONS}"

# The SVG test corpus, when the tree has one, seeds the SVG reader; its files may sit in
# folders beside pictures that are no SVG.
svg_seeds="$build/seeds/fuzz_svg_parse"
rm -rf "$svg_seeds"
mkdir -p "$svg_seeds"
if [[ -d "$root/tests/svg/corpus" ]]; then
  find "$root/tests/svg/corpus" -type f -name '*.svg' -exec cp -t "$svg_seeds" {} +
fi

failed=()
for target in "${targets[@]}"; do
  binary="$build/fuzz/$target"
  if [[ ! -x "$binary" ]]; then
    echo "[fuzz] no such target: $target" >&2
    failed+=("$target")
    continue
  fi
  corpus="$corpora/$target"
  mkdir -p "$corpus"
  inputs=("$corpus")
  [[ -d "$root/fuzz/seeds/$target" ]] && inputs+=("$root/fuzz/seeds/$target")
  # Material packages are compiled by the build, never committed: those are its seeds.
  [[ $target == fuzz_material_package ]] && inputs+=("$build/materials")
  [[ $target == fuzz_svg_parse ]] && inputs+=("$svg_seeds")
  dict="$root/fuzz/$target.dict"
  [[ -f "$dict" ]] || dict="$root/fuzz/style.dict"
  log="$corpora/$target.log"

  echo "[fuzz] $target for ${seconds}s"
  status=0
  # The code's own log lines go nowhere: sanitizers and libFuzzer write to the standard error.
  "$binary" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 -close_fd_mask=1 \
    -dict="$dict" -artifact_prefix="$artifacts/$target-" \
    "${inputs[@]}" >"$log" 2>&1 || status=$?

  # A report counts even where a sanitizer was told to carry on.
  if [[ $status -ne 0 ]] || grep -qE 'runtime error:|ERROR: (Address|Undefined|Leak)Sanitizer' "$log"; then
    echo "[fuzz] $target FAILED (exit $status), log: $log" >&2
    grep -E 'runtime error:|ERROR:|SUMMARY:|Test unit written' "$log" | head -20 >&2 || true
    failed+=("$target")
  else
    grep -E '^stat::number_of_executed_units' "$log" | sed "s/^/[fuzz] $target /" || true
  fi
done

if [[ ${#failed[@]} -gt 0 ]]; then
  echo "[fuzz] failed: ${failed[*]}" >&2
  exit 1
fi
echo "[fuzz] all clean"
