# Shared by the end-to-end scripts: temporary output files removed on exit, a failure flag,
# and the checks they all make. Source it after setting `binary`.
failed=0
out=$(mktemp)
err=$(mktemp)
stamp=$(mktemp)
trap 'rm -f "$out" "$err" "$stamp"' EXIT

fail() {
  echo "$1"
  failed=1
}
expect_status() {
  [[ $1 -eq $2 ]] || fail "$3: exit status $1, expected $2"
}
# Files written after this call count as written by the run that follows.
mark_start() {
  sleep 0.01
  touch "$stamp"
  sleep 0.01
}
# Lines of the output that must come in this order, other lines between them allowed.
expect_order() {
  local last=0 line number
  for line in "$@"; do
    number=$(grep -nxF -- "$line" "$out" | cut -d: -f1 | awk -v after="$last" '$1 > after' | head -n 1)
    if [[ -z $number ]]; then
      fail "not in order: $line"
      return
    fi
    last=$number
  done
}
# Ends the script: on a failure, with the run's output shown.
finish() {
  [[ $failed -eq 0 ]] || {
    echo "--- standard output"
    cat "$out"
    echo "--- standard error"
    cat "$err"
  }
  exit $failed
}
