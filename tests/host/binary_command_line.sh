#!/bin/sh
# The built daemon's command line: exit statuses and standard output of a
# few cases that never reach the data store.
bin=$1
fail=0
check() {  # expected-status description command...
  want=$1; what=$2; shift 2
  "$@" >/dev/null 2>&1
  got=$?
  if [ "$got" -ne "$want" ]; then
    echo "FAIL: $what: exit $got, expected $want"; fail=1
  fi
}
check 0 "-v" "$bin" -v
check 0 "-v after other options" "$bin" -m 5 -v -x
check 1 "unknown option" "$bin" -x -d
check 1 "missing value" "$bin" -m
check 1 "bad value" "$bin" -c 0

out=$("$bin" -v)
case "$out" in
  "$bin: version 2.0.0"*) ;;
  *) echo "FAIL: -v first line: $out"; fail=1 ;;
esac
echo "$out" | grep -q '^\$Revision: 66949 \$$' || { echo "FAIL: -v revision"; fail=1; }
first=$("$bin" -x -d 2>/dev/null | head -n 1)
[ "$first" = "Unknown parameter: -x " ] || { echo "FAIL: unknown: '$first'"; fail=1; }
err=$("$bin" -c 0 2>&1 >/dev/null)
[ "$err" = "Error: invalid cache size: 0" ] || { echo "FAIL: -c 0 stderr: '$err'"; fail=1; }
exit $fail
