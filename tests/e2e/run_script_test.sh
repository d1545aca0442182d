#!/usr/bin/env bash
# Runs one script through the talvero binary directly (--run: no window, no launcher) and
# checks its standard output and exit status.
# The script's first line says the expected status ("// status: N", 0 when absent); its
# expected standard output is the file beside it with the extension ".expected".
set -u
binary=$1
script=$2
expected_output="${script%.js}.expected"
expected_status=$(sed -n '1s|^// status: \([0-9]*\).*|\1|p' "$script")
expected_status=${expected_status:-0}

actual_output=$(mktemp)
trap 'rm -f "$actual_output"' EXIT
timeout 20 "$binary" --run "$script" --exit-when-idle >"$actual_output" 2>/dev/null
status=$?

failed=0
if [[ $status -ne $expected_status ]]; then
  echo "exit status $status, expected $expected_status"
  failed=1
fi
if ! diff -u "$expected_output" "$actual_output"; then
  echo "standard output differs from $expected_output"
  failed=1
fi
exit $failed
